#include "common/source/logging/debug_log.h"

#include <pthread.h>

#include <latch>
#include <regex>
#include <stdexcept>
#include <thread>

#include "tests/common/common_test_support.h"

namespace {

using common_test::Exists;
using common_test::InChild;
using common_test::MessageOf;
using common_test::ReadLines;
using common_test::SetOrUnset;
using common_test::TempDirectory;

const std::vector<std::string> kKey = {
    "key - 1st column Mn | Fx | W | E: Record type [Message, Function, Warning or Error]",
    "    - Where n indicates message level: C - Common, U - Usecase, P - Platform, D - Driver, T - "
    "Target",
    "    - Where x indicates function entry/exit: E- Entry, X - eXit",
    "    - 2nd column timestamp: HH:MM:SS.USEC",
    "    - 3rd column source file",
    "    - 4th column source line number",
    "    - 5th column function name",
    "    - 6th column thread id",
    "    - 7th column message",
    "",
};
const std::regex kDate(R"(\d{4}-[1-9]\d?-[1-9]\d? (0|[1-9]\d?):\d\d:\d\d)");
const std::string kTime = R"(\d{2,}:\d{2}:\d{2}\.\d{6})";

void SetEnvironment(const TempDirectory& home, const char* level, const char* file = nullptr) {
  setenv("HOME", home.path().c_str(), 1);
  SetOrUnset("KZ_TRACE_LOGGING", level);
  SetOrUnset("KZ_TRACE_LOGFILE", file);
}

/// Checks the header and returns the lines after it.
std::vector<std::string> RecordsAfterHeader(std::vector<std::string> lines) {
  const std::size_t header_lines = 1 + kKey.size();
  if (lines.size() < header_lines) {
    ADD_FAILURE() << "header cut at line " << lines.size();
    return {};
  }
  EXPECT_TRUE(std::regex_match(lines[0], kDate)) << lines[0];
  const auto records = lines.begin() + static_cast<std::ptrdiff_t>(header_lines);
  EXPECT_EQ(std::vector<std::string>(lines.begin() + 1, records), kKey);
  return {records, lines.end()};
}

std::string WithoutTime(const std::string& record) {
  return std::regex_replace(record, std::regex(kTime), "TIME");
}

}  // namespace

TEST(DebugLog, StaysOffWithoutAPositiveDecimalLevel) {
  for (const char* level : {static_cast<const char*>(nullptr), "0", "-5", "abc", "", "0x10"}) {
    SCOPED_TRACE(level != nullptr ? level : "(unset)");
    const TempDirectory home;
    InChild([&] {
      SetEnvironment(home, level);
      EXPECT_NO_THROW(debug_log_init());
      EXPECT_FALSE(g_log_enable);
      EXPECT_EQ(g_log_level, level != nullptr && *level == '-' ? -5 : 0);
      debug_log_msg(LOG_ERROR, "a.cpp", 1, "f", "dropped");
      EXPECT_FALSE(Exists(home / ".KZ-trace"));
    });
  }
}

TEST(DebugLog, OwnRecordsFollowTheMask) {
  const std::string file = R"( TIME \S*debug_log\.cpp +\d+ debug_log_init {7} *\d+  )";
  struct Case {
    const char* level;
    std::vector<std::string> records;
  };
  const std::vector<Case> cases = {
      {"3", {}},
      {"16", {" MC" + file + "Log level 0x10"}},
      {"28", {" FE" + file, " MC" + file + "Log level 0x1c", " FX" + file}},
      {"95x", {" FE" + file, " MC" + file + "Log level 0x5f", " FX" + file}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.level);
    const TempDirectory home;
    InChild([&] {
      SetEnvironment(home, c.level);
      debug_log_init();
      EXPECT_TRUE(g_log_enable);
      const auto records = RecordsAfterHeader(ReadLines(home / ".KZ-trace/sysdiag_log.txt"));
      ASSERT_EQ(records.size(), c.records.size());
      for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_TRUE(std::regex_match(WithoutTime(records[i]), std::regex(c.records[i])))
            << records[i];
      }
    });
  }
}

TEST(DebugLog, RecordColumns) {
  const TempDirectory home;
  InChild([&] {
    const std::string path = home / "log.txt";
    SetEnvironment(home, "2", path.c_str());
    debug_log_init();
    EXPECT_FALSE(Exists(home / ".KZ-trace"));

    struct Case {
      int type;
      const char* text;
    };
    const std::vector<Case> cases = {
        {0x001, " E "}, {0x002, " W "}, {0x004, " FE"}, {0x008, " FX"}, {0x010, " MC"},
        {0x020, " MU"}, {0x040, " MP"}, {0x080, " MD"}, {0x100, " MT"}, {0x200, "   "},
        {0x000, "   "}, {0x003, "   "}, {-1, "   "},
    };
    std::vector<std::string> expected;
    const std::string thread_id = std::to_string(pthread_self());
    ASSERT_GE(thread_id.size(), 10U);
    for (const Case& c : cases) {
      debug_log_msg(static_cast<log_type_t>(c.type), "a.cpp", 7, "f", "Destroying %d routes", 3);
      expected.push_back(std::string(c.text) +
                         " TIME a.cpp                   7 f                    " + thread_id +
                         "  Destroying 3 routes");
    }
    debug_log_msg(LOG_ERROR, "a/path/longer/than/twenty.cpp", 12345, "a_function_longer_than_20",
                  nullptr);
    expected.push_back(" E  TIME a/path/longer/than/twenty.cpp 12345 a_function_longer_than_20 " +
                       thread_id + "  ");

    std::vector<std::string> records = RecordsAfterHeader(ReadLines(path));
    for (std::string& record : records) {
      record = WithoutTime(record);
    }
    EXPECT_EQ(records, expected);
  });
}

