#include "decoder/trace_environment.h"

#include <cstdint>

#include "common/source/source_utilities/uEnvironment.h"
#include "common/source/source_utilities/uLogger.h"
#include "common/source/source_utilities/uProcess.h"
#include "common/source/source_utilities/uString.h"

using KZ_DVT::uEnvironment;

namespace {

constexpr const char* kDebugClientVariable = "KZ_TRACE_DEBUGCLIENT_PID";
constexpr const char* kLogLevelVariable = "KZ_TRACE_LOGGING";
constexpr const char* kLogDirectoryVariable = "KZ_TRACE_LOGGING_DIR";

/// A trace directory and the variable that publishes it. `get` also creates it.
struct TraceDirectory {
  std::string& (*get)(std::string& out);
  const char* variable;
};

constexpr TraceDirectory kTraceDirectories[] = {
    {&uEnvironment::GetTraceLoggingDirectory, kLogDirectoryVariable},
    {&uEnvironment::GetTraceTemporaryDataDirectory, "KZ_TRACE_DATA_DIR"},
    {&uEnvironment::GetTraceUserSettingsDirectory, "KZ_TRACE_SETTINGS_DIR"},
};

struct TraceEnvironment {
  bool initialised = false;
  std::string debugClientPid;
  std::string logFileName;
};

/// Never destroyed: static objects of other libraries may still create units at exit.
TraceEnvironment& Environment() {
  static auto* environment = new TraceEnvironment;
  return *environment;
}

/// A text that is not wholly a number is the id of no process.
bool IsProcess(const std::string& pid) {
  try {
    return KZ_DVT::uProcess::LookupProcess(KZ_DVT::uString::ToNumeric<std::uint32_t>(pid.c_str()));
  } catch (const KZ_DVT::uString::error&) {
    return false;
  }
}

/// All tools started from one debug client share its id; the id of a process that does not exist is
/// replaced by that of this process.
void SettleDebugClient(TraceEnvironment& environment) {
  std::string& pid = environment.debugClientPid;
  pid = uEnvironment::GetVar(kDebugClientVariable);
  if (!pid.empty() && !IsProcess(pid)) pid.clear();
  if (pid.empty()) {
    pid = std::to_string(KZ_DVT::uProcess::GetPid());
    uEnvironment::SetVar(kDebugClientVariable, pid.c_str());
  }
}

void PublishDirectories() {
  for (const TraceDirectory& directory : kTraceDirectories) {
    std::string path;
    directory.get(path);
    uEnvironment::SetVar(directory.variable, path.c_str());
  }
}

void SetUpOnce(TraceEnvironment& environment) {
  if (environment.initialised) return;
  SettleDebugClient(environment);
  PublishDirectories();
  environment.logFileName = MakeTraceLogFileName(KZ_DVT::uTime(), environment.debugClientPid);
  environment.initialised = true;
}

}  // namespace

void SetUpTraceEnvironment() noexcept {
  try {
    TraceEnvironment& environment = Environment();
    SetUpOnce(environment);
    KZ_DVT::uLogSystem::GetLogSystem()->InitLog(environment.logFileName.c_str(), kLogLevelVariable,
                                                kLogDirectoryVariable, true);
  } catch (...) {
    // A decoder also works without its log; the next unit tries again.
  }
}

std::string MakeTraceLogFileName(const KZ_DVT::uTime& day, const std::string& pid) {
  return "kz_trace_log_" + std::to_string(day.GetMonth()) + std::to_string(day.GetDay()) +
         std::to_string(day.GetYear()) + "_" + pid + ".txt";
}

const std::string& TraceLogFileName() {
  return Environment().logFileName;
}
