#include "host/tdf/trace_file_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>
#include <system_error>
#include <utility>

#include "common/source/errors/error_code.h"
#include "host/base/error.h"
#include "host/base/input_file.h"
#include "host/tdf/section_text_check.h"
#include "host/tdf/trace_file.h"
#include "platforms/source/trace/tdf_format.h"
#include "platforms/source/trace/tdf_handler.h"

namespace qbt2 {
namespace {

namespace fs = std::filesystem;
namespace format = Kz::Dvt::Trace::TdfFormat;
using EktTrace::ConfigFile::DeviceConfig_t;
using EktTrace::ConfigFile::DeviceIdentifier_t;
using EktTrace::ConfigFile::KzTrace_t;
using EktTrace::ConfigFile::TraceDecode_t;
using Kz::Dvt::Trace::TDFHandler;

constexpr std::uint32_t kTdfFileType = 0;
constexpr std::uint64_t kMostFileBytes = UINT32_MAX;  // offsets have 32 bits
constexpr std::size_t kMostPlainBytes = std::size_t{16} << 20;
constexpr std::size_t kPieceBytes = std::size_t{1} << 20;
constexpr std::size_t kKeptNameBytes = 200;  // of 255, so that the temporary's ending fits

[[noreturn]] void fail_output(const std::string& path, int code) {
  throw Error(ErrorCode::kOutput, path, std::generic_category().message(code));
}

/// Reads at most `limit` bytes; throws Error(kInput) with `too_large` when there are more.
std::string read_input(const std::string& path, std::size_t limit, const std::string& too_large) {
  InputFile file(path);
  if (file.size_bytes() > limit) throw Error(ErrorCode::kInput, file.name(), too_large);
  std::string bytes;
  std::vector<std::uint8_t> piece(kPieceBytes);
  while (const std::size_t got = file.read(piece)) {
    if (got > limit - bytes.size()) throw Error(ErrorCode::kInput, file.name(), too_large);
    bytes.append(reinterpret_cast<const char*>(piece.data()), got);
  }
  return bytes;
}

std::string read_plain_file(const std::string& path) {
  std::string text = read_input(path, kMostPlainBytes, "is larger than 16 MiB");
  if (const std::size_t zero = text.find('\0'); zero != std::string::npos) {
    throw Error(ErrorCode::kInput, path, zero, "a zero byte stands in what should be a text");
  }
  return text;
}

/// The text of a plain file that holds no fault.
std::string read_checked(const std::string& path,
                         void (*check)(std::string_view, const FindingSink&),
                         const TextNote& on_note) {
  std::string text = read_plain_file(path);
  check(text, [&](const Finding& finding) {
    if (finding.severity == FindingSeverity::kFault) {
      throw Error(ErrorCode::kInput, path, finding.text);
    }
    on_note(path, finding.text);
  });
  return text;
}

/// The file that is being built: beside the target, so that a rename puts it in its place, and
/// with the ending that the section classes insist on.
class UnfinishedFile {
 public:
  explicit UnfinishedFile(const fs::path& target) : target_(target) {
    for (unsigned count = 0;; ++count) {
      path_ = target.parent_path() /
              (target.filename().string().substr(0, kKeptNameBytes) + ".tmp-" +
               std::to_string(::getpid()) + "-" + std::to_string(count) + ".tdf");
      const int descriptor = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (descriptor >= 0) {
        ::close(descriptor);
        return;
      }
      if (errno != EEXIST) fail_output(target.string(), errno);
    }
  }
  ~UnfinishedFile() {
    if (!finished_) ::unlink(path_.c_str());
  }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  std::string path() const { return path_.string(); }

  /// Passes on the permissions of the file that will be replaced. Only a privileged process may
  /// give a file away; for others it is not opened to a group that the old one was meant for.
  void keep_permissions() const {
    struct stat status {};
    if (::stat(target_.c_str(), &status) != 0) return;
    const bool owned = ::chown(path_.c_str(), status.st_uid, status.st_gid) == 0;
    if (::chmod(path_.c_str(), status.st_mode & (owned ? 0777U : 0707U)) != 0) {
      fail_output(target_.string(), errno);
    }
  }