TEST(DebugLog, SecondInitKeepsTheFileAndWritesASecondHeader) {
  const TempDirectory home;
  InChild([&] {
    const std::string first = home / "first.txt";
    SetEnvironment(home, "16", first.c_str());
    debug_log_init();
    SetEnvironment(home, "32", (home / "second.txt").c_str());
    debug_log_init();
    EXPECT_FALSE(Exists(home / "second.txt"));
    const std::vector<std::string> lines = ReadLines(first);
    ASSERT_EQ(lines.size(), 23U);  // 11 of the header, one record, 11 of the header
    EXPECT_EQ(RecordsAfterHeader({lines.begin() + 12, lines.end()}), std::vector<std::string>());
  });
}

TEST(DebugLog, FailuresLeaveTheLogClosed) {
  const TempDirectory home;
  std::filesystem::create_directory(home / "taken");
  std::ofstream(home / "taken/.KZ-trace") << "a file, not a directory";
  struct Case {
    std::string home;
    std::string file;
    std::string message;
  };
  const std::vector<Case> cases = {
      {"", "",
       "Environment variable HOME not defined - required to form pathname for log file if "
       "KZ_TRACE_LOGFILE not set"},
      {home / "missing", "",
       "Could not create directory at " + (home / "missing/.KZ-trace") +
           " Error: No such file or directory"},
      {home / "taken", "",
       "Could not create directory at " + (home / "taken/.KZ-trace") + " Error: File exists"},
      {home.path(), home / "missing/log.txt",
       "Error trying to open " + (home / "missing/log.txt") + " for logging"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    InChild([&] {
      SetOrUnset("HOME", c.home.empty() ? nullptr : c.home.c_str());
      SetOrUnset("KZ_TRACE_LOGFILE", c.file.empty() ? nullptr : c.file.c_str());
      setenv("KZ_TRACE_LOGGING", "511", 1);
      EXPECT_EQ(MessageOf<std::runtime_error>([] { debug_log_init(); }), c.message);
      EXPECT_FALSE(g_log_enable);
      EXPECT_FALSE(Exists(home / "missing"));
    });
  }
}

TEST(DebugLog, CallSitesEvaluateOnlyWhatIsWritten) {
  const TempDirectory home;
  InChild([&] {
    const std::string path = home / "log.txt";
    SetEnvironment(home, "12", path.c_str());
    int evaluated = 0;
    QBT2_DEBUG_LOG(LOG_FUNC_ENTRY, "%d", ++evaluated);
    debug_log_init();
    QBT2_DEBUG_LOG(LOG_ERROR, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    {
      QBT2_DEBUG_LOG_SCOPE();
      QBT2_DEBUG_LOG(LOG_FUNC_EXIT, "%d", ++evaluated);
    }
    EXPECT_EQ(evaluated, 1);
    const auto records = RecordsAfterHeader(ReadLines(path));
    ASSERT_EQ(records.size(), 5U);  // two of debug_log_init, three of the scope
    EXPECT_EQ(records[2].substr(0, 3), " FE");
    EXPECT_EQ(records[3].substr(records[3].size() - 3), "  1");
    EXPECT_EQ(records[4].substr(0, 3), " FX");
  });
}

TEST(DebugLog, ThreadsNeverShareALine) {
  constexpr int kRecords = 400;
  const TempDirectory home;
  InChild([&] {
    const std::string path = home / "log.txt";
    SetEnvironment(home, "64", path.c_str());
    debug_log_init();
    std::latch both_ready(2);
    const auto write = [&](char letter) {
      both_ready.arrive_and_wait();
      for (int i = 0; i < kRecords; ++i) {
        debug_log_msg(LOG_MSG_PLATFORM, "a.cpp", i, "f", "%s", std::string(300, letter).c_str());
      }
    };
    std::thread other(write, 'b');
    write('a');
    other.join();
    const std::regex line(" MP " + kTime + R"( a\.cpp {15} [ \d]{4} f {19} +\d+  (a{300}|b{300}))");
    const auto records = RecordsAfterHeader(ReadLines(path));
    EXPECT_EQ(records.size(), 2U * kRecords);
    for (const std::string& record : records) {
      EXPECT_TRUE(std::regex_match(record, line)) << record;
    }
  });
}

TEST(DebugLog, ElapsedTimeText) {
  using std::chrono::nanoseconds;
  struct Case {
    long long elapsed_ns;
    const char* text;
  };
  const std::vector<Case> cases = {{0, "00:00:00.000000"},
                                   {999, "00:00:00.000000"},
                                   {3'041'522'999, "00:00:03.041522"},
                                   {59'999'999'999, "00:00:59.999999"},
                                   {3'599'000'000'000, "00:59:59.000000"},
                                   {90'061'000'001'000, "25:01:01.000001"},
                                   {360'000'000'000'000, "100:00:00.000000"}};
  for (const Case& c : cases) {
    EXPECT_EQ(debug_log_format_elapsed(nanoseconds(c.elapsed_ns)), c.text) << c.elapsed_ns;
  }
}
