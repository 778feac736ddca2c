#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

/// A stdio stream that closes itself, and the few calls on it that trace files need. One thread at
/// a time uses a stream. Internal to platforms/source/trace.
namespace Kz::Dvt::Trace {

struct StdioCloser {
  void operator()(std::FILE* stream) const noexcept { static_cast<void>(std::fclose(stream)); }
};
using StdioFile = std::unique_ptr<std::FILE, StdioCloser>;

/// Opens for reading; null on failure. Programs that the process starts inherit neither this file
/// nor one for writing.
StdioFile OpenForReading(const char* path);

/// Opens with `mode` and without a buffer, so that a full disk fails the call that writes, not the
/// closing of the file; null on failure.
StdioFile OpenForWriting(const char* path, const std::string& mode);

/// Closes; false when the file system reports a failed write only then.
bool CloseWritten(StdioFile file);

/// Moves to an absolute offset; false beyond what the stream can seek to.
bool SeekTo(std::FILE* stream, std::uint64_t offset);

/// The current offset, and the offset of the end; false for a stream that cannot seek. The end of a
/// directory and of a device without a size is 0.
bool Tell(std::FILE* stream, std::uint64_t& offset);
bool FindEnd(std::FILE* stream, std::uint64_t& end);

/// One 32-bit word in the byte order of memory; false when not all of it was read or written.
bool ReadWord(std::FILE* stream, std::uint32_t& word);
bool WriteWord(std::FILE* stream, std::uint32_t word);

/// Reads a whole plain file; false when it cannot be opened, is a directory or fails to be read.
/// Allocates for the bytes actually read. Throws std::bad_alloc.
bool ReadWholeFile(const std::string& path, std::string& text);

/// The outcome of WriteWholeFile.
enum class WriteOutcome { Written, NotOpened, NotWritten };

/// Truncates or creates the file and writes the text. A failed write leaves a part of it.
WriteOutcome WriteWholeFile(const std::string& path, const std::string& text);

}  // namespace Kz::Dvt::Trace
