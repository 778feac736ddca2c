#include "common/source/source_utilities/uEnvironment.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "common/source/source_utilities/uString.h"

std::string& GetTraceUserDirectory(std::string& out) {
  using KZ_DVT::uEnvironment;
  std::string directory = uEnvironment::GetVar("HOME");
  if (directory.empty()) {
    throw KZ_DVT::source_utilities_error("failed to read environment variable \"HOME\"");
  }
  uEnvironment::JoinPaths(directory, ".KZ-trace");
  out.swap(directory);
  return out;
}

namespace KZ_DVT {
namespace {

constexpr std::size_t kWorkingDirectoryCapacityBytes = 4096;
constexpr std::size_t kExecutablePathLimitBytes = 1023;
constexpr mode_t kDirectoryMode = 0777;

void CheckName(const char* name) {
  // Deliberate: the getter uses the setter's text.
  if (name == nullptr) {
    throw source_utilities_error("failed set an environment variable name to null");
  }
}

std::string& MakeTraceDirectory(std::string& out, const char* below) {
  GetTraceUserDirectory(out);
  if (below != nullptr) uEnvironment::JoinPaths(out, below);
  uEnvironment::MakeDirectory(out.c_str());
  return out;
}

}  // namespace

std::string uEnvironment::GetVar(const char* name) {
  CheckName(name);
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

int uEnvironment::SetVar(const char* name, const char* value) {
  CheckName(name);
  if (value == nullptr) {
    throw source_utilities_error("failed set an environment variable value to null");
  }
  return ::setenv(name, value, 1);
}

std::string& uEnvironment::GetWorkingDirectory(std::string& out) {
  std::array<char, kWorkingDirectoryCapacityBytes> buffer = {};
  if (::getcwd(buffer.data(), buffer.size()) == nullptr) {
    throw source_utilities_error("failed to get current working directory");
  }
  return out = buffer.data();
}

int uEnvironment::SetWorkingDirectory(const char* path) {
  return path != nullptr ? ::chdir(path) : -1;
}

std::uint32_t uEnvironment::MakeDirectory(const char* path) {
  if (path == nullptr) return 0xFFFFFFFF;
  std::string level;
  std::string rest;
  std::string prefix;
  int result = 0;
  // Existing levels fail here, which does not matter: an unusable one fails the next level.
  for (std::uint32_t parts = uString::Split(path, level, rest, "/"); parts != 0;
       parts = uString::Split(rest.c_str(), level, rest, "/")) {
    prefix += level;
    prefix += '/';
    result = ::mkdir(prefix.c_str(), kDirectoryMode);
  }
  return static_cast<std::uint32_t>(result);
}

std::string& uEnvironment::NormalizeDirSep(std::string& path) {
  uString::Replace(path, "\\", "/");
  // A pass skips some of the text that it shortened, so it repeats until nothing changes.
  std::string before;
  do {
    before = path;
    uString::Replace(path, "//", "/");
  } while (path != before);
  return path;
}

std::string& uEnvironment::GetParentDir(std::string& out, const char* path) {
  const std::string whole = path != nullptr ? path : "";
  const std::size_t separator = whole.rfind('/');
  return out = separator != std::string::npos ? whole.substr(0, separator) : "";
}

std::string& uEnvironment::JoinPaths(std::string& path, const char* text) {
  const std::string last = text != nullptr ? text : "";
  if (!path.empty() && path.back() != '/') path += '/';
  path += last;
  return NormalizeDirSep(path);
}

std::string& uEnvironment::GetCurrentExecutablePath(std::string& out) {
  std::array<char, kExecutablePathLimitBytes> buffer = {};
  const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
  return out.assign(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
}

std::string& uEnvironment::GetTraceLoggingDirectory(std::string& out) {
  return MakeTraceDirectory(out, nullptr);
}

std::string& uEnvironment::GetTraceUserSettingsDirectory(std::string& out) {
  return MakeTraceDirectory(out, "settings");
}

std::string& uEnvironment::GetTraceTemporaryDataDirectory(std::string& out) {
  return MakeTraceDirectory(out, "data");
}

uEnvironment::ScopedDirectoryChanger::ScopedDirectoryChanger(const char* path) {
  Change(path);
}

uEnvironment::ScopedDirectoryChanger::~ScopedDirectoryChanger() {
  Restore();
}

void uEnvironment::ScopedDirectoryChanger::Change(const char* path) {
  if (path == nullptr) return;
  if (!saved_.empty()) {
    throw source_utilities_error(
        "can't temporarily change the working directory again until its restored");
  }
  GetWorkingDirectory(saved_);
  if (SetWorkingDirectory(path) != 0) {
    throw source_utilities_error(
        std::string("failed to temporarily change the working directory to \"") + path + "\"");
  }
}

void uEnvironment::ScopedDirectoryChanger::Restore() {
  if (saved_.empty()) return;
  SetWorkingDirectory(saved_.c_str());
  saved_.clear();
}

}  // namespace KZ_DVT
