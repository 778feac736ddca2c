// The rules of the five typed nodes, and what a copy of each keeps.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "tests/target_operations/property_fixtures.h"

namespace property_tests {
namespace {

/// A copy as its class.
template <class Class>
ReferenceHandle<Class> CopyOf(Class& node) {
  return Adopt(dynamic_cast<Class*>(node.Clone()));
}

TEST(BooleanProperty, SwitchedOffItOffersNoChildKey) {
  const auto node = Boolean("n", true);
  node->SetChildKey("key");
  EXPECT_STREQ(node->GetChildKey(), "key");
  node->SetValue(false);
  EXPECT_STREQ(node->GetChildKey(), "");
  // The field is copied, not what the getter shows.
  const auto copy = CopyOf(*node);
  copy->SetValue(true);
  EXPECT_STREQ(copy->GetChildKey(), "key");
}

TEST(IntegerProperty, Range) {
  std::vector<unsigned long> none;
  const auto node = Adopt(new IntegerProperty(Named("n"), 1, none, false));
  unsigned long minimum = 1;
  unsigned long maximum = 1;
  EXPECT_TRUE(node->HasAllowedRange(minimum, maximum));
  EXPECT_EQ(minimum, 0U);
  EXPECT_EQ(maximum, 0xFFFFFFFFU);
  node->SetValue(0xFFFFFFFFFFFFFFFF);
  EXPECT_EQ(node->GetValue(), 0xFFFFFFFFFFFFFFFF);
  node->SetAllowedRange(10, 20);
  const std::pair<unsigned long, bool> cases[] = {{9, false}, {10, true}, {20, true}, {21, false}};
  for (const auto& [value, taken] : cases) {
    node->SetValue(15);
    node->SetValue(value);
    EXPECT_EQ(node->GetValue(), taken ? value : 15) << value;
  }
  node->SetAllowedRange(20, 10);
  node->SetValue(12);
  EXPECT_EQ(node->GetValue(), 15U) << "bounds the wrong way round refuse everything";
}

TEST(IntegerProperty, CopyHasARangeAndNoAllowedValues) {
  std::vector<unsigned long> allowed{4, 4};
  const auto node = Adopt(new IntegerProperty(Named("n"), 0x123456789, allowed, false));
  node->SetDisplaySuggestion(static_cast<IIntegerProperty::_DisplayType>(2));
  std::array<unsigned long, 2> out{};
  node->GetAllowedValues(out.data());
  EXPECT_EQ(out, (std::array<unsigned long, 2>{4, 4}));
  node->GetAllowedValues(nullptr);
  unsigned int count = 9;
  EXPECT_FALSE(node->HasAllowedValues(count));
  EXPECT_EQ(count, 0U);

  const auto copy = CopyOf(*node);
  EXPECT_EQ(copy->GetValue(), 0x123456789U);
  EXPECT_EQ(copy->GetDisplaySuggestion(), 2U);
  out = {};
  copy->GetAllowedValues(out.data());
  EXPECT_EQ(out, (std::array<unsigned long, 2>{}));
  copy->SetValue(0x100000000);
  EXPECT_EQ(copy->GetValue(), 0x123456789U);
  copy->SetValue(0xFFFFFFFF);
  EXPECT_EQ(copy->GetValue(), 0xFFFFFFFFU);
}

ReferenceHandle<StringProperty> Choice() {
  return Adopt(new StringProperty(
      Named("n"), "", {"A", "B"},
      {ValueAttribute("", 1, 2, false, "la"), ValueAttribute("kb", 3, 0x80000004, true, "lb")}));
}

TEST(StringProperty, TheChosenValueBringsItsAttributes) {
  const auto node = Choice();
  EXPECT_STREQ(node->GetChildKey(), "") << "the constructor applies nothing";
  node->SetValue("B");
  EXPECT_STREQ(node->GetChildKey(), "kb");
  EXPECT_EQ(node->GetEnumValue(), 3);
  EXPECT_EQ(node->GetCategory(), 0x80000004U);
  EXPECT_TRUE(node->IsHaltCPU());
  EXPECT_STREQ(node->GetSameLevelKey(), "lb");
  node->SetValue("C");
  EXPECT_STREQ(node->GetValue(), "B");
  node->SetChildKey("mine");
  node->SetValue("B");
  EXPECT_STREQ(node->GetChildKey(), "mine") << "an unchanged value applies nothing";
  node->SetValue("A");
  EXPECT_STREQ(node->GetChildKey(), "A");
  EXPECT_FALSE(node->IsHaltCPU());
  node->ClearAllAllowed();
  EXPECT_STREQ(node->GetValue(), "A");
  EXPECT_STREQ(node->GetChildKey(), "A");
  node->SetValue(nullptr);
  EXPECT_STREQ(node->GetValue(), "");
}

/// A host's string, which notes what is set.
struct NotingString : StringProperty {
  explicit NotingString(const std::vector<ValueAttribute>& attributes)
      : StringProperty(Named("n"), "", {}, attributes) {}
  void SetChildKey(const char* key) override { m_log += std::string("child ") + key; }
  void SetCategory(unsigned int category) override { m_log += " category " + Text(category); }
  void SetEnumValue(int value) override { m_log += " enum " + Text(value); }
  void SetHaltCPU(bool halt) override { m_log += " halt " + Text(halt); }
  void SetSameLevelKey(const char* key) override { m_log += std::string(" level ") + key; }
  static std::string Text(long number) { return std::to_string(number); }
  std::string m_log;
};

TEST(StringProperty, AttributesAreSetThroughAHostsOperations) {
  const auto node = Adopt(new NotingString({ValueAttribute("k", 1, 2, true, "l")}));
  node->AddAllowedValues("first");
  EXPECT_EQ(node->m_log, "child k category 2 enum 1 halt 1 level l");
}

TEST(StringProperty, ListsGrowWithoutRepeating) {
  const auto node = Adopt(new StringProperty(Named("n"), "old", {}, {}));
  node->AddAllowedValues(node->GetValue() + 1);
  EXPECT_STREQ(node->GetValue(), "ld") << "the first allowed value becomes the value";
  node->AddAllowedValues("B");
  node->AddAllowedValues("ld");
  const ValueAttribute attribute("k", 1, 2, true, "l");
  node->AddAllowedAttributes(attribute);
  EXPECT_STREQ(node->GetChildKey(), "k");
  node->AddAllowedAttributes(attribute);
  unsigned int count = 0;
  EXPECT_TRUE(node->HasAllowedValues(count));
  EXPECT_EQ(count, 2U);
  std::array<const char*, 2> values{};
  node->GetAllowedValues(values.data());
  EXPECT_STREQ(values[0], "ld");
  EXPECT_STREQ(values[1], "B");
  std::vector<ValueAttribute> attributes;
  node->GetAllowedAttributes(attributes);
  EXPECT_EQ(attributes.size(), 1U);
  // A value beyond the attributes has none to take on, and no flag.
  node->SetValue("B");
  EXPECT_STREQ(node->GetChildKey(), "k");
  node->DisableAllowed("B", false);
  EXPECT_FALSE(node->IsDisabledAllowed("B"));
}

TEST(StringProperty, DisableAllowedTakesEnabled) {
  const auto node = Choice();
  node->DisableAllowed("B", false);
  EXPECT_TRUE(node->IsDisabledAllowed("B"));
  EXPECT_FALSE(node->IsDisabledAllowed("A"));
  EXPECT_FALSE(node->IsDisabledAllowed("C"));
  EXPECT_FALSE(node->IsDisabledAllowed(nullptr));
  node->DisableAllowed("B", true);
  EXPECT_FALSE(node->IsDisabledAllowed("B"));
  // Every allowed value of that text; only the constructor repeats one.
  const ValueAttribute attribute("k", 1, 2, true, "l");
  const auto twice =
      Adopt(new StringProperty(Named("n"), "", {"A", "B", "A"}, {attribute, attribute, attribute}));
  twice->DisableAllowed("A", false);
  std::vector<ValueAttribute> attributes;
  twice->GetAllowedAttributes(attributes);
  EXPECT_TRUE(attributes[0].IsDisabled() && attributes[2].IsDisabled());
  EXPECT_FALSE(attributes[1].IsDisabled());
}

TEST(StringProperty, CopyOfANodeThatIsNotEditableHasNoAllowedValues) {
  for (const bool editable : {true, false}) {
    const auto node = Choice();
    node->SetEditable(editable);
    node->SetReplacableAllowed(static_cast<eREPLACABLE>(5));
    unsigned int count = 9;
    EXPECT_EQ(node->HasAllowedValues(count), editable);
    EXPECT_EQ(count, editable ? 2U : 0U);
    const auto copy = CopyOf(*node);
    copy->SetEditable(true);
    EXPECT_EQ(copy->HasAllowedValues(count), editable);
    EXPECT_EQ(copy->IsReplacableAllowed(), 5U);
    std::vector<ValueAttribute> attributes;
    copy->GetAllowedAttributes(attributes);
    EXPECT_EQ(attributes.size(), 2U);
  }
}

TEST(LocationProperty, OnlyPageZeroTakesAValue) {
  const auto node = Adopt(new LocationProperty(Named("n"), 1, 3, 0xC0));
  unsigned int page = 0;
  node->SetValue(5, 1);
  node->SetValue(6, 3);
  EXPECT_EQ(node->GetValue(page), 1U);
  node->SetValue(5, 0);
  EXPECT_EQ(node->GetValue(page), 5U);
  EXPECT_EQ(page, 3U);
  const auto copy = CopyOf(*node);
  EXPECT_EQ(copy->GetCookie(), 0xC0U);
  EXPECT_TRUE(copy->IsEqual(*node));
  copy->SetPage(0);
  EXPECT_FALSE(copy->IsEqual(*node));
  const auto plain =
      Adopt(dynamic_cast<LocationProperty*>(LocationProperty::Construct(Named("n"), 1)));
  EXPECT_EQ(plain->GetCookie(), 0xFFFFFFFFU);
}

TEST(LocationProperty2, NarrowOperationsSeeTheLowHalf) {
  const auto node = Adopt(new LocationProperty2(Named("n"), 0x123456789, 3, 0xC0));
  unsigned int page = 0;
  EXPECT_EQ(node->GetValue(page), 0x23456789U);
  const auto copy = CopyOf(*node);
  EXPECT_EQ(copy->GetValue64(page), 0x23456789U);
  EXPECT_EQ(page, 3U);
  EXPECT_EQ(copy->GetCookie(), 0xC0U);
  node->SetValue64(0x100000001, 1);
  EXPECT_EQ(node->GetValue64(page), 0x123456789U);
  node->SetValue64(0x100000001, 0);
  node->SetValue(1, 0);
  EXPECT_EQ(node->GetValue64(page), 1U);
}

TEST(LocationProperty2, ComparisonTakesThePageOver) {
  const auto left = Adopt(new LocationProperty2(Named("n"), 7, 3, 0));
  const auto right = Adopt(new LocationProperty2(Named("n"), 7, 4, 0));
  EXPECT_TRUE(left->IsEqual(*right));
  unsigned int page = 0;
  static_cast<void>(left->GetValue(page));
  EXPECT_EQ(page, 4U);
  const auto wide = Adopt(new LocationProperty2(Named("n"), 0x100000007, 0, 0));
  const auto same = Adopt(new LocationProperty2(Named("n"), 0x100000007, 0, 0));
  EXPECT_FALSE(wide->IsEqual(*same));
  EXPECT_TRUE(right->IsEqual(*wide)) << "7 and the low half of 0x100000007";
}

}  // namespace
}  // namespace property_tests
