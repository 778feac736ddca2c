#include "common/source/source_utilities/uFile.h"

#include <unistd.h>

#include <limits>
#include <string>

namespace KZ_DVT {

bool uFile::Open(const char* path, const char* mode) {
  file_.reset();
  if (path == nullptr || mode == nullptr) return false;
  // "e": programs that the host starts do not inherit the file.
  file_.reset(std::fopen(path, (std::string(mode) + "e").c_str()));
  return IsOpen();
}

bool uFile::Close() {
  return IsOpen() && std::fclose(file_.release()) == 0;
}

bool uFile::Write(const void* data, std::size_t size_bytes) {
  return IsOpen() && std::fwrite(data, 1, size_bytes, file_.get()) == size_bytes;
}

bool uFile::Flush() {
  return IsOpen() && std::fflush(file_.get()) == 0;
}

bool uFile::Truncate(std::uint64_t size_bytes) {
  constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
  return size_bytes <= kLargest && Flush() &&
         ::ftruncate(::fileno(file_.get()), static_cast<off_t>(size_bytes)) == 0 &&
         std::fseek(file_.get(), 0, SEEK_END) == 0;
}

}  // namespace KZ_DVT
