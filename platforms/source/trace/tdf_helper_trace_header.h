#pragma once

#include <cstdint>
#include <string>

#include "interfaces/qbt2_export.h"

namespace EktTrace::ConfigFile {

/// The trace file header, section "KZTrace", a packed binary record. Only its Save creates the
/// file; all other sections are added to an existing one.
class QBT2_API KzTrace_t {
 public:
  static const std::string SectionName;

  /// Only the layout of the numbers is known, not their meaning.
  struct KzTraceData_t {
    std::string deviceText;      ///< files of format version 4 and later
    std::string connectionName;  ///< emulator and processor
    std::uint32_t headerValue1 = 0;
    std::uint32_t headerValue2 = 0;  ///< 470, with headerValue3 = 38: headerValue8 follows
    std::uint32_t headerValue3 = 0;
    std::uint32_t headerValue4 = 0;
    std::uint32_t headerValue5 = 0;
    std::uint32_t headerValue6 = 0;
    std::uint32_t headerValue7 = 0;
    std::string headerText3;
    std::string headerText4;
    std::uint64_t headerValue8 = 0;
  };

  explicit KzTrace_t(std::string fileName, std::uint32_t fileType = 0);

  /// Creates or truncates the file and writes the section; ignores the file type. A record of more
  /// than 10,240 bytes is refused before the file is touched.
  bool Save(const KzTraceData_t& data, std::string& errorText);

  /// Reads a trace file of format version 1 to 20 whose component is "TraceKZ", with or without the
  /// TDF identifier. Save writes "KZTrace", which is deliberately refused here: the reader is for
  /// the files of older systems. Stops at the first fault with `data` filled that far. `errorText`
  /// is unchanged when the file ends early or a text is longer than 10,239 bytes.
  bool Load(KzTraceData_t& data, std::string& errorText);

 private:
  std::string m_fileName;
  std::uint32_t m_fileType;
};

}  // namespace EktTrace::ConfigFile
