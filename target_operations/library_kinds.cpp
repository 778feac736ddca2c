// The table of the library's node classes, and what is looked up in it.
#include <algorithm>
#include <array>
#include <type_traits>

#include "target_operations/local_casts.h"
#include "target_operations/property_kind.h"

namespace TargetOperations {

template <class Class>
constexpr PropertyKind PropertyKind::Of() {
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

/// In the order in which a node is tried when it is copied; every node is of the last kind.
struct LibraryKinds {
  static constexpr std::array<PropertyKind, 6> kAll{
      PropertyKind::Of<BooleanProperty>(),  PropertyKind::Of<IntegerProperty>(),
      PropertyKind::Of<LocationProperty>(), PropertyKind::Of<LocationProperty2>(),
      PropertyKind::Of<StringProperty>(),   PropertyKind::Of<Property>(),
  };
};

const PropertyKind* PropertyKind::OfLibraryClass(const Property& node) {
  const std::type_info& type = typeid(node);
  const auto* const found =
      std::find_if(LibraryKinds::kAll.begin(), LibraryKinds::kAll.end(),
                   [&type](const PropertyKind& kind) { return *kind.type == type; });
  return found != LibraryKinds::kAll.end() ? found : nullptr;
}

const PropertyKind& PropertyKind::ToCopyAs(const Property& node) {
  if (const PropertyKind* const kind = OfLibraryClass(node)) return *kind;
  return *std::find_if(LibraryKinds::kAll.begin(), LibraryKinds::kAll.end(),
                       [&node](const PropertyKind& kind) { return kind.isKind(node); });
}

namespace {

/// Whether `right` is of this kind with an equal value, if `left` is of this kind at all. The
/// references that the casts add are deliberately kept, as part of the contract: hosts allow for
/// them in their own counts, so releasing them here would destroy nodes too early.
template <class Class>
bool SameValueOf(Class* (*cast)(IProperty*), Property& left, Property& right) {
  Class* const typedLeft = cast(&left);
  if (typedLeft == nullptr) return true;
  Class* const typedRight = cast(&right);
  return typedRight != nullptr && typedLeft->IsEqual(*typedRight);
}

}  // namespace

bool PropertyKind::SameValue(Property& left, Property& right) {
  return SameValueOf(LocalCastBoolean, left, right) && SameValueOf(LocalCastInteger, left, right) &&
         SameValueOf(LocalCastLocation, left, right) &&
         SameValueOf(LocalCastLocation2, left, right) && SameValueOf(LocalCastString, left, right);
}

}  // namespace TargetOperations
