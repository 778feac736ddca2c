#pragma once

#include <cstdint>
#include <cstdio>

#include "interfaces/qbt2_export.h"

/// The container of a trace data file: named, versioned sections behind one another. Its layout is
/// in tdf_format.h and docs/formats/tdf.md; what the sections hold is the business of the classes
/// in tdf_helper.h.
///
/// Nothing is held between calls: each opens the file, does its work and closes it again. Any
/// thread may call, but nothing guards two writers of one file against each other.

/// Size of a file in bytes; 0 when it cannot be opened or is a directory. Sizes that 32 bits do not
/// hold come back as 0xFFFFFFFF. C linkage, so that a host finds it by name.
extern "C" QBT2_API std::uint32_t FileSize(const char* path);

namespace Kz::Dvt::Trace {

using ::FileSize;

/// Calling order of a writer: CreateTDFFile once, by whoever writes the first section, then for
/// each section SaveSectionHeader and SaveSectionData with the offset that the former returned.
///
/// Failures are thrown as Kz::Dvt::Hwdbg::hwDbgError of severity eError; the file is closed by
/// then. Nothing already written is undone: a failed save can leave, at the end of the file, a
/// section whose length field holds 0 or the length of its header. The sections before it stay
/// readable.
class QBT2_API TDFHandler {
 public:
  /// Creates or truncates the file and writes the identifier.
  static void CreateTDFFile(const char* path);

  /// Appends a section header at the end of the file. A null name is written as one of no bytes.
  /// `headerOffset` is where the section begins, set as soon as it is known.
  static void SaveSectionHeader(const char* path, const char* name, std::uint32_t version,
                                std::uint32_t& headerOffset);

  /// Writes itemCount items of itemSize bytes behind the section at `headerOffset`, as long as its
  /// length field says it is now, and mends that field; `sectionLength` is the new length. Called
  /// again for the last section of a file it appends to that section. The name is not used.
  /// No limit of the readers is enforced here: a section above 128 MiB is written, and not found.
  static void SaveSectionData(const char* path, const char* name, std::uint32_t headerOffset,
                              const void* data, std::uint32_t itemSize, std::uint32_t itemCount,
                              std::uint32_t& sectionLength);

  /// Payload bytes of the first section of this name and version, as its header has them: at most
  /// 128 MiB, and more than the file holds where its end cuts the payload. The file's extension is
  /// not looked at.
  static void GetSectionDataLengthInBytes(const char* path, const char* name, std::uint32_t version,
                                          std::uint32_t& dataLength);

  /// Copies the payload, or as much of it as the buffer takes, which is no error; nor is a payload
  /// that the end of the file cuts. `bytesRead` is what really came.
  static void LoadSectionData(const char* path, const char* name, std::uint32_t version,
                              void* buffer, std::uint32_t bufferSize, std::uint32_t& bytesRead);

  /// Where the payload begins in the file, and its length.
  static void GetSectionDataPosition(const char* path, const char* name, std::uint32_t version,
                                     std::uint32_t& dataPosition, std::uint32_t& dataLength);

  /// Looks for a section from the stream's current position on, which must be that of a section. On
  /// success the stream stands at the payload. Names are compared up to their first zero byte, byte
  /// by byte; a null name is the empty one. A walk that meets anything that is no section, or the
  /// end of the file, has not found it.
  static bool SeekSectionData(std::FILE* stream, const char* name, std::uint32_t version,
                              std::uint32_t& dataLength);

  /// Whether the name ends in ".tdf" and the file starts with "TDF2". Never throws.
  static bool ISTDF(const char* path) noexcept;

  /// Whether the name ends in a dot and `extension`, whatever the case of its letters. ".tdf" alone
  /// does, "tdf" alone does not. Never throws.
  static bool HasExtension(const char* path, const char* extension) noexcept;

  /// Whether the name is not empty and opens for reading. Never throws.
  static bool IsFileAvailable(const char* path) noexcept;

  /// Version, name length and name at the stream's current position; true when all of it was
  /// written. Never throws.
  static bool SaveNameVersion(std::FILE* stream, const char* name, std::uint32_t version) noexcept;
};

}  // namespace Kz::Dvt::Trace
