#include "common/source/source_utilities/uEnvironment.h"

#include <sys/stat.h>

#include <filesystem>

#include "tests/support/child_process.h"
#include "tests/support/saved_environment.h"
#include "tests/support/test_folder.h"
#include "tests/support/thrown_message.h"

namespace {

using namespace qbt2::test;
using KZ_DVT::source_utilities_error;
using KZ_DVT::uEnvironment;

constexpr auto ErrorOf = [](auto body) { return thrown_message<source_utilities_error>(body); };

std::string WorkingDirectory() {
  std::string out;
  return uEnvironment::GetWorkingDirectory(out);
}

class UEnvironment : public testing::Test {
 protected:
  const TestFolder folder_;
  const SavedEnvironment environment_;
};

TEST_F(UEnvironment, Variables) {
  EXPECT_EQ(uEnvironment::GetVar("QBT2_TEST_VARIABLE"), "");
  EXPECT_EQ(uEnvironment::SetVar("QBT2_TEST_VARIABLE", "one"), 0);
  EXPECT_EQ(uEnvironment::SetVar("QBT2_TEST_VARIABLE", "two"), 0);
  EXPECT_EQ(uEnvironment::GetVar("QBT2_TEST_VARIABLE"), "two");
  EXPECT_NE(uEnvironment::SetVar("a=b", "x"), 0);
  const std::string null_name = "failed set an environment variable name to null";
  EXPECT_EQ(ErrorOf([] { uEnvironment::GetVar(nullptr); }), null_name);
  EXPECT_EQ(ErrorOf([] { uEnvironment::SetVar(nullptr, "x"); }), null_name);
  EXPECT_EQ(ErrorOf([] { uEnvironment::SetVar("x", nullptr); }),
            "failed set an environment variable value to null");
}

TEST_F(UEnvironment, Paths) {
  struct Case {
    const char* path;
    const char* text;
    const char* result;
  };
  for (const Case& c :
       {Case{"/home/u/", ".KZ-trace", "/home/u/.KZ-trace"}, Case{"/home/u", "x", "/home/u/x"},
        Case{"", "data", "data"}, Case{"a\\b", "c\\d", "a/b/c/d"}, Case{"a\\", "b", "a/b"},
        Case{"a", "/b", "a/b"}, Case{"a////b", "", "a/b/"}, Case{"", "a/////b", "a/b"}}) {
    std::string path = c.path;
    EXPECT_EQ(uEnvironment::JoinPaths(path, c.text), c.result) << c.path << " and " << c.text;
  }
  std::string path = "\\\\a\\b///c";
  EXPECT_EQ(uEnvironment::NormalizeDirSep(path), "/a/b/c");

  for (const auto& [of, parent] : std::vector<std::pair<const char*, const char*>>{
           {"/a/b/c", "/a/b"}, {"file", ""}, {"/x", ""}, {"a/", "a"}, {"", ""}}) {
    std::string out = "old";
    EXPECT_EQ(uEnvironment::GetParentDir(out, of), parent) << of;
  }
  EXPECT_EQ(uEnvironment::GetCurrentExecutablePath(path),
            std::filesystem::read_symlink("/proc/self/exe"));
}

TEST_F(UEnvironment, MakeDirectoryReturnsTheResultOfTheDeepestLevel) {
  const std::string deep = folder_.at("x/y");
  const mode_t mask = ::umask(0002);
  EXPECT_EQ(uEnvironment::MakeDirectory(deep.c_str()), 0U);
  ::umask(mask);
  EXPECT_TRUE(std::filesystem::is_directory(deep));
  EXPECT_EQ(std::filesystem::status(deep).permissions(), std::filesystem::perms(0775));
  EXPECT_EQ(uEnvironment::MakeDirectory(deep.c_str()), 0xFFFFFFFFU) << "exists";
  EXPECT_EQ(uEnvironment::MakeDirectory((deep + "/z/").c_str()), 0U);
  EXPECT_EQ(uEnvironment::MakeDirectory("/"), 0xFFFFFFFFU);
  EXPECT_EQ(uEnvironment::MakeDirectory("/proc/qbt2/x"), 0xFFFFFFFFU);
  EXPECT_EQ(uEnvironment::MakeDirectory(nullptr), 0xFFFFFFFFU);
  EXPECT_EQ(uEnvironment::MakeDirectory(""), 0U) << "no level";
}

TEST_F(UEnvironment, TraceDirectoriesAreInHome) {
  struct Case {
    std::string& (*getter)(std::string&);
    const char* below;
    bool created;
  };
  const Case cases[] = {{&KZ_DVT::GetTraceUserDirectory, "/.KZ-trace", false},
                        {&uEnvironment::GetTraceLoggingDirectory, "/.KZ-trace", true},
                        {&uEnvironment::GetTraceUserSettingsDirectory, "/.KZ-trace/settings", true},
                        {&uEnvironment::GetTraceTemporaryDataDirectory, "/.KZ-trace/data", true}};
  for (const Case& c : cases) {
    std::string out;
    for (const char* home : {static_cast<const char*>(nullptr), ""}) {
      set_variable("HOME", home);
      EXPECT_EQ(ErrorOf([&] { c.getter(out); }), "failed to read environment variable \"HOME\"");
    }
    set_variable("HOME", folder_.path());
    EXPECT_EQ(c.getter(out), folder_.path() + c.below);
    EXPECT_EQ(std::filesystem::is_directory(out), c.created) << c.below;
  }
}

TEST_F(UEnvironment, ScopedDirectoryChanger) {
  const std::string before = WorkingDirectory();
  const std::string there = std::filesystem::canonical(folder_.path()).string();
  {
    uEnvironment::ScopedDirectoryChanger changer(there.c_str());
    EXPECT_EQ(WorkingDirectory(), there);
    EXPECT_NO_THROW(changer.Change(nullptr));
    EXPECT_EQ(ErrorOf([&] { changer.Change("/"); }),
              "can't temporarily change the working directory again until its restored");
    EXPECT_EQ(WorkingDirectory(), there);
  }
  EXPECT_EQ(WorkingDirectory(), before);

  uEnvironment::ScopedDirectoryChanger changer;
  EXPECT_EQ(ErrorOf([&] { changer.Change("/missing/x"); }),
            "failed to temporarily change the working directory to \"/missing/x\"");
  EXPECT_THROW(changer.Change(there.c_str()), source_utilities_error) << "still saved";
  changer.Restore();
  changer.Change(there.c_str());
  EXPECT_EQ(WorkingDirectory(), there);
  changer.Restore();
  EXPECT_EQ(WorkingDirectory(), before);

  EXPECT_NE(uEnvironment::SetWorkingDirectory(nullptr), 0);
  run_in_child([&] {
    EXPECT_EQ(uEnvironment::SetWorkingDirectory(there.c_str()), 0);
    std::filesystem::remove(there);
    EXPECT_EQ(ErrorOf([] { WorkingDirectory(); }), "failed to get current working directory");
  });
}

}  // namespace
