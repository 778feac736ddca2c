// Trees of 100,000 nodes, as wide and as deep as that: nothing may recurse over the levels, nor
// take time that grows faster than the tree (the timeout of the test would end it).
#include <gtest/gtest.h>

#include <vector>

#include "tests/target_operations/property_fixtures.h"

namespace property_tests {
namespace {

constexpr int kNodes = 100'000;

/// `make` gives each child; a deep tree hangs each on the one before.
template <class Node, class Make>
ReferenceHandle<Node> Tree(bool deep, Make make) {
  auto root = make();
  Node* parent = root.Get();
  for (int i = 0; i < kNodes; ++i) {
    const ReferenceHandle<Node> child = Attach(*parent, make());
    if (deep) parent = child.Get();
  }
  return root;
}

class LargeTree : public testing::TestWithParam<bool> {};

TEST_P(LargeTree, ClonesComparesDisablesAndDies) {
  const std::size_t before = LiveBlocks();
  auto root = Tree<Property>(GetParam(), [] { return Node("n"); });
  auto copy = Adopt(dynamic_cast<Property*>(root->Clone()));
  EXPECT_TRUE(root->IsEqual(*copy));
  EXPECT_EQ(CountOf(*root), 1U) << "plain nodes keep no references";
  root->DisableAllLevel(true);
  const auto first = Adopt([&root] {
    std::vector<IProperty*> children;
    root->GetSubProperties(children);
    for (std::size_t i = 1; i < children.size(); ++i) static_cast<void>(Adopt(children[i]));
    return children[0];
  }());
  EXPECT_TRUE(first->IsDisabled());
  root->RemoveAllSubProperties();
  EXPECT_FALSE(root->IsEqual(*copy));
  root = nullptr;
  copy = nullptr;
  // `first` is left, with all that hangs below it in a deep tree.
  EXPECT_EQ(LiveBlocks() < before + 10, !GetParam());
}

TEST_P(LargeTree, BooleansPropagate) {
  const auto root = Tree<BooleanProperty>(GetParam(), [] { return Boolean("n", false); });
  const auto count_on = [&root] {
    int count = 0;
    std::vector<const Property*> open{root.Get()};
    while (!open.empty()) {
      const auto* const node = dynamic_cast<const BooleanProperty*>(open.back());
      open.pop_back();
      count += node->GetValue() ? 1 : 0;
      std::vector<IProperty*> children;
      node->GetSubProperties(children);
      for (IProperty* const child : children) {
        open.push_back(dynamic_cast<Property*>(child));
        child->Release();
      }
    }
    return count;
  };
  root->SetValue(true);
  EXPECT_EQ(count_on(), kNodes + 1);
  root->SetValue(false);
  EXPECT_EQ(count_on(), 0);
  root->SetValueNoUpdate(true);
  root->UpdateSubProperties();
  EXPECT_EQ(count_on(), kNodes + 1);
}

TEST(LargeTreeUpwards, TheLastSwitchOffClimbsToTheRoot) {
  BooleanProperty* leaf = nullptr;
  const auto root = Tree<BooleanProperty>(true, [&leaf] {
    auto node = Boolean("n", true);
    leaf = node.Get();
    return node;
  });
  leaf->SetValue(false);
  EXPECT_FALSE(root->GetValue());
}

INSTANTIATE_TEST_SUITE_P(Shapes, LargeTree, testing::Bool(), [](const auto& shape) {
  return std::string(shape.param ? "Deep" : "Wide");
});

}  // namespace
}  // namespace property_tests
