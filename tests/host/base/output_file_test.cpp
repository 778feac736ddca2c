#include "host/base/output_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <thread>

#include "host/base/error.h"
#include "tests/support/test_folder.h"

namespace qbt2::test {
namespace {

namespace fs = std::filesystem;

class OutputFileTest : public testing::Test {
 protected:
  std::size_t entries() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(at("")), fs::directory_iterator()));
  }
  static void write_all(const std::string& path, const std::string& text) {
    OutputFile out(path);
    EXPECT_TRUE(out.write(text));
    out.commit();
  }
  /// The message of the error that opening, writing and committing end in.
  static std::string failure(const std::string& path) {
    try {
      write_all(path, "text");
    } catch (const Error& error) {
      EXPECT_EQ(error.code(), ErrorCode::kOutput);
      return error.what();
    }
    return "no failure";
  }

  std::string at(const std::string& name) const { return folder.at(name); }
  TestFolder folder;
};

TEST_F(OutputFileTest, AFileAppearsWholeOnCommit) {
  // The longest name still has room for a temporary.
  const std::string path = at(std::string(255, 'n'));
  OutputFile out(path);
  EXPECT_TRUE(out.write("one "));
  EXPECT_TRUE(out.write(""));
  EXPECT_TRUE(out.write("two"));
  EXPECT_FALSE(fs::exists(path));
  out.commit();
  EXPECT_EQ(read_file(path), "one two");
  EXPECT_EQ(entries(), 1U);
}

TEST_F(OutputFileTest, WithoutCommitNothingChanges) {
  folder.put("old", "kept");
  for (const char* name : {"old", "new"}) {
    OutputFile out(at(name));
    EXPECT_TRUE(out.write("lost"));
  }
  EXPECT_EQ(read_file(at("old")), "kept");
  EXPECT_EQ(entries(), 1U);
}

