#pragma once

#include <array>
#include <typeinfo>
#include <vector>

#include "target_operations/property.h"

/// The operations of Property that concern a whole tree, on stacks of their own instead of the
/// call stack, so that a tree's depth is limited by memory only. Internal to the library; like the
/// tree, used by one thread at a time.
///
/// Nodes of exactly the library's classes are walked here. A node of a class that a host derived
/// from them may override any operation, so its own virtual operation is called for it; that costs
/// call stack once per such node on a path.
namespace TargetOperations {

class PropertyTree {
 public:
  /// True if nothing overrides the library's operations in this node.
  [[nodiscard]] static bool IsLibraryClass(const Property& node);

  /// A deep copy; the caller owns the one reference.
  [[nodiscard]] static IProperty* Clone(const Property& source);
  /// Gives `copy`, which has no children yet, copies of all children of `source`.
  static void CopyChildren(Property& copy, const Property& source);
  [[nodiscard]] static bool IsEqual(Property& left, Property& right);
  static void DisableAllLevel(Property& root, bool disabled);
  /// The part of the destructor that deals with the children. They die in the order of a recursive
  /// destruction, each parent before its children.
  static void ReleaseChildren(Property& node) noexcept;

  [[nodiscard]] static const std::vector<IProperty*>& Children(const Property& node) {
    return node.m_children;
  }

 private:
  /// How a node of one of the library's classes is copied: its fields, then its children, last its
  /// value (a host's class may override what the value is read through).
  struct Kind {
    const std::type_info* type;
    bool (*isKind)(const Property& node);
    Property* (*copyNode)(const Property& source);
    void (*copyValue)(Property& copy, const Property& source);
  };
  static const std::array<Kind, 6> kKinds;

  template <class Class>
  static constexpr Kind KindOf();
  /// Null for a host's class.
  static const Kind* LibraryKind(const Property& node);
  static const Kind& KindToCopyAs(const Property& node);

  struct CopyFrame;
  static bool CopyNextChild(std::vector<CopyFrame>& path);

  struct CompareFrame;
  static bool SameNode(Property& left, Property& right);
  static bool CompareNextChild(std::vector<CompareFrame>& path);
};

}  // namespace TargetOperations
