#include "host/tdf/usecase_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qbt2 {
namespace {

TEST(UsecaseCheck, ReportsWhyTheDecoderCannotReadALine) {
  const std::string zeros = ";0;0;0;0;0;0;0;0;0;0;0;0";
  const struct {
    std::string line;
    const char* fault;
  } cases[] = {
      {"DMA1;1;0x1000" + zeros, ""},
      {";1;010" + zeros, ""},            // the name may be empty, numbers octal
      {"A;12abc; 7" + zeros, ""},        // what follows the digits is ignored
      {"A;0;0xFFFFFFFFFF" + zeros, ""},  // cut to 32 bits
      {"A;0;-1" + zeros, ""},
      {"", "1 field instead of 15"},
      {"A;0" + zeros, "14 fields instead of 15"},
      {"A;0;0;0" + zeros, "16 fields instead of 15"},
      {"A;;0" + zeros, "field 1 ('') is not a number"},
      {"A;0;long" + zeros, "field 2 ('long') is not a number"},
      {"A;0;99999999999999999999" + zeros, "field 2 ('99999999999999999999') is out of range"},
      {"A;0;0;0;0;0;0;0;0;0;0;0;0;0;x", "field 14 ('x') is not a number"},
  };
  for (const auto& c : cases) EXPECT_EQ(usecase_line_fault(c.line), c.fault) << c.line;
}

TEST(UsecaseCheck, ReportsNamesThatTheDecoderNeverReads) {
  std::map<std::string, std::string> settings{{"ATBID", "16"}, {"QBT2_7", "A;B"}};
  for (const char* id : {"0", "05", "0x5", "4294967295", "4294967296", "", "5 "}) {
    settings["QBT2_" + std::string(id)] = "A;0;0;0;0;0;0;0;0;0;0;0;0;0;0";
  }
  EXPECT_THAT(check_usecase_settings(settings),
              testing::ElementsAre("QBT2_7: 2 fields instead of 15; its rows say Unknown",
                                   "QBT2_ and 4 more settings: the decoder never reads them, ids "
                                   "must be plain decimal"));
}

TEST(UsecaseCheck, OneLineForManyOfAKind) {
  const std::string zeros = ";0;0;0;0;0;0;0;0;0;0;0;0";
  std::map<std::string, std::string> settings{{"QBT2_5", "A;1 ;0x10 " + zeros},
                                              {"QBT2_300", "A;1;2d00" + zeros}};
  const std::string advice = "; numbers are decimal, or hexadecimal after 0x";
  const std::string one = "QBT2_300: field 2 ('2d00') is read as 2";
  EXPECT_THAT(check_usecase_settings(settings), testing::ElementsAre(one + advice));
  settings["QBT2_4"] = "A;1;09" + zeros;  // octal
  EXPECT_THAT(check_usecase_settings(settings),
              testing::ElementsAre("masters 4, 300 have numbers that are read in part" + advice +
                                   " (" + one + ")"));
  settings.clear();
  for (int id = 0; id < 1000; ++id)
    settings["QBT2_" + std::to_string(id + id / 40)] = std::string("A");
  EXPECT_THAT(
      check_usecase_settings(settings),
      testing::ElementsAre(testing::AllOf(
          testing::StartsWith("masters 0-39, 41-80, 82-121,"),
          testing::HasSubstr(", 779-818 and 200 more have settings that the decoder cannot read"),
          testing::EndsWith("Unknown (QBT2_0: 1 field instead of 15)"))));
}

}  // namespace
}  // namespace qbt2
