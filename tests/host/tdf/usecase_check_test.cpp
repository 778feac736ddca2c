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
      {"", "1 fields instead of 15"},
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
  const std::string never = ": the decoder never reads it, ids must be plain decimal";
  EXPECT_THAT(check_usecase_settings(settings),
              testing::UnorderedElementsAre(
                  "QBT2_05" + never, "QBT2_0x5" + never, "QBT2_4294967296" + never, "QBT2_" + never,
                  "QBT2_5 " + never, "QBT2_7: 2 fields instead of 15; its rows say Unknown"));
}

}  // namespace
}  // namespace qbt2
