// Boolean propagation against a plain recursive model: random calls on random trees of mixed kinds
// give the same values, and the same calls to the host's nodes in the same order.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/target_operations/property_fixtures.h"

namespace property_tests {
namespace {

/// A node of the model. The three operations recurse as their definitions read.
struct Model {
  std::size_t index;
  bool boolean, host, value;
  Model* parent;
  std::string* log;
  std::vector<Model*> children;

  void Note(char call) const {
    if (host) *log += call + std::to_string(index) + ' ';
  }
  [[nodiscard]] bool AllBoolean() const {
    for (const Model* child : children) {
      if (!child->boolean) return false;
    }
    return true;
  }
  [[nodiscard]] bool AnyOn() const {
    for (const Model* child : children) {
      if (child->value) return true;
    }
    return false;
  }
  void UpdateParent() const {
    if (parent != nullptr && parent->boolean) parent->UpdateSelf();
  }
  void SetValue(bool wanted) {
    Note(wanted ? '+' : '-');
    if (wanted == value) return;
    value = wanted;
    if (AllBoolean()) {
      for (Model* child : children) child->SetValue(wanted);
    }
    if (!wanted) UpdateParent();
  }
  void UpdateSelf() {
    Note('?');
    if (!AllBoolean() || AnyOn()) return;
    value = false;
    UpdateParent();
  }
  void UpdateSubProperties() {
    if (!AllBoolean() || AnyOn()) return;
    for (Model* child : children) {
      child->Note('=');
      child->value = value;
      child->UpdateSubProperties();
    }
  }
};

/// A host's boolean, which notes the calls that reach it.
struct NotingBoolean : BooleanProperty {
  NotingBoolean(std::size_t index, bool value, std::string& log)
      : BooleanProperty(Named("n"), value), m_index(index), m_log(log) {}
  void Note(char call) const { m_log += call + std::to_string(m_index) + ' '; }
  void SetValue(bool value) override {
    Note(value ? '+' : '-');
    BooleanProperty::SetValue(value);
  }
  void SetValueNoUpdate(bool value) override {
    Note('=');
    BooleanProperty::SetValueNoUpdate(value);
  }
  void UpdateSelf() override {
    Note('?');
    BooleanProperty::UpdateSelf();
  }
  std::size_t m_index;
  std::string& m_log;
};

class BooleanReference : public testing::Test {
 protected:
  /// The same random tree twice; node 0 is the root and boolean.
  void Grow() {
    const std::size_t size = 1 + m_random() % 12;
    const bool with_host = m_random() % 2 == 0;
    m_nodes.clear();
    m_model.clear();
    m_model.reserve(size);
    for (std::size_t i = 0; i < size; ++i) {
      const bool boolean = i == 0 || m_random() % 8 != 0;
      const bool host = boolean && with_host && m_random() % 4 == 0;
      const bool value = boolean && m_random() % 2 == 0;
      Model* const parent = i == 0 ? nullptr : &m_model[m_random() % i];
      m_model.push_back({i, boolean, host, value, parent, &m_expected, {}});
      m_nodes.push_back(Make(m_model.back()));
      if (parent == nullptr) continue;
      parent->children.push_back(&m_model.back());
      Attach(*m_nodes[parent->index], m_nodes.back());
      Misplace(i);
    }
  }
  /// Now and then another group lists the node too, or it has a parent that does not list it.
  void Misplace(std::size_t i) {
    Model& model = m_model[i];
    Model& other = m_model[m_random() % i];
    switch (m_random() % 8) {
      case 0:
        other.children.push_back(&model);
        Attach(*m_nodes[other.index], m_nodes[i]);
        model.parent = &other;
        break;
      case 1:
        m_nodes[i]->SetParent(m_nodes[other.index].Get());
        model.parent = &other;
        break;
      default:
        break;
    }
  }
  /// How many groups list the node.
  [[nodiscard]] unsigned int Listings(const Model& node) const {
    unsigned int count = 0;
    for (const Model& group : m_model) {
      count += static_cast<unsigned int>(
          std::count(group.children.begin(), group.children.end(), &node));
    }
    return count;
  }
  ReferenceHandle<Property> Make(const Model& model) {
    if (!model.boolean) return Node("n");
    if (model.host) return Adopt<Property>(new NotingBoolean(model.index, model.value, m_log));
    return Adopt<Property>(new BooleanProperty(Named("n"), model.value));
  }
  BooleanProperty* At(std::size_t index) {
    return dynamic_cast<BooleanProperty*>(m_nodes[index].Get());
  }
  /// One random call on a random boolean, on both trees.
  void Call() {
    const std::size_t index = m_random() % m_nodes.size();
    BooleanProperty* const node = At(index);
    Model& model = m_model[index];
    if (node == nullptr) return;
    switch (m_random() % 5) {
      case 0:
        node->UpdateSelf();
        return model.UpdateSelf();
      case 1:
        node->UpdateSubProperties();
        return model.UpdateSubProperties();
      case 2:
        node->SetValueNoUpdate(!model.value);
        model.Note('=');
        model.value = !model.value;
        return;
      default:
        const bool value = m_random() % 2 == 0;
        node->SetValue(value);
        model.SetValue(value);
    }
  }

  std::mt19937 m_random{20240301};
  std::string m_log, m_expected;
  std::vector<Model> m_model;
  std::vector<ReferenceHandle<Property>> m_nodes;
};

TEST_F(BooleanReference, RandomCallsOnRandomTrees) {
  for (int round = 0; round < 20'000 && !HasFailure(); ++round) {
    Grow();
    for (int call = 0; call < 6; ++call) Call();
    for (const Model& model : m_model) {
      if (!model.boolean) continue;
      EXPECT_EQ(At(model.index)->GetValue(), model.value)
          << "round " << round << ", node " << model.index;
      EXPECT_EQ(CountOf(*m_nodes[model.index]), 1 + Listings(model));
    }
    EXPECT_EQ(m_log, m_expected) << "round " << round;
    m_log.clear();
    m_expected.clear();
  }
}

}  // namespace
}  // namespace property_tests
