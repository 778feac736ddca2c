#include "target_operations/property_tree.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "target_operations/local_casts.h"
#include "target_operations/reference_handle.h"

namespace TargetOperations {
namespace {

using ReferenceCounting::Adopt;
using ReferenceCounting::ReferenceHandle;
using ReferenceCounting::Share;

/// The children of a node, each held by a reference until the walk has passed it.
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

template <class Class>
constexpr PropertyTree::Kind PropertyTree::KindOf() {
  return {&typeid(Class),
          [](const Property& node) {
            if constexpr (std::is_same_v<Class, Property>) return true;
            return dynamic_cast<const Class*>(&node) != nullptr;
          },
          [](const Property& source) -> Property* {
            return new Class(static_cast<const Class&>(source), Property::NodeOnly());
          },
          [](Property& copy, const Property& source) {
            if constexpr (!std::is_same_v<Class, Property>) {
              static_cast<Class&>(copy).CopyValue(static_cast<const Class&>(source));
            }
          }};
}

/// In the order in which a node is tried when it is copied; every node is the last one's kind.
constinit const std::array<PropertyTree::Kind, 6> PropertyTree::kKinds{
    KindOf<BooleanProperty>(),   KindOf<IntegerProperty>(), KindOf<LocationProperty>(),
    KindOf<LocationProperty2>(), KindOf<StringProperty>(),  KindOf<Property>(),
};

const PropertyTree::Kind* PropertyTree::LibraryKind(const Property& node) {
  const std::type_info& type = typeid(node);
  const auto* const found = std::find_if(kKinds.begin(), kKinds.end(),
                                         [&type](const Kind& kind) { return *kind.type == type; });
  return found != kKinds.end() ? found : nullptr;
}

bool PropertyTree::IsLibraryClass(const Property& node) {
  return LibraryKind(node) != nullptr;
}

const PropertyTree::Kind& PropertyTree::KindToCopyAs(const Property& node) {
  if (const Kind* const kind = LibraryKind(node)) return *kind;
  return *std::find_if(kKinds.begin(), kKinds.end(),
                       [&node](const Kind& kind) { return kind.isKind(node); });
}

IProperty* PropertyTree::Clone(const Property& source) {
  const Kind& kind = KindToCopyAs(source);
  ReferenceHandle<Property> copy = Adopt(kind.copyNode(source));
  CopyChildren(*copy, source);
  kind.copyValue(*copy, source);
  return copy.Detach();
}

/// One node being copied. The bottom frame's copy belongs to the caller and has no kind here.
struct PropertyTree::CopyFrame {
  const Property* source;
  Property* copy;
  const Kind* kind;
  ReferenceHandle<Property> owner;
  ChildCursor children;

  CopyFrame(const Property& from, Property& to)
      : source(&from), copy(&to), kind(nullptr), children(ChildCursor::FromArray(from)) {}
  CopyFrame(const Property& from, const Kind& kindOfCopy)
      : source(&from),
        copy(kindOfCopy.copyNode(from)),
        kind(&kindOfCopy),
        owner(Adopt(copy)),
        children(ChildCursor::FromArray(from)) {}

  /// Attaches the copy of the current child and lets the child go.
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

/// One step of the walk; false when all is copied.
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
    // Null, or a node of the host's own making, which has no Clone: the copy shares it.
    frame.Attach(Share(child));
  } else if (const Kind* const kind = LibraryKind(*property)) {
    path.emplace_back(*property, *kind);
  } else {
    frame.Attach(Adopt(property->Clone()));
  }
  return true;
}

namespace {

/// Whether `right` is of this kind with an equal value, if `left` is of this kind at all. The
/// references that the casts add stay with the nodes. That is deliberate and part of the contract:
/// hosts allow for them in their own counts, so giving them back here would end nodes too early.
template <class Class>
bool SameValue(Class* (*cast)(IProperty*), Property& left, Property& right) {
  Class* const typedLeft = cast(&left);
  if (typedLeft == nullptr) return true;
  Class* const typedRight = cast(&right);
  return typedRight != nullptr && typedLeft->IsEqual(*typedRight);
}

}  // namespace

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
         SameValue(LocalCastBoolean, left, right) && SameValue(LocalCastInteger, left, right) &&
         SameValue(LocalCastLocation, left, right) && SameValue(LocalCastLocation2, left, right) &&
         SameValue(LocalCastString, left, right) &&
         left.GetNumSubProperties() == right.GetNumSubProperties();
}

bool PropertyTree::IsEqual(Property& left, Property& right) {
  if (!SameNode(left, right)) return false;
  std::vector<CompareFrame> path;
  path.emplace_back(left, right);
  while (!path.empty()) {
    if (!path.back().left.AtEnd()) {
      if (!CompareNextChild(path)) return false;
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
  // A host's class compares itself; what is no Property at all (or null) equals only itself.
  const bool same = left != nullptr ? right != nullptr && left->IsEqual(*right)
                                    : frame.left.Current() == frame.right.Current();
  if (same) frame.Advance();
  return same;
}

void PropertyTree::DisableAllLevel(Property& root, bool disabled) {
  struct Frame {
    Property* node;
    std::size_t next = 0;
  };
  std::vector<Frame> path{{&root}};
  root.m_disabled = disabled;
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

namespace {

/// Releases the children of a dying node, and the children of those that die of it, and so on,
/// without recursion: the destructor of a node that this loop releases hands its children to the
/// loop and returns.
///
/// Only the node that the loop is just releasing does so. Any other node that dies meanwhile (a
/// tree that a host's destructor lets go of) runs a loop of its own, so that its whole tree is gone
/// when its Release returns, as the releasing code expects.
class Drain {
 public:
  /// For a node being destroyed: the loop that released it, or null.
  static Drain* ReleasingNow(const IProperty* node) {
    return current != nullptr && current->m_released == node ? current : nullptr;
  }

  /// `children` becomes empty.
  void Run(std::vector<IProperty*>& children) noexcept {
    Drain* const outer = std::exchange(current, this);
    m_pending.swap(children);
    std::reverse(m_pending.begin(), m_pending.end());
    while (!m_pending.empty()) {
      m_released = m_pending.back();
      m_pending.pop_back();
      if (m_released != nullptr) m_released->Release();
    }
    current = outer;
  }

  /// Puts the children first in line, in their order. False if there is no memory for that.
  bool Defer(const std::vector<IProperty*>& children) noexcept {
    m_released = nullptr;
    try {
      m_pending.insert(m_pending.end(), children.rbegin(), children.rend());
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

 private:
  static thread_local constinit Drain* current;

  std::vector<IProperty*> m_pending;  // the next one at the back
  const IProperty* m_released = nullptr;
};

thread_local constinit Drain* Drain::current = nullptr;

}  // namespace

void PropertyTree::ReleaseChildren(Property& node) noexcept {
  for (IProperty* const child : node.m_children) {
    if (Property* const property = AsProperty(child)) property->SetParent(nullptr);
  }
  Drain* const drain = Drain::ReleasingNow(&node);
  if (drain != nullptr && drain->Defer(node.m_children)) return;
  Drain().Run(node.m_children);
}

}  // namespace TargetOperations
