#include "platforms/source/trace/device_config_manager.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <tuple>

#include "platforms/source/trace/device_config_manager_stm.h"
#include "tests/support/debug_log_records.h"
#include "tests/support/fake_device_model.h"
#include "tests/support/saved_environment.h"
#include "tests/support/tdf_bytes.h"
#include "tests/support/test_folder.h"

namespace {

using namespace qbt2::test;
using namespace EktTrace;
using Kz::Dvt::Trace::ConfigPropertyValue;
using Kz::Dvt::Trace::eTraceDataFileTdf;
using Kz::Dvt::Trace::eTraceDataFileText1;
using Kz::Dvt::Trace::eTraceDataFileText2;
using ::testing::ElementsAre;

/// The session, its accessor and its device model in one; each part can be absent.
struct FakeSession : IDeviceSession_t, IConfigAccessor_t, FakeDeviceModel {
  FakeSession() { deviceName = "dev"; }
  Kz::Dvt::Trace::CDeviceIdentifier* GetDeviceIdentifier() override {
    MaybeThrow();
    return missing == kIdentifier ? nullptr : this;
  }
  IConfigAccessor_t* GetConfigAccessor(const std::string& device, const std::string& second,
                                       std::string& error) override {
    MaybeThrow();
    if (!hasAccessor || device != "dev" || second != "second") {
      error = "no accessor";
      return nullptr;
    }
    return this;
  }
  bool ReadSetting(const std::string& name, std::string& value, std::string& error) override {
    const auto found = live.find(name);
    if (found == live.end()) {
      error = readError;
      return false;
    }
    value = found->second;
    return true;
  }
  bool WriteSetting(const std::string& name, const std::string& value,
                    std::string& error) override {
    written.push_back(name + "=" + value);
    error = "cannot write " + name;
    return name != "bad";
  }
  void GetObjectFile(const std::string& device, std::string& path) override {
    MaybeThrow();
    path = device + ".elf";
  }
  bool GetDeviceInformation(const std::string& device, DeviceInformation_t& information,
                            std::string& error) override {
    MaybeThrow();
    error = "info of " + device;
    information = {3, -4, "name"};
    return hasInformation;
  }
  bool GetProperty(const std::string& device, const std::string& second, const std::string& name,
                   std::string& value, std::uint32_t& kind, std::string& error) override {
    MaybeThrow();
    error = device + "/" + second + "/" + name;
    value = propertyText;
    kind = propertyKind;
    return name != "missing";
  }

