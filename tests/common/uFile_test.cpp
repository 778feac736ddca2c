#include "common/source/source_utilities/uFile.h"

#include <fcntl.h>

#include <array>

#include "tests/common/common_test_support.h"

using common_test::ReadFile;
using KZ_DVT::uFile;

TEST(UFile, WriteReadTruncate) {
  const common_test::TempDirectory directory;
  const std::string path = directory / "file";
  uFile file;
  ASSERT_TRUE(file.Open(path.c_str(), "w+"));
  EXPECT_TRUE(file.Write("abcdef", 6));
  EXPECT_TRUE(file.Truncate(2));
  EXPECT_TRUE(file.Write("X", 1));
  EXPECT_TRUE(file.Flush());
  EXPECT_EQ(ReadFile(path), "abX");
  EXPECT_FALSE(file.Truncate(~std::uint64_t{0}));
  EXPECT_TRUE(file.Close());

  ASSERT_TRUE(file.Open(path.c_str(), "r"));
  std::array<char, 8> data = {};
  EXPECT_EQ(file.Read(data.data(), data.size()), 3U);
  EXPECT_STREQ(data.data(), "abX");
}

TEST(UFile, FailuresAreAnswers) {
  const common_test::TempDirectory directory;
  uFile file;
  EXPECT_FALSE(file.Open((directory / "missing/file").c_str(), "w"));
  EXPECT_FALSE(file.Open(nullptr, "w"));
  EXPECT_FALSE(file.IsOpen());
  char byte = 0;
  EXPECT_FALSE(file.Write(&byte, 1));
  EXPECT_EQ(file.Read(&byte, 1), 0U);
  EXPECT_FALSE(file.Flush());
  EXPECT_FALSE(file.Truncate(0));
  EXPECT_FALSE(file.Close());

  ASSERT_TRUE(file.Open("/dev/full", "w"));
  EXPECT_TRUE(file.Write(&byte, 1)) << "buffered";
  EXPECT_FALSE(file.Close()) << "the disk was full";
  EXPECT_FALSE(file.IsOpen());
}
