// Lifetimes: attaching, cloning and releasing in every order, in trees of library nodes and of a
// host's, with and without memory. Every test ends with the allocations that it began with.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "tests/target_operations/property_fixtures.h"

namespace property_tests {
namespace {

class PropertyLifetime : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(LiveBlocks(), m_before); }

 private:
  std::size_t m_before = LiveBlocks();
};

TEST_F(PropertyLifetime, AHeldChildOutlivesItsParentAsARoot) {
  auto parent = Node("parent");
  const auto child = Attach(*parent, Node("child"));
  Attach(*child, Node("grandchild"));
  EXPECT_EQ(CountOf(*child), 2U);
  parent = nullptr;
  EXPECT_EQ(CountOf(*child), 1U);
  EXPECT_EQ(child->GetParentProperty(), nullptr);
  EXPECT_EQ(child->GetNumSubProperties(), 1U);
  // It can be attached again.
  const auto other = Node("other");
  Attach(*other, child);
  EXPECT_EQ(Adopt(child->GetParentProperty()).Get(), other.Get());
}

TEST_F(PropertyLifetime, RemovedChildrenKeepTheirParentPointer) {
  const auto parent = Node("parent");
  const auto child = Attach(*parent, Node("child"));
  parent->RemoveAllSubProperties();
  EXPECT_EQ(CountOf(*child), 1U);
  EXPECT_EQ(Adopt(child->GetParentProperty()).Get(), parent.Get());
  child->SetParent(nullptr);
}

TEST_F(PropertyLifetime, AnyOrderOfRelease) {
  std::array<int, 4> order{0, 1, 2, 3};
  do {
    std::array<ReferenceHandle<IProperty>, 4> held;
    const auto root = Node("root");
    auto inner = Attach(*root, Boolean("inner", true));
    auto leaf = Attach(*inner, Node("leaf"));
    held = {Adopt<IProperty>(Node("root").Detach()), Adopt<IProperty>(inner.Detach()),
            Adopt<IProperty>(leaf.Detach()), Adopt<IProperty>(root->Clone())};
    Property::AddChild(held[0].Get(), Share(held[1].Get()).Detach());
    for (const int index : order) held[static_cast<std::size_t>(index)] = nullptr;
  } while (std::next_permutation(order.begin(), order.end()));
}

/// Logs its name when it is destroyed or cloned.
struct LoggingNode : Property {
  LoggingNode(const char* name, std::string& log) : Property(Named(name)), m_log(log) {}
  LoggingNode(const LoggingNode& other)
      : IReferenceCount(),
        IProperty(),
        IAttachableProperty(),
        Property(other),
        m_log(other.m_log) {}
  ~LoggingNode() override { m_log += std::string(Property::GetName()) + ' '; }
  IProperty* Clone() override {
    m_log += "clone-" + std::string(GetName()) + ' ';
    return new LoggingNode(*this);
  }
  void DisableAllLevel(bool disabled) override {
    m_log += "disable-" + std::string(GetName()) + ' ';
    Property::DisableAllLevel(disabled);
  }
  std::string& m_log;
};

TEST_F(PropertyLifetime, NodesAreDestroyedParentFirstAndInOrder) {
  std::string log;
  {
    auto root = Node("root");
    const auto first =
        Attach(*root, ReferenceHandle<Property>(Adopt<Property>(new LoggingNode("1", log))));
    Attach(*first, Adopt<Property>(new LoggingNode("1.1", log)));
    const auto plain = Attach(*root, Node("plain"));
    Attach(*plain, Adopt<Property>(new LoggingNode("2.1", log)));
    Attach(*plain, Adopt<Property>(new LoggingNode("2.2", log)));
    root->AddChild(nullptr);
    Attach(*root, Adopt<Property>(new LoggingNode("3", log)));
    static_cast<void>(Adopt(root->Clone()));
  }
  // The copy is destroyed at once, the tree at the end of the block, both in this order.
  EXPECT_EQ(log,
            "clone-1 clone-1.1 clone-2.1 clone-2.2 clone-3 "
            "1 1.1 2.1 2.2 3 1 1.1 2.1 2.2 3 ");
}

