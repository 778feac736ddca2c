#include "common/source/source_utilities/uEnvironment.h"

#include "tests/common/common_test_support.h"

namespace {

using common_test::Exists;
using common_test::InChild;
using common_test::MessageOf;
using common_test::SetOrUnset;
using common_test::TempDirectory;
using KZ_DVT::source_utilities_error;
using KZ_DVT::uEnvironment;

template <typename Body>
std::string ErrorOf(Body body) {
  return MessageOf<source_utilities_error>(body);
}

std::string WorkingDirectory() {
  std::string out;
  return uEnvironment::GetWorkingDirectory(out);
}

}  // namespace

TEST(UEnvironment, Variables) {
  InChild([] {
    unsetenv("QBT2_TEST_VARIABLE");
    EXPECT_EQ(uEnvironment::GetVar("QBT2_TEST_VARIABLE"), "");
    EXPECT_EQ(uEnvironment::SetVar("QBT2_TEST_VARIABLE", "one"), 0);
    EXPECT_EQ(uEnvironment::SetVar("QBT2_TEST_VARIABLE", "two"), 0);
    EXPECT_EQ(uEnvironment::GetVar("QBT2_TEST_VARIABLE"), "two");
    EXPECT_NE(uEnvironment::SetVar("a=b", "x"), 0);
  });
  const std::string null_name = "failed set an environment variable name to null";
  EXPECT_EQ(ErrorOf([] { uEnvironment::GetVar(nullptr); }), null_name);
  EXPECT_EQ(ErrorOf([] { uEnvironment::SetVar(nullptr, "x"); }), null_name);
  EXPECT_EQ(ErrorOf([] { uEnvironment::SetVar("x", nullptr); }),
            "failed set an environment variable value to null");
}

TEST(UEnvironment, Paths) {
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
}

TEST(UEnvironment, MakeDirectoryAnswersForTheDeepestLevel) {
  const TempDirectory directory;
  const std::string deep = directory / "x/y";
  EXPECT_EQ(uEnvironment::MakeDirectory(deep.c_str()), 0U);
  EXPECT_TRUE(std::filesystem::is_directory(deep));
  EXPECT_EQ(uEnvironment::MakeDirectory(deep.c_str()), 0xFFFFFFFFU) << "exists";
  EXPECT_EQ(uEnvironment::MakeDirectory((deep + "/z/").c_str()), 0U);
  EXPECT_EQ(uEnvironment::MakeDirectory("/"), 0xFFFFFFFFU);
  EXPECT_EQ(uEnvironment::MakeDirectory("/proc/qbt2/x"), 0xFFFFFFFFU);
  EXPECT_EQ(uEnvironment::MakeDirectory(nullptr), 0xFFFFFFFFU);
  EXPECT_EQ(uEnvironment::MakeDirectory(""), 0U) << "no level at all";
}

TEST(UEnvironment, TraceDirectoriesAreBelowHome) {
  const TempDirectory home;
  InChild([&] {
    setenv("HOME", home.path().c_str(), 1);
    const std::string root = home / ".KZ-trace";
    std::string out = "old";
    EXPECT_EQ(::GetTraceUserDirectory(out), root);
    EXPECT_FALSE(Exists(root));
    EXPECT_EQ(uEnvironment::GetTraceUserSettingsDirectory(out), root + "/settings");
    EXPECT_TRUE(Exists(root + "/settings"));
    EXPECT_EQ(uEnvironment::GetTraceTemporaryDataDirectory(out), root + "/data");
    EXPECT_TRUE(Exists(root + "/data"));
    std::filesystem::remove_all(root);
    EXPECT_EQ(uEnvironment::GetTraceLoggingDirectory(out), root);
    EXPECT_TRUE(Exists(root));
  });
}

TEST(UEnvironment, TraceDirectoriesNeedHome) {
  for (const char* home : {static_cast<const char*>(nullptr), ""}) {
    InChild([&] {
      SetOrUnset("HOME", home);
      for (std::string& (*getter)(std::string&) :
           {&KZ_DVT::GetTraceUserDirectory, &uEnvironment::GetTraceLoggingDirectory,
            &uEnvironment::GetTraceUserSettingsDirectory,
            &uEnvironment::GetTraceTemporaryDataDirectory}) {
        std::string out;
        EXPECT_EQ(ErrorOf([&] { getter(out); }), "failed to read environment variable \"HOME\"");
      }
    });
  }
}

TEST(UEnvironment, ExecutablePath) {
  std::string out;
  EXPECT_EQ(std::filesystem::path(uEnvironment::GetCurrentExecutablePath(out)).filename(),
            "common_tests");
}

TEST(UEnvironment, WorkingDirectory) {
  InChild([] {
    const TempDirectory directory;
    EXPECT_EQ(uEnvironment::SetWorkingDirectory(directory.path().c_str()), 0);
    EXPECT_EQ(WorkingDirectory(), std::filesystem::canonical(directory.path()).string());
    EXPECT_NE(uEnvironment::SetWorkingDirectory("missing"), 0);
    EXPECT_NE(uEnvironment::SetWorkingDirectory(nullptr), 0);
    std::filesystem::remove(directory.path());
    EXPECT_EQ(ErrorOf([] { WorkingDirectory(); }), "failed to get current working directory");
  });
}

TEST(UEnvironment, ScopedDirectoryChanger) {
  InChild([] {
    const TempDirectory directory;
    const std::string before = WorkingDirectory();
    const std::string there = std::filesystem::canonical(directory.path()).string();
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
  });
}
