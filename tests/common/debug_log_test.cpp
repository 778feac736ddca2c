// The debug log. Each case runs in a child process: an open log stays open until its process ends.
#include "common/source/logging/debug_log.h"

#include <pthread.h>

#include <latch>
#include <regex>
#include <stdexcept>
#include <thread>

#include "common/source/logging/elapsed_text.h"
#include "tests/common/clock_text.h"
#include "tests/support/child_process.h"
#include "tests/support/open_files.h"
#include "tests/support/saved_environment.h"
#include "tests/support/test_folder.h"
#include "tests/support/thrown_message.h"

namespace {

using namespace qbt2::test;
using Lines = std::vector<std::string>;

const Lines kKey = {
    "key - 1st column Mn | Fx | W | E: Record type [Message, Function, Warning or Error]",
    std::string("    - Where n indicates message level: C - Common, U - Usecase, P - Platform, ")
        .append("D - Driver, T - Target"),
    "    - Where x indicates function entry/exit: E- Entry, X - eXit",
    "    - 2nd column timestamp: HH:MM:SS.USEC",
    "    - 3rd column source file",
    "    - 4th column source line number",
    "    - 5th column function name",
    "    - 6th column thread id",
    "    - 7th column message",
    "",
};
const std::string kTime = R"(\d{2,}:\d{2}:\d{2}\.\d{6})";

/// A home without a log in the child, and the log file at `log_` if a test names it.
class DebugLog : public testing::Test {
 protected:
  void Open(const char* level, const char* file = nullptr) const {
    set_variable("HOME", folder_.path());
    set_variable("TZ", "UTC0");
    tzset();
    set_variable("KZ_TRACE_LOGGING", level);
    set_variable("KZ_TRACE_LOGFILE", file);
    debug_log_init();
  }

  const TestFolder folder_;
  const std::string log_ = folder_.at("log.txt");
};

/// Checks the header, written at `begin` or later, and returns the lines after it.
Lines RecordsAfterHeader(const Lines& lines, common_test::Milliseconds begin) {
  if (lines.size() <= kKey.size()) {
    ADD_FAILURE() << "header of " << lines.size() << " lines";
    return {};
  }
  EXPECT_TRUE(common_test::IsTimeSince(begin, "%Y-%-m-%-d %-H:%M:%S", lines[0])) << lines[0];
  const auto records = lines.begin() + 1 + static_cast<std::ptrdiff_t>(kKey.size());
  EXPECT_EQ(Lines(lines.begin() + 1, records), kKey);
  return {records, lines.end()};
}

std::string WithoutTime(const std::string& record) {
  return std::regex_replace(record, std::regex(kTime), "TIME");
}

TEST_F(DebugLog, LevelSelectsItsOwnRecords) {
  const std::string source = R"( TIME \S*debug_log\.cpp +\d+ debug_log_init {7} *\d+  )";
  const struct {
    const char* level;
    int mask;
    Lines records;
  } cases[] = {
      {nullptr, 0, {}},
      {"0", 0, {}},
      {"-5", -5, {}},
      {"abc", 0, {}},
      {"", 0, {}},
      {"0x10", 0, {}},
      {"3", 3, {}},
      {"16", 16, {" MC" + source + "Log level 0x10"}},
      {"28", 28, {" FE" + source, " MC" + source + "Log level 0x1c", " FX" + source}},
      {"95x", 95, {" FE" + source, " MC" + source + "Log level 0x5f", " FX" + source}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.level != nullptr ? c.level : "(unset)");
    std::filesystem::remove_all(folder_.at(".KZ-trace"));
    run_in_child([&] {
      const auto begin = common_test::Now();
      Open(c.level);
      EXPECT_EQ(g_log_level, c.mask);
      EXPECT_EQ(g_log_enable, c.mask > 0);
      if (c.mask <= 0) {
        debug_log_msg(LOG_ERROR, "a.cpp", 1, "f", "dropped");
        EXPECT_FALSE(std::filesystem::exists(folder_.at(".KZ-trace")));
        return;
      }
      const Lines records =
          RecordsAfterHeader(read_lines(folder_.at(".KZ-trace/sysdiag_log.txt")), begin);
      ASSERT_EQ(records.size(), c.records.size());
      for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_TRUE(std::regex_match(WithoutTime(records[i]), std::regex(c.records[i])))
            << records[i];
      }
    });
  }
}

TEST_F(DebugLog, RecordColumns) {
  run_in_child([&] {
    const auto begin = common_test::Now();
    Open("2", log_.c_str());
    EXPECT_FALSE(std::filesystem::exists(folder_.at(".KZ-trace")));

    const std::pair<int, std::string> cases[] = {
        {0x001, " E "}, {0x002, " W "}, {0x004, " FE"}, {0x008, " FX"}, {0x010, " MC"},
        {0x020, " MU"}, {0x040, " MP"}, {0x080, " MD"}, {0x100, " MT"}, {0x200, "   "},
        {0x000, "   "}, {0x003, "   "}, {-1, "   "},
    };
    Lines expected;
    const std::string thread_id = std::to_string(pthread_self());
    ASSERT_GE(thread_id.size(), 10U);
    for (const auto& [type, text] : cases) {
      debug_log_msg(static_cast<log_type_t>(type), "a.cpp", 7, "f", "Destroying %d routes", 3);
      expected.push_back(text + " TIME a.cpp                   7 f                    " +
                         thread_id + "  Destroying 3 routes");
    }
    debug_log_msg(LOG_ERROR, "a/path/longer/than/twenty.cpp", 12345, "a_function_longer_than_20",
                  nullptr);
    expected.push_back(" E  TIME a/path/longer/than/twenty.cpp 12345 a_function_longer_than_20 " +
                       thread_id + "  ");

    Lines records = RecordsAfterHeader(read_lines(log_), begin);
    for (std::string& record : records) record = WithoutTime(record);
    EXPECT_EQ(records, expected);
  });
}

