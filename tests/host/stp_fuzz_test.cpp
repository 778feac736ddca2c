// The fuzz targets of the STP reader and the frame demultiplexer over their seeds, whole and
// damaged. They abort on what they object to.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gtest/gtest.h"

using FuzzTarget = int (*)(const std::uint8_t* data, std::size_t size);
extern "C" int fuzz_stp(const std::uint8_t* data, std::size_t size);
extern "C" int fuzz_frames(const std::uint8_t* data, std::size_t size);

namespace qbt2 {
namespace {

void run_over_seeds(FuzzTarget target, const std::string& name) {
  std::size_t seeds = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(QBT2_FUZZ_SEED_DIR "/") + name)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> seed(std::istreambuf_iterator<char>(file), {});
    SCOPED_TRACE(entry.path().filename().string());
    EXPECT_EQ(target(seed.data(), seed.size()), 0);
    for (std::size_t n = 0; n < seed.size(); ++n) {
      EXPECT_EQ(target(seed.data(), n), 0);
      std::vector<std::uint8_t> changed = seed;
      for (const int bits : {0xFF, 0x0F, 0x10}) {
        changed[n] = static_cast<std::uint8_t>(seed[n] ^ bits);
        EXPECT_EQ(target(changed.data(), changed.size()), 0);
      }
    }
    ++seeds;
  }
  EXPECT_GE(seeds, 3U);
}

TEST(StpFuzzSeeds, Stp) {
  run_over_seeds(fuzz_stp, "fuzz_stp");
}
TEST(StpFuzzSeeds, Frames) {
  run_over_seeds(fuzz_frames, "fuzz_frames");
}

}  // namespace
}  // namespace qbt2