  void take_name(bool replace) {
    if (replace) {
      if (::rename(path_.c_str(), target_.c_str()) != 0) fail_output(target_.string(), errno);
    } else {
      take_free_name();
    }
    finished_ = true;
  }

 private:
  /// Fails where a file has come into being meanwhile. A file system that cannot tell is trusted.
  void take_free_name() const {
    const auto rename = [&](unsigned flags) {
      return ::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target_.c_str(), flags) == 0;
    };
    if (rename(RENAME_NOREPLACE)) return;
    if (errno != EINVAL || !rename(0)) fail_output(target_.string(), errno);
  }

  fs::path target_;
  fs::path path_;
  bool finished_ = false;
};

/// What a section of the contents will take: name, version and payload bytes.
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

/// Size of a regular file; 0 for a stream, whose size shows when it is read.
std::uint64_t known_size(const std::string& path) {
  std::error_code error;
  const std::uintmax_t bytes = fs::file_size(path, error);
  return error ? 0 : bytes;
}

std::vector<PlannedSection> plan(const TraceFileContents& contents) {
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

std::uint64_t header_bytes(const std::string& name) {
  return format::kSectionHeaderSize + name.size();
}

void check_name(const std::string& name) {
  if (name.empty()) throw Error(ErrorCode::kUsage, "a section needs a name");
  if (name.size() > format::kMaxNameLength) {
    throw Error(ErrorCode::kUsage, "a section's name is " + std::to_string(name.size()) +
                                       " bytes long; readers take 4095");
  }
}

/// Refuses before anything is written what would not fit or not be found.
void check_plan(const std::string& path, const std::vector<PlannedSection>& sections,
                std::set<std::pair<std::string, std::uint32_t>> present, std::uint64_t bytes) {
  for (const PlannedSection& section : sections) {
    check_name(section.name);
    const std::string label = section.name + " " + std::to_string(section.version);
    if (!present.emplace(section.name, section.version).second) {
      throw Error(ErrorCode::kUsage, path,
                  "has a section " + label + " already; readers find only the first");
    }
    const std::uint64_t length = header_bytes(section.name) + section.payload_bytes;
    if (length > format::kMaxSectionLength) {
      throw Error(ErrorCode::kInput, path,
                  "the section " + label + " would be " + std::to_string(length) +
                      " bytes long; readers take 134217728");
    }
    bytes += length;
  }
  if (bytes > kMostFileBytes) {
    throw Error(ErrorCode::kInput, path,
                "would be " + std::to_string(bytes) + " bytes long; a file ends below 4 GiB");
  }
}

void write_other(const std::string& path, const SectionFile& section) {
  const std::size_t limit = format::kMaxSectionLength - header_bytes(section.name);
  const std::string payload =
      read_input(section.path, limit, "is larger than a section can hold (128 MiB)");
  // Only streams can get here with too much: the sizes of files were known before.
  if (fs::file_size(path) + header_bytes(section.name) + payload.size() > kMostFileBytes) {
    throw Error(ErrorCode::kInput, section.path, "does not fit a file below 4 GiB any more");
  }
  std::uint32_t offset = 0;
  std::uint32_t length = 0;
  TDFHandler::SaveSectionHeader(path.c_str(), section.name.c_str(), section.version, offset);
  TDFHandler::SaveSectionData(path.c_str(), section.name.c_str(), offset, payload.data(), 1,
                              static_cast<std::uint32_t>(payload.size()), length);
}

/// `path` is the file under construction, `shown` the one that messages name.
void write_sections(const std::string& path, const std::string& shown,
                    const TraceFileContents& contents) try {
  std::string error;
  const auto require = [&](bool saved) {
    if (!saved) throw Error(ErrorCode::kOutput, shown, error);
  };
  if (contents.decoder) require(TraceDecode_t(path).Save(*contents.decoder, error));
  if (contents.device) require(DeviceIdentifier_t(path).Save(*contents.device, error));
  if (contents.settings) {
    DeviceConfig_t config(path, kTdfFileType, contents.config_type);
    require(config.Save(*contents.settings, error));
  }
  for (const SectionFile& section : contents.others) write_other(path, section);
} catch (const Kz::Dvt::Hwdbg::hwDbgError& error) {
  throw Error(ErrorCode::kOutput, shown, error.GetErrorText());
}

void require_extension(const std::string& path) {
  if (TDFHandler::HasExtension(path.c_str(), format::kExtension)) return;
  throw Error(ErrorCode::kUsage, path, "the name of a trace data file ends in .tdf");
}

/// Where the file really lies, so that a symbolic link stays one. A name that is not there yet
/// stays as it is.
fs::path real_target(const std::string& path) {
  std::error_code error;
  fs::path target = fs::canonical(path, error);
  return error ? fs::path(path) : target;
}

void require_replaceable(const std::string& path, const fs::path& target) {
  if (!fs::is_regular_file(target)) throw Error(ErrorCode::kOutput, path, "is no regular file");
  // A rename asks nothing of the file that goes; a write-protected one is protected all the same.
  if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) fail_output(path, errno);
}

}  // namespace

