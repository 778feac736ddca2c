#include "target_operations/ReferenceCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>

#include "common/source/source_utilities/uLogger.h"
#include "tests/target_operations/property_fixtures.h"

namespace property_tests {
namespace {

using ReferenceCounting::_ClassID;

/// Releases itself once too often: its count is 0 when the destructor runs.
struct ReleasesTooOften : ReferenceCount {
  explicit ReleasesTooOften(unsigned int& answer) : m_answer(answer) {}
  ~ReleasesTooOften() override {
    m_answer = ReleasesTooOften::Release();
    ReleasesTooOften::AddRef();  // back from the wrapped counter, for a silent end
  }
  unsigned int& m_answer;
};

TEST(ReferenceCount, OneReleaseTooManyDestroysNothing) {
  unsigned int answer = 7;
  (new ReleasesTooOften(answer))->Release();
  EXPECT_EQ(answer, 0U);
}

TEST(ReferenceCount, EachNodeAnswersItsOwnIdsOnly) {
  const struct {
    const char* name;
    IProperty* (*make)();
    std::set<unsigned int> answered;
  } cases[] = {
      {"plain", [] { return Property::Construct(Named("n")); }, {0, 6, 7}},
      {"boolean", [] { return BooleanProperty::Construct(Named("n"), true); }, {0, 1, 6, 7}},
      {"integer", [] { return IntegerProperty::Construct(Named("n"), 1, false); }, {0, 4, 6, 7}},
      {"location", [] { return LocationProperty::Construct(Named("n"), 1); }, {0, 5, 6, 7}},
      {"location 2", [] { return LocationProperty2::Construct(Named("n"), 1); }, {0, 5, 6, 7, 15}},
      {"string", [] { return StringProperty::Construct(Named("n"), ""); }, {0, 6, 7, 8}},
  };
  for (const auto& tested : cases) {
    const auto node = Adopt(tested.make());
    for (unsigned int id = 0; id <= 21; ++id) {
      const bool expected = tested.answered.count(id) != 0;
      EXPECT_EQ(node->QueryInterface(static_cast<_ClassID>(id)) != nullptr, expected)
          << tested.name << ", id " << id;
      EXPECT_EQ(CountOf(*node), expected ? 2U : 1U) << tested.name << ", id " << id;
      if (expected) node->Release();
    }
  }
}

/// A host's object with the newest of its interfaces and the generic query.
struct HostOperation : ReferenceCount,
                       virtual IOperation6,
                       virtual IOperationServer,
                       virtual SyncSetup::ISyncMode2,
                       virtual SyncSetup::IStepPastBp {};

TEST(ReferenceCount, TheGenericQueryKnowsTheHostsInterfaces) {
  const auto object = Adopt(new HostOperation);
  const std::pair<unsigned int, void*> cases[] = {
      {0, nullptr},
      {2, static_cast<IOperation*>(object.Get())},
      {3, static_cast<IOperationServer*>(object.Get())},
      {6, nullptr},
      {7, static_cast<ReferenceCounting::IReferenceCount*>(object.Get())},
      {9, nullptr},
      {10, static_cast<IPropertyDescribed*>(object.Get())},
      {11, static_cast<IOperation2*>(object.Get())},
      {12, static_cast<IOperation3*>(object.Get())},
      {13, static_cast<IOperation4*>(object.Get())},
      {14, static_cast<IOperation5*>(object.Get())},
      {16, static_cast<SyncSetup::ISyncMode*>(object.Get())},
      {17, static_cast<SyncSetup::IStepPastBp*>(object.Get())},
      {18, static_cast<SyncSetup::ISyncMode2*>(object.Get())},
      {19, static_cast<IOperation6*>(object.Get())},
      {20, nullptr},
  };
  for (const auto& [id, expected] : cases) {
    EXPECT_EQ(object->QueryInterface(static_cast<_ClassID>(id)), expected) << "id " << id;
    EXPECT_EQ(CountOf(*object), expected != nullptr ? 2U : 1U) << "id " << id;
    if (expected != nullptr) object->Release();
  }
  // A host's node offers property interfaces through the same query.
  const auto host = Adopt(new HostProperty);
  EXPECT_EQ(ReferenceCounting::Query<IProperty>(host.Get()).Get(), host.Get());
  EXPECT_FALSE(ReferenceCounting::Query<IAttachableProperty>(host.Get()));
}

/// The utility log after objects with these counts were destroyed at this log level.
std::string LogOfDestroying(const char* level, std::initializer_list<int> counts) {
  const auto folder = std::filesystem::temp_directory_path() /
                      ("qbt2_reference_count_" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  ::setenv("HOME", folder.c_str(), 1);
  ::setenv("TEST_DIRECTORY", folder.c_str(), 1);
  ::setenv("TEST_LEVEL", level, 1);
  KZ_DVT::uLogSystem::GetLogSystem()->InitLog("log", "TEST_LEVEL", "TEST_DIRECTORY", false);
  for (const int count : counts) {
    auto* const node = new Property(Named("n"));
    for (int i = 1; i < count; ++i) node->AddRef();
    delete node;
  }
  Adopt(new Property(Named("n"))).Get()->IsEditable();  // released in the regular way: no record
  std::ifstream file(folder / "log");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::filesystem::remove_all(folder);
  return text;
}

TEST(ReferenceCountLog, RecordsReferencesLeft) {
  const std::string text = LogOfDestroying("1", {1, 3});
  const std::string record =
      "[0-9]{2}:[0-9]{2}:[0-9]{2}:[0-9]{3} \\| "
      "calling ~ReferenceCount\\(\\) when m_nRefCount is still ";
  EXPECT_THAT(text, testing::ContainsRegex("\n W    " + record + "1\n    E " + record + "3\n$"));
}

TEST(ReferenceCountLog, SilentAtLevelZero) {
  EXPECT_EQ(LogOfDestroying("0", {1, 3}), "");
}

TEST(ReferenceHandle, AcquiresBeforeItReleases) {
  auto parent = Node("parent");
  Property& childNode = *Attach(*parent, Node("child"));
  // The parent's death would take the child along if it were released first.
  parent = Share(&childNode);
  EXPECT_EQ(CountOf(childNode), 1U);
  parent = *&parent;
  EXPECT_EQ(CountOf(childNode), 1U);
  ReferenceHandle<Property> moved = std::move(parent);
  EXPECT_EQ(CountOf(childNode), 1U);
  EXPECT_FALSE(Share<Property>(nullptr));
}

}  // namespace
}  // namespace property_tests
