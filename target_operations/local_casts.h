#pragma once

#include "target_operations/property_casts.h"

/// The class-returning casts for the library's own code, under decorated names and not exported, so
/// that nothing inside calls the exported symbols by themselves. Each forwards to the exported
/// function of its kind and has the same contract, kept references included.
TargetOperations::BooleanProperty* LocalCastBoolean(TargetOperations::IProperty* property);
TargetOperations::IntegerProperty* LocalCastInteger(TargetOperations::IProperty* property);
TargetOperations::LocationProperty* LocalCastLocation(TargetOperations::IProperty* property);
TargetOperations::LocationProperty2* LocalCastLocation2(TargetOperations::IProperty* property);
TargetOperations::StringProperty* LocalCastString(TargetOperations::IProperty* property);