TEST_F(OutputFileTest, PermissionsAreThoseOfTheReplacedFileOrTheDefault) {
  const mode_t mask = ::umask(027);
  folder.put("old", "old");
  ::chmod(at("old").c_str(), 0604);
  write_all(at("old"), "new");
  write_all(at("fresh"), "new");
  ::umask(mask);
  struct stat status {};
  ASSERT_EQ(::stat(at("old").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0604U);
  ASSERT_EQ(::stat(at("fresh").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(OutputFileTest, LinksStayAndTheirTargetsAreReplaced) {
  fs::create_directory(at("deep"));
  folder.put("deep/file", "old");
  fs::create_symlink("deep/file", at("relative"));
  fs::create_symlink(at("relative"), at("twice"));
  fs::create_symlink("deep/absent", at("dangling"));
  write_all(at("twice"), "new");
  write_all(at("dangling"), "made");
  EXPECT_TRUE(fs::is_symlink(at("relative")) && fs::is_symlink(at("twice")));
  EXPECT_TRUE(fs::is_symlink(at("dangling")));
  EXPECT_EQ(read_file(at("deep/file")), "new");
  EXPECT_EQ(read_file(at("deep/absent")), "made");
}

TEST_F(OutputFileTest, AFileWrittenByNameKeepsEndingPermissionsAndExistingFiles) {
  folder.put("a.tdf", "old");
  ::chmod(at("a.tdf").c_str(), 0240);
  {
    ReplacementFile file(at("a.tdf"));
    EXPECT_TRUE(file.temporary_path().ends_with(".tdf"));
    EXPECT_EQ(fs::status(file.temporary_path()).permissions(), fs::perms(0640));
    std::ofstream(file.temporary_path()) << "new";
    file.commit();
  }
  EXPECT_EQ(fs::status(at("a.tdf")).permissions(), fs::perms(0240));
  ::chmod(at("a.tdf").c_str(), 0600);
  EXPECT_EQ(read_file(at("a.tdf")), "new");
  EXPECT_THROW(ReplacementFile(at("a.tdf"), ExistingFile::kRefuse), Error);
  ReplacementFile late(at("b.tdf"), ExistingFile::kRefuse);
  folder.put("b.tdf", "somebody else's");
  EXPECT_THROW(late.commit(), Error);
  EXPECT_EQ(read_file(at("b.tdf")), "somebody else's");
}

TEST_F(OutputFileTest, FailuresNameThePathAndTheReason) {
  fs::create_symlink("loop", at("loop"));
  folder.put("file", "");
  const struct {
    std::string path;
    std::string reason;
  } cases[] = {
      {at("missing/rows"), "the folder " + at("missing") + " does not exist"},
      {at("file/rows"), "Not a directory"},
      {fs::temp_directory_path().string(), "Is a directory"},
      {at("new/"), "Is a directory"},
      {"", "No such file or directory"},
      {at("loop"), "Too many levels of symbolic links"},
      {"/dev/full", "No space left on device"},
      {"/dev/fd/999", "Bad file descriptor"},
  };
  for (const auto& c : cases) EXPECT_EQ(failure(c.path), c.path + ": " + c.reason);
  EXPECT_EQ(entries(), 2U);
}

TEST_F(OutputFileTest, WriteProtectedFilesAndFoldersStayAsTheyAre) {
  folder.put("protected", "kept");
  ::chmod(at("protected").c_str(), 0444);
  ::chmod(at("").c_str(), 0777);
  fs::create_directory(at("closed"));
  ::chmod(at("closed").c_str(), 0555);
  // The superuser may write anywhere: be somebody else for a moment.
  const bool privileged = ::geteuid() == 0;
  ASSERT_EQ(privileged ? ::seteuid(65534) : 0, 0);
  EXPECT_EQ(failure(at("protected")), at("protected") + ": Permission denied");
  EXPECT_EQ(failure(at("closed/rows")), at("closed/rows") + ": Permission denied");
  ASSERT_EQ(privileged ? ::seteuid(0) : 0, 0);
  EXPECT_EQ(read_file(at("protected")), "kept");
  EXPECT_EQ(entries(), 2U);
}

TEST_F(OutputFileTest, PipesAndDevicesAreWrittenDirectlyAndStay) {
  ASSERT_EQ(::mkfifo(at("fifo").c_str(), 0600), 0);
  const std::string text(300000, 'x');  // more than a pipe holds
  std::string received;
  std::thread reader([&] { received = read_file(at("fifo")); });
  write_all(at("fifo"), text);
  reader.join();
  EXPECT_EQ(received, text);
  EXPECT_TRUE(fs::is_fifo(at("fifo")));
  write_all("/dev/null", text);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_EQ(entries(), 1U);
}

TEST_F(OutputFileTest, WritingToAClosedPipeReturnsFalse) {
  ::signal(SIGPIPE, SIG_IGN);
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  OutputFile out("/dev/fd/" + std::to_string(ends[1]));
  EXPECT_TRUE(out.write("read"));
  ::close(ends[0]);
  EXPECT_FALSE(out.write("not read"));
  EXPECT_FALSE(out.write(""));
  EXPECT_NO_THROW(out.commit());
  ::close(ends[1]);
}

TEST_F(OutputFileTest, ANonBlockingPipeIsWaitedFor) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
  const std::string text(300000, 'x');
  std::string received;
  std::thread reader([&] { received = read_file("/dev/fd/" + std::to_string(ends[0])); });
  EXPECT_NO_THROW(write_all("/dev/fd/" + std::to_string(ends[1]), text));
  ::close(ends[1]);
  reader.join();
  EXPECT_EQ(received, text);
  ::close(ends[0]);
}

TEST_F(OutputFileTest, StandardOutputIsNeverReplaced) {
  folder.put("log", "before ");
  const int log = ::open(at("log").c_str(), O_WRONLY | O_APPEND);
  const int saved = ::dup(STDOUT_FILENO);
  ::dup2(log, STDOUT_FILENO);
  for (const char* name : {"-", "/dev/stdout", "/proc/self/fd/1"}) write_all(name, "row ");
  ::dup2(saved, STDOUT_FILENO);
  ::close(saved);
  ::close(log);
  EXPECT_EQ(read_file(at("log")), "before row row row ");
}

}  // namespace
}  // namespace qbt2::test
