#include "platforms/source/trace/tdf_handler.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>

#include "common/source/errors/error_code.h"
#include "platforms/source/trace/stdio_file.h"
#include "platforms/source/trace/tdf_format.h"
#include "platforms/source/trace/tdf_walker.h"

namespace {

constexpr std::uint32_t kMaxUint32 = std::numeric_limits<std::uint32_t>::max();

}  // namespace

extern "C" std::uint32_t FileSize(const char* path) {
  if (path == nullptr) return 0;
  const Kz::Dvt::Trace::StdioFile file = Kz::Dvt::Trace::OpenForReading(path);
  std::uint64_t size = 0;
  if (!file || !Kz::Dvt::Trace::FindEnd(file.get(), size)) return 0;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(size, kMaxUint32));
}

namespace Kz::Dvt::Trace {

using namespace TdfFormat;
using Hwdbg::hwDbgError;

namespace {

// Texts that several operations share. Deliberate: hosts know the two blanks after some dashes.
constexpr char kSaveUnavailable[] = "File name passed to save file is not valid.";
constexpr char kLoadUnavailable[] = "File name passed to load is not valid.";
constexpr char kCannotOpen[] = "Could not open TDF file as specified.";
constexpr char kWrongExtension[] = "TDF file extension must be .tdf.";
constexpr char kHeaderSize[] = "Write error - size of TDF header.";
constexpr char kPayloadShort[] = "Write I/O error - unable to write section data.";
constexpr char kBadHeaderOffset[] = "Section header offset to save data is not valid.";

[[noreturn]] void Fail(const std::string& text) {
  throw hwDbgError(text, hwDbgError::eError);
}

void Require(bool condition, const char* text) {
  if (!condition) Fail(text);
}

StdioFile OpenForUpdate(const char* path) {
  StdioFile file = OpenForWriting(path, "r+b");
  Require(file != nullptr, kCannotOpen);
  return file;
}

/// Writes the length field last, so that a section is never longer than the data written.
void FinishSection(StdioFile file, std::uint32_t headerOffset, std::uint32_t length) {
  Require(SeekTo(file.get(), headerOffset) && WriteWord(file.get(), length), kHeaderSize);
  Require(CloseWritten(std::move(file)), kHeaderSize);
}

/// Where new data goes: to the end of the section, as its length field says. An invalid length (0
/// after a save that failed half-way, anything if the offset is not that of a section) is refused:
/// the data would overwrite the header or land beyond the end of the file.
std::uint64_t FindEndOfSection(std::FILE* file, std::uint32_t headerOffset) {
  std::uint32_t length = 0;
  Require(SeekTo(file, headerOffset) && ReadWord(file, length),
          "Write I/O error - unable to determine section length.");
  std::uint64_t fileEnd = 0;
  const std::uint64_t sectionEnd = std::uint64_t{headerOffset} + length;
  Require(length >= kSectionHeaderSize && FindEnd(file, fileEnd) && sectionEnd <= fileEnd,
          kBadHeaderOffset);
  return sectionEnd;
}

bool StartsWithIdentifier(std::FILE* file) {
  std::uint32_t word = 0;
  return ReadWord(file, word) && word == kIdentifierWord;
}

/// An open file, positioned after its identifier.
StdioFile OpenTdf(const char* path) {
  StdioFile file = OpenForReading(path);
  Require(file != nullptr, kCannotOpen);
  Require(StartsWithIdentifier(file.get()), "Invalid TDF format.");
  return file;
}

void RequireSection(bool found, const char* name) {
  if (!found) {
    Fail(std::string(name == nullptr ? "" : name) + " section cannot be located in the file.");
  }
}

/// Lower case in ASCII, whatever the host's locale.
char LowerAscii(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

}  // namespace

void TDFHandler::CreateTDFFile(const char* path) {
  Require(path != nullptr, "Null file name to create TDF.");
  Require(HasExtension(path, kExtension), kWrongExtension);
  StdioFile file = OpenForWriting(path, "wb");
  Require(file != nullptr, "Could not create TDF file as specified.");
  const bool written =
      std::fwrite(kIdentifier.data(), 1, kIdentifier.size(), file.get()) == kIdentifier.size();
  Require(CloseWritten(std::move(file)) && written, "Write error -  TDF file identifier.");
}

void TDFHandler::SaveSectionHeader(const char* path, const char* name, std::uint32_t version,
                                   std::uint32_t& headerOffset) {
  headerOffset = 0;
  Require(IsFileAvailable(path), kSaveUnavailable);
  StdioFile file = OpenForUpdate(path);
  headerOffset = FileSize(path);
  Require(headerOffset < kMaxUint32, "TDF file is too large for another section.");
  Require(SeekTo(file.get(), headerOffset) && WriteWord(file.get(), 0),
          "Write error -  TDF section header size.");
  std::uint64_t end = 0;
  Require(SaveNameVersion(file.get(), name, version) && Tell(file.get(), end),
          "Write error -  TDF section name and version.");
  FinishSection(std::move(file), headerOffset, static_cast<std::uint32_t>(end - headerOffset));
}

void TDFHandler::SaveSectionData(const char* path, const char* /*name*/, std::uint32_t headerOffset,
                                 const void* data, std::uint32_t itemSize, std::uint32_t itemCount,
                                 std::uint32_t& sectionLength) {
  sectionLength = 0;
  Require(IsFileAvailable(path), kSaveUnavailable);
  Require(headerOffset >= kFirstSectionOffset, kBadHeaderOffset);
  Require(data != nullptr, "No data to write TDF.");
  StdioFile file = OpenForUpdate(path);
  const std::uint64_t begin = FindEndOfSection(file.get(), headerOffset);
  // 32 bits times 32 bits, plus less than 2^33: only the sum needs care, and 64 bits hold it unless
  // the product alone is already beyond any file.
  const std::uint64_t bytes = std::uint64_t{itemSize} * itemCount;
  Require(bytes <= kMaxUint32 && begin - headerOffset + bytes <= kMaxUint32, kPayloadShort);
  Require(
      SeekTo(file.get(), begin) && std::fwrite(data, itemSize, itemCount, file.get()) == itemCount,
      kPayloadShort);
  Require(std::ferror(file.get()) == 0, "Write error - section data corrupted.");
  sectionLength = static_cast<std::uint32_t>(begin + bytes - headerOffset);
  FinishSection(std::move(file), headerOffset, sectionLength);
}

void TDFHandler::GetSectionDataLengthInBytes(const char* path, const char* name,
                                             std::uint32_t version, std::uint32_t& dataLength) {
  Require(IsFileAvailable(path), "File name passed to load file is not valid.");
  const StdioFile file = OpenTdf(path);
  Require(SeekSectionData(file.get(), name, version, dataLength),
          "Section size cannot be located in the file.");
}

void TDFHandler::LoadSectionData(const char* path, const char* name, std::uint32_t version,
                                 void* buffer, std::uint32_t bufferSize, std::uint32_t& bytesRead) {
  bytesRead = 0;
  Require(IsFileAvailable(path), kLoadUnavailable);
  Require(HasExtension(path, kExtension), kWrongExtension);
  Require(buffer != nullptr && bufferSize != 0, "No buffer allocated to load section data.");
  const StdioFile file = OpenTdf(path);
  std::uint32_t dataLength = 0;
  RequireSection(SeekSectionData(file.get(), name, version, dataLength), name);
  const std::size_t got = std::fread(buffer, 1, std::min(bufferSize, dataLength), file.get());
  Require(std::ferror(file.get()) == 0, "Read I/O error - section data corrupted.");
  bytesRead = static_cast<std::uint32_t>(got);
}

void TDFHandler::GetSectionDataPosition(const char* path, const char* name, std::uint32_t version,
                                        std::uint32_t& dataPosition, std::uint32_t& dataLength) {
  Require(IsFileAvailable(path), kLoadUnavailable);
  Require(HasExtension(path, kExtension), kWrongExtension);
  const StdioFile file = OpenTdf(path);
  RequireSection(SeekSectionData(file.get(), name, version, dataLength), name);
  std::uint64_t position = 0;
  RequireSection(Tell(file.get(), position), name);
  dataPosition = static_cast<std::uint32_t>(position);
}

bool TDFHandler::SeekSectionData(std::FILE* stream, const char* name, std::uint32_t version,
                                 std::uint32_t& dataLength) noexcept try {
  dataLength = 0;
  if (stream == nullptr || std::ferror(stream) != 0) return false;
  const char* wanted = name == nullptr ? "" : name;
  TdfCursor cursor(stream);
  TdfSectionInfo section;
  TdfFault fault;
  while (cursor.Next(section, fault)) {
    if (section.version != version || std::strcmp(section.name.c_str(), wanted) != 0) continue;
    if (section.payloadOffset > kMaxUint32 || !SeekTo(stream, section.payloadOffset)) {
      return false;  // positions are 32 bits wide
    }
    // What the header claims. A cut file has less; LoadSectionData returns how much.
    dataLength =
        static_cast<std::uint32_t>(section.offset + section.length - section.payloadOffset);
    return true;
  }
  return false;
} catch (const std::bad_alloc&) {
  return false;
}

bool TDFHandler::ISTDF(const char* path) noexcept {
  if (path == nullptr || !HasExtension(path, kExtension)) return false;
  const StdioFile file = OpenForReading(path);
  return file != nullptr && StartsWithIdentifier(file.get());
}

bool TDFHandler::HasExtension(const char* path, const char* extension) noexcept {
  if (path == nullptr || extension == nullptr) return false;
  const std::size_t pathLength = std::strlen(path);
  const std::size_t length = std::strlen(extension);
  if (pathLength <= length || path[pathLength - length - 1] != '.') return false;
  return std::equal(extension, extension + length, path + pathLength - length,
                    [](char a, char b) { return LowerAscii(a) == LowerAscii(b); });
}

bool TDFHandler::IsFileAvailable(const char* path) noexcept {
  return path != nullptr && *path != '\0' && OpenForReading(path) != nullptr;
}

bool TDFHandler::SaveNameVersion(std::FILE* stream, const char* name,
                                 std::uint32_t version) noexcept {
  const std::size_t length = name == nullptr ? 0 : std::strlen(name);
  if (stream == nullptr || length > kMaxUint32) return false;
  return WriteWord(stream, version) && WriteWord(stream, static_cast<std::uint32_t>(length)) &&
         (length == 0 || std::fwrite(name, 1, length, stream) == length) &&
         std::fflush(stream) == 0;
}

}  // namespace Kz::Dvt::Trace
