#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "interfaces/qbt2_export.h"

namespace EktTrace::ConfigFile {

/// The decoder information, section "KZDecode": four KEY=VALUE lines.
class QBT2_API TraceDecode_t {
 public:
  static const std::string SectionName;

  struct TraceDecodeData_t {
    std::string decoder;
    std::uint32_t dataType = 0;    ///< 0 to 7
    std::uint32_t dataFormat = 0;  ///< 0 to 7
    std::uint32_t atbId = 0;
  };

  explicit TraceDecode_t(std::string fileName, std::uint32_t fileType = 0);

  bool Save(const TraceDecodeData_t& data, std::string& errorText);
  bool Load(TraceDecodeData_t& data, std::string& errorText);

  static void OutputValues(std::ostream& stream, const TraceDecodeData_t& data);
  /// Changes only the fields that have a line; a later line wins. Type and format are decimal, the
  /// ATB id may also be 0x hexadecimal or 0 octal.
  static void InputValues(std::istream& stream, TraceDecodeData_t& data);

 private:
  std::string m_fileName;
  std::uint32_t m_fileType;
};

}  // namespace EktTrace::ConfigFile
