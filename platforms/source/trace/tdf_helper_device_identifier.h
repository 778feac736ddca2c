#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "interfaces/qbt2_export.h"

namespace EktTrace::ConfigFile {

/// Emulator, port, devices and processors of a capture, section "DEVID" or (file type 4) the file
/// <name>.dim in the trace logging directory.
class QBT2_API DeviceIdentifier_t {
 public:
  static const std::string SectionName;

  struct DeviceEntry_t {
    std::string name;
    std::uint32_t id = 0;

    bool operator==(const DeviceEntry_t&) const = default;
  };

  struct ProcEntry_t {
    std::string name;
    std::string auxText;  ///< never written; loads as an empty text
    std::string infoText;
    std::uint32_t infoId = 0;
    std::uint32_t traceId = 0;
    std::uint32_t mapValue = 0;
    std::string outFile;

    bool operator==(const ProcEntry_t&) const = default;
  };

  struct DevIdData_t {
    std::string emulator;
    std::string port;
    std::vector<ProcEntry_t> processors;
    std::vector<DeviceEntry_t> devices;

    bool operator==(const DevIdData_t&) const = default;
  };

  explicit DeviceIdentifier_t(std::string fileName, std::uint32_t fileType = 0);

  bool Save(const DevIdData_t& data, std::string& errorText);
  bool Load(DevIdData_t& data, std::string& errorText);

  /// `version` is the section's; there is only one form. Nothing is escaped: a text that contains
  /// "$", "~" or a line feed does not read back.
  static void OutputData(std::ostream& stream, unsigned version, const DevIdData_t& data);
  /// Replaces both sequences; each of the two texts changes only if it has a line.
  static void InputData(std::istream& stream, unsigned version, DevIdData_t& data);

 private:
  std::string m_fileName;
  std::uint32_t m_fileType;
};

}  // namespace EktTrace::ConfigFile
