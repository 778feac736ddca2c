#pragma once

#include <cstdint>

#include "interfaces/qbt2_export.h"

/// How an attempt to add to the device model ended. Building a model returns one of these and never
/// throws for bad input; a refused addition leaves the model as it was. Queries do not use it: they
/// answer null or false for what is not there.
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
};

/// A short reason for the user, for example "the name is taken". Never null; static storage.
QBT2_API const char* DeviceResultText(eDeviceResult result);

}  // namespace EktTrace
