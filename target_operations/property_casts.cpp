#include "target_operations/property_casts.h"

#include "target_operations/reference_handle.h"

namespace TargetOperations {
namespace {

/// The interface with a reference for the caller, or null.
template <class Interface>
Interface* CastToInterface(IProperty* property) {
  return ReferenceCounting::Query<Interface>(property).Detach();
}

/// Deliberately keeps the reference of the query when the class differs: the counts that these
/// functions leave are part of the contract with hosts.
template <class Class, class Interface>
Class* CastToClass(IProperty* property) {
  return dynamic_cast<Class*>(CastToInterface<Interface>(property));
}

}  // namespace
}  // namespace TargetOperations

using namespace TargetOperations;

extern "C" {

IBooleanProperty* CastIBoolean(IProperty* property) {
  return CastToInterface<IBooleanProperty>(property);
}

BooleanProperty* CastBoolean(IProperty* property) {
  return CastToClass<BooleanProperty, IBooleanProperty>(property);
}

IIntegerProperty* CastIInteger(IProperty* property) {
  return CastToInterface<IIntegerProperty>(property);
}

IntegerProperty* CastInteger(IProperty* property) {
  return CastToClass<IntegerProperty, IIntegerProperty>(property);
}

ILocationProperty* CastILocation(IProperty* property) {
  return CastToInterface<ILocationProperty>(property);
}

LocationProperty* CastLocation(IProperty* property) {
  return CastToClass<LocationProperty, ILocationProperty>(property);
}

ILocationProperty2* CastILocation2(IProperty* property) {
  return CastToInterface<ILocationProperty2>(property);
}

LocationProperty2* CastLocation2(IProperty* property) {
  return CastToClass<LocationProperty2, ILocationProperty2>(property);
}

IStringProperty* CastIString(IProperty* property) {
  return CastToInterface<IStringProperty>(property);
}

StringProperty* CastString(IProperty* property) {
  return CastToClass<StringProperty, IStringProperty>(property);
}

}  // extern "C"
