#include <gtest/gtest.h>

#include "target_operations/local_casts.h"
#include "tests/target_operations/property_fixtures.h"

namespace property_tests {
namespace {

/// Whether the cast of an object returns a result.
template <class Result, Result* (*Cast)(IProperty*)>
bool Succeeds(IProperty* property) {
  return Cast(property) != nullptr;
}

/// A host's own boolean: it offers the interface without being of the library's class.
class HostBoolean : public HostProperty, public virtual IBooleanProperty {
 public:
  bool GetValue() const override { return true; }
  void SetValue(bool /*value*/) override {}
};

struct CastCase {
  const char* name;
  bool (*cast)(IProperty*);
  // Per object (boolean, integer, location, location 2, string, plain, host's boolean): '1' gives
  // a result, '-' none, 'k' none, but the reference of the query is kept.
  const char* results;
};

TEST(Casts, ResultsAndReferences) {
  const CastCase cases[] = {
      {"CastIBoolean", Succeeds<IBooleanProperty, CastIBoolean>, "1-----1"},
      {"CastBoolean", Succeeds<BooleanProperty, CastBoolean>, "1-----k"},
      {"LocalCastBoolean", Succeeds<BooleanProperty, LocalCastBoolean>, "1-----k"},
      {"CastIInteger", Succeeds<IIntegerProperty, CastIInteger>, "-1-----"},
      {"CastInteger", Succeeds<IntegerProperty, CastInteger>, "-1-----"},
      {"LocalCastInteger", Succeeds<IntegerProperty, LocalCastInteger>, "-1-----"},
      {"CastILocation", Succeeds<ILocationProperty, CastILocation>, "--11---"},
      {"CastLocation", Succeeds<LocationProperty, CastLocation>, "--1k---"},
      {"LocalCastLocation", Succeeds<LocationProperty, LocalCastLocation>, "--1k---"},
      {"CastILocation2", Succeeds<ILocationProperty2, CastILocation2>, "---1---"},
      {"CastLocation2", Succeeds<LocationProperty2, CastLocation2>, "---1---"},
      {"LocalCastLocation2", Succeeds<LocationProperty2, LocalCastLocation2>, "---1---"},
      {"CastIString", Succeeds<IStringProperty, CastIString>, "----1--"},
      {"CastString", Succeeds<StringProperty, CastString>, "----1--"},
      {"LocalCastString", Succeeds<StringProperty, LocalCastString>, "----1--"},
  };
  const ReferenceHandle<IProperty> objects[] = {
      Adopt(BooleanProperty::Construct(Named("n"), true)),
      Adopt(IntegerProperty::Construct(Named("n"), 1, false)),
      Adopt(LocationProperty::Construct(Named("n"), 1)),
      Adopt(LocationProperty2::Construct(Named("n"), 1)),
      Adopt(StringProperty::Construct(Named("n"), "")),
      Adopt(Property::Construct(Named("n"))),
      Adopt<IProperty>(new HostBoolean),
  };
  for (const CastCase& tested : cases) {
    EXPECT_FALSE(tested.cast(nullptr)) << tested.name;
    for (std::size_t i = 0; i < std::size(objects); ++i) {
      const char expected = tested.results[i];
      EXPECT_EQ(tested.cast(objects[i].Get()), expected == '1') << tested.name << ", object " << i;
      EXPECT_EQ(CountOf(*objects[i]), expected == '-' ? 1U : 2U) << tested.name << ", object " << i;
      // The result's reference, or the one kept by design.
      if (expected != '-') objects[i]->Release();
    }
  }
}

TEST(Casts, ResultIsTheSameObject) {
  const auto node = Adopt(BooleanProperty::Construct(Named("n"), true));
  const auto interface = Adopt(CastIBoolean(node.Get()));
  const auto object = Adopt(CastBoolean(node.Get()));
  EXPECT_EQ(static_cast<IBooleanProperty*>(object.Get()), interface.Get());
  EXPECT_EQ(static_cast<IProperty*>(object.Get()), node.Get());
}

}  // namespace
}  // namespace property_tests
