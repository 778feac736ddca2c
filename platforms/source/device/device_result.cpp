#include "platforms/source/device/device_result.h"

namespace EktTrace {

const char* DeviceResultText(eDeviceResult result) {
  switch (result) {
    case eDeviceOk:
      return "done";
    case eDeviceEmptyName:
      return "the name is empty";
    case eDeviceDuplicateName:
      return "the name is taken";
    case eDeviceDuplicateGlobalName:
      return "the global name is taken";
    case eDeviceDuplicateLink:
      return "the link is there already";
    case eDeviceUnknownComponent:
      return "there is no component of this name";
    case eDeviceUnknownLinkEnd:
      return "there is no component or trace receiver of this name";
    case eDeviceInvalidTraceId:
      return "a trace id is 0x01 to 0x6F";
    case eDeviceInvalidRange:
      return "the size is 0 or the range goes past the end of the address space";
    case eDeviceOverlappingRange:
      return "the range overlaps that of another module";
    case eDeviceNullObject:
      return "there is no object to add";
  }
  return "unknown result";
}

}  // namespace EktTrace
