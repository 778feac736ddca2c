#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The configuration manager: named settings of the traced device. Implemented by
/// EktTrace::DeviceConfigManager_t, or by the host; the decoder only calls it.
///
/// One thread at a time uses a manager; nothing here locks.
namespace Kz::Dvt::Trace {

/// The use-case setting of a master is named by this and the master's id in plain decimal, as in
/// "QBT2_5". Its value is text: this many fields, separated by ';'.
inline constexpr std::string_view kUseCaseSettingPrefix = "QBT2_";
inline constexpr std::size_t kUseCaseFields = 15;
inline constexpr std::size_t kUseCaseNameField = 0;
inline constexpr std::size_t kUseCasePeriodField = 2;  ///< of sampling, in clock cycles
/// As the name: the device model has the master's name.
inline constexpr std::string_view kMasterNamePlaceholder = "MASTERNAME";

/// Kind codes of ConfigPropertyValue::type.
enum eConfigPropertyType : std::uint32_t {
  eConfigPropertySigned = 1,
  eConfigPropertyUnsigned = 2,
  eConfigPropertyBoolean = 5,
  eConfigPropertyText = 6,
};

/// The answer of CDeviceConfigManager::GetProperty.
struct ConfigPropertyValue {
  std::uint32_t type = 0;  ///< an eConfigPropertyType; it selects the member of `value`
  std::string text;        ///< always filled
  /// The text as a number, its low 32 bits. Unchanged for a text, and where the text is not a
  /// number of this type.
  union {
    std::uint32_t unsignedValue = 0;
    std::int32_t signedValue;
    std::uint8_t booleanValue;  ///< 1 or 0
  } value;
};

/// The kind of file that holds settings: a trace data file, where they are a section, or a plain
/// text file. Plain text is saved to the path as given, but loaded from the folder named by
/// KZ_TRACE_SETTINGS_DIR, and kind 2 cannot be loaded. Both asymmetries are deliberate.
enum eTraceDataFileType : std::uint32_t {
  eTraceDataFileTdf = 0,
  eTraceDataFileText1 = 1,
  eTraceDataFileText2 = 2,
  eTraceDataFileText4 = 4,
};

/// A host's listener for configuration events. The library stores the pointer and never calls it.
class CDeviceConfigEvents {
 protected:
  ~CDeviceConfigEvents() = default;
};

/// The order of declaration is the order of the slots of the virtual table and part of the
/// contract. No operation throws: false means failure, and GetLastError has the reason.
class CDeviceConfigManager {
 public:
  virtual ~CDeviceConfigManager() = default;

  /// Stores the pointer; the handler stays the caller's.
  virtual void RegisterEventHandler(CDeviceConfigEvents* handler) = 0;

  /// Two numbers, whose meaning is the host's, and the name of the device. False when there are
  /// none; the outputs are then unchanged.
  virtual bool GetInfo(int& first, int& second, std::string& text) = 0;

  /// Reads all known settings from the device; a setting that cannot be read gets its default.
  virtual bool LoadConfigurationLive() = 0;

  /// Adds the settings of a file to those held and writes all of them to the device.
  virtual bool LoadConfiguration(const std::string& path, eTraceDataFileType type) = 0;

  /// Writes the settings held to a file.
  virtual bool SaveConfiguration(const std::string& path, eTraceDataFileType type) = 0;

  /// Looks up one setting. False when it does not exist; `value` is then unchanged.
  virtual bool GetProperty(const std::string& name, ConfigPropertyValue& value) = 0;

  /// The path of the device's object file.
  virtual bool GetObjectFile(const std::string& name, std::string& path) = 0;

  /// A copy of the text of the last failure.
  virtual std::string GetLastError() const = 0;
};

}  // namespace Kz::Dvt::Trace
