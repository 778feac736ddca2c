// Plain settings: the host reads the same settings from a text as a configuration manager does.
#include "host/device/settings_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

#include "host/device/device_session.h"
#include "platforms/source/trace/device_config_manager_stm.h"
#include "platforms/source/trace/tdf_helper.h"
#include "tests/support/test_folder.h"

namespace qbt2 {
namespace {

using EktTrace::ConfigFile::DeviceConfig_t;
using namespace std::literals;
using Settings = std::map<std::string, std::string>;

/// What a session holds after a configuration manager has loaded the file into it.
Settings loaded_by_manager(const test::TestFolder& folder, const std::string& file) {
  DeviceSession session;
  std::string error;
  const std::unique_ptr<Kz::Dvt::Trace::CDeviceConfigManager> manager(
      EktTrace::DeviceConfigManagerStm_t::Construct(&session, session.device_name(), "", error));
  ::setenv("KZ_TRACE_SETTINGS_DIR", folder.at("").c_str(), 1);
  EXPECT_TRUE(manager->LoadConfiguration(file, Kz::Dvt::Trace::eTraceDataFileText1))
      << manager->GetLastError();
  ::unsetenv("KZ_TRACE_SETTINGS_DIR");
  return session.settings().values();
}

TEST(SettingsText, IsReadAsAManagerReadsTheFile) {
  const struct {
    std::string text;
    Settings expected;
  } cases[] = {
      {"", {}},
      {"\n\n \t\n", {}},
      {"A=1\nB=2", {{"A", "1"}, {"B", "2"}}},
      {"  KEY =  some  value\t\n", {{"KEY", "some  value"}}},
      {"ENABLE\n", {{"ENABLE", "ENABLE"}}},
      {"=1\nA=\n = \n=\n", {}},
      {"A=1=2==\n", {{"A", "1=2=="}}},
      {"A=1\na=2\nA=3\n", {{"A", "3"}, {"a", "2"}}},
      {"A=1\nA=\n", {{"A", "1"}}},
      {" # A=1\n\t{B=2\nC=3\n}\n", {{"C", "3"}, {"}", "}"}}},
      {"A=#1\n=#\nB={\n", {{"A", "#1"}, {"B", "{"}}},
      {"A=1\r\n\r\nB=2\rC=3", {{"A", "1\r"}, {"\r", "\r"}, {"B", "2\rC=3"}}},
      {"A\0B=1\0\n\0\nC=2"s, {{"A\0B"s, "1\0"s}, {"\0"s, "\0"s}, {"C", "2"}}},
      {"\xEF\xBB\xBF"
       "A=\xFF\v1\f\n",
       {{"\xEF\xBB\xBF"
         "A",
         "\xFF\v1\f"}}},
      {"A=" + std::string(100000, 'x'), {{"A", std::string(100000, 'x')}}},
  };
  const test::TestFolder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text.substr(0, 40)));
    EXPECT_EQ(read_plain_settings(c.text), c.expected);
    folder.put("plain.cfg", c.text);
    EXPECT_EQ(loaded_by_manager(folder, "plain.cfg"), c.expected);
    DeviceSession session;
    session.write_settings(read_plain_settings(c.text));
    EXPECT_EQ(session.settings().values(), c.expected);
  }
}

TEST(SettingsText, EveryShortTextIsReadAsTheSectionReaderReadsIt) {
  constexpr std::string_view kBytes = "\n \tA=#{\r\0"sv;
  for (std::size_t length = 1, texts = kBytes.size(); length <= 5;
       ++length, texts *= kBytes.size()) {
    for (std::size_t number = 0; number < texts; ++number) {
      std::string text;
      for (std::size_t rest = number; text.size() < length; rest /= kBytes.size()) {
        text += kBytes[rest % kBytes.size()];
      }
      std::istringstream stream(text);
      DeviceConfig_t::DeviceConfigData_t data;
      DeviceConfig_t::InputValues(stream, data);
      ASSERT_EQ(read_plain_settings(text), data.values) << testing::PrintToString(text);
    }
  }
}

}  // namespace
}  // namespace qbt2
