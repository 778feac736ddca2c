#include "platforms/source/trace/stdio_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <limits>

namespace Kz::Dvt::Trace {

namespace {

bool IsDirectory(std::FILE* stream) {
  const int descriptor = fileno(stream);  // -1 for a stream over memory
  struct stat status = {};
  return descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

StdioFile OpenForReading(const char* path) {
  return StdioFile(std::fopen(path, "rbe"));
}

StdioFile OpenForWriting(const char* path, const std::string& mode) {
  StdioFile file(std::fopen(path, (mode + "e").c_str()));
  if (file) static_cast<void>(std::setvbuf(file.get(), nullptr, _IONBF, 0));
  return file;
}

bool CloseWritten(StdioFile file) {
  return std::fclose(file.release()) == 0;
}

bool SeekTo(std::FILE* stream, std::uint64_t offset) {
  if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) return false;
  return fseeko(stream, static_cast<off_t>(offset), SEEK_SET) == 0;
}

bool Tell(std::FILE* stream, std::uint64_t& offset) {
  const off_t position = ftello(stream);
  if (position < 0) return false;
  offset = static_cast<std::uint64_t>(position);
  return true;
}

bool FindEnd(std::FILE* stream, std::uint64_t& end) {
  std::uint64_t here = 0;
  if (!Tell(stream, here) || fseeko(stream, 0, SEEK_END) != 0 || !Tell(stream, end)) return false;
  if (IsDirectory(stream)) {
    end = 0;  // some file systems return the largest possible offset
  }
  return SeekTo(stream, here);
}

bool ReadWord(std::FILE* stream, std::uint32_t& word) {
  return std::fread(&word, sizeof word, 1, stream) == 1;
}

bool WriteWord(std::FILE* stream, std::uint32_t word) {
  return std::fwrite(&word, sizeof word, 1, stream) == 1;
}

bool ReadWholeFile(const std::string& path, std::string& text) {
  const StdioFile file = OpenForReading(path.c_str());
  std::uint64_t remaining = 0;
  if (!file || IsDirectory(file.get()) || !FindEnd(file.get(), remaining)) return false;
  text.clear();
  std::array<char, 65536> chunk;
  while (remaining > 0) {
    const std::size_t wanted = std::min<std::uint64_t>(remaining, chunk.size());
    const std::size_t got = std::fread(chunk.data(), 1, wanted, file.get());
    text.append(chunk.data(), got);
    if (got < wanted) break;
    remaining -= got;
  }
  return std::ferror(file.get()) == 0;
}

WriteOutcome WriteWholeFile(const std::string& path, const std::string& text) {
  StdioFile file = OpenForWriting(path.c_str(), "wb");
  if (!file) return WriteOutcome::NotOpened;
  const bool complete = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
  const bool closed = CloseWritten(std::move(file));
  return complete && closed ? WriteOutcome::Written : WriteOutcome::NotWritten;
}

}  // namespace Kz::Dvt::Trace
