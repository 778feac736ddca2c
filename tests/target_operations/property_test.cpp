#include "target_operations/property.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "tests/target_operations/property_fixtures.h"

namespace property_tests {
namespace {

TEST(Property, TestKeyHook) {
  const auto node = Node("n");
  EXPECT_TRUE(node->IsKeyName("TESTKEY"));
  EXPECT_FALSE(node->IsKeyName("testkey"));
  node->SetChildKey("TESTKEY");
  EXPECT_FALSE(node->IsKeyName("TESTKEY"));
  node->SetChildKey("");
  node->AddKeyName(PropertyKey("a", 1));
  EXPECT_FALSE(node->IsKeyName("TESTKEY"));
  node->AddKeyName(PropertyKey("TESTKEY", 2));
  EXPECT_TRUE(node->IsKeyName("TESTKEY"));
  node->RemoveAllKeys();
  EXPECT_TRUE(node->IsKeyName("TESTKEY"));
}

TEST(Property, KeysAreFoundByWholeName) {
  const auto node = Node("n");
  node->AddKeyName(PropertyKey("key", 7));
  node->AddKeyName(PropertyKey("key", 8));
  node->AddKeyName(PropertyKey("", 9));
  EXPECT_EQ(node->GetKeyNumber("key"), 7U);
  EXPECT_EQ(node->GetKeyNumber("ke"), 0U);
  EXPECT_EQ(node->GetKeyNumber("keys"), 0U);
  EXPECT_FALSE(node->IsKeyName("ke"));
  EXPECT_EQ(node->GetKeyNumber(nullptr), 9U);
  EXPECT_TRUE(node->IsKeyName(nullptr));
}

TEST(Property, NullTextsAreEmpty) {
  const auto node = Node("n");
  const std::pair<void (Property::*)(const char*), const char* (Property::*)() const> texts[] = {
      {&Property::SetName, &Property::GetName},
      {&Property::SetDescription, &Property::GetDescription},
      {&Property::SetChildKey, &Property::GetChildKey},
      {&Property::SetSameLevelKey, &Property::GetSameLevelKey}};
  for (const auto& [set, get] : texts) {
    (node.Get()->*set)("x");
    EXPECT_STREQ((node.Get()->*get)(), "x");
    (node.Get()->*set)(nullptr);
    EXPECT_STREQ((node.Get()->*get)(), "");
  }
}

TEST(Property, NullChildrenAndNodes) {
  const auto node = Node("n");
  const auto child = Node("child");
  Property::AddChild(node.Get(), nullptr);
  Property::AddChild(nullptr, child.Get());
  const auto host = Adopt(new HostProperty);
  Property::AddChild(host.Get(), child.Get());
  EXPECT_EQ(CountOf(*child), 1U);
  EXPECT_EQ(node->GetNumSubProperties(), 1U);
  std::array<IProperty*, 1> out{node.Get()};
  node->GetSubProperties(out.data());
  EXPECT_EQ(out[0], nullptr);
  node->GetSubProperties(static_cast<IProperty**>(nullptr));
  std::vector<IProperty*> list;
  Property::GetSubProperties(nullptr, list);
  EXPECT_TRUE(list.empty());
  node->DisableAllLevel(true);
  const auto copy = Adopt(dynamic_cast<Property*>(node->Clone()));
  EXPECT_TRUE(copy->IsEqual(*node));
  node->RemoveAllSubProperties();
  EXPECT_FALSE(copy->IsEqual(*node));
}

TEST(Property, ChildrenAreListedInOrderWithAReferenceEach) {
  const auto node = Node("n");
  const auto first = Attach(*node, Node("1"));
  const auto second = Attach(*node, Boolean("2", true));
  std::vector<IProperty*> list{nullptr};
  node->GetSubProperties(list);
  Property::GetSubProperties(node.Get(), list);
  const std::vector<IProperty*> expected{nullptr, first.Get(), second.Get(), first.Get(),
                                         second.Get()};
  EXPECT_EQ(list, expected);
  EXPECT_EQ(CountOf(*first), 4U);
  for (IProperty* const child : list) static_cast<void>(Adopt(child));
  const auto parent = Adopt(second->GetParentProperty());
  EXPECT_EQ(parent.Get(), node.Get());
  EXPECT_EQ(CountOf(*node), 2U);
}

ReferenceHandle<Property> ThreeLevels() {
  auto root = Node("root");
  const auto group = Attach(*root, Boolean("group", true));
  group->SetChildKey("key");
  group->AddKeyName(PropertyKey("k", 3));
  group->SetEditable(false);
  group->SetCategory(4);
  group->SetEnumValue(-5);
  group->SetSameLevelKey("level");
  group->SetHaltCPU(true);
  group->SetDisabled(true);
  group->SetReplacable(static_cast<eREPLACABLE>(6));
  group->AddChild(IntegerProperty::Construct(Named("integer"), 1, false));
  group->AddChild(LocationProperty::Construct(Named("location"), 2));
  group->AddChild(LocationProperty2::Construct(Named("location 2"), 3));
  root->AddChild(StringProperty::Construct(Named("string"), "text"));
  root->AddChild(new HostProperty);
  root->AddChild(nullptr);
  return root;
}

TEST(Property, CloneCopiesEveryFieldAndLevel) {
  const auto source = ThreeLevels();
  source->SetParent(source.Get());
  const auto copy = Adopt(source->Clone());
  source->SetParent(nullptr);
  EXPECT_EQ(copy->GetParentProperty(), nullptr);
  EXPECT_STREQ(copy->GetName(), "root");
  EXPECT_STREQ(copy->GetDescription(), "description");
  std::vector<IProperty*> children;
  Property::GetSubProperties(copy.Get(), children);
  ASSERT_EQ(children.size(), 4U);
  auto* const group = dynamic_cast<BooleanProperty*>(children[0]);
  ASSERT_NE(group, nullptr);
  EXPECT_EQ(Adopt(group->GetParentProperty()).Get(), copy.Get());
  EXPECT_TRUE(group->GetValue());
  EXPECT_STREQ(group->GetChildKey(), "key");
  EXPECT_EQ(group->GetKeyNumber("k"), 3U);
  EXPECT_FALSE(group->IsEditable());
  EXPECT_EQ(group->GetCategory(), 4U);
  EXPECT_EQ(group->GetEnumValue(), -5);
  EXPECT_STREQ(group->GetSameLevelKey(), "level");
  EXPECT_TRUE(group->IsHaltCPU());
  EXPECT_TRUE(group->IsDisabled());
  EXPECT_EQ(group->IsReplacable(), 6U);
  EXPECT_EQ(group->GetNumSubProperties(), 3U);
  // The host's node is shared: one reference of either tree and one of `children`.
  EXPECT_EQ(CountOf(*children[2]), 3U);
  for (IProperty* const child : children) static_cast<void>(Adopt(child));
}

TEST(Property, EqualityComparesShapeNamesKindsAndValues) {
  struct Case {
    const char* what;
    bool equal;
    void (*change)(Property& group);
  };
  const Case cases[] = {
      {"nothing", true, [](Property&) {}},
      {"description, flags, tags and keys", true,
       [](Property& group) {
         group.SetDescription("");
         group.DisableAllLevel(true);
         group.SetCategory(9);
         group.AddKeyName(PropertyKey("k", 1));
       }},
      {"name", false, [](Property& group) { group.SetName("grouq"); }},
      {"one child more", false, [](Property& group) { group.AddChild(nullptr); }},
      {"no children", false, [](Property& group) { group.RemoveAllSubProperties(); }},
      {"order", false,
       [](Property& group) {
         group.RemoveAllSubProperties();
         group.AddChild(Node("b").Detach());
         group.AddChild(Node("a").Detach());
       }},
      {"a host's node", false,
       [](Property& group) {
         group.RemoveAllSubProperties();
         group.AddChild(Node("a").Detach());
         group.AddChild(new HostProperty);
       }},
  };
  for (const Case& tested : cases) {
    // Plain nodes keep no references, so nothing is left to release.
    const auto left = Node("root");
    const auto group = Attach(*left, Node("group"));
    Attach(*group, Node("a"));
    Attach(*group, Node("b"));
    Attach(*left, Node("last"));
    const auto right = Adopt(dynamic_cast<Property*>(left->Clone()));
    tested.change(*group);
    EXPECT_EQ(left->IsEqual(*right), tested.equal) << tested.what;
    EXPECT_EQ(right->IsEqual(*left), tested.equal) << tested.what;
  }
}

TEST(Property, EqualityKeepsReferencesOnTypedNodes) {
  struct Case {
    const char* what;
    IProperty* (*make)(bool other);
    unsigned int keptLeft, keptRight;
    bool equal;
  };
  const Case cases[] = {
      {"plain", [](bool) { return Property::Construct(Named("n")); }, 0, 0, true},
      {"boolean", [](bool) { return BooleanProperty::Construct(Named("n"), true); }, 1, 1, true},
      {"boolean, other value", [](bool o) { return BooleanProperty::Construct(Named("n"), o); }, 1,
       1, false},
      {"integer", [](bool) { return IntegerProperty::Construct(Named("n"), 3, false); }, 1, 1,
       true},
      {"string", [](bool) { return StringProperty::Construct(Named("n"), "s"); }, 1, 1, true},
      {"location", [](bool) { return LocationProperty::Construct(Named("n"), 3); }, 1, 1, true},
      // The attempt as a location keeps one more reference.
      {"location 2", [](bool) { return LocationProperty2::Construct(Named("n"), 3); }, 2, 1, true},
      {"boolean and plain",
       [](bool o) {
         return o ? Property::Construct(Named("n")) : BooleanProperty::Construct(Named("n"), true);
       },
       1, 0, false},
      // Deliberately, only the kind of the left node counts: a plain node equals any of its name.
      {"plain and boolean",
       [](bool o) {
         return o ? BooleanProperty::Construct(Named("n"), true) : Property::Construct(Named("n"));
       },
       0, 0, true},
      {"location and location 2",
       [](bool o) {
         return o ? LocationProperty2::Construct(Named("n"), 3)
                  : LocationProperty::Construct(Named("n"), 3);
       },
       1, 1, false},
  };
  for (const Case& tested : cases) {
    const auto left = Adopt(dynamic_cast<Property*>(tested.make(false)));
    const auto right = Adopt(dynamic_cast<Property*>(tested.make(true)));
    EXPECT_EQ(left->IsEqual(*right), tested.equal) << tested.what;
    EXPECT_EQ(CountOf(*left), 1 + tested.keptLeft) << tested.what;
    EXPECT_EQ(CountOf(*right), 1 + tested.keptRight) << tested.what;
    // Kept by design; released here, so that the leak checker reports real leaks only.
    for (unsigned int i = 0; i < tested.keptLeft; ++i) left->Release();
    for (unsigned int i = 0; i < tested.keptRight; ++i) right->Release();
  }
}

TEST(PropertyValues, Equality) {
  const ValueAttribute base("key", 1, 2, true, "level");
  ValueAttribute disabled = base;
  disabled.SetDisabled(true);
  const ValueAttribute others[] = {
      {"kez", 1, 2, true, "level"},  {"key", 9, 2, true, "level"}, {"key", 1, 9, true, "level"},
      {"key", 1, 2, false, "level"}, {"key", 1, 2, true, "other"}, disabled,
  };
  EXPECT_TRUE(base == ValueAttribute("key", 1, 2, true, "level"));
  for (const ValueAttribute& other : others) {
    EXPECT_FALSE(base == other) << (&other - others);
  }
  EXPECT_TRUE(PropertyKey("a", 1) == PropertyKey("a", 1));
  EXPECT_FALSE(PropertyKey("a", 1) == PropertyKey("a", 2));
  EXPECT_FALSE(PropertyKey("a", 1) == PropertyKey("b", 1));
}

}  // namespace
}  // namespace property_tests
