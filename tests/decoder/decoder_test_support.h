#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "common/source/source_utilities/uLogger.h"
#include "decoder/StpQBTracer2DecoderImpl.h"
#include "decoder/trace_environment.h"
#include "gtest/gtest.h"
#include "tests/support/sample_bytes.h"
#include "tests/support/saved_environment.h"
#include "tests/support/test_folder.h"

/// What the decoder's tests share: access to its members, samples, a configuration manager with
/// fixed answers, and a temporary home folder.

/// Reaches the decoder's members.
struct StpQBTracer2DecoderPeer {
  StpQBTracer2Decoder& unit;

  auto& Probes() { return unit.probes; }
  auto& ZeroSuppress() { return unit.zeroSuppress; }
  auto& CurrentProbeId() { return unit.currentProbeId; }
  [[nodiscard]] const auto& MasterIds() const { return unit.masterIds; }
  auto& Utility() { return unit.deviceDatabaseUtility; }
  [[nodiscard]] void* DestroyUtility() const { return unit.destroyDeviceDatabaseUtility; }
  [[nodiscard]] std::uint32_t BytesWritten() const { return unit.bytesWritten; }
  [[nodiscard]] std::uint32_t ReadIndex() const { return unit.readIndex; }
  [[nodiscard]] std::uint32_t PayloadBytes() const { return unit.payloadBytes; }
  [[nodiscard]] std::uint32_t OutputCapacity() const { return unit.outputCapacity; }
  [[nodiscard]] const std::uint8_t* OutputCursor() const { return unit.outputCursor; }
  [[nodiscard]] const std::uint8_t* InputBuffer() const { return unit.inputBuffer; }
  [[nodiscard]] Qbt2ProbeData_t GetProbeData(std::uint8_t id) const {
    return unit.GetProbeData(id);
  }

  /// Every sample takes the checked path until the next load.
  void ClearPreparedRows() { unit.preparedRows.ClearProbes(); }
  [[nodiscard]] bool TakesPreparedRow(std::uint8_t* input, std::uint8_t* output,
                                      std::uint32_t capacity) {
    unit.inputBuffer = input;
    unit.outputCursor = output;
    unit.outputCapacity = capacity;
    return unit.WritePreparedRow();
  }

  /// Starts an output as ProcessSamples does.
  void StartOutput(std::uint8_t* output, std::uint32_t capacity) {
    unit.outputCursor = output;
    unit.outputCapacity = capacity;
    unit.bytesWritten = 0;
  }
  void OutputData(std::uint32_t size, std::uint64_t value, std::uint8_t position, bool flag) {
    unit.OutputDataToBuffer(static_cast<eMsgDataSizeType>(size), value, position, flag);
  }
  void OutputString(const std::string* text, std::uint8_t position) {
    unit.OutputStringToBuffer(text, position);
  }
};

namespace decoder_test {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint32_t>;
using Kz::Dvt::Trace::CDecoderUnitIF;
using Kz::Dvt::Trace::ConfigPropertyValue;
using Kz::Dvt::Trace::eTraceDataFileType;

/// The characters of a text.
inline Bytes Text(const std::string& text) {
  return {text.begin(), text.end()};
}

inline Bytes LittleEndian32(std::uint32_t value) {
  return Text(qbt2::test::le32(value));
}

inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

/// A sample with any payload size in its header; its unread bytes are not zero.
inline Bytes RawSample(std::uint8_t probeId, std::uint32_t payloadBytes, const Bytes& payload) {
  return Bytes{0xEE, probeId, 0xEE, 0xEE} + LittleEndian32(payloadBytes) + payload;
}

inline Bytes Sample(std::uint8_t probeId, const Words& words) {
  return Text(qbt2::test::sample(probeId, words));
}

/// "{kind, detail}" of the DecodeError that `action` throws, "none" when it throws nothing.
template <typename Action>
std::string ErrorOf(Action&& action) {
  try {
    action();
  } catch (const Kz::Dvt::Trace::DecodeError& error) {
    return "{" + std::to_string(error.kind) + ", " + std::to_string(error.detail) + "}";
  }
  return "none";
}

/// Answers with the settings of a map, and records the names of its queries.
class FakeConfigManager : public Kz::Dvt::Trace::CDeviceConfigManager {
 public:
  std::map<std::string, std::string> settings;
  std::vector<std::string> asked;
  std::string deviceName = "board";

