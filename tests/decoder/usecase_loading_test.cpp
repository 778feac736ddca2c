// Use-case lines, good and bad, and the look-up of master names in the device model.

#include <stdexcept>

#include "tests/decoder/decoder_test_support.h"
#include "tests/support/fake_device_model.h"

namespace decoder_test {
namespace {

using qbt2::test::FakeDeviceModel;
using qbt2::test::FakeEntry;

class UsecaseLoadingTest : public DecoderTest {};

TEST_F(UsecaseLoadingTest, AcceptedAndRejectedLines) {
  const std::string zeros11 = ";0;0;0;0;0;0;0;0;0;0;0";
  struct {
    std::string line;
    bool found;
    std::uint32_t period;
  } const cases[] = {
      {"DMA1;1;0x1000;0" + zeros11, true, 0x1000},
      {"DMA1;1;010;0" + zeros11, true, 8},
      {"DMA1;1;12clocks;0" + zeros11, true, 12},
      {"DMA1;1; 5;0" + zeros11, true, 5},
      {"DMA1;1;0x100000005;0" + zeros11, true, 5},  // cut to 32 bits
      {";1;7;0" + zeros11, true, 7},
      {"DMA1;1;7;0" + zeros11 + ";0", false, 0},  // 16 tokens
      {"DMA1;1;7" + zeros11, false, 0},           // 14 tokens
      {"DMA1;1;7;0" + zeros11 + ";", false, 0},   // 16 tokens, the last one empty
      {"", false, 0},
      {"DMA1;1;;0" + zeros11, false, 0},
      {"DMA1;1;clocks;0" + zeros11, false, 0},
      {"DMA1;1;99999999999999999999;0" + zeros11, false, 0},
      {"DMA1;1;7;0;0;0;0;0;0;0;0;0;0;0;none", false, 0},  // the last register
  };
  for (const auto& c : cases) {
    Load({{"QBT2_3", c.line}, {"QBT2_4", UsecaseLine("Next", "2")}}, {3, 4});
    ASSERT_EQ(Peer().Probes().size(), 2U) << c.line;
    EXPECT_EQ(Peer().Probes()[0].recordFound, c.found) << c.line;
    EXPECT_EQ(Peer().Probes()[0].probeId, 3) << c.line;
    if (c.found) {
      EXPECT_EQ(Peer().Probes()[0].samplingPeriod, c.period) << c.line;
    }
    EXPECT_TRUE(Peer().Probes()[1].recordFound) << c.line;
  }
}

// Filter 0 has a different value in every field, filter 1 has all bits set.
TEST_F(UsecaseLoadingTest, EveryField) {
  Load({{"QBT2_515",
         "Cpu;0x11111111;0x22222222;0x8003ABCD;0x44444444;0x1BEEF;0x66666666;"
         // A: packed 5|6|2, 28 set; 19..16=9; 15; 14 clear; 13..12=2; 11..0=0xABC
         "0xBCA9AABC;"
         // B: 0xD, 2, -, 1, 5, 3, 6, 0x2A5
         "0xD80D7AA5;"
         // C: 0x15, 0x2A, 3, 1, 5, 2, 1, 3, 0, 1
         "0xAAA03D9D;"
         // D: 2, 9, 1, 0xC7, 0x5A5
         "0x0A5C75A5;"
         "0xFFFFFFFF;0xFFFFFFFF;0xFFFFFFFF;0xFFFFFFFF"}},
       {515});
  ASSERT_EQ(Peer().Probes().size(), 1U);
  const Qbt2ProbeData_t& p = Peer().Probes()[0];
  ASSERT_TRUE(p.recordFound);
  EXPECT_EQ(p.probeId, 3);
  EXPECT_EQ(p.probeName, "Cpu");
  EXPECT_EQ(p.usecaseWord1, 0x11111111U);
  EXPECT_EQ(p.samplingPeriod, 0x22222222U);
  EXPECT_EQ(p.usecaseHalfWord3, 0xABCD);
  EXPECT_TRUE(p.usecaseFlag3);
  EXPECT_EQ(p.usecaseWord4, 0x44444444U);
  EXPECT_EQ(p.usecaseHalfWord5, 0xBEEF);
  EXPECT_EQ(p.usecaseWord6, 0x66666666U);
  EXPECT_EQ(p.filterAPacked[0], 0x1462);
  EXPECT_EQ(p.filterAPacked[1], 0x1C73);
  EXPECT_EQ(p.extraWord, 0U);

  struct {
    const char* name;
    unsigned filter0, filter1, expected0, expected1;
  } const cases[] = {
#define FIELD(name, first, second) {#name, p.name[0], p.name[1], first, second}
      FIELD(filterA28, 1, 1),          FIELD(filterA19_16, 9, 15),
      FIELD(filterA15, 1, 1),          FIELD(filterA14, 0, 1),
      FIELD(filterA13_12, 2, 3),       FIELD(filterA11_0, 0xABC, 0xFFF),
      FIELD(filterB31_28, 0xD, 15),    FIELD(filterB27_26, 2, 3),
      FIELD(filterB20_19, 1, 3),       FIELD(filterB18_16, 5, 7),
      FIELD(filterB15_13, 3, 7),       FIELD(filterB12_10, 6, 7),
      FIELD(filterB9_0, 0x2A5, 0x3FF), FIELD(filterC31_27, 0x15, 0x1F),
      FIELD(filterC25_20, 0x2A, 0x3F), FIELD(filterC13_12, 3, 3),
      FIELD(filterC11, 1, 1),          FIELD(filterC10_8, 5, 7),
      FIELD(filterC7_6, 2, 3),         FIELD(filterC5_4, 1, 3),
      FIELD(filterC3_2, 3, 3),         FIELD(filterC1, 0, 1),
      FIELD(filterC0, 1, 1),           FIELD(filterD27_26, 2, 3),
      FIELD(filterD25_22, 9, 15),      FIELD(filterD21_20, 1, 3),
      FIELD(filterD19_12, 0xC7, 0xFF), FIELD(filterD11_0, 0x5A5, 0xFFF),
      FIELD(filterZero, 0, 0),         FIELD(filterOne, 1, 1),
#undef FIELD
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.filter0, c.expected0) << c.name;
    EXPECT_EQ(c.filter1, c.expected1) << c.name;
  }
}

// The working record is shared by all masters, so one without a line keeps the values before it.
TEST_F(UsecaseLoadingTest, NotFoundRecordsKeepWhatCameBefore) {
  Load({{"QBT2_1", UsecaseLine("One", "5")}, {"QBT2_3", "Three;9;broken;0;0;0;0;0;0;0;0;0;0;0;0"}},
       {0, 1, 2, 3});
  const auto& probes = Peer().Probes();
  ASSERT_EQ(probes.size(), 4U);
  EXPECT_EQ(probes[0].probeName, "");
  EXPECT_EQ(probes[2].probeName, "One");
  EXPECT_EQ(probes[2].probeId, 2);
  EXPECT_FALSE(probes[2].recordFound);
  EXPECT_EQ(probes[3].probeName, "Three");
  EXPECT_EQ(probes[3].usecaseWord1, 9U);
  EXPECT_EQ(probes[3].samplingPeriod, 5U);
  EXPECT_FALSE(probes[3].recordFound);
}

TEST_F(UsecaseLoadingTest, AnswersAboutSuppressionAndClockAreNotUsed) {
  Peer().ZeroSuppress() = true;
  Load({{"ZeroSupress", "1"}, {"ClockRate", "100"}}, {4294967295U});
  EXPECT_FALSE(Peer().ZeroSuppress());
  EXPECT_EQ(manager_.asked,
            (std::vector<std::string>{"GetInfo", "ZeroSupress", "ClockRate", "QBT2_4294967295"}));
}

TEST_F(UsecaseLoadingTest, WithoutAManagerNothingIsFound) {
  Load({{"QBT2_1", UsecaseLine("One", "5")}}, {1, 2});
  EXPECT_TRUE(Peer().Probes()[0].recordFound);
  manager_.asked.clear();
  unit_->SetDeviceConfigManager(nullptr);
  unit_->DataReset();
  unit_->DataReset();
  ASSERT_EQ(Peer().Probes().size(), 2U);
  EXPECT_FALSE(Peer().Probes()[0].recordFound);
  EXPECT_FALSE(Peer().Probes()[1].recordFound);
  EXPECT_TRUE(manager_.asked.empty());
}

TEST_F(UsecaseLoadingTest, StateBitsAreTheLastProbesUpperBits) {
  Load({{"QBT2_1", UsecaseLine("One", "5")}}, {1});
  EXPECT_EQ(Peer().Probes()[0].stateBits, 0U) << "no sample yet";
  Decode(Sample(0xBF, {}));
  unit_->DataReset();
  EXPECT_EQ(Peer().Probes()[0].stateBits, 5U);
}

TEST_F(UsecaseLoadingTest, MasterNames) {
  const FakeEntry entries[] = {{"NOT 1", "0x101"}, {"CPU", "1"},   {"DSP", "0x100000002"},
                               {"GPU", "0x11"},    {"LATE", "17"}, {"BAD", "none"},
                               {"AFTER", "30"}};
  FakeDeviceModel model;
  for (const FakeEntry& entry : entries) {
    model.masters.insert(model.masters.end(), {nullptr, &entry});
  }
  struct {
    const char* what;
    FakeDeviceModel::Missing missing;
    std::uint32_t master;
    std::string name;
    bool found;
  } const cases[] = {
      {"decimal", FakeDeviceModel::kNothing, 1, "CPU", true},
      {"cut to 32 bits", FakeDeviceModel::kNothing, 2, "DSP", true},
      {"hexadecimal, first of two", FakeDeviceModel::kNothing, 17, "GPU", true},
      {"after a value that is not a number", FakeDeviceModel::kNothing, 30, "MASTERNAME", false},
      {"no device", FakeDeviceModel::kDevice, 1, "MASTERNAME", true},
      {"no component", FakeDeviceModel::kComponent, 1, "MASTERNAME", true},
      {"no list", FakeDeviceModel::kList, 1, "MASTERNAME", true},
  };
  unit_->SetDeviceIdentifier(&model);
  for (const auto& c : cases) {
    model.missing = c.missing;
    Load({{"QBT2_" + std::to_string(c.master), UsecaseLine("MASTERNAME", "5")}}, {c.master});
    EXPECT_EQ(Peer().Probes()[0].probeName, c.name) << c.what;
    EXPECT_EQ(Peer().Probes()[0].recordFound, c.found) << c.what;
  }
  model.throwing = [] { throw std::runtime_error("model"); };
  unit_->DataReset();
  EXPECT_FALSE(Peer().Probes()[0].recordFound);
  unit_->SetDeviceIdentifier(nullptr);
  unit_->DataReset();
  EXPECT_EQ(Peer().Probes()[0].probeName, "MASTERNAME");
  EXPECT_TRUE(Peer().Probes()[0].recordFound);
}

}  // namespace
}  // namespace decoder_test
