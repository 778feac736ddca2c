// The device session as a configuration manager and a decoder see it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "host/device/device_session.h"

namespace qbt2 {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

DeviceSession described() {
  return DeviceSession(parse_device_description(
      R"({"version":1,"name":"BOARD","information":{"first":-1,"second":2},"object_file":"a.elf",
          "settings":{"ATBID":{"value":16,"kind":"unsigned32"},"QBT2_131":"GPU","QBT2_7":"DMA"}})",
      "board.json"));
}

TEST(DeviceSession, KnowsOnlyItsOwnDevice) {
  DeviceSession session = described();
  EktTrace::DeviceInformation_t information;
  std::string text = "old";
  std::string error = "old";
  std::uint32_t kind = 77;
  ASSERT_TRUE(session.GetDeviceInformation("BOARD", information, error));
  EXPECT_EQ(error, "");
  EXPECT_EQ(information.first, -1);
  EXPECT_EQ(information.second, 2);
  // The decoder looks the device up under the name that the information gives.
  EXPECT_NE(session.GetDeviceIdentifier()->GetDeviceByName(information.text), nullptr);
  session.GetObjectFile("BOARD", text);
  EXPECT_EQ(text, "a.elf");

  for (const char* other : {"", "board", "SOC"}) {
    error.clear();
    EXPECT_FALSE(session.GetDeviceInformation(other, information, error)) << other;
    EXPECT_THAT(error, HasSubstr("no device")) << other;
    EXPECT_EQ(session.GetConfigAccessor(other, "", error), nullptr) << other;
    EXPECT_FALSE(session.GetProperty(other, "", "ATBID", text, kind, error)) << other;
    session.GetObjectFile(other, text);
    EXPECT_EQ(text, "") << other;
  }
  EXPECT_EQ(information.first, -1);
  EXPECT_EQ(kind, 77U);
}

TEST(DeviceSession, WrittenSettingsOverrideDescribedOnesAndKeepTheirKind) {
  DeviceSession session = described();
  std::string text;
  std::string error;
  std::uint32_t kind = 77;
  EktTrace::IConfigAccessor_t* accessor = session.GetConfigAccessor("BOARD", "STM", error);
  ASSERT_NE(accessor, nullptr);

  EXPECT_FALSE(session.GetProperty("BOARD", "STM", "QBT2_3", text, kind, error));
  EXPECT_THAT(error, HasSubstr("QBT2_3"));
  EXPECT_FALSE(accessor->ReadSetting("QBT2_3", text, error));
  EXPECT_FALSE(accessor->WriteSetting("", "x", error));

  ASSERT_TRUE(accessor->WriteSetting("QBT2_3", "CPU", error));
  ASSERT_TRUE(accessor->WriteSetting("ATBID", "seventeen", error));
  ASSERT_TRUE(session.GetProperty("BOARD", "any", "QBT2_3", text, kind, error));
  EXPECT_EQ(text, "CPU");
  EXPECT_EQ(kind, 5U);  // text
  ASSERT_TRUE(session.GetProperty("BOARD", "", "ATBID", text, kind, error));
  EXPECT_EQ(text, "seventeen");
  EXPECT_EQ(kind, 2U);  // unsigned, as described
  ASSERT_TRUE(accessor->ReadSetting("QBT2_7", text, error));
  EXPECT_EQ(text, "DMA");
  EXPECT_EQ(error, "");
}

TEST(DeviceSession, MasterIdsAreThoseTheDecoderReads) {
  DeviceSession session = described();
  std::string error;
  EktTrace::IConfigAccessor_t* accessor = session.GetConfigAccessor("BOARD", "", error);
  for (const char* name : {"QBT2_0", "QBT2_4294967295", "QBT2_4294967296", "QBT2_07", "QBT2_0x5",
                           "QBT2_", "QBT2_-1", "QBT2_1 ", "qbt2_1", "XQBT2_1", "QBT2_7"}) {
    ASSERT_TRUE(accessor->WriteSetting(name, "x", error));
  }
  EXPECT_THAT(session.master_ids(), ElementsAre(0U, 7U, 131U, 4294967295U));
}

TEST(DeviceSession, TheDefaultDeviceHasAnEmptyMasterList) {
  DeviceSession session;
  EXPECT_EQ(session.device_name(), "SOC");
  const auto* device = session.GetDeviceIdentifier()->GetDeviceByName("SOC");
  ASSERT_NE(device, nullptr);
  const auto* component = device->GetComponent("MOD_QBTRACER0");
  ASSERT_NE(component, nullptr);
  ASSERT_NE(component->GetPropertyList("masterid.proc"), nullptr);
  EXPECT_TRUE(component->GetPropertyList("masterid.proc")->empty());
  EXPECT_TRUE(session.master_ids().empty());
}

}  // namespace
}  // namespace qbt2