/// While it is destroyed, it adds a child to its former parent and removes all.
struct MeddlingNode : LoggingNode {
  MeddlingNode(Property& parent, std::string& log)
      : LoggingNode("meddler", log), m_parent(parent) {}
  ~MeddlingNode() override {
    for (int child = 0; child < 20; ++child) m_parent.AddChild(new LoggingNode("late", m_log));
    m_parent.RemoveAllSubProperties();
    m_log += std::to_string(m_parent.GetNumSubProperties()) + ' ';
  }
  Property& m_parent;
};

TEST_F(PropertyLifetime, RemovedChildrenAreReleasedInOrderWhateverTheyDo) {
  std::string log;
  const auto parent = Node("parent");
  parent->AddChild(new LoggingNode("1", log));
  parent->AddChild(new MeddlingNode(*parent, log));
  parent->AddChild(new LoggingNode("3", log));
  parent->RemoveAllSubProperties();
  EXPECT_EQ(log.substr(0, 23), "1 23 meddler 3 late lat");
  EXPECT_EQ(log.size(), 15U + 20 * 5);
  EXPECT_EQ(parent->GetNumSubProperties(), 0U);
  parent->AddChild(new LoggingNode("again", log));
  parent->RemoveAllSubProperties();
  EXPECT_EQ(log.substr(115), "again ");
  std::string().swap(log);
}

TEST_F(PropertyLifetime, DisablingReachesAllLevelsThroughAHostsOperation) {
  std::string log;
  const auto root = Node("root");
  const auto plain = Attach(*root, Node("plain"));
  const auto logging = Attach(*plain, Adopt<Property>(new LoggingNode("w", log)));
  root->AddChild(new HostProperty);
  const Property* const all[] = {root.Get(), plain.Get(), logging.Get(),
                                 Attach(*logging, Node("below")).Get(),
                                 Attach(*root, Node("last")).Get()};
  for (const bool disabled : {true, false}) {
    root->DisableAllLevel(disabled);
    EXPECT_EQ(log, "disable-w ");
    for (const Property* node : all) EXPECT_EQ(node->IsDisabled(), disabled) << node->GetName();
    log.clear();
  }
  log.shrink_to_fit();
}

/// Releases another tree in its destructor, and logs when that has returned.
struct Owner : Property {
  Owner(Property* tree, std::string& log) : Property(Named("owner")), m_tree(tree), m_log(log) {}
  ~Owner() override {
    m_tree->Release();
    m_log += "released ";
  }
  Property* m_tree;
  std::string& m_log;
};

TEST_F(PropertyLifetime, ATreeReleasedByADestructorIsDestroyedAtOnce) {
  std::string log;
  {
    auto tree = Node("tree");
    Attach(*Attach(*tree, Node("inner")), Adopt<Property>(new LoggingNode("leaf", log)));
    const auto root = Node("root");
    const auto owner = Adopt<Property>(new Owner(tree.Detach(), log));
    Attach(*Attach(*root, Node("inner")), owner);
    Attach(*owner, Adopt<Property>(new LoggingNode("child", log)));
  }
  EXPECT_EQ(log, "leaf released child ");
}

/// A tree of each kind, four levels deep.
ReferenceHandle<Property> MixedTree() {
  auto root = Node("root");
  Property* node = root.Get();
  for (int level = 0; level < 3; ++level) {
    node->AddKeyName(PropertyKey("a key name beyond the short strings", 1));
    node->AddChild(StringProperty::Construct(Named("s"), "v", {"v", "w"},
                                             {ValueAttribute("", 1, 1, false, "")}));
    node->AddChild(IntegerProperty::Construct(Named("i"), 1, true));
    node->AddChild(LocationProperty2::Construct(Named("l"), 1));
    node->AddChild(new HostProperty);
    node = Attach(*node, Boolean("b", true)).Get();
  }
  return root;
}

TEST_F(PropertyLifetime, ACloneThatRunsOutOfMemoryLeavesNothing) {
  const auto source = MixedTree();
  const std::size_t before = LiveBlocks();
  std::size_t successes = 0;
  for (bool failed = true; failed; ++successes) {
    ReferenceHandle<IProperty> copy;
    try {
      const FailingAllocations failing(successes);
      copy = Adopt(source->Clone());
      failed = false;
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(LiveBlocks(), before) << "after " << successes << " allocations";
    }
  }
  EXPECT_GT(successes, 40U);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST_F(PropertyLifetime, DestructionNeedsNoMemory) {
  auto root = MixedTree();
  const FailingAllocations failing(0);
  root = nullptr;
}

}  // namespace
}  // namespace property_tests
