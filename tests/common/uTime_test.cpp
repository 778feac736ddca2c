#include "common/source/source_utilities/uTime.h"

#include <gtest/gtest.h>

#include "tests/support/saved_environment.h"

using KZ_DVT::uTime;

TEST(UTime, FieldsAndFormats) {
  const qbt2::test::SavedEnvironment saved;
  setenv("TZ", "UTC0", 1);
  tzset();
  // 2026-07-04 05:06:07 UTC.
  const std::chrono::system_clock::time_point moment{std::chrono::seconds(1783141567)};
  const uTime time(moment + std::chrono::microseconds(8999));
  EXPECT_EQ(time.GetYear(), 2026);
  EXPECT_EQ(time.GetMonth(), 7);
  EXPECT_EQ(time.GetDay(), 4);
  EXPECT_EQ(time.Format("%m/%d/%y %H:%M:%S:%s"), "07/04/26 05:06:07:008");
  EXPECT_EQ(time.Format("%#s %%s %%%s %"), "8 %s %008 %");
  EXPECT_EQ(time.Format(""), "");
  EXPECT_EQ(time.Format(nullptr), "");
  EXPECT_EQ(time.Format(std::string(2000, 'x').c_str()), "");
  // Before 1970 the milliseconds still count up from the second.
  EXPECT_EQ(uTime(std::chrono::system_clock::time_point(std::chrono::milliseconds(-1)))
                .Format("%Y %S.%s"),
            "1969 59.999");
}
