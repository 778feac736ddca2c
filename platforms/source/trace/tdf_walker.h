#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "interfaces/qbt2_export.h"

/// The walk over a trace data file's sections. TDFHandler finds sections with it; tools list and
/// check whole files, and learn where and why a file is malformed. Offsets are 64 bits wide here,
/// so that no length field can make them wrap. One thread at a time uses a cursor; ListSections may
/// run on any thread.
namespace Kz::Dvt::Trace {

/// One section of a file. Offsets count from the start of the file; all sizes are in bytes.
struct TdfSectionInfo {
  std::string name;                 ///< as stored, zero bytes included
  std::uint32_t version = 0;        ///< chosen by the writer
  std::uint64_t offset = 0;         ///< of the length field, the section's first byte
  std::uint64_t length = 0;         ///< from the length field
  std::uint64_t payloadOffset = 0;  ///< of the first byte after the name
  std::uint64_t payloadLength = 0;  ///< bytes in the file; fewer than claimed where the end cuts it
};

enum class eTdfFault : std::uint32_t {
  None,
  CannotOpen,
  ReadError,
  NoIdentifier,     ///< the file does not start with the TDF identifier
  HeaderCut,        ///< the file ends inside a section's header or name
  LengthZero,       ///< a walk by this length would never advance
  LengthTooShort,   ///< shorter than the section's own header
  LengthTooLarge,   ///< above kMaxSectionLength
  NameTooLong,      ///< above kMaxNameLength
  PayloadCut,       ///< the file ends inside the payload; the section is still delivered
  TooManySections,  ///< more than kMaxListedSections
};

/// Where and why a walk ended before the end of the file. `offset` is that of the bad section.
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
  /// Begins at the stream's current position, which must be that of a section. The stream is
  /// borrowed, must be able to seek and must outlive the cursor.
  explicit TdfCursor(std::FILE* stream);

  /// The next section. False at the end of the file and at a fault, which is stored in `fault`
  /// (otherwise unchanged). A section whose payload the end of the file cuts is returned with true
  /// and a fault; the next call returns false. The stream's position is unspecified afterwards.
  /// Throws std::bad_alloc.
  bool Next(TdfSectionInfo& section, TdfFault& fault);

 private:
  bool ReadHeader(TdfSectionInfo& section, TdfFault& fault);
  bool Stop(TdfFault& fault, eTdfFault kind, std::string reason);

  std::FILE* m_stream;
  std::uint64_t m_next = 0;
  std::uint64_t m_end = 0;
};

/// The most sections that ListSections returns: a file of empty, nameless sections would otherwise
/// take several times its size in memory.
inline constexpr std::size_t kMaxListedSections = 1'000'000;

/// All sections of a file, in file order, up to its end or the first fault. Throws std::bad_alloc.
QBT2_API std::vector<TdfSectionInfo> ListSections(const std::string& path, TdfFault& fault);

/// The same for an open, seekable stream over a whole file, read from its start.
QBT2_API std::vector<TdfSectionInfo> ListSections(std::FILE* stream, TdfFault& fault);

}  // namespace Kz::Dvt::Trace