  bool hasAccessor = true;
  bool hasInformation = true;
  std::map<std::string, std::string> live;
  std::string readError, propertyText;
  std::uint32_t propertyKind = 5;
  std::vector<std::string> written;
};

class ConfigManager : public testing::Test {
 protected:
  FakeSession m_session;
  DeviceConfigManager_t m_manager{&m_session, "dev", ConfigFile::DeviceConfig_t::eStmConfig,
                                  "second"};
};

TEST_F(ConfigManager, PropertiesConvertByTheSessionsKind) {
  const struct {
    std::uint32_t kind;
    const char* text;
    std::uint32_t type;
    std::uint32_t value;  // written over 0xAAAAAAAA; a boolean has one byte
  } cases[] = {
      {0, "1", 5, 0xAAAAAA01},
      {0, "0", 5, 0xAAAAAA00},
      {0, "true", 5, 0xAAAAAA00},
      {0, " 1", 5, 0xAAAAAA00},
      {1, "-5", 1, 0xFFFFFFFB},
      {1, " 12 apples", 1, 12},
      {1, "abc", 1, 0xAAAAAAAA},
      {1, "2147483648", 1, 0xAAAAAAAA},
      {1, "", 1, 0xAAAAAAAA},
      {2, "4294967295", 2, 0xFFFFFFFF},
      {2, "4294967296", 2, 0xAAAAAAAA},
      {2, "0x1F", 2, 0x1F},
      {2, "010", 2, 8},
      {3, "-4294967295", 1, 1},
      {3, "9223372036854775808", 1, 0xAAAAAAAA},
      {4, "0x123456789", 2, 0x23456789},
      {4, "18446744073709551616", 2, 0xAAAAAAAA},
      {5, "7", 6, 0xAAAAAAAA},
      {6, "7", 2, 7},
      {0xFFFFFFFF, "7", 2, 7},
  };
  for (const auto& c : cases) {
    m_session.propertyKind = c.kind;
    m_session.propertyText = c.text;
    ConfigPropertyValue value;
    value.value.unsignedValue = 0xAAAAAAAA;
    EXPECT_TRUE(m_manager.GetProperty("any", value)) << c.kind << c.text;
    EXPECT_EQ(value.type, c.type) << c.kind << ' ' << c.text;
    EXPECT_EQ(value.text, c.text);
    EXPECT_EQ(value.value.unsignedValue, c.value) << c.kind << ' ' << c.text;
  }
}

// The session's text becomes the last error, whether the call failed or not.
TEST_F(ConfigManager, FailedQuestionsLeaveTheirOutputs) {
  ConfigPropertyValue value;
  value.type = 99;
  value.text = "before";
  DebugLogRecords log;
  EXPECT_FALSE(m_manager.GetProperty("missing", value));
  EXPECT_EQ(value.type, 99u);
  EXPECT_EQ(value.text, "before");
  EXPECT_EQ(m_manager.GetLastError(), "dev/second/missing");
  EXPECT_THAT(log.take_with_functions(), ElementsAre("E GetProperty: dev/second/missing"));
  EXPECT_TRUE(m_manager.GetProperty("any", value));
  EXPECT_EQ(m_manager.GetLastError(), "dev/second/any");

  using Info = std::tuple<int, int, std::string>;
  Info info(1, 2, "before");
  auto& [first, second, text] = info;
  m_session.hasInformation = false;
  EXPECT_FALSE(m_manager.GetInfo(first, second, text));
  EXPECT_EQ(info, Info(1, 2, "before"));
  EXPECT_EQ(m_manager.GetLastError(), "info of dev");
  m_session.hasInformation = true;
  m_manager.GetProperty("any", value);
  EXPECT_TRUE(m_manager.GetInfo(first, second, text));
  EXPECT_EQ(info, Info(3, -4, "name"));
  EXPECT_EQ(m_manager.GetLastError(), "info of dev");

  EXPECT_TRUE(m_manager.GetObjectFile("not used", text));
  EXPECT_EQ(text, "dev.elf");
}

TEST_F(ConfigManager, LiveSettingsAreReadOrDefaulted) {
  m_manager.AddConfigEntry("b", eTraceAttributeAtbId);
  m_manager.AddConfigEntry("a", eTraceAttributeAtbId);
  m_manager.AddConfigEntry("a", eTraceAttributeProtocol);
  EXPECT_EQ(m_manager.GetConfigEntries().size(), 2u);
  EXPECT_EQ(m_manager.GetConfigEntries().at("a"), 65u);

  m_session.live["b"] = "0x20";
  m_session.readError = "not there";
  m_session.propertyKind = 2;
  m_session.propertyText = "7";
  DebugLogRecords log;
  EXPECT_TRUE(m_manager.LoadConfigurationLive());
  EXPECT_THAT(log.take(), ElementsAre("MC Failed to access config setting a. Using default value",
                                      "E not there", "MC Accessed config setting b (0x20)"));
  ConfigPropertyValue value;
  EXPECT_TRUE(m_manager.GetProperty("b", value));  // the live value wins over the session's 7
  EXPECT_EQ(value.text, "0x20");
  EXPECT_EQ(value.value.unsignedValue, 32u);
  EXPECT_TRUE(m_manager.GetProperty("a", value));
  EXPECT_EQ(value.text, "Unknown");
}

TEST_F(ConfigManager, ConfigurationIsLoadedAppliedAndSaved) {
  const SavedEnvironment environment;
  const TestFolder folder;
  set_variable("KZ_TRACE_SETTINGS_DIR", folder.path());
  folder.put("s.txt", "ok=1\nbad=2\n");
  ConfigPropertyValue value;
  EXPECT_FALSE(m_manager.GetProperty("missing", value));  // leaves an error
  DebugLogRecords log;
  EXPECT_TRUE(m_manager.LoadConfiguration("s.txt", eTraceDataFileText1));
  EXPECT_THAT(m_session.written, ElementsAre("bad=2", "ok=1"));
  EXPECT_THAT(log.take(),
              ElementsAre("FE LoadConfiguration: ", "MP Applying config setting bad = 2",
                          "E cannot write bad", "MP Applying config setting ok = 1"));
  EXPECT_EQ(m_manager.GetLastError(), "");

  const std::string tdf = folder.put("a.tdf", "TDF2");
  EXPECT_FALSE(m_manager.GetProperty("missing", value));
  EXPECT_TRUE(m_manager.SaveConfiguration(tdf, eTraceDataFileTdf));
  EXPECT_EQ(m_manager.GetLastError(), "");
  EXPECT_EQ(read_file(tdf), "TDF2" + section("STMDECODERINFO", 1, "bad=2\nok=1\n"));

  log.take();
  EXPECT_FALSE(m_manager.SaveConfiguration(folder.at("no/x"), eTraceDataFileText2));
  const std::string error = "Error opening file " + folder.at("no/x") + " for writing";
  EXPECT_EQ(m_manager.GetLastError(), error);
  EXPECT_THAT(log.take(), ElementsAre("FE SaveConfiguration: ", "MP Saving config setting bad = 2",
                                      "MP Saving config setting ok = 1",
                                      "MP Saving Device Config data to file " + folder.at("no/x") +
                                          "\n: bad=2\nok=1\n ",
                                      "E " + error, "FX SaveConfiguration: returns failure"));

  EXPECT_FALSE(m_manager.LoadConfiguration("s.txt", eTraceDataFileText2));
  EXPECT_EQ(m_manager.GetLastError(), "File type is not supported");
  m_session.hasAccessor = false;
  EXPECT_FALSE(m_manager.LoadConfiguration("s.txt", eTraceDataFileText1));
  EXPECT_EQ(m_manager.GetLastError(), "no accessor");
}

TEST_F(ConfigManager, SessionExceptionsAreFailures) {
  m_manager.AddConfigEntry("a", eTraceAttributeAtbId);
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[] { throw std::runtime_error("boom"); }, "boom"}, {[] { throw 42; }, "Unknown exception"}};
  DebugLogRecords log;
  for (const auto& [throwing, message] : cases) {
    m_session.throwing = throwing;
    ConfigPropertyValue value;
    int number = 0;
    std::string text;
    EXPECT_FALSE(m_manager.GetProperty("any", value));
    EXPECT_EQ(m_manager.GetLastError(), message);
    EXPECT_FALSE(m_manager.GetInfo(number, number, text));
    EXPECT_FALSE(m_manager.LoadConfiguration("s", eTraceDataFileText1));
    EXPECT_TRUE(m_manager.LoadConfigurationLive());
    EXPECT_TRUE(m_manager.GetObjectFile("any", text));
    const std::string end = std::string(": ") + message;
    EXPECT_THAT(log.take_with_functions(),
                ElementsAre("E GetProperty" + end, "E GetInfo" + end, "FE LoadConfiguration: ",
                            "E LoadConfiguration" + end, "E LoadConfigurationLive" + end,
                            "MC LoadConfigurationLive: Failed to access config setting a. Using "
                            "default value",
                            "E GetObjectFile" + end));
    m_session.throwing = nullptr;
    EXPECT_TRUE(m_manager.GetProperty("a", value));
    EXPECT_EQ(value.text, "Unknown");  // the live read that threw left the default
  }
}

