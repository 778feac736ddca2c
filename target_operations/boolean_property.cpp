#include "target_operations/boolean_property.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "target_operations/property_kind.h"
#include "target_operations/property_tree.h"
#include "target_operations/reference_handle.h"

namespace TargetOperations {
namespace {

using BooleanHandle = ReferenceCounting::ReferenceHandle<BooleanProperty>;
using BooleanList = std::vector<BooleanHandle>;

/// A node whose children are being set, and the next one. The references keep the children alive
/// whatever a host's class does in between.
struct GroupFrame {
  BooleanProperty* node;
  BooleanList children;
  std::size_t next = 0;
  bool reports = false;         ///< whether its parent is updated once its children are set
  bool childrenReport = false;  ///< whether all its children's parents are
};

BooleanProperty* AsBoolean(IProperty* property) {
  return dynamic_cast<BooleanProperty*>(property);
}

/// All children; none if one of them is not boolean.
BooleanList BooleanChildren(const Property& node) {
  const std::vector<IProperty*>& children = PropertyTree::Children(node);
  BooleanList list;
  list.reserve(children.size());
  for (IProperty* const child : children) {
    list.push_back(ReferenceCounting::Share(AsBoolean(child)));
    if (!list.back()) return {};
  }
  return list;
}

/// BooleanChildren, or none if one of them is on.
BooleanList SwitchedOffChildren(const Property& node) {
  BooleanList list = BooleanChildren(node);
  const bool anyOn = std::any_of(list.begin(), list.end(),
                                 [](const BooleanHandle& child) { return child->GetValue(); });
  return anyOn ? BooleanList() : std::move(list);
}

/// True also for a node without children.
bool AllChildrenOff(const Property& node) {
  const std::vector<IProperty*>& children = PropertyTree::Children(node);
  return std::all_of(children.begin(), children.end(), [](IProperty* child) {
    const BooleanProperty* const boolean = AsBoolean(child);
    return boolean != nullptr && !boolean->GetValue();
  });
}

BooleanHandle BooleanParent(const Property& node) {
  const auto parent = ReferenceCounting::Adopt(node.GetParentProperty());
  return ReferenceCounting::Share(AsBoolean(parent.Get()));
}

/// Whether the node or a boolean node above it is of a host's class.
bool HostClassAtOrAbove(BooleanProperty& node) {
  BooleanHandle current = ReferenceCounting::Share(&node);
  while (current && IsLibraryClass(*current)) current = BooleanParent(*current);
  return static_cast<bool>(current);
}

}  // namespace

BooleanProperty::BooleanProperty(const NameAndDescription& nameAndDescription, bool value)
    : Property(nameAndDescription), m_value(value) {}

BooleanProperty::BooleanProperty(const BooleanProperty& other, NodeOnly)
    : IReferenceCount(),
      IProperty(),
      IAttachableProperty(),
      Property(other, NodeOnly()),
      IBooleanProperty(),
      m_value(false) {}

BooleanProperty::BooleanProperty(const BooleanProperty& other)
    : BooleanProperty(other, NodeOnly()) {
  PropertyTree::CopyChildren(*this, other);
  CopyValue(other);
}

void BooleanProperty::CopyValue(const BooleanProperty& source) {
  m_value = source.GetValue();
}

IProperty* BooleanProperty::Construct(const NameAndDescription& nameAndDescription, bool value) {
  return new BooleanProperty(nameAndDescription, value);
}

void* BooleanProperty::QueryInterface(ReferenceCounting::_ClassID id) {
  if (id != ReferenceCounting::ID_IBooleanProperty) return Property::QueryInterface(id);
  AddRef();
  return static_cast<IBooleanProperty*>(this);
}

const char* BooleanProperty::GetChildKey() const {
  return m_value ? Property::GetChildKey() : "";
}

bool BooleanProperty::GetValue() const {
  return m_value;
}

void BooleanProperty::SetValueNoUpdate(bool value) {
  m_value = value;
}

void BooleanProperty::SetValue(bool value) {
  if (value == m_value) return;
  m_value = value;
  SetTree(value);
  if (!value) UpdateParent();
}

/// Sets the children depth first, as if SetValue were called on each child in order; this node has
/// its value already.
///
/// A child that is switched off calls UpdateSelf on its parent, which goes up as long as all groups
/// on the way are off. Inside a tree that is being switched off these calls change nothing, as its
/// groups are off already, and what they do above its root, the root's own call repeats at the end.
/// So they are left out: with them, a wide or a deep tree would take quadratic time. Only a node of
/// a host's class, at the root or above, could notice, as it may override UpdateSelf; then every
/// call is made.
///
/// All this holds for a child whose parent is the group that lists it. Another child (two groups
/// list it, or SetParent was called) is the root of a tree of its own, with a call at its end.
void BooleanProperty::SetTree(bool value) {
  const auto enter = [value](BooleanProperty& node) {
    GroupFrame group{&node, BooleanChildren(node)};
    group.childrenReport = !value && !group.children.empty() && HostClassAtOrAbove(node);
    return group;
  };
  std::vector<GroupFrame> path;
  path.push_back(enter(*this));
  while (!path.empty()) {
    GroupFrame& group = path.back();
    if (group.next == group.children.size()) {
      const BooleanHandle done = ReferenceCounting::Share(group.node);
      const bool reports = group.reports;
      path.pop_back();
      if (reports) done->UpdateParent();
      continue;
    }
    BooleanProperty& child = *group.children[group.next++];
    if (!IsLibraryClass(child)) {
      child.SetValue(value);
    } else if (child.m_value != value) {
      child.m_value = value;
      if (PropertyTree::Parent(child) == group.node) {
        GroupFrame below{&child, BooleanChildren(child)};
        below.reports = below.childrenReport = group.childrenReport;
        path.push_back(std::move(below));
      } else {
        path.push_back(enter(child));
        path.back().reports = !value;
      }
    }
  }
}

void BooleanProperty::UpdateParent() const {
  const BooleanHandle parent = BooleanParent(*this);
  if (parent) parent->UpdateSelf();
}

void BooleanProperty::UpdateSelf() {
  BooleanHandle node = ReferenceCounting::Share(this);
  while (AllChildrenOff(*node)) {
    node->m_value = false;
    node = BooleanParent(*node);
    if (!node) return;
    if (!IsLibraryClass(*node)) return node->UpdateSelf();
  }
}

void BooleanProperty::UpdateSubProperties() {
  std::vector<GroupFrame> path;
  path.push_back({this, SwitchedOffChildren(*this)});
  while (!path.empty()) {
    GroupFrame& group = path.back();
    if (group.next == group.children.size()) {
      path.pop_back();
      continue;
    }
    BooleanProperty& child = *group.children[group.next++];
    child.SetValueNoUpdate(group.node->m_value);
    path.push_back({&child, SwitchedOffChildren(child)});
  }
}

bool BooleanProperty::IsEqual(BooleanProperty& other) {
  return m_value == other.m_value;
}

}  // namespace TargetOperations
