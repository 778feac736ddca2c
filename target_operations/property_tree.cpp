#include "target_operations/property_tree.h"

#include <cstddef>
#include <utility>

#include "target_operations/property_kind.h"
#include "target_operations/reference_handle.h"

namespace TargetOperations {
namespace {

using ReferenceCounting::Adopt;
using ReferenceCounting::ReferenceHandle;
using ReferenceCounting::Share;

/// The children of a node, each with a reference until the walk has passed it.
class ChildCursor {
 public:
  /// Through the interface operation that fills an array.
  static ChildCursor FromArray(const Property& node) {
    ChildCursor cursor;
    cursor.m_children.resize(node.GetNumSubProperties());
    if (!cursor.m_children.empty()) node.GetSubProperties(cursor.m_children.data());
    return cursor;
  }
  /// Through the operation that fills a vector.
  static ChildCursor FromVector(const Property& node) {
    ChildCursor cursor;
    node.GetSubProperties(cursor.m_children);
    return cursor;
  }
  ChildCursor(const ChildCursor&) = delete;
  ChildCursor& operator=(const ChildCursor&) = delete;
  ChildCursor(ChildCursor&&) noexcept = default;
  ChildCursor& operator=(ChildCursor&&) = delete;
  ~ChildCursor() {
    while (!AtEnd()) Advance();
  }

  [[nodiscard]] bool AtEnd() const { return m_next >= m_children.size(); }
  [[nodiscard]] IProperty* Current() const { return m_children[m_next]; }
  void Advance() { const auto passed = Adopt(m_children[m_next++]); }

 private:
  ChildCursor() = default;

  std::vector<IProperty*> m_children;
  std::size_t m_next = 0;
};

Property* AsProperty(IProperty* node) {
  return dynamic_cast<Property*>(node);
}

}  // namespace

/// One node being copied. The copy of the bottom frame belongs to the caller and has no kind.
struct PropertyTree::CopyFrame {
  const Property* source;
  Property* copy;
  const PropertyKind* kind;
  ReferenceHandle<Property> owner;
  ChildCursor children;

  CopyFrame(const Property& from, Property& to)
      : source(&from), copy(&to), kind(nullptr), children(ChildCursor::FromArray(from)) {}
  CopyFrame(const Property& from, const PropertyKind& kindOfCopy)
      : source(&from),
        copy(kindOfCopy.copyNode(from)),
        kind(&kindOfCopy),
        owner(Adopt(copy)),
        children(ChildCursor::FromArray(from)) {}

  /// Attaches the copy of the current child and releases the child.
  void Attach(ReferenceHandle<IProperty> childCopy) {
    copy->AddChild(childCopy.Get());
    static_cast<void>(childCopy.Detach());
    children.Advance();
  }
};

void PropertyTree::CopyChildren(Property& copy, const Property& source) {
  std::vector<CopyFrame> path;
  path.emplace_back(source, copy);
  while (CopyNextChild(path)) {
  }
}

Property::Property(const Property& other) : Property(other, NodeOnly()) {
  PropertyTree::CopyChildren(*this, other);
}

IProperty* Property::Clone() {
  const PropertyKind& kind = PropertyKind::ToCopyAs(*this);
  ReferenceHandle<Property> copy = Adopt(kind.copyNode(*this));
  PropertyTree::CopyChildren(*copy, *this);
  kind.copyValue(*copy, *this);
  return copy.Detach();
}

/// One step of the walk; false at its end.
bool PropertyTree::CopyNextChild(std::vector<CopyFrame>& path) {
  CopyFrame& frame = path.back();
  if (frame.children.AtEnd()) {
    if (path.size() == 1) return false;
    frame.kind->copyValue(*frame.copy, *frame.source);
    ReferenceHandle<IProperty> done = Adopt<IProperty>(frame.owner.Detach());
    path.pop_back();
    path.back().Attach(std::move(done));
    return true;
  }
  IProperty* const child = frame.children.Current();
  Property* const property = AsProperty(child);
  if (property == nullptr) {
    // Null, or a node that a host implements, which has no Clone: the copy shares it.
    frame.Attach(Share(child));
  } else if (const PropertyKind* const kind = PropertyKind::OfLibraryClass(*property)) {
    path.emplace_back(*property, *kind);
  } else {
    frame.Attach(Adopt(property->Clone()));
  }
  return true;
}

/// Two nodes being compared.
struct PropertyTree::CompareFrame {
  ChildCursor left;
  ChildCursor right;

  CompareFrame(const Property& leftNode, const Property& rightNode)
      : left(ChildCursor::FromArray(leftNode)), right(ChildCursor::FromVector(rightNode)) {}

  void Advance() {
    left.Advance();
    right.Advance();
  }
};

bool PropertyTree::SameNode(Property& left, Property& right) {
  return left.m_nameAndDescription.Name() == right.m_nameAndDescription.Name() &&
         PropertyKind::SameValue(left, right) &&
         left.GetNumSubProperties() == right.GetNumSubProperties();
}

bool Property::IsEqual(Property& other) {
  if (!PropertyTree::SameNode(*this, other)) return false;
  std::vector<PropertyTree::CompareFrame> path;
  path.emplace_back(*this, other);
  while (!path.empty()) {
    if (!path.back().left.AtEnd()) {
      if (!PropertyTree::CompareNextChild(path)) return false;
      continue;
    }
    path.pop_back();
    if (!path.empty()) path.back().Advance();
  }
  return true;
}

/// One step of the walk; false at the first difference.
bool PropertyTree::CompareNextChild(std::vector<CompareFrame>& path) {
  CompareFrame& frame = path.back();
  if (frame.right.AtEnd()) return false;
  Property* const left = AsProperty(frame.left.Current());
  Property* const right = AsProperty(frame.right.Current());
  if (left != nullptr && right != nullptr && IsLibraryClass(*left)) {
    if (!SameNode(*left, *right)) return false;
    path.emplace_back(*left, *right);
    return true;
  }
  // A host's class compares itself; a node that is not a Property, or null, equals only itself.
  const bool same = left != nullptr ? right != nullptr && left->IsEqual(*right)
                                    : frame.left.Current() == frame.right.Current();
  if (same) frame.Advance();
  return same;
}

void Property::DisableAllLevel(bool disabled) {
  struct Frame {
    Property* node;
    std::size_t next = 0;
  };
  std::vector<Frame> path{{this}};
  m_disabled = disabled;
  while (!path.empty()) {
    Frame& frame = path.back();
    if (frame.next >= frame.node->m_children.size()) {
      path.pop_back();
      continue;
    }
    Property* const child = AsProperty(frame.node->m_children[frame.next++]);
    if (child == nullptr) continue;
    if (IsLibraryClass(*child)) {
      child->m_disabled = disabled;
      path.push_back({child});
    } else {
      child->DisableAllLevel(disabled);
    }
  }
}

}  // namespace TargetOperations
