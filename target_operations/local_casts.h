#pragma once

#include "target_operations/property_casts.h"

/// The class-returning casts for the library's own code, which does not call the exported symbols.
/// Each forwards to the exported function of its kind, with the same contract, including the kept
/// references.
TargetOperations::BooleanProperty* LocalCastBoolean(TargetOperations::IProperty* property);
TargetOperations::IntegerProperty* LocalCastInteger(TargetOperations::IProperty* property);
TargetOperations::LocationProperty* LocalCastLocation(TargetOperations::IProperty* property);
TargetOperations::LocationProperty2* LocalCastLocation2(TargetOperations::IProperty* property);
TargetOperations::StringProperty* LocalCastString(TargetOperations::IProperty* property);
