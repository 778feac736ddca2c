#include "common/source/source_utilities/uLogger.h"

#include <algorithm>
#include <latch>
#include <regex>
#include <thread>

#include "common/source/source_utilities/source_utilities_error.h"
#include "tests/common/common_test_support.h"

namespace {

using namespace common_test;
using KZ_DVT::uLogger;
using KZ_DVT::uLogSystem;

uLogSystem& System() {
  return *uLogSystem::GetLogSystem();
}

bool Init(const char* name, bool register_logger = true) {
  return System().InitLog(name, "QBT2_TEST_LEVEL", "QBT2_TEST_DIRECTORY", register_logger);
}

/// The environment of an InitLog() whose files and trace directories are in `home`.
void SetEnvironment(const TempDirectory& home, const char* level) {
  setenv("HOME", home.path().c_str(), 1);
  setenv("QBT2_TEST_DIRECTORY", home.path().c_str(), 1);
  SetOrUnset("QBT2_TEST_LEVEL", level);
}

class ULogger : public InTempDirectory {
 protected:
  const std::string path_ = home_ / "log.txt";
};
using ULogSystem = ULogger;

}  // namespace

TEST_F(ULogger, RecordFormat) {
  uLogger logger(path_.c_str(), false);
  EXPECT_FALSE(Exists(path_)) << "opened by the first record";
  logger.Log(17, 0, "both %d", 5);
  logger.Log(31, 9, "all");
  logger.Log(2, 0, "warning");
  logger.Log(4, 0, "%s", "");
  logger.Log(0, 0, "no kind");
  logger.Log(32, 0, "unknown kind");
  logger.Log("plain");
  EXPECT_EQ(ReadFile(path_),
            "M   E  both 5\n"
            "MWFAE  all\n"
            " W     warning\n"
            "  F    \n"
            "       unknown kind\n"
            "M      plain\n");
}

TEST_F(ULogger, TimeStamps) {
  uLogger logger(path_.c_str(), false);
  for (std::uint32_t style = 1; style <= 3; ++style) {
    logger.Log(1, style, "x");
  }
  const std::string date = R"([01]\d/[0-3]\d/\d\d)";
  const std::string time = R"([0-2]\d:[0-5]\d:[0-6]\d:\d{3})";
  const std::string end = R"( \| x\n)";
  const std::regex expected("M     " + date + end + "M     " + time + end + "M     " + date + " " +
                            time + end);
  EXPECT_TRUE(std::regex_match(ReadFile(path_), expected)) << ReadFile(path_);
}

TEST_F(ULogger, OneLineBreakAtTheEndIsReplaced) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"a", "a\n"},     {"a\n", "a\n"},     {"a\r", "a\n"},           {"a\r\n", "a\n"},
      {"a\n\r", "a\n"}, {"a\n\n", "a\n\n"}, {"a\r\n\r\n", "a\r\n\n"}, {"\n", "\n"},
      {"", "\n"}};
  for (const auto& [message, end] : cases) {
    uLogger logger(path_.c_str(), false);
    logger.Log("%s", message.c_str());
    EXPECT_EQ(ReadFile(path_), "M      " + end) << testing::PrintToString(message);
  }
}

TEST_F(ULogger, LongRecordsAreCutToTheBuffer) {
  // 7 bytes stand before the message, so 4088 bytes of it fill the record but for its end.
  for (const std::size_t length : {4087U, 4088U, 4089U, 4096U, 100000U}) {
    uLogger logger(path_.c_str(), false);
    logger.Log("%s", std::string(length, 'x').c_str());
    EXPECT_EQ(ReadFile(path_),
              "M      " + std::string(std::min<std::size_t>(length, 4088), 'x') + "\n");
  }
}

