#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The configuration manager as the decoder sees it: named settings of the traced device.
///
/// One thread at a time uses a manager; nothing here locks.
namespace Kz::Dvt::Trace {

/// The use-case setting of a master is named by this and its id in plain decimal: "QBT2_5". Its
/// value has this many fields, separated by ';'.
inline constexpr std::string_view kUseCaseSettingPrefix = "QBT2_";
inline constexpr std::size_t kUseCaseFields = 15;

/// Kind codes of ConfigPropertyValue::type.
enum eConfigPropertyType : std::uint32_t {
  eConfigPropertySigned = 1,
  eConfigPropertyUnsigned = 2,
  eConfigPropertyBoolean = 5,
  eConfigPropertyText = 6,
};

/// One answer of CDeviceConfigManager::GetProperty. `text` is always filled; `value` holds the same
/// as a number as far as `type` says so and the text converts (a boolean's first byte is 1 or 0).
struct ConfigPropertyValue {
  std::uint32_t type = 0;
  std::string text;
  union {
    std::uint32_t unsignedValue = 0;
    std::int32_t signedValue;
    std::uint8_t booleanValue;
  } value;
};

/// Where settings are kept: in a section of a trace data file, or in a plain text file. Values 1, 2
/// and 4 are plain text files; which of them load and which save differs on purpose.
enum eTraceDataFileType : std::uint32_t {
  eTraceDataFileTdf = 0,
  eTraceDataFileText1 = 1,
  eTraceDataFileText2 = 2,
  eTraceDataFileText4 = 4,
};

/// Host object told of configuration events. The library stores the pointer and never calls it.
class CDeviceConfigEvents {
 protected:
  ~CDeviceConfigEvents() = default;
};

/// Slot order is part of the contract: do not reorder. No operation throws.
class CDeviceConfigManager {
 public:
  virtual ~CDeviceConfigManager() = default;
  /// Stores the pointer, which stays the caller's.
  virtual void RegisterEventHandler(CDeviceConfigEvents* handler) = 0;
  /// Two numbers and a name of the device; false when the session has none (outputs unchanged).
  virtual bool GetInfo(int& first, int& second, std::string& text) = 0;
  virtual bool LoadConfigurationLive() = 0;
  virtual bool LoadConfiguration(const std::string& path, eTraceDataFileType type) = 0;
  virtual bool SaveConfiguration(const std::string& path, eTraceDataFileType type) = 0;
  /// False when the setting does not exist; `value` is then unchanged.
  virtual bool GetProperty(const std::string& name, ConfigPropertyValue& value) = 0;
  virtual bool GetObjectFile(const std::string& name, std::string& path) = 0;
  /// A copy of the text that the last failing operation left.
  virtual std::string GetLastError() const = 0;
};

}  // namespace Kz::Dvt::Trace
