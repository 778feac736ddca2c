#pragma once

#include "interfaces/qbt2_export.h"
#include "target_operations/boolean_property.h"
#include "target_operations/integer_property.h"
#include "target_operations/location_property.h"
#include "target_operations/string_property.h"

/// Casts from IProperty* to a typed interface or class, under plain symbol names for dlsym.
///
/// The result is null for null, and for an object that does not offer the interface; otherwise it
/// has one reference for the caller to release. The functions that return a class succeed only if
/// the object is of the library's class (or derived from it). For another object that offers the
/// interface (a host's own implementation, or a LocationProperty2 for CastLocation) the result is
/// null, and the object deliberately keeps the reference that the query added: hosts rely on these
/// counts.
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
