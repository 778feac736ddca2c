#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

// The fuzz target of the record stream, which aborts on what it objects to.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace qbt2::test {
namespace {

TEST(RowFuzzSeeds, PassWholeCutShortAndWithOneByteChanged) {
  std::size_t seeds = 0;
  for (const auto& entry : std::filesystem::directory_iterator(QBT2_FUZZ_RECORD_SEEDS)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> seed(std::istreambuf_iterator<char>(file), {});
    for (std::size_t n = 0; n < seed.size(); ++n) {
      SCOPED_TRACE(entry.path().filename().string() + " " + std::to_string(n));
      const std::vector<std::uint8_t> cut(seed.data(), seed.data() + n);
      EXPECT_EQ(LLVMFuzzerTestOneInput(cut.data(), cut.size()), 0);
      std::vector<std::uint8_t> changed = seed;
      changed[n] = static_cast<std::uint8_t>(changed[n] ^ 0xFF);
      EXPECT_EQ(LLVMFuzzerTestOneInput(changed.data(), changed.size()), 0);
    }
    EXPECT_EQ(LLVMFuzzerTestOneInput(seed.data(), seed.size()), 0);
    ++seeds;
  }
  EXPECT_GE(seeds, 3U);
}

}  // namespace
}  // namespace qbt2::test
