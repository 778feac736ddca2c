#pragma once

#include <typeinfo>

/// The library's classes of nodes, as far as the operations on whole trees need to tell them apart.
/// The table of the classes is in library_kinds.cpp. Internal to the library; constant data.
namespace TargetOperations {

class Property;

/// One class of nodes. A node is copied in three steps: its fields, its children, and last its
/// value, as a host's class may override what the value is read through.
struct PropertyKind {
  const std::type_info* type;
  bool (*isKind)(const Property& node);
  Property* (*copyNode)(const Property& source);
  void (*copyValue)(Property& copy, const Property& source);

  /// The kind of a node of exactly one of the library's classes; null for a host's class, which may
  /// override any operation.
  [[nodiscard]] static const PropertyKind* OfLibraryClass(const Property& node);
  /// The kind as which a node is copied: for a host's class that of its base.
  [[nodiscard]] static const PropertyKind& ToCopyAs(const Property& node);
  /// Whether `right` is of the same typed kind as `left`, with an equal value; true for a plain
  /// `left`. Leaves references behind on both nodes: see Property::IsEqual.
  [[nodiscard]] static bool SameValue(Property& left, Property& right);

 private:
  template <class Class>
  static constexpr PropertyKind Of();
  friend struct LibraryKinds;
};

/// True if nothing overrides the library's operations in this node.
[[nodiscard]] inline bool IsLibraryClass(const Property& node) {
  return PropertyKind::OfLibraryClass(node) != nullptr;
}

}  // namespace TargetOperations
