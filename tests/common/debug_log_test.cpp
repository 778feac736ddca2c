#include "common/source/logging/debug_log.h"

#include <pthread.h>

#include <latch>
#include <regex>
#include <stdexcept>
#include <thread>

#include "tests/common/common_test_support.h"

namespace {

using namespace common_test;

const std::string kLevelsKey =
    std::string("    - Where n indicates message level: C - Common, U - Usecase, P - Platform, ")
        .append("D - Driver, T - Target");
const std::vector<std::string> kKey = {
    "key - 1st column Mn | Fx | W | E: Record type [Message, Function, Warning or Error]",
    kLevelsKey,
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

class DebugLog : public InTempDirectory {};

}  // namespace

TEST_F(DebugLog, StaysOffWithoutAPositiveDecimalLevel) {
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

TEST_F(DebugLog, OwnRecordsFollowTheMask) {
  const std::string file = R"( TIME \S*debug_log\.cpp +\d+ debug_log_init {7} *\d+  )";
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"3", {}},
      {"16", {" MC" + file + "Log level 0x10"}},
      {"28", {" FE" + file, " MC" + file + "Log level 0x1c", " FX" + file}},
      {"95x", {" FE" + file, " MC" + file + "Log level 0x5f", " FX" + file}},
  };
  for (const auto& [level, expected] : cases) {
    SCOPED_TRACE(level);
    const TempDirectory home;
    InChild([&, level = level, &expected = expected] {
      SetEnvironment(home, level);
      debug_log_init();
      EXPECT_TRUE(g_log_enable);
      const auto records = RecordsAfterHeader(ReadLines(home / ".KZ-trace/sysdiag_log.txt"));
      ASSERT_EQ(records.size(), expected.size());
      for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_TRUE(std::regex_match(WithoutTime(records[i]), std::regex(expected[i])))
            << records[i];
      }
    });
  }
}

TEST_F(DebugLog, RecordColumns) {
  const std::string path = home_ / "log.txt";
  SetEnvironment(home_, "2", path.c_str());
  debug_log_init();
  EXPECT_FALSE(Exists(home_ / ".KZ-trace"));

  const std::pair<int, std::string> cases[] = {
      {0x001, " E "}, {0x002, " W "}, {0x004, " FE"}, {0x008, " FX"}, {0x010, " MC"},
      {0x020, " MU"}, {0x040, " MP"}, {0x080, " MD"}, {0x100, " MT"}, {0x200, "   "},
      {0x000, "   "}, {0x003, "   "}, {-1, "   "},
  };
  std::vector<std::string> expected;
  const std::string thread_id = std::to_string(pthread_self());
  ASSERT_GE(thread_id.size(), 10U);
  for (const auto& [type, text] : cases) {
    debug_log_msg(static_cast<log_type_t>(type), "a.cpp", 7, "f", "Destroying %d routes", 3);
    expected.push_back(text + " TIME a.cpp                   7 f                    " + thread_id +
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
}

TEST_F(DebugLog, SecondInitKeepsTheFileAndWritesASecondHeader) {
  const std::string first = home_ / "first.txt";
  SetEnvironment(home_, "16", first.c_str());
  debug_log_init();
  SetEnvironment(home_, "32", (home_ / "second.txt").c_str());
  debug_log_init();
  EXPECT_FALSE(Exists(home_ / "second.txt"));
  const std::vector<std::string> lines = ReadLines(first);
  ASSERT_EQ(lines.size(), 23U);  // 11 of the header, one record, 11 of the header
  EXPECT_EQ(RecordsAfterHeader({lines.begin() + 12, lines.end()}), std::vector<std::string>());
}

TEST_F(DebugLog, FailuresLeaveTheLogClosed) {
  std::filesystem::create_directory(home_ / "taken");
  std::ofstream(home_ / "taken/.KZ-trace") << "a file, not a directory";
  const struct {
    std::string home;
    std::string file;
    std::string message;
  } cases[] = {
      {"", "",
       "Environment variable HOME not defined - required to form pathname for log file if "
       "KZ_TRACE_LOGFILE not set"},
      {home_ / "missing", "",
       "Could not create directory at " + (home_ / "missing/.KZ-trace") +
           " Error: No such file or directory"},
      {home_ / "taken", "",
       "Could not create directory at " + (home_ / "taken/.KZ-trace") + " Error: File exists"},
      {home_.path(), home_ / "missing/log.txt",
       "Error trying to open " + (home_ / "missing/log.txt") + " for logging"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    InChild([&] {
      SetOrUnset("HOME", c.home.empty() ? nullptr : c.home.c_str());
      SetOrUnset("KZ_TRACE_LOGFILE", c.file.empty() ? nullptr : c.file.c_str());
      setenv("KZ_TRACE_LOGGING", "511", 1);
      EXPECT_EQ(MessageOf<std::runtime_error>([] { debug_log_init(); }), c.message);
      EXPECT_FALSE(g_log_enable);
      EXPECT_FALSE(Exists(home_ / "missing"));
    });
  }
}

TEST_F(DebugLog, CallSitesEvaluateOnlyWhatIsWritten) {
  const std::string path = home_ / "log.txt";
  SetEnvironment(home_, "12", path.c_str());
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
}

TEST_F(DebugLog, ThreadsNeverShareALine) {
  constexpr int kRecords = 400;
  const std::string path = home_ / "log.txt";
  SetEnvironment(home_, "64", path.c_str());
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
}

TEST_F(DebugLog, ElapsedTimeText) {
  using std::chrono::nanoseconds;
  const std::pair<long long, const char*> cases[] = {{0, "00:00:00.000000"},
                                                     {999, "00:00:00.000000"},
                                                     {3'041'522'999, "00:00:03.041522"},
                                                     {59'999'999'999, "00:00:59.999999"},
                                                     {3'599'000'000'000, "00:59:59.000000"},
                                                     {90'061'000'001'000, "25:01:01.000001"},
                                                     {360'000'000'000'000, "100:00:00.000000"}};
  for (const auto& [elapsed_ns, text] : cases) {
    EXPECT_EQ(debug_log_format_elapsed(nanoseconds(elapsed_ns)), text) << elapsed_ns;
  }
}