void create_trace_file(const std::string& path, const TraceFileContents& contents, bool replace) {
  require_extension(path);
  const bool exists = fs::exists(fs::symlink_status(path));
  if (exists && !replace) throw Error(ErrorCode::kUsage, path, "is there already");
  const fs::path target = real_target(path);
  if (exists) require_replaceable(path, target);
  check_plan(path, plan(contents), {{format::kTraceHeader.name, format::kTraceHeader.version}},
             format::kFirstSectionOffset + header_bytes(format::kTraceHeader.name) +
                 format::kTraceHeaderBufferSize);
  UnfinishedFile file(target);
  std::string error;
  if (!KzTrace_t(file.path()).Save(contents.header, error)) {
    throw Error(ErrorCode::kOutput, path, error);
  }
  write_sections(file.path(), path, contents);
  if (exists) file.keep_permissions();
  file.take_name(exists);
}

void add_to_trace_file(const std::string& path, const TraceFileContents& contents) {
  require_extension(path);
  std::set<std::pair<std::string, std::uint32_t>> present;
  {
    const TraceFile old(path);
    if (const auto& fault = old.fault()) {
      throw Error(ErrorCode::kInput, path, fault.offset,
                  fault.reason + "; a section behind that would never be found");
    }
    for (const TraceSection& section : old.sections()) {
      present.emplace(section.name, section.version);
    }
  }
  const fs::path target = real_target(path);
  require_replaceable(path, target);
  check_plan(path, plan(contents), std::move(present), fs::file_size(target));
  UnfinishedFile file(target);
  std::error_code error;
  fs::copy_file(target, file.path(), fs::copy_options::overwrite_existing, error);
  if (error) throw Error(ErrorCode::kOutput, path, error.message());
  write_sections(file.path(), path, contents);
  file.keep_permissions();
  file.take_name(true);
}

TraceHeaderRecord load_header_file(const std::string& path) {
  return parse_trace_header_text(read_plain_file(path), path);
}

TraceDecode_t::TraceDecodeData_t load_decoder_file(const std::string& path,
                                                   const TextNote& on_note) {
  std::istringstream stream(read_checked(path, check_decoder_text, on_note));
  TraceDecode_t::TraceDecodeData_t data;
  TraceDecode_t::InputValues(stream, data);
  return data;
}

DeviceIdentifier_t::DevIdData_t load_device_file(const std::string& path, const TextNote& on_note) {
  std::istringstream stream(read_checked(path, check_device_text, on_note));
  DeviceIdentifier_t::DevIdData_t data;
  DeviceIdentifier_t::InputData(stream, format::kDeviceIdentifier.version, data);
  return data;
}

DeviceConfig_t::DeviceConfigData_t load_settings_file(const std::string& path,
                                                      const TextNote& on_note) {
  std::istringstream stream(read_checked(path, check_settings_text, on_note));
  DeviceConfig_t::DeviceConfigData_t data;
  DeviceConfig_t::InputValues(stream, data);
  return data;
}

}  // namespace qbt2
