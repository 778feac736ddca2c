// Trees of 100,000 nodes, wide and deep: nothing may recurse over the levels, or take time that
// grows faster than the tree (the test would time out).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/target_operations/property_fixtures.h"

namespace property_tests {
namespace {

constexpr int kNodes = 100'000;

/// The root, and every node in the order made; a deep tree hangs each on the one before.
template <class Node>
struct Tree {
  Tree(bool deep, ReferenceHandle<Node> (*make)()) : root(make()), nodes{root.Get()} {
    for (int i = 0; i < kNodes; ++i) {
      nodes.push_back(Attach(*(deep ? nodes.back() : root.Get()), make()).Get());
    }
  }
  ReferenceHandle<Node> root;
  std::vector<Node*> nodes;
};

class LargeTree : public testing::TestWithParam<bool> {};

TEST_P(LargeTree, ClonesComparesDisablesAndIsDestroyed) {
  const std::size_t before = LiveBlocks();
  ReferenceHandle<Property> first;
  {
    const Tree<Property> tree(GetParam(), [] { return Node("n"); });
    const auto copy = Adopt(dynamic_cast<Property*>(tree.root->Clone()));
    EXPECT_TRUE(tree.root->IsEqual(*copy));
    EXPECT_EQ(CountOf(*tree.root), 1U) << "plain nodes keep no references";
    tree.root->DisableAllLevel(true);
    for (const Property* node : tree.nodes) ASSERT_TRUE(node->IsDisabled());
    first = Share(tree.nodes[1]);
    tree.root->RemoveAllSubProperties();
    EXPECT_FALSE(tree.root->IsEqual(*copy));
  }
  // `first` is left, with all that hangs below it in a deep tree.
  EXPECT_EQ(LiveBlocks() < before + 10, !GetParam());
}

TEST_P(LargeTree, BooleansPropagate) {
  const Tree<BooleanProperty> tree(GetParam(), [] { return Boolean("n", false); });
  const auto count_on = [&tree] {
    return std::count_if(tree.nodes.begin(), tree.nodes.end(),
                         [](const BooleanProperty* node) { return node->GetValue(); });
  };
  tree.root->SetValue(true);
  EXPECT_EQ(count_on(), kNodes + 1);
  tree.root->SetValue(false);
  EXPECT_EQ(count_on(), 0);
  tree.root->SetValueNoUpdate(true);
  tree.root->UpdateSubProperties();
  EXPECT_EQ(count_on(), kNodes + 1);
}

TEST(LargeTreeUpwards, TheLastSwitchOffClimbsToTheRoot) {
  const Tree<BooleanProperty> tree(true, [] { return Boolean("n", true); });
  tree.nodes.back()->SetValue(false);
  EXPECT_FALSE(tree.root->GetValue());
}

INSTANTIATE_TEST_SUITE_P(Shapes, LargeTree, testing::Bool(), [](const auto& shape) {
  return std::string(shape.param ? "Deep" : "Wide");
});

}  // namespace
}  // namespace property_tests
