#pragma once

#include <cstdint>
#include <string>

#include "common/source/source_utilities/source_utilities_error.h"
#include "interfaces/qbt2_export.h"

/// The process's environment: variables, working directory, directories and paths, and the per-user
/// trace directories. Everything here acts on state of the whole process and takes no lock.
/// Failures are source_utilities_error. Paths are UTF-8 bytes as the file system takes them.

/// $HOME/.KZ-trace, which is not created. Throws when HOME is unset or empty.
QBT2_API std::string& GetTraceUserDirectory(std::string& out);

namespace KZ_DVT {

using ::GetTraceUserDirectory;

class QBT2_API uEnvironment {
 public:
  /// The variable's value, empty when it is not set. Throws on a null name.
  static std::string GetVar(const char* name);
  /// Sets the variable, over a value it has. 0, or the platform's error result. Throws on null.
  static int SetVar(const char* name, const char* value);

  /// Each function with an out or in/out text returns that text.
  /// Throws when the directory cannot be told (removed, or a path above 4096 bytes).
  static std::string& GetWorkingDirectory(std::string& out);
  /// 0, or not 0 on failure; a null path fails. Never throws.
  static int SetWorkingDirectory(const char* path);

  /// Creates every directory along `path` (mode 0777 less the process's mask). The result is that
  /// of the deepest level: 0 when it was newly made, 0xFFFFFFFF when it existed or could not be
  /// made, or `path` is null. So it is no test of success: look for the directory instead.
  static std::uint32_t MakeDirectory(const char* path);

  /// Makes every backslash a "/" and every run of "/" a single one.
  static std::string& NormalizeDirSep(std::string& path);
  /// The text before the last "/" of `path`; empty when there is none or `path` is null.
  static std::string& GetParentDir(std::string& out, const char* path);
  /// Appends `text` to `path` with one "/" between them (none to an empty path) and normalises the
  /// whole. A null `text` is taken as an empty one.
  static std::string& JoinPaths(std::string& path, const char* text);
  /// The running program's file, cut at 1023 bytes; empty when it cannot be told.
  static std::string& GetCurrentExecutablePath(std::string& out);

  /// The trace directories, created by the call: $HOME/.KZ-trace, and "settings" and "data" in it.
  /// They throw as GetTraceUserDirectory() does; that a directory could not be created does not
  /// throw and shows when it is used.
  static std::string& GetTraceLoggingDirectory(std::string& out);
  static std::string& GetTraceUserSettingsDirectory(std::string& out);
  static std::string& GetTraceTemporaryDataDirectory(std::string& out);

  /// Changes the working directory, of every thread, until Restore() or the end of its life.
  class QBT2_API ScopedDirectoryChanger {
   public:
    /// Calls Change(path). When that throws, the working directory is as before.
    explicit ScopedDirectoryChanger(const char* path = nullptr);
    virtual ~ScopedDirectoryChanger();
    ScopedDirectoryChanger(const ScopedDirectoryChanger&) = delete;
    ScopedDirectoryChanger& operator=(const ScopedDirectoryChanger&) = delete;

    /// Saves the working directory and changes to `path`; null does nothing. Throws when a
    /// directory is saved already, which stays saved, and when the change fails, which leaves the
    /// saved directory saved too: call Restore() before the next Change().
    void Change(const char* path);
    /// Changes back to the saved directory, if any, and forgets it.
    void Restore();

   private:
    std::string saved_;
  };
};

}  // namespace KZ_DVT