TEST_F(DebugLog, SecondInitKeepsTheFileAndRestartsItsClock) {
  run_in_child([&] {
    const auto begin = common_test::Now();
    Open("16", log_.c_str());
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto restart = std::chrono::system_clock::now();
    Open("16", folder_.at("second.txt").c_str());
    const auto since_restart = elapsed_text(std::chrono::system_clock::now() - restart);
    EXPECT_FALSE(std::filesystem::exists(folder_.at("second.txt")));
    const Lines lines = read_lines(log_);
    ASSERT_EQ(lines.size(), 24U);  // twice a header of 11 lines and a record
    const Lines records = RecordsAfterHeader({lines.begin() + 12, lines.end()}, begin);
    EXPECT_LE(records.front().substr(4, 15), since_restart.data());
  });
}

// The default place may hold a link that somebody else made; a named file is used as it is.
TEST_F(DebugLog, FollowsALinkOnlyWhereTheFileIsNamed) {
  const std::string victim = folder_.put("victim", "kept");
  std::filesystem::create_directory(folder_.at(".KZ-trace"));
  const std::string link = folder_.at(".KZ-trace/sysdiag_log.txt");
  std::filesystem::create_symlink(victim, link);
  run_in_child([&] {
    EXPECT_EQ(thrown_message<std::runtime_error>([&] { Open("16"); }),
              "Error trying to open " + link + " for logging");
    EXPECT_FALSE(g_log_enable);
    EXPECT_EQ(read_file(victim), "kept");
    Open("16", link.c_str());
    EXPECT_TRUE(read_file(victim).ends_with("Log level 0x10\n"));
    EXPECT_TRUE(closes_on_exec(victim));
  });
}

TEST_F(DebugLog, FailuresLeaveTheLogClosed) {
  std::filesystem::create_directory(folder_.at("taken"));
  folder_.put("taken/.KZ-trace", "a file, not a directory");
  const std::string missing = folder_.at("missing");
  const std::string taken = folder_.at("taken");
  const std::string file = missing + "/log.txt";
  const struct {
    const char* home;
    const char* file;
    std::string message;
  } cases[] = {
      {nullptr, nullptr,
       "Environment variable HOME not defined - required to form pathname for log file if "
       "KZ_TRACE_LOGFILE not set"},
      {missing.c_str(), nullptr,
       "Could not create directory at " + missing + "/.KZ-trace Error: No such file or directory"},
      {taken.c_str(), nullptr,
       "Could not create directory at " + taken + "/.KZ-trace Error: File exists"},
      {nullptr, file.c_str(), "Error trying to open " + file + " for logging"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    run_in_child([&] {
      set_variable("HOME", c.home);
      set_variable("KZ_TRACE_LOGFILE", c.file);
      set_variable("KZ_TRACE_LOGGING", "511");
      EXPECT_EQ(thrown_message<std::runtime_error>([] { debug_log_init(); }), c.message);
      EXPECT_FALSE(g_log_enable);
      EXPECT_FALSE(std::filesystem::exists(missing));
    });
  }
}

TEST_F(DebugLog, CallSitesEvaluateOnlyWhatIsWritten) {
  run_in_child([&] {
    const auto begin = common_test::Now();
    int evaluated = 0;
    QBT2_DEBUG_LOG(LOG_FUNC_ENTRY, "%d", ++evaluated);
    Open("12", log_.c_str());
    QBT2_DEBUG_LOG(LOG_ERROR, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    {
      QBT2_DEBUG_LOG_SCOPE();
      QBT2_DEBUG_LOG(LOG_FUNC_EXIT, "%d", ++evaluated);
    }
    EXPECT_EQ(evaluated, 1);
    const Lines records = RecordsAfterHeader(read_lines(log_), begin);
    ASSERT_EQ(records.size(), 5U);  // two of debug_log_init, three of the scope
    EXPECT_EQ(records[2].substr(0, 3), " FE");
    EXPECT_TRUE(records[3].ends_with("  1")) << records[3];
    EXPECT_EQ(records[4].substr(0, 3), " FX");
  });
}

TEST_F(DebugLog, ThreadsNeverShareALine) {
  run_in_child([&] {
    constexpr int kRecords = 400;
    const auto begin = common_test::Now();
    Open("64", log_.c_str());
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
    const Lines records = RecordsAfterHeader(read_lines(log_), begin);
    EXPECT_EQ(records.size(), 2U * kRecords);
    for (const std::string& record : records) {
      EXPECT_TRUE(std::regex_match(record, line)) << record;
    }
  });
}

TEST_F(DebugLog, ElapsedTimeText) {
  const std::pair<long long, const char*> cases[] = {{0, "00:00:00.000000"},
                                                     {999, "00:00:00.000000"},
                                                     {3'041'522'999, "00:00:03.041522"},
                                                     {59'999'999'999, "00:00:59.999999"},
                                                     {3'599'000'000'000, "00:59:59.000000"},
                                                     {90'061'000'001'000, "25:01:01.000001"},
                                                     {360'000'000'000'000, "100:00:00.000000"}};
  for (const auto& [elapsed_ns, text] : cases) {
    EXPECT_STREQ(elapsed_text(std::chrono::nanoseconds(elapsed_ns)).data(), text) << elapsed_ns;
  }
}

}  // namespace
