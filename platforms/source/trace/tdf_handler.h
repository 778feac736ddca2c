#pragma once

#include <cstdint>
#include <cstdio>

#include "interfaces/qbt2_export.h"

/// The container of a trace data file: named, versioned sections, one after another. tdf_format.h
/// and docs/formats/tdf.md describe its layout; the classes of tdf_helper.h read and write what is
/// in the sections.
///
/// There is no state between calls: each opens the file, does its work and closes it again. Any
/// thread may call, but nothing guards two writers of one file against each other.

/// Size of a file in bytes; 0 when it cannot be opened or is a directory, 0xFFFFFFFF when the size
/// does not fit in 32 bits. C linkage, so that a host finds it by name.
extern "C" QBT2_API std::uint32_t FileSize(const char* path);

namespace Kz::Dvt::Trace {

using ::FileSize;

/// Calling order of a writer: CreateTDFFile once, by the writer of the first section, then for each
/// section SaveSectionHeader and SaveSectionData with the offset that the former returned.
///
/// Failures are thrown as Kz::Dvt::Hwdbg::hwDbgError of severity eError, after the file is closed.
/// Nothing already written is undone: a failed save can leave, at the end of the file, a section
/// whose length field is 0 or the length of its header. The sections before it stay readable.
class QBT2_API TDFHandler {
 public:
  /// Creates or truncates the file and writes the identifier.
  static void CreateTDFFile(const char* path);

  /// Appends a section header at the end of the file. A null name is written as an empty one.
  /// `headerOffset` is where the section begins, set as soon as it is known.
  static void SaveSectionHeader(const char* path, const char* name, std::uint32_t version,
                                std::uint32_t& headerOffset);

  /// Writes itemCount items of itemSize bytes at the current end of the section at `headerOffset`,
  /// as given by its length field, and updates that field; `sectionLength` is the new length.
  /// Called again for the last section of a file, it appends to that section. The name is not used.
  /// The readers' limits are not enforced here: a section above 128 MiB is written but not found
  /// again.
  static void SaveSectionData(const char* path, const char* name, std::uint32_t headerOffset,
                              const void* data, std::uint32_t itemSize, std::uint32_t itemCount,
                              std::uint32_t& sectionLength);

  /// Payload bytes of the first section of this name and version, as its header says: at most
  /// 128 MiB, and more than the file contains if its end cuts the payload. The file's extension is
  /// not checked.
  static void GetSectionDataLengthInBytes(const char* path, const char* name, std::uint32_t version,
                                          std::uint32_t& dataLength);

  /// Copies the payload, or as much of it as fits the buffer. Neither that nor a payload that the
  /// end of the file cuts is an error. `bytesRead` is the number of bytes actually read.
  static void LoadSectionData(const char* path, const char* name, std::uint32_t version,
                              void* buffer, std::uint32_t bufferSize, std::uint32_t& bytesRead);

  /// Where the payload begins in the file, and its length.
  static void GetSectionDataPosition(const char* path, const char* name, std::uint32_t version,
                                     std::uint32_t& dataPosition, std::uint32_t& dataLength);

  /// Searches from the stream's current position on, which must be that of a section. On success
  /// the stream is at the payload. Names are compared bytewise up to their first zero byte; a null
  /// name is the empty one. False at the end of the file, at anything that is not a section and
  /// when memory runs out. Never throws.
  static bool SeekSectionData(std::FILE* stream, const char* name, std::uint32_t version,
                              std::uint32_t& dataLength) noexcept;

  /// Whether the name ends in ".tdf" and the file starts with the TDF identifier. Never throws.
  static bool ISTDF(const char* path) noexcept;

  /// Whether the name ends in a dot and `extension`, ignoring case. ".tdf" alone does, "tdf" alone
  /// does not. Never throws.
  static bool HasExtension(const char* path, const char* extension) noexcept;

  /// Whether the name is not empty and opens for reading. Never throws.
  static bool IsFileAvailable(const char* path) noexcept;

  /// Version, name length and name at the stream's current position; true when all of it was
  /// written. Never throws.
  static bool SaveNameVersion(std::FILE* stream, const char* name, std::uint32_t version) noexcept;
};

}  // namespace Kz::Dvt::Trace
