#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/device/described_setting.h"
#include "platforms/source/device/device_base.h"

/// What a host knows of a traced device, read from a JSON file: the device model, the numbers and
/// the object file that a session returns, and the settings. docs/use/device-description.md lists
/// the members of the file; examples/soc.json has all of them. A description is plain data of one
/// thread.
namespace qbt2 {

/// The bus tracer's component, and its list of masters: an entry is a name and an id.
inline constexpr std::string_view kTracerName = "MOD_QBTRACER0";
inline constexpr std::string_view kMasterList = "masterid.proc";

struct DeviceDescription {
  std::unique_ptr<EktTrace::DeviceBase_t> device;  ///< never null
  int first_number = 0;                            ///< the user defines what the numbers mean
  int second_number = 0;
  /// With which trace ID the tracer's messages reach the trace bus: that of MOD_QBTRACER0, else
  /// that of the one system-trace component that has one. Empty where there is none, or more than
  /// one.
  std::optional<std::uint8_t> trace_id;
  std::string object_file;  ///< path as given in the description; may be empty
  std::map<std::string, DescribedSetting> settings;
};

/// Reads a description. Throws Error(kInput) with the file, the place in the document and the
/// reason.
DeviceDescription load_device_description(const std::string& path);

/// The same from memory; messages name it `file`.
DeviceDescription parse_device_description(std::string_view text, const std::string& file);

/// The description used when the user gives none: a device "SOC" with the component
/// MOD_QBTRACER0 whose list "masterid.proc" is empty, and no settings.
DeviceDescription default_device_description();

}  // namespace qbt2
