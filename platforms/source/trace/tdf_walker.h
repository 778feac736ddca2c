#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "interfaces/qbt2_export.h"

/// The one walk over a trace data file's sections. TDFHandler looks sections up with it; tools list
/// and check whole files with it, and learn where and why a file stops being well-formed. Offsets
/// are 64 bits wide here, so that no length field can make them wrap. One thread at a time uses a
/// cursor; ListSections may run on any thread.
namespace Kz::Dvt::Trace {

/// One section as it lies in the file. Offsets count from the start of the file, all sizes are
/// bytes.
struct TdfSectionInfo {
  std::string name;                 ///< as stored, zero bytes included
  std::uint32_t version = 0;        ///< chosen by the writer
  std::uint64_t offset = 0;         ///< of the length field, the section's first byte
  std::uint64_t length = 0;         ///< what the length field says
  std::uint64_t payloadOffset = 0;  ///< of the first byte behind the name
  std::uint64_t payloadLength = 0;  ///< bytes that are there; fewer than claimed at a cut end
};

enum class eTdfFault : std::uint32_t {
  None,
  CannotOpen,
  ReadError,
  NoIdentifier,     ///< the file does not start with "TDF2"
  HeaderCut,        ///< the file ends inside a section's header or name
  LengthZero,       ///< a walk that followed this length would never move on
  LengthTooShort,   ///< shorter than the section's own header
  LengthTooLarge,   ///< above the 128 MiB that readers accept
  NameTooLong,      ///< above 4095
  PayloadCut,       ///< the file ends inside the payload; the section itself is still delivered
  TooManySections,  ///< more than the caller asked for
};

/// Where and why a walk ended before the file's end. `offset` is that of the section at fault.
struct TdfFault {
  eTdfFault kind = eTdfFault::None;
  std::uint64_t offset = 0;
  std::string reason;

  explicit operator bool() const noexcept { return kind != eTdfFault::None; }
};

/// Steps from section to section. Each step reads the section's header and name only; at most
/// (bytes of the file / 12) steps are possible.
class QBT2_API TdfCursor {
 public:
  /// Begins at the stream's current position, which must be that of a section. The stream must be
  /// able to seek, is borrowed, and must outlive the cursor.
  explicit TdfCursor(std::FILE* stream);

  /// The next section. False at the end of the file, and at a fault, which is then told in `fault`
  /// (otherwise left alone). A section whose payload the end of the file cuts comes with true and a
  /// fault; the call after it returns false. Leaves the stream anywhere. Throws std::bad_alloc.
  bool Next(TdfSectionInfo& section, TdfFault& fault);

 private:
  bool ReadHeader(TdfSectionInfo& section, TdfFault& fault);
  bool Stop(TdfFault& fault, eTdfFault kind, std::string reason);

  std::FILE* m_stream;
  std::uint64_t m_next = 0;
  std::uint64_t m_end = 0;
};

/// Most sections that ListSections collects: a file of nothing but empty, nameless sections would
/// otherwise take several times its size in memory.
inline constexpr std::size_t kMaxListedSections = 1'000'000;

/// All sections of a file, in file order, up to its end or the first fault. Throws std::bad_alloc.
QBT2_API std::vector<TdfSectionInfo> ListSections(const std::string& path, TdfFault& fault);

/// The same over an open, seekable stream that holds a whole file; it is read from its start.
QBT2_API std::vector<TdfSectionInfo> ListSections(std::FILE* stream, TdfFault& fault);

}  // namespace Kz::Dvt::Trace