  void RegisterEventHandler(Kz::Dvt::Trace::CDeviceConfigEvents* /*handler*/) override {}
  bool GetInfo(int& first, int& second, std::string& text) override {
    asked.emplace_back("GetInfo");
    first = 11;
    second = 22;
    text = deviceName;
    return true;
  }
  bool LoadConfigurationLive() override { return false; }
  bool LoadConfiguration(const std::string& /*path*/, eTraceDataFileType /*type*/) override {
    return false;
  }
  bool SaveConfiguration(const std::string& /*path*/, eTraceDataFileType /*type*/) override {
    return false;
  }
  bool GetProperty(const std::string& name, ConfigPropertyValue& value) override {
    asked.push_back(name);
    const auto setting = settings.find(name);
    if (setting == settings.end()) return false;
    value.type = Kz::Dvt::Trace::eConfigPropertyText;
    value.text = setting->second;
    return true;
  }
  bool GetObjectFile(const std::string& /*name*/, std::string& /*path*/) override { return false; }
  [[nodiscard]] std::string GetLastError() const override { return {}; }
};

/// A use-case line with this name and sampling period; most other fields are 0.
inline std::string UsecaseLine(const std::string& name, const std::string& period) {
  std::string line(name);
  return line.append(";1;").append(period).append(";0;0;0;0;0;0;0;0;0;0;0;0");
}

/// A temporary folder as HOME, with the trace variables unset. The environment is restored at the
/// end.
class TempHome {
 public:
  TempHome() {
    setenv("HOME", folder_.path().c_str(), 1);
    for (const char* variable :
         {"KZ_TRACE_LOGGING", "KZ_TRACE_DEBUGCLIENT_PID", "KZ_TRACE_LOGGING_DIR",
          "KZ_TRACE_DATA_DIR", "KZ_TRACE_SETTINGS_DIR"}) {
      unsetenv(variable);
    }
  }

  [[nodiscard]] std::filesystem::path TraceFolder() const { return folder_.at(".KZ-trace"); }

  /// All of the log written so far.
  [[nodiscard]] std::string Log() const {
    return qbt2::test::read_file(TraceFolder() / TraceLogFileName());
  }

 private:
  const qbt2::test::SavedEnvironment environment_;
  const qbt2::test::TestFolder folder_;
};

/// True in a process that runs the current test and no other, as under ctest.
inline bool InFreshProcess() {
  return testing::UnitTest::GetInstance()->test_to_run_count() == 1;
}

/// For a test that needs the process-wide set-up of the trace environment, or changes the process
/// for good. In a process with other tests: runs the test in a process of its own and returns true.
inline bool RanInFreshProcess() {
  if (InFreshProcess()) return false;
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command = "'" + program + "' --gtest_output= --gtest_filter='" +
                              test.test_suite_name() + "." + test.name() + "'";
  EXPECT_EQ(std::system(command.c_str()), 0);
  return true;
}

/// A unit in a home of its own, with columns from 100 on.
class DecoderTest : public testing::Test {
 protected:
  explicit DecoderTest(const char* logLevel = nullptr) {
    if (logLevel != nullptr) setenv("KZ_TRACE_LOGGING", logLevel, 1);
    unit_ = std::make_unique<StpQBTracer2Decoder>();
    NumberColumns(100);
  }

  void NumberColumns(std::uint32_t firstId) {
    std::vector<CDecoderUnitIF::SharedColumns> shared;
    std::uint32_t count = 0;
    unit_->InitColumn(shared, firstId, count);
  }

  void Load(const std::map<std::string, std::string>& settings, const Words& masters) {
    manager_.settings = settings;
    unit_->SetDeviceConfigManager(&manager_);
    unit_->SetMasterIds(masters);
    unit_->DataReset();
  }

  /// The bytes produced for a sample; throws what ProcessSamples throws.
  Bytes Decode(const Bytes& given, std::uint32_t capacity = 400) {
    // A copy of exact size, so that the address sanitizer sees a read past its end.
    Bytes sample(given);
    Bytes output(capacity + RecordFormat::kSlackBytes, 0xCC);
    std::uint32_t produced = 0;
    unit_->ProcessSamples(0, sample.data(), capacity, output.data(), produced);
    output.resize(produced);
    return output;
  }

  [[nodiscard]] StpQBTracer2DecoderPeer Peer() const { return {*unit_}; }

  TempHome home_;
  FakeConfigManager manager_;
  std::unique_ptr<StpQBTracer2Decoder> unit_;
};

/// The same with the log at level 6, which writes (and echoes) every record. Each test begins with
/// RanInFreshProcess.
class LoggingDecoderTest : public DecoderTest {
 protected:
  LoggingDecoderTest() : DecoderTest(InFreshProcess() ? "6" : nullptr) {}
};

}  // namespace decoder_test
