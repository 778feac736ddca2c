#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>

#include "interfaces/qbt2_export.h"

namespace EktTrace::ConfigFile {

/// A text block that is saved after the settings of an STM configuration.
class IUseCaseText_t {
 public:
  virtual std::string GetText() const = 0;

 protected:
  ~IUseCaseText_t() = default;
};

/// The settings of a device: NAME=VALUE lines in a plain text file or in that section of a TDF file
/// that the configuration type selects.
class QBT2_API DeviceConfig_t {
 public:
  static const std::string ArmSectionName;
  static const std::string DspSectionName;
  static const std::string StmSectionName;

  enum eConfigType : std::uint32_t { eArmConfig = 0, eDspConfig = 1, eStmConfig = 2 };

  struct DeviceConfigData_t {
    std::map<std::string, std::string> values;
    /// Borrowed, may be null. Written for the STM configuration only and never read back.
    const IUseCaseText_t* useCaseText1 = nullptr;
    const IUseCaseText_t* useCaseText2 = nullptr;
    const IUseCaseText_t* useCaseText3 = nullptr;
  };

  DeviceConfig_t(std::string fileName, std::uint32_t fileType, std::uint32_t configType);

  /// File types 1, 2 and 4 write a plain file under the name as given; type 0 adds a section to an
  /// existing TDF file.
  bool Save(const DeviceConfigData_t& data, std::string& errorText);

  /// File types 1 and 4 read a plain file from the settings directory (KZ_TRACE_SETTINGS_DIR), type
  /// 0 a section. Deliberate: type 2 does not load, and plain files are saved to one place and
  /// loaded from another. The settings read are added to those in `data`.
  bool Load(DeviceConfigData_t& data, std::string& errorText);

  void OutputValues(std::ostream& stream, const DeviceConfigData_t& data) const;
  static void InputValues(std::istream& stream, DeviceConfigData_t& data);
  static void InputOneValue(const std::string& line, DeviceConfigData_t& data);
  /// Does nothing: use-case blocks are written but not read back.
  static void InputOneUseCase(const std::string& line, std::istream& stream,
                              DeviceConfigData_t& data);

 private:
  bool SaveSection(const std::string& text, std::string& errorText) const;
  bool LoadPlainFile(DeviceConfigData_t& data, std::string& errorText) const;
  bool LoadSection(DeviceConfigData_t& data) const;

  std::string m_fileName;
  std::uint32_t m_fileType;
  std::uint32_t m_configType;
};

}  // namespace EktTrace::ConfigFile
