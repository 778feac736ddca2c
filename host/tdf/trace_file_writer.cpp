#include "host/tdf/trace_file_writer.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "common/source/errors/error_code.h"
#include "host/base/error.h"
#include "host/base/replacement_file.h"
#include "host/tdf/file_lock.h"
#include "host/tdf/section_sources.h"
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

void write_other(const std::string& path, const SectionFile& section) {
  const std::string payload = load_section_payload(section.path, section_capacity(section.name),
                                                   "is larger than a section can be (128 MiB)");
  // Only a stream can be too large here: the sizes of files were checked before.
  const std::uint64_t length = format::kSectionHeaderSize + section.name.size() + payload.size();
  if (fs::file_size(path) + length > kMostTraceFileBytes) {
    throw Error(ErrorCode::kInput, section.path, "does not fit: a file ends below 4 GiB");
  }
  std::uint32_t offset = 0;
  std::uint32_t written = 0;
  TDFHandler::SaveSectionHeader(path.c_str(), section.name.c_str(), section.version, offset);
  TDFHandler::SaveSectionData(path.c_str(), section.name.c_str(), offset, payload.data(), 1,
                              static_cast<std::uint32_t>(payload.size()), written);
}

/// Appends to `path`, the file under construction; messages name `shown`.
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

}  // namespace

void create_trace_file(const std::string& path, const TraceFileContents& contents, bool replace) {
  require_extension(path);
  std::optional<FileLock> lock;
  if (replace) lock.emplace(path);
  ReplacementFile file(path, replace ? ExistingFile::kReplace : ExistingFile::kRefuse);
  check_contents(path, contents, {{format::kTraceHeader.name, format::kTraceHeader.version}},
                 new_file_bytes());
  std::string error;
  if (!KzTrace_t(file.temporary_path()).Save(contents.header, error)) {
    throw Error(ErrorCode::kOutput, path, error);
  }
  write_sections(file.temporary_path(), path, contents);
  file.commit();
}

void add_to_trace_file(const std::string& path, const TraceFileContents& contents) {
  require_extension(path);
  const FileLock lock(path);
  const TraceFile old(path);
  if (const auto& fault = old.fault()) {
    throw Error(ErrorCode::kInput, path, fault.offset,
                fault.reason + "; readers would never find a section after that");
  }
  SectionKeys present;
  for (const TraceSection& section : old.sections()) present.emplace(section.name, section.version);
  ReplacementFile file(path);
  check_contents(path, contents, std::move(present), fs::file_size(file.target_path()));
  std::error_code error;
  fs::copy_file(file.target_path(), file.temporary_path(), fs::copy_options::overwrite_existing,
                error);
  if (error) throw Error(ErrorCode::kOutput, path, error.message());
  write_sections(file.temporary_path(), path, contents);
  file.commit();
}

}  // namespace qbt2
