#include "host/tdf/trace_file_contents.h"

#include <filesystem>
#include <sstream>
#include <string_view>
#include <system_error>

#include "host/base/error.h"
#include "platforms/source/trace/tdf_format.h"

namespace qbt2 {
namespace {

namespace fs = std::filesystem;
namespace format = Kz::Dvt::Trace::TdfFormat;
using EktTrace::ConfigFile::DeviceConfig_t;
using EktTrace::ConfigFile::DeviceIdentifier_t;
using EktTrace::ConfigFile::TraceDecode_t;

constexpr std::uint32_t kTdfFileType = 0;

/// A section that will be written.
struct PlannedSection {
  std::string name;
  std::uint32_t version = 0;
  std::uint64_t payload_bytes = 0;
};

template <typename Output>
std::uint64_t rendered_bytes(Output output) {
  std::ostringstream stream;
  output(stream);
  return stream.str().size();
}

format::SectionKind kind_of(DeviceConfig_t::eConfigType type) {
  switch (type) {
    case DeviceConfig_t::eArmConfig:
      return format::kArmConfig;
    case DeviceConfig_t::eDspConfig:
      return format::kDspConfig;
    case DeviceConfig_t::eStmConfig:
      break;
  }
  return format::kStmConfig;
}

/// Size of a regular file; 0 for a stream, whose size is known only after reading it.
std::uint64_t known_size(const std::string& path) {
  std::error_code error;
  const std::uintmax_t bytes = fs::file_size(path, error);
  return error ? 0 : bytes;
}

std::vector<PlannedSection> sections_of(const TraceFileContents& contents) {
  std::vector<PlannedSection> sections;
  const auto add = [&](const format::SectionKind& kind, std::uint64_t bytes) {
    sections.push_back({kind.name, kind.version, bytes});
  };
  if (contents.decoder) {
    add(format::kDecoderInfo, rendered_bytes([&](std::ostream& stream) {
          TraceDecode_t::OutputValues(stream, *contents.decoder);
        }));
  }
  if (contents.device) {
    add(format::kDeviceIdentifier, rendered_bytes([&](std::ostream& stream) {
          DeviceIdentifier_t::OutputData(stream, format::kDeviceIdentifier.version,
                                         *contents.device);
        }));
  }
  if (contents.settings) {
    add(kind_of(contents.config_type), rendered_bytes([&](std::ostream& stream) {
          DeviceConfig_t("", kTdfFileType, contents.config_type)
              .OutputValues(stream, *contents.settings);
        }));
  }
  for (const SectionFile& other : contents.others) {
    sections.push_back({other.name, other.version, known_size(other.path)});
  }
  return sections;
}

std::uint64_t header_bytes(std::string_view name) {
  return format::kSectionHeaderSize + name.size();
}

void check_name(const std::string& name) {
  if (name.empty()) throw Error(ErrorCode::kUsage, "a section needs a name");
  if (name.size() > format::kMaxNameLength) {
    throw Error(ErrorCode::kUsage, "a section's name is " + std::to_string(name.size()) +
                                       " bytes long; readers take 4095");
  }
}

}  // namespace

void check_contents(const std::string& path, const TraceFileContents& contents, SectionKeys present,
                    std::uint64_t bytes) {
  for (const PlannedSection& section : sections_of(contents)) {
    check_name(section.name);
    const std::string label = section.name + " " + std::to_string(section.version);
    if (!present.emplace(section.name, section.version).second) {
      throw Error(ErrorCode::kUsage, path,
                  "already has a section " + label + ", and readers find only the first");
    }
    const std::uint64_t length = header_bytes(section.name) + section.payload_bytes;
    if (length > format::kMaxSectionLength) {
      throw Error(ErrorCode::kInput, path,
                  "the section " + label + " would be " + std::to_string(length) +
                      " bytes long; readers take 134217728");
    }
    bytes += length;
  }
  if (bytes > kMostTraceFileBytes) {
    throw Error(ErrorCode::kInput, path,
                "would be " + std::to_string(bytes) + " bytes long; a file ends below 4 GiB");
  }
}

std::uint64_t new_file_bytes() {
  return format::kFirstSectionOffset + header_bytes(format::kTraceHeader.name) +
         format::kTraceHeaderBufferSize;
}

std::uint64_t section_capacity(const std::string& name) {
  return format::kMaxSectionLength - header_bytes(name);
}

}  // namespace qbt2
