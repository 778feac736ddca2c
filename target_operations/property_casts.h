#pragma once

#include "interfaces/qbt2_export.h"
#include "target_operations/boolean_property.h"
#include "target_operations/integer_property.h"
#include "target_operations/location_property.h"
#include "target_operations/string_property.h"

/// From a bare IProperty* to a typed interface or class, under plain symbol names that a host finds
/// with dlsym.
///
/// Null in, null out; null too when the object does not offer the interface. What is returned
/// carries one reference for the caller to release. The functions that return a class give the
/// object only if it is of the library's class (or derived from it). If it offers the interface,
/// but is not - a host's own implementation, a LocationProperty2 given to CastLocation - the result
/// is null and the object keeps the reference that the query added. That is part of the contract.
extern "C" {
QBT2_API TargetOperations::IBooleanProperty* CastIBoolean(TargetOperations::IProperty* property);
QBT2_API TargetOperations::BooleanProperty* CastBoolean(TargetOperations::IProperty* property);
QBT2_API TargetOperations::IIntegerProperty* CastIInteger(TargetOperations::IProperty* property);
QBT2_API TargetOperations::IntegerProperty* CastInteger(TargetOperations::IProperty* property);
QBT2_API TargetOperations::ILocationProperty* CastILocation(TargetOperations::IProperty* property);
QBT2_API TargetOperations::LocationProperty* CastLocation(TargetOperations::IProperty* property);
QBT2_API TargetOperations::ILocationProperty2* CastILocation2(
    TargetOperations::IProperty* property);
QBT2_API TargetOperations::LocationProperty2* CastLocation2(TargetOperations::IProperty* property);
QBT2_API TargetOperations::IStringProperty* CastIString(TargetOperations::IProperty* property);
QBT2_API TargetOperations::StringProperty* CastString(TargetOperations::IProperty* property);
}