TEST_F(ULogger, FileHandling) {
  const std::string other = home_ / "other.txt";
  std::ofstream(path_) << "old\n";
  uLogger logger(path_.c_str(), true);
  EXPECT_EQ(logger.GetName(), path_);
  logger.Log("appended");
  EXPECT_EQ(ReadFile(path_), "old\nM      appended\n");

  EXPECT_TRUE(logger.EnableOutput(false));
  logger.Log("off");
  EXPECT_FALSE(logger.EnableOutput(true));
  EXPECT_EQ(ReadLines(path_).size(), 2U);

  logger.Log("on");
  logger.SetFileName(other.c_str(), false);
  EXPECT_TRUE(Exists(other)) << "reopened at once, since the file was open";
  EXPECT_EQ(logger.GetName(), other);
  logger.Log("one");
  logger.Clear();
  EXPECT_EQ(ReadFile(other), "");
  logger.Log("two");
  EXPECT_EQ(ReadFile(other), "M      two\n");
  EXPECT_EQ(ReadLines(path_).size(), 3U);

  logger.EnableOutput(false);
  logger.Clear();
  EXPECT_EQ(ReadFile(other), "") << "a closed file is emptied too";
  EXPECT_EQ(uLogger().GetName(), "RXL_log.txt");
}

TEST_F(ULogger, FileIsTriedAgainByEachRecord) {
  const std::string path = home_ / "later/log.txt";
  uLogger logger(path.c_str(), true);
  logger.Log("lost");
  std::filesystem::create_directory(home_ / "later");
  logger.Log("written");
  EXPECT_EQ(ReadFile(path), "M      written\n");

  uLogger unnamed(nullptr, true);
  unnamed.Log("nowhere");
  EXPECT_EQ(unnamed.GetName(), "");
}

TEST_F(ULogger, ThreadsNeverShareALine) {
  constexpr int kRecords = 1000;
  uLogger logger(path_.c_str(), false);
  std::latch both_ready(2);
  const auto write = [&](char letter) {
    both_ready.arrive_and_wait();
    for (int i = 0; i < kRecords; ++i) {
      // Digits enough that one record is still being formatted when the next one comes.
      logger.Log("%c%.2000f%c", letter, 1.0 / 3, letter);
    }
  };
  std::thread other(write, 'b');
  write('a');
  other.join();
  const std::vector<std::string> lines = ReadLines(path_);
  EXPECT_EQ(lines.size(), 2U * kRecords);
  for (const std::string letter : {"a", "b"}) {
    const auto is_whole = [&](const std::string& line) {
      return line.size() == 7 + 1 + 2002 + 1 && line.starts_with("M      " + letter + "0.333") &&
             line.ends_with(letter);
    };
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), is_whole), kRecords) << letter;
  }
}

TEST_F(ULogSystem, LevelNumbers) {
  const struct {
    const char* level;
    bool output;
    bool echo;
    int verbosity;
  } cases[] = {
      {nullptr, false, false, 0}, {"", false, false, 0},    {"abc", false, false, 0},
      {"0", false, false, 0},     {"0x6", false, false, 0}, {"-3", false, false, -3},
      {"1", true, false, 1},      {"2", true, true, 1},     {"3", true, false, 2},
      {"4", true, true, 2},       {"5", true, true, 2},     {"6", true, true, 3},
      {"7", false, false, 7},     {"28", false, false, 28},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.level != nullptr ? c.level : "(unset)");
    const TempDirectory home;
    InChild([&] {
      SetEnvironment(home, c.level);
      EXPECT_FALSE(uLogSystem::VerbosityAbove(0)) << "before there is a log system";
      testing::internal::CaptureStdout();
      EXPECT_TRUE(Init("log.txt"));
      QBT2_LOG(-100, 16, 0, "last");
      const std::string echoed = testing::internal::GetCapturedStdout();

      EXPECT_EQ(uLogSystem::GetVerbosity(), c.verbosity);
      const std::string written = ReadFile(home / "log.txt");
      EXPECT_EQ(written.ends_with("data\n    E  last\n"), c.output) << written;
      EXPECT_EQ(Exists(home / "log.txt"), c.output);
      EXPECT_EQ(echoed, c.echo ? written : "");
    });
  }
}

