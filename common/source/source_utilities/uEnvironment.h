#pragma once

#include <cstdint>
#include <string>

#include "common/source/source_utilities/source_utilities_error.h"
#include "interfaces/qbt2_export.h"

/// The process's environment: variables, working directory, directories and paths, and the per-user
/// trace directories. Everything here acts on state of the whole process and takes no lock.
/// Failures are source_utilities_error. Paths are byte strings, passed to the file system
/// unchanged.

/// $HOME/.KZ-trace, which is not created. Throws when HOME is unset or empty.
QBT2_API std::string& GetTraceUserDirectory(std::string& out);

namespace KZ_DVT {

using ::GetTraceUserDirectory;

class QBT2_API uEnvironment {
 public:
  /// The variable's value; empty if it is not set. Throws on a null name.
  static std::string GetVar(const char* name);
  /// Sets or overwrites the variable. Returns 0 or the platform's error result. Throws on null.
  static int SetVar(const char* name, const char* value);

  /// Functions with an out or in/out text return that text.
  /// Throws if the directory was removed or its path exceeds 4096 bytes.
  static std::string& GetWorkingDirectory(std::string& out);
  /// Not 0 on failure; a null path fails. Never throws.
  static int SetWorkingDirectory(const char* path);

  /// Creates every directory along `path` (mode 0777 less the process's mask). The result is that
  /// of the deepest level: 0 if it was created, 0xFFFFFFFF if it existed or could not be created,
  /// or `path` is null. So the result does not show success: check the directory instead.
  static std::uint32_t MakeDirectory(const char* path);

  /// Makes every backslash a "/" and every run of "/" a single one.
  static std::string& NormalizeDirSep(std::string& path);
  /// The text before the last "/" of `path`; empty without one and for a null `path`.
  static std::string& GetParentDir(std::string& out, const char* path);
  /// Appends `text` to `path` with one "/" between them (none if the path is empty) and normalises
  /// the whole. A null `text` is an empty one.
  static std::string& JoinPaths(std::string& path, const char* text);
  /// The path of the running program, cut at 1023 bytes; empty if it cannot be read.
  static std::string& GetCurrentExecutablePath(std::string& out);

  /// The trace directories, created by the call: $HOME/.KZ-trace, and "settings" and "data" in it.
  /// They throw as GetTraceUserDirectory() does. A directory that cannot be created does not throw;
  /// using it fails.
  static std::string& GetTraceLoggingDirectory(std::string& out);
  static std::string& GetTraceUserSettingsDirectory(std::string& out);
  static std::string& GetTraceTemporaryDataDirectory(std::string& out);

  /// Changes the working directory, of all threads, until Restore() or the destructor.
  class QBT2_API ScopedDirectoryChanger {
   public:
    /// Calls Change(path). If that throws, the working directory is unchanged.
    explicit ScopedDirectoryChanger(const char* path = nullptr);
    virtual ~ScopedDirectoryChanger();
    ScopedDirectoryChanger(const ScopedDirectoryChanger&) = delete;
    ScopedDirectoryChanger& operator=(const ScopedDirectoryChanger&) = delete;

    /// Saves the working directory and changes to `path`; null does nothing. Throws if a directory
    /// is already saved and if the change fails. Either way the saved directory stays saved: call
    /// Restore() before the next Change().
    void Change(const char* path);
    /// Changes back to the saved directory, if any, and forgets it.
    void Restore();

   private:
    std::string saved_;
  };
};

}  // namespace KZ_DVT
