#pragma once

#include <vector>

#include "target_operations/property.h"

/// Operations on whole trees, on a stack of their own instead of the call stack, so that only
/// memory limits the depth of a tree. Internal to the library; like the tree, used by one thread at
/// a time.
///
/// Nodes of exactly the library's classes are walked here. A node of a class that a host derived
/// from them may override any operation, so its own virtual operation is called; that uses the call
/// stack once for each such node on a path. property_tree.cpp also defines those members of
/// Property that concern the tree: copying, comparing and DisableAllLevel. Destruction is in
/// property_release.cpp.
namespace TargetOperations {

class PropertyTree {
 public:
  /// Gives `copy`, which has no children yet, copies of all children of `source`.
  static void CopyChildren(Property& copy, const Property& source);

  /// The children themselves, without references and past the virtual operations.
  [[nodiscard]] static const std::vector<IProperty*>& Children(const Property& node) {
    return node.m_children;
  }
  /// The parent without a reference, or null.
  [[nodiscard]] static const Property* Parent(const Property& node) { return node.m_parent; }

 private:
  friend class Property;

  struct CopyFrame;
  static bool CopyNextChild(std::vector<CopyFrame>& path);

  struct CompareFrame;
  static bool SameNode(Property& left, Property& right);
  static bool CompareNextChild(std::vector<CompareFrame>& path);
};

}  // namespace TargetOperations
