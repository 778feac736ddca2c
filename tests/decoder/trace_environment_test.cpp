// The set-up by the first unit of a process, and the log that every unit opens. Each case runs in a
// process of its own.

#include "decoder/trace_environment.h"

#include <chrono>
#include <ctime>

#include "common/source/source_utilities/uTime.h"
#include "gmock/gmock.h"
#include "tests/decoder/decoder_test_support.h"

namespace decoder_test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "(unset)";
}

TEST(TraceEnvironment, LogFileName) {
  const struct {
    int month, day;
    const char* name;
  } cases[] = {{7, 14, "kz_trace_log_7142026_4711.txt"}, {12, 3, "kz_trace_log_1232026_4711.txt"}};
  for (const auto& c : cases) {
    std::tm day{};
    day.tm_year = 2026 - 1900;
    day.tm_mon = c.month - 1;
    day.tm_mday = c.day;
    day.tm_hour = 12;
    day.tm_isdst = -1;
    const auto noon = std::chrono::system_clock::from_time_t(std::mktime(&day));
    EXPECT_EQ(MakeTraceLogFileName(KZ_DVT::uTime(noon), "4711"), c.name);
  }
}

TEST(TraceEnvironment, FirstUnitPublishesFoldersAndOpensTheLog) {
  if (RanInFreshProcess()) return;
  const TempHome home;
  setenv("KZ_TRACE_LOGGING", "6", 1);
  const StpQBTracer2Decoder first;
  const std::string pid = std::to_string(getpid());
  const std::string folder = home.TraceFolder().string();
  EXPECT_EQ(Variable("KZ_TRACE_DEBUGCLIENT_PID"), pid);
  EXPECT_EQ(Variable("KZ_TRACE_LOGGING_DIR"), folder);
  EXPECT_EQ(Variable("KZ_TRACE_DATA_DIR"), folder + "/data");
  EXPECT_EQ(Variable("KZ_TRACE_SETTINGS_DIR"), folder + "/settings");
  EXPECT_TRUE(std::filesystem::is_directory(folder + "/data"));
  EXPECT_TRUE(std::filesystem::is_directory(folder + "/settings"));
  const std::string name = TraceLogFileName();
  EXPECT_THAT(name, MatchesRegex("kz_trace_log_[0-9]+_" + pid + "\\.txt"));
  const std::string created = "M     [^\n]* \\| Create STM StpQBTracer2Decoder\n";
  const std::string opened =
      "M     [^\n]*Logger : trace user settings directory is [^\n]*/settings\n"
      "M     [^\n]*Logger : trace temporary data directory is [^\n]*/data\n" +
      created;
  EXPECT_THAT(home.Log(), MatchesRegex(opened));

  // The second unit creates no folder and keeps the name, and logs its creation.
  std::filesystem::remove(folder + "/data");
  setenv("KZ_TRACE_DEBUGCLIENT_PID", "1", 1);
  const StpQBTracer2Decoder second;
  EXPECT_FALSE(std::filesystem::exists(folder + "/data"));
  EXPECT_EQ(Variable("KZ_TRACE_DEBUGCLIENT_PID"), "1");
  EXPECT_EQ(TraceLogFileName(), name);
  EXPECT_THAT(home.Log(), MatchesRegex(opened + created));
}

TEST(TraceEnvironment, LivingDebugClientIsKeptAndNoLevelMeansNoLog) {
  if (RanInFreshProcess()) return;
  const TempHome home;
  setenv("KZ_TRACE_DEBUGCLIENT_PID", "1", 1);
  const StpQBTracer2Decoder unit;
  EXPECT_EQ(Variable("KZ_TRACE_DEBUGCLIENT_PID"), "1");
  EXPECT_THAT(TraceLogFileName(), HasSubstr("_1.txt"));
  EXPECT_FALSE(std::filesystem::exists(home.TraceFolder() / TraceLogFileName()));
}

/// Ids that no process has; the first is above the kernel's largest.
class NoDebugClient : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(TraceEnvironment, NoDebugClient,
                         testing::Values("4194999", "not a number", "1x", "99999999999"));

TEST_P(NoDebugClient, IsReplaced) {
  if (RanInFreshProcess()) return;
  const TempHome home;
  setenv("KZ_TRACE_DEBUGCLIENT_PID", GetParam(), 1);
  const StpQBTracer2Decoder unit;
  EXPECT_EQ(Variable("KZ_TRACE_DEBUGCLIENT_PID"), std::to_string(getpid()));
  EXPECT_EQ(Variable("KZ_TRACE_LOGGING_DIR"), home.TraceFolder().string());
}

TEST(TraceEnvironment, FailedSetUpIsRepeatedByTheNextUnit) {
  if (RanInFreshProcess()) return;
  const TempHome home;
  const std::string path = Variable("HOME");
  unsetenv("HOME");
  const StpQBTracer2Decoder first;
  EXPECT_EQ(Variable("KZ_TRACE_LOGGING_DIR"), "(unset)");
  EXPECT_EQ(TraceLogFileName(), "");
  setenv("HOME", path.c_str(), 1);
  const StpQBTracer2Decoder second;
  EXPECT_EQ(Variable("KZ_TRACE_LOGGING_DIR"), home.TraceFolder().string());
  EXPECT_NE(TraceLogFileName(), "");
}

}  // namespace
}  // namespace decoder_test
