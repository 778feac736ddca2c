#pragma once

#include <cstdint>

#include "interfaces/qbt2_export.h"

/// The result of adding to the device model. Adding never throws for bad input; a refused addition
/// leaves the model unchanged. Queries do not use it: they return null or false for what does not
/// exist.
namespace EktTrace {

enum eDeviceResult : std::uint32_t {
  eDeviceOk = 0,
  eDeviceEmptyName,
  eDeviceDuplicateName,
  eDeviceDuplicateGlobalName,
  eDeviceDuplicateLink,
  eDeviceUnknownComponent,
  eDeviceUnknownLinkEnd,
  eDeviceInvalidTraceId,
  eDeviceInvalidRange,
  eDeviceOverlappingRange,
  eDeviceNullObject,
};

/// A short reason for the user, for example "the name is taken". Never null; static storage.
QBT2_API const char* DeviceResultText(eDeviceResult result);

}  // namespace EktTrace