TEST_F(ULogSystem, RegisteredLoggersAreReused) {
  SetEnvironment(home_, "1");
  EXPECT_EQ(System().GetCurrentLogger(), nullptr);
  EXPECT_TRUE(Init("a.txt"));
  uLogger* const a = System().GetCurrentLogger();
  EXPECT_EQ(System().LookupLogger("a.txt"), a);

  EXPECT_TRUE(Init("b.txt", false));
  EXPECT_NE(System().GetCurrentLogger(), a);
  EXPECT_EQ(System().LookupLogger("b.txt"), nullptr);
  EXPECT_EQ(System().GetCount(), 2U);

  const std::string before = ReadFile(home_ / "a.txt");
  setenv("QBT2_TEST_LEVEL", "6", 1);
  EXPECT_TRUE(Init("a.txt"));
  EXPECT_EQ(System().GetCurrentLogger(), a);
  EXPECT_EQ(System().GetCount(), 2U);
  EXPECT_EQ(uLogSystem::GetVerbosity(), 1) << "the level is not read again";
  EXPECT_EQ(ReadFile(home_ / "a.txt"), before);

  EXPECT_TRUE(Init("a.txt", false)) << "not looked up without the flag";
  EXPECT_NE(System().GetCurrentLogger(), a);
  EXPECT_EQ(System().LookupLogger("a.txt"), a);
}

TEST_F(ULogSystem, NamesMustBeGiven) {
  EXPECT_FALSE(System().InitLog(nullptr, "x", "x", true));
  EXPECT_FALSE(System().InitLog("x", nullptr, "x", true));
  EXPECT_FALSE(System().InitLogEx(nullptr, 1, nullptr));
  EXPECT_EQ(System().GetCurrentLogger(), nullptr);
  EXPECT_EQ(System().LookupLogger(nullptr), nullptr);
  System().SetLoggingLevel(6);
  EXPECT_EQ(uLogSystem::GetVerbosity(), 0) << "no logger, no level";
}

TEST_F(ULogSystem, WithoutHomeTheLoggerIsSetUpAllTheSame) {
  SetEnvironment(home_, "3");
  unsetenv("HOME");
  EXPECT_THROW(Init("log.txt"), KZ_DVT::source_utilities_error);
  QBT2_LOG(1, 1, 0, "first");
  EXPECT_EQ(ReadFile(path_), "M      first\n");
}

TEST_F(ULogSystem, LevelAndDirectoryAsValues) {
  SetEnvironment(home_, nullptr);
  EXPECT_TRUE(System().InitLogEx("log.txt", 3, home_.path().c_str()));
  EXPECT_EQ(uLogSystem::GetVerbosity(), 2);
  EXPECT_EQ(System().LookupLogger("log.txt"), System().GetCurrentLogger());
  System().GetCurrentLogger()->LogModuleInfo();
  const std::vector<std::string> lines = ReadLines(path_);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_TRUE(std::regex_match(lines[2], std::regex("M      MODULE INFO - .*common_tests")))
      << lines[2];

  testing::internal::CaptureStdout();
  System().SetLoggingLevel(2);
  QBT2_LOG(0, 1, 0, "echoed");
  System().SetLoggingLevel(0);
  EXPECT_FALSE(System().GetCurrentLogger()->EnableLogToStdio(true)) << "no level leaves an echo";
  System().SetLoggingLevel(1);
  QBT2_LOG(0, 1, 0, "not echoed");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "M      echoed\n");

  int evaluated = 0;
  QBT2_LOG(1, 1, 0, "%d", ++evaluated);
  EXPECT_EQ(evaluated, 0) << "verbosity 1 is not above 1";
}
