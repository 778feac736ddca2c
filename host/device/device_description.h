#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "interfaces/device_session_if.h"
#include "platforms/source/device/device_base.h"

/// What a host knows of a traced device, read from a JSON file: the device model, the numbers and
/// the object file that a session answers, and the settings. docs/use/device-description.md lists
/// the members of the file; examples/soc.json has all of them. A description is plain data of one
/// thread.
namespace qbt2 {

/// A setting's value as text, and how a configuration manager is to convert it.
struct DescribedSetting {
  std::string value;
  EktTrace::eSessionPropertyKind kind = EktTrace::eSessionText;
};

struct DeviceDescription {
  std::unique_ptr<EktTrace::DeviceBase_t> device;  ///< never null
  int first_number = 0;                            ///< the numbers' meaning is the user's
  int second_number = 0;
  std::string object_file;  ///< path as written in the description; may be empty
  std::map<std::string, DescribedSetting> settings;
};

/// Reads a description. Throws Error (kInput) with file, place in the document and reason; nothing
/// is taken from a description with an error.
DeviceDescription load_device_description(const std::string& path);

/// The same from memory; `file` is the name that messages give it.
DeviceDescription parse_device_description(std::string_view text, const std::string& file);

/// What is taken where the user describes no device: a device "SOC" with the component
/// MOD_QBTRACER0 whose list "masterid.proc" is empty, and no settings.
DeviceDescription default_device_description();

}  // namespace qbt2
