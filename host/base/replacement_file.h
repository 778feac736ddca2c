#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

#include "host/base/temporary_files.h"

/// A regular file that is complete or absent: it is built under a temporary name in the folder of
/// its target and takes the target's name on commit(). Without commit() the temporary is removed
/// and an earlier file of that name stays as it was. A signal handler that calls
/// remove_temporary_files() leaves no temporary behind either. One thread.
namespace qbt2 {

/// What to do with a file that already has the name.
enum class ExistingFile : std::uint8_t { kReplace, kRefuse };

class ReplacementFile {
 public:
  /// Creates the temporary. A symbolic link is followed, and stays a link; its target is replaced.
  /// The temporary's name ends like `path` (".tdf"), for writers that insist on an extension.
  ///
  /// Throws Error: kUsage with kRefuse when `path` exists, as any kind of file; kOutput when
  /// it exists and is not a regular file, is write-protected, or the temporary cannot be created.
  /// Messages name `path`.
  explicit ReplacementFile(const std::string& path, ExistingFile existing = ExistingFile::kReplace);
  ~ReplacementFile();
  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;
  ReplacementFile(ReplacementFile&&) = delete;
  ReplacementFile& operator=(ReplacementFile&&) = delete;

  /// Open for writing, at the start of the empty temporary; closed by commit().
  int descriptor() const { return descriptor_; }
  /// For writers that open their file by name. They may write it as often as they like before
  /// commit(), but must not replace it. Its owner may read and write it until then.
  const std::string& temporary_path() const { return temporary_; }
  /// The file that will be replaced or created: `path` with symbolic links followed.
  const std::string& target_path() const { return target_; }

  /// Passes on the permissions of the replaced file, waits until the data are on the disk and
  /// gives the temporary its name. Call it once, after the last write. Throws Error: kOutput when
  /// that fails; with kRefuse also when a file of that name has been created since.
  void commit();

 private:
  ReplacementFile() = default;  ///< delegated to, so that the destructor runs when opening fails
  /// With the permissions of a file of its own user's only, where it takes those of another later:
  /// whoever opened it before that could read on.
  void create_temporary(mode_t permissions);
  void take_permissions();
  void close_checked();
  void take_free_name() const;
  [[noreturn]] void fail(int error) const;

  std::string shown_path_;  ///< as messages name it
  std::string target_;
  std::string temporary_;  ///< empty when there is nothing to remove
  std::optional<TemporaryFileEntry> entry_;
  std::optional<mode_t> permissions_;  ///< for commit(); those of the file that is replaced
  ExistingFile existing_ = ExistingFile::kReplace;
  int descriptor_ = -1;
};

}  // namespace qbt2
