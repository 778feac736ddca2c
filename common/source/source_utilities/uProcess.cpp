#include "common/source/source_utilities/uProcess.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace KZ_DVT {

std::uint32_t uProcess::GetPid() {
  return static_cast<std::uint32_t>(::getpid());
}

bool uProcess::LookupProcess(std::uint32_t pid) {
  struct stat entry = {};
  return ::stat(("/proc/" + std::to_string(pid)).c_str(), &entry) == 0;
}

}  // namespace KZ_DVT