// --- STM flavour ------------------------------------------------------------------------------

std::unique_ptr<DeviceConfigManagerStm_t> MakeStm(IDeviceSession_t* session, std::string& error) {
  return std::unique_ptr<DeviceConfigManagerStm_t>(
      DeviceConfigManagerStm_t::Construct(session, "dev", "second", error));
}

TEST(StmConfigManager, RegistersFixedSettingsAndMasters) {
  FakeSession session;
  const FakeEntry cpu("CPU", "1");
  const FakeEntry dma("DMA", "7");
  const FakeEntry hex("HEX", "0x5");
  session.masters = {&cpu, &dma, nullptr, &hex};
  std::string error;
  const auto manager = MakeStm(&session, error);
  ASSERT_NE(manager, nullptr) << error;
  std::string entries;
  for (const auto& [name, id] : manager->GetConfigEntries()) {
    entries += name + "=" + std::to_string(id) + " ";
  }
  EXPECT_EQ(entries,
            "ATBID=23 Data_Compress=52 HEAD_Pointer_0=35 HEAD_Pointer_1=36 HEAD_Present_0=33 "
            "HEAD_Present_1=34 Instruction_Compress=51 Needs_Preprocess=38 Protocol=65 QBT2_0x5=66 "
            "QBT2_1=66 QBT2_7=66 STM_ATB_Id=23 STM_Buffer_Wrapped=14 STM_DTC_fprocess_clock_hz=21 "
            "STM_DTC_target_pins=41 STM_HwDbgLib_Import=42 STM_STP_Version=37 STM_data_flip=39 "
            "TWP_Protocol=20 ");
  for (const char* name : {"Protocol", "QBT2_1", "unregistered"}) {
    EXPECT_EQ(manager->GetDefaultValue(name), "0") << name;
  }
  EXPECT_TRUE(manager->LoadConfigurationLive());
  ConfigPropertyValue value;
  EXPECT_TRUE(manager->GetProperty("QBT2_0x5", value));
  EXPECT_EQ(value.text, "0");
}

TEST(StmConfigManager, MissingPartsOfTheModelAreNotErrors) {
  for (const auto part : {FakeSession::kIdentifier, FakeSession::kDevice, FakeSession::kComponent,
                          FakeSession::kList}) {
    FakeSession session;
    const FakeEntry cpu("CPU", "1");
    session.masters = {&cpu};
    session.missing = part;
    std::string error;
    const auto manager = MakeStm(&session, error);
    ASSERT_NE(manager, nullptr) << part << error;
    EXPECT_EQ(manager->GetConfigEntries().size(), 17u) << part;
  }
}

TEST(StmConfigManager, ConstructReportsFailures) {
  const std::string prefix = "Device Configuraton Manager could not be created: ";
  FakeSession session;
  const struct {
    IDeviceSession_t* session;
    std::function<void()> throwing;
    const char* reason;
  } cases[] = {{nullptr, {}, "Null device pointer"},
               {&session, [] { throw std::out_of_range("range"); }, "range"},
               {&session, [] { throw 1; }, "Unknown exception "}};
  for (const auto& c : cases) {
    session.throwing = c.throwing;
    DebugLogRecords log;
    std::string error;
    EXPECT_EQ(MakeStm(c.session, error), nullptr);
    EXPECT_EQ(error, prefix + c.reason);
    EXPECT_THAT(log.take_with_functions(), ElementsAre("E Construct: " + error));
  }
}

}  // namespace
