#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/base/input_file.h"
#include "host/capture/capture_info.h"
#include "host/tdf/trace_file.h"

/// What a file is and what it contains: a capture in one of its formats, a trace data file, a
/// device description or plain settings. Nothing is decoded. One thread.
namespace qbt2::tool {

struct TraceFileContents {
  std::vector<TraceSection> sections;  ///< the first kMostListedSections
  std::size_t sections_in_all = 0;

  static constexpr std::size_t kMostListedSections = 1000;
};

struct DeviceContents {
  std::string device;
  std::vector<std::string> components;
  std::size_t settings = 0;
  std::vector<std::uint32_t> masters;  ///< with a use case, in rising order of ids
};

struct SettingsContents {
  struct UseCase {
    std::string setting;
    std::string name;  ///< of the master
  };

  std::uint64_t settings = 0;
  std::vector<UseCase> use_cases;  ///< in file order
};

struct FileInfo {
  std::string kind = "unknown";
  std::optional<std::uint64_t> bytes;  ///< of the file; empty where only the start was read
  /// No contents: the file is of no known kind.
  std::variant<std::monostate, StpInfo, FramesInfo, SamplesInfo, TraceFileContents, DeviceContents,
               SettingsContents>
      contents;
  std::uint64_t faults = 0;  ///< damaged places, each of them reported

  bool is_known() const { return !std::holds_alternative<std::monostate>(contents); }
  bool is_capture() const {
    return std::holds_alternative<StpInfo>(contents) ||
           std::holds_alternative<FramesInfo>(contents) ||
           std::holds_alternative<SamplesInfo>(contents);
  }
};

/// Reads the input to its end. A trace data file is opened again by its name, since sections are
/// found by seeking; from standard input it is refused. Reports to `events`, all of which must be
/// set. Throws Error(kInput) where the input cannot be read.
FileInfo read_file_info(InputFile& input, const InfoEvents& events);

}  // namespace qbt2::tool
