// Every reader of trace data files over arbitrary bytes. The file is in memory; a link gives it the
// extension ".tdf", which some readers require.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/source/errors/error_code.h"
#include "platforms/source/trace/tdf_format.h"
#include "platforms/source/trace/tdf_handler.h"
#include "platforms/source/trace/tdf_helper.h"
#include "platforms/source/trace/tdf_walker.h"

namespace {

using Kz::Dvt::Trace::TDFHandler;
using namespace Kz::Dvt::Trace::TdfFormat;
namespace ConfigFile = EktTrace::ConfigFile;

void Require(bool condition) {
  if (!condition) std::abort();
}

class MemoryFile {
 public:
  MemoryFile() : m_descriptor(memfd_create("fuzz", MFD_CLOEXEC)) {
    std::string folder = "/tmp/qbt2-fuzz-XXXXXX";
    Require(m_descriptor >= 0 && mkdtemp(folder.data()) != nullptr);
    m_folder = folder;
    const std::string target = "/proc/self/fd/" + std::to_string(m_descriptor);
    Require(symlink(target.c_str(), Path().c_str()) == 0);
  }
  ~MemoryFile() {
    unlink(Path().c_str());
    rmdir(m_folder.c_str());
    close(m_descriptor);
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  void Set(const std::uint8_t* data, std::size_t size) const {
    Require(ftruncate(m_descriptor, 0) == 0);
    Require(pwrite(m_descriptor, data, size, 0) == static_cast<ssize_t>(size));
  }
  std::string Path() const { return m_folder + "/x.tdf"; }

 private:
  int m_descriptor;
  std::string m_folder;
};

constexpr std::array<SectionKind, 6> kKinds = {kTraceHeader, kDecoderInfo, kDeviceIdentifier,
                                               kDspConfig,   kStmConfig,   kArmConfig};

void CheckWalk(const std::string& path, std::size_t size) {
  Kz::Dvt::Trace::TdfFault fault;
  std::uint64_t next = kFirstSectionOffset;
  for (const auto& section : Kz::Dvt::Trace::ListSections(path, fault)) {
    Require(section.offset == next && section.payloadOffset + section.payloadLength <= size);
    next = section.offset + section.length;
  }
  Require(fault ? fault.offset <= size && !fault.reason.empty() : next == size);
}

/// Both readers of a payload must return the same bytes, up to the end of the file.
void CheckSection(const std::string& path, const SectionKind& kind, const std::uint8_t* data,
                  std::size_t size) {
  try {
    std::uint32_t length = 0;
    std::uint32_t position = 0;
    std::uint32_t got = 0;
    TDFHandler::GetSectionDataPosition(path.c_str(), kind.name, kind.version, position, length);
    Require(position <= size && length <= kMaxSectionLength);
    const std::size_t there = std::min<std::size_t>(length, size - position);
    std::vector<std::uint8_t> buffer(there + 1);
    TDFHandler::LoadSectionData(path.c_str(), kind.name, kind.version, buffer.data(),
                                static_cast<std::uint32_t>(buffer.size()), got);
    Require(got == there && std::equal(buffer.begin(), buffer.end() - 1, data + position));
  } catch (const Kz::Dvt::Hwdbg::hwDbgError&) {
    // Not found, or not a TDF file.
    return;
  }
}

template <typename Section, typename Data>
void LoadInto(Section section, Data data) {
  std::string error;
  static_cast<void>(section.Load(data, error));
}

void LoadAll(const std::string& path) {
  LoadInto(ConfigFile::KzTrace_t(path), ConfigFile::KzTrace_t::KzTraceData_t());
  LoadInto(ConfigFile::TraceDecode_t(path), ConfigFile::TraceDecode_t::TraceDecodeData_t());
  LoadInto(ConfigFile::DeviceIdentifier_t(path), ConfigFile::DeviceIdentifier_t::DevIdData_t());
  for (std::uint32_t type = 0; type < 3; ++type) {
    LoadInto(ConfigFile::DeviceConfig_t(path, 0, type),
             ConfigFile::DeviceConfig_t::DeviceConfigData_t());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  file.Set(data, size);
  const std::string path = file.Path();
  Require(FileSize(path.c_str()) == size);
  if (TDFHandler::ISTDF(path.c_str())) CheckWalk(path, size);
  for (const SectionKind& kind : kKinds) {
    CheckSection(path, kind, data, size);
  }
  LoadAll(path);
  return 0;
}
