#include "common/source/source_utilities/uLogger.h"

#include <algorithm>
#include <latch>
#include <regex>
#include <thread>

#include "common/source/source_utilities/source_utilities_error.h"
#include "tests/common/clock_text.h"
#include "tests/support/child_process.h"
#include "tests/support/open_files.h"
#include "tests/support/saved_environment.h"
#include "tests/support/test_folder.h"

namespace {

using namespace qbt2::test;
using KZ_DVT::uLogger;
using KZ_DVT::uLogSystem;
using std::filesystem::exists;

class ULogger : public testing::Test {
 protected:
  const TestFolder folder_;
  const std::string path_ = folder_.at("log.txt");
};

/// The log system of a process cannot be set back: its tests run in a child process.
class ULogSystem : public ULogger {
 protected:
  bool Init(const char* name, const char* level, bool register_logger = true) const {
    set_variable("HOME", folder_.path());
    set_variable("QBT2_TEST_DIRECTORY", folder_.path());
    set_variable("QBT2_TEST_LEVEL", level);
    return system_.InitLog(name, "QBT2_TEST_LEVEL", "QBT2_TEST_DIRECTORY", register_logger);
  }

  uLogSystem& system_ = *uLogSystem::GetLogSystem();
};

TEST_F(ULogger, RecordFormat) {
  uLogger logger(path_.c_str(), false);
  EXPECT_FALSE(exists(path_)) << "opened by the first record";
  logger.Log(17, 0, "both %d", 5);
  logger.Log(31, 9, "all");
  logger.Log(2, 0, "warning");
  logger.Log(4, 0, "%s", "");
  logger.Log(0, 0, "no kind");
  logger.Log(32, 0, "unknown kind");
  logger.Log("plain");
  EXPECT_EQ(read_file(path_),
            "M   E  both 5\n"
            "MWFAE  all\n"
            " W     warning\n"
            "  F    \n"
            "       unknown kind\n"
            "M      plain\n");
}

TEST_F(ULogger, TimestampIsTheTimeOfTheRecord) {
  const SavedEnvironment saved;
  set_variable("TZ", "UTC0");
  tzset();
  const char* const formats[] = {"%m/%d/%y", "%H:%M:%S:", "%m/%d/%y %H:%M:%S:"};
  for (std::uint32_t style = 1; style <= 3; ++style) {
    uLogger logger(path_.c_str(), false);
    const auto begin = common_test::Now();
    logger.Log(1, style, "x");
    const std::string record = read_file(path_);
    ASSERT_TRUE(record.starts_with("M     ") && record.ends_with(" | x\n")) << record;
    EXPECT_TRUE(common_test::IsTimeSince(begin, formats[style - 1],
                                         record.substr(6, record.size() - 6 - 5)))
        << record;
  }
}

TEST_F(ULogger, OneLineBreakAtTheEndIsReplaced) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"a", "a\n"},     {"a\n", "a\n"},     {"a\r", "a\n"},           {"a\r\n", "a\n"},
      {"a\n\r", "a\n"}, {"a\n\n", "a\n\n"}, {"a\r\n\r\n", "a\r\n\n"}, {"\n", "\n"},
      {"", "\n"}};
  for (const auto& [message, end] : cases) {
    uLogger logger(path_.c_str(), false);
    logger.Log("%s", message.c_str());
    EXPECT_EQ(read_file(path_), "M      " + end) << testing::PrintToString(message);
  }
}

TEST_F(ULogger, LongRecordsAreCutToTheBuffer) {
  // With 7 bytes before it, a message of 4088 bytes fills the record except for its line feed.
  for (const std::size_t length : {4087U, 4088U, 4089U, 4096U, 100000U}) {
    uLogger logger(path_.c_str(), false);
    logger.Log("%s", std::string(length, 'x').c_str());
    EXPECT_EQ(read_file(path_),
              "M      " + std::string(std::min<std::size_t>(length, 4088), 'x') + "\n");
  }
}

TEST_F(ULogger, FileHandling) {
  const std::string other = folder_.at("other.txt");
  folder_.put("log.txt", "old\n");
  uLogger logger(path_.c_str(), true);
  EXPECT_EQ(logger.GetName(), path_);
  logger.Log("appended");
  EXPECT_EQ(read_file(path_), "old\nM      appended\n");
  EXPECT_TRUE(closes_on_exec(path_));

  EXPECT_TRUE(logger.EnableOutput(false));
  logger.Log("off");
  EXPECT_FALSE(logger.EnableOutput(true));
  EXPECT_EQ(read_lines(path_).size(), 2U);

  logger.Log("on");
  logger.SetFileName(other.c_str(), false);
  EXPECT_TRUE(exists(other)) << "reopened at once: the file was open";
  EXPECT_EQ(logger.GetName(), other);
  logger.Log("one");
  logger.Clear();
  EXPECT_EQ(read_file(other), "");
  logger.Log("two");
  EXPECT_EQ(read_file(other), "M      two\n");
  EXPECT_EQ(read_lines(path_).size(), 3U);

  logger.EnableOutput(false);
  logger.Clear();
  EXPECT_EQ(read_file(other), "") << "a closed file is emptied too";
  EXPECT_EQ(uLogger().GetName(), "RXL_log.txt");
}

