// The set-up that the first unit of a process does, and the log that every unit opens.

#include <ctime>

#include "decoder_test_support.h"
#include "gmock/gmock.h"

namespace decoder_test {
namespace {

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "(unset)";
}

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

/// Today as month, day and year without separators or padding.
std::string Today() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return std::to_string(local.tm_mon + 1) + std::to_string(local.tm_mday) +
         std::to_string(local.tm_year + 1900);
}

TEST(TraceEnvironment, FirstUnitPublishesFoldersAndOpensTheLog) {
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
  const std::string name = "kz_trace_log_" + Today() + "_" + pid + ".txt";
  EXPECT_EQ(TraceLogFileName(), name);
  EXPECT_TRUE(std::filesystem::exists(folder + "/" + name));
  EXPECT_THAT(home.Log(), testing::ContainsRegex(
                              "M     [^\n]*Logger : trace user settings directory is [^\n]*\n"
                              "M     [^\n]*Logger : trace temporary data directory is [^\n]*\n"
                              "M     ../../.. ..:..:..:... \\| Create STM StpQBTracer2Decoder\n"));

  // The second unit makes no folder and keeps the name, and says that it is there.
  std::filesystem::remove(folder + "/data");
  setenv("KZ_TRACE_DEBUGCLIENT_PID", "1", 1);
  const StpQBTracer2Decoder second;
  EXPECT_FALSE(std::filesystem::exists(folder + "/data"));
  EXPECT_EQ(Variable("KZ_TRACE_DEBUGCLIENT_PID"), "1");
  EXPECT_EQ(TraceLogFileName(), name);
  EXPECT_EQ(Count(home.Log(), "Create STM StpQBTracer2Decoder\n"), 2U);
  EXPECT_EQ(Count(home.Log(), "Logger : "), 2U);
}

TEST(TraceEnvironment, LivingDebugClientIsKept) {
  const TempHome home;
  setenv("KZ_TRACE_DEBUGCLIENT_PID", "1", 1);
  const StpQBTracer2Decoder unit;
  EXPECT_EQ(Variable("KZ_TRACE_DEBUGCLIENT_PID"), "1");
  EXPECT_EQ(TraceLogFileName(), "kz_trace_log_" + Today() + "_1.txt");
}

TEST(TraceEnvironment, StaleDebugClientIsReplaced) {
  const TempHome home;
  setenv("KZ_TRACE_DEBUGCLIENT_PID", "4194999", 1);  // above the kernel's largest process id
  const StpQBTracer2Decoder unit;
  EXPECT_EQ(Variable("KZ_TRACE_DEBUGCLIENT_PID"), std::to_string(getpid()));
}

TEST(TraceEnvironment, WithoutLevelNoLogFile) {
  const TempHome home;
  const StpQBTracer2Decoder unit;
  EXPECT_FALSE(TraceLogFileName().empty());
  EXPECT_FALSE(std::filesystem::exists(home.TraceFolder() / TraceLogFileName()));
}

// A failed set-up leaves a working unit, and the next one tries again.
TEST(TraceEnvironment, FailedSetUpIsRepeated) {
  const TempHome home;
  const std::string path = Variable("HOME");
  unsetenv("HOME");
  const StpQBTracer2Decoder first;
  EXPECT_EQ(Variable("KZ_TRACE_LOGGING_DIR"), "(unset)");
  EXPECT_EQ(TraceLogFileName(), "");
  setenv("HOME", path.c_str(), 1);
  setenv("KZ_TRACE_DEBUGCLIENT_PID", "no number", 1);
  const StpQBTracer2Decoder second;
  EXPECT_EQ(Variable("KZ_TRACE_DEBUGCLIENT_PID"), "no number");
  EXPECT_EQ(TraceLogFileName(), "");
  unsetenv("KZ_TRACE_DEBUGCLIENT_PID");
  const StpQBTracer2Decoder third;
  EXPECT_EQ(Variable("KZ_TRACE_LOGGING_DIR"), home.TraceFolder().string());
  EXPECT_NE(TraceLogFileName(), "");
}

}  // namespace
}  // namespace decoder_test