TEST_F(ULogger, EachRecordTriesToOpenTheFile) {
  const std::string path = folder_.at("later/log.txt");
  uLogger logger(path.c_str(), true);
  logger.Log("lost");
  std::filesystem::create_directory(folder_.at("later"));
  logger.Log("written");
  EXPECT_EQ(read_file(path), "M      written\n");

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
      // Enough digits that the next record comes while this one is still being formatted.
      logger.Log("%c%.2000f%c", letter, 1.0 / 3, letter);
    }
  };
  std::thread other(write, 'b');
  write('a');
  other.join();
  const std::vector<std::string> lines = read_lines(path_);
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
    std::filesystem::remove(path_);
    run_in_child([&] {
      testing::internal::CaptureStdout();
      EXPECT_TRUE(Init("log.txt", c.level));
      QBT2_LOG(-100, 16, 0, "last");
      const std::string echoed = testing::internal::GetCapturedStdout();

      EXPECT_EQ(uLogSystem::GetVerbosity(), c.verbosity);
      const std::string written = read_file(path_);
      EXPECT_EQ(written.ends_with("data\n    E  last\n"), c.output) << written;
      EXPECT_EQ(exists(path_), c.output);
      EXPECT_EQ(echoed, c.echo ? written : "");
    });
  }
}

TEST_F(ULogSystem, RegisteredLoggersAreReused) {
  run_in_child([&] {
    EXPECT_FALSE(system_.InitLog(nullptr, "x", "x", true));
    EXPECT_FALSE(system_.InitLog("x", nullptr, "x", true));
    EXPECT_FALSE(system_.InitLogEx(nullptr, 1, nullptr));
    system_.SetLoggingLevel(6);
    EXPECT_EQ(uLogSystem::GetVerbosity(), 0) << "no logger, no level";
    EXPECT_EQ(system_.GetCurrentLogger(), nullptr);
    EXPECT_EQ(system_.LookupLogger(nullptr), nullptr);

    EXPECT_TRUE(Init("a.txt", "1"));
    uLogger* const a = system_.GetCurrentLogger();
    EXPECT_EQ(system_.LookupLogger("a.txt"), a);
    EXPECT_TRUE(Init("b.txt", "1", false));
    EXPECT_NE(system_.GetCurrentLogger(), a);
    EXPECT_EQ(system_.LookupLogger("b.txt"), nullptr);
    EXPECT_EQ(system_.GetCount(), 2U);

    const std::string before = read_file(folder_.at("a.txt"));
    EXPECT_TRUE(Init("a.txt", "6"));
    EXPECT_EQ(system_.GetCurrentLogger(), a);
    EXPECT_EQ(system_.GetCount(), 2U);
    EXPECT_EQ(uLogSystem::GetVerbosity(), 1) << "the level is not read again";
    EXPECT_EQ(read_file(folder_.at("a.txt")), before);

    EXPECT_TRUE(Init("a.txt", "1", false)) << "not looked up without the flag";
    EXPECT_NE(system_.GetCurrentLogger(), a);
    EXPECT_EQ(system_.LookupLogger("a.txt"), a);
  });
}

TEST_F(ULogSystem, WithoutHomeTheLoggerIsStillSetUp) {
  run_in_child([&] {
    unsetenv("HOME");
    EXPECT_THROW(system_.InitLogEx("log.txt", 3, folder_.path().c_str()),
                 KZ_DVT::source_utilities_error);
    QBT2_LOG(1, 1, 0, "first");
    EXPECT_EQ(read_file(path_), "M      first\n");
  });
}

TEST_F(ULogSystem, LevelAndDirectoryAsValues) {
  run_in_child([&] {
    set_variable("HOME", folder_.path());
    EXPECT_TRUE(system_.InitLogEx("log.txt", 3, folder_.path().c_str()));
    EXPECT_EQ(uLogSystem::GetVerbosity(), 2);
    EXPECT_EQ(system_.LookupLogger("log.txt"), system_.GetCurrentLogger());
    system_.GetCurrentLogger()->LogModuleInfo();
    const std::vector<std::string> lines = read_lines(path_);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(std::regex_match(lines[2], std::regex("M      MODULE INFO - .*common_tests")))
        << lines[2];

    testing::internal::CaptureStdout();
    system_.SetLoggingLevel(2);
    QBT2_LOG(0, 1, 0, "echoed");
    system_.SetLoggingLevel(0);
    EXPECT_FALSE(system_.GetCurrentLogger()->EnableLogToStdio(true)) << "no level leaves an echo";
    system_.SetLoggingLevel(1);
    QBT2_LOG(0, 1, 0, "not echoed");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "M      echoed\n");

    int evaluated = 0;
    QBT2_LOG(1, 1, 0, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0) << "verbosity 1 is not above 1";
  });
}

}  // namespace
