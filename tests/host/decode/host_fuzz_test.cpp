// The fuzz targets of sample files and device descriptions over their seeds, whole and damaged.
// They abort on what they object to.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using FuzzTarget = int (*)(const std::uint8_t* data, std::size_t size);
extern "C" int fuzz_samples(const std::uint8_t* data, std::size_t size);
extern "C" int fuzz_device(const std::uint8_t* data, std::size_t size);

namespace qbt2 {
namespace {

/// Vectors of exact size, so that the address sanitizer sees a read behind the end.
void run(FuzzTarget target, const std::vector<std::uint8_t>& bytes) {
  EXPECT_EQ(target(bytes.data(), bytes.size()), 0);
}

std::size_t run_over_seeds(FuzzTarget target, const std::string& name) {
  std::size_t seeds = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(QBT2_FUZZ_SEED_DIR "/") + name)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> seed(std::istreambuf_iterator<char>(file), {});
    SCOPED_TRACE(entry.path().filename().string());
    run(target, seed);
    const std::size_t step = 1 + seed.size() / 400;  // long seeds are not tried at every byte
    for (std::size_t n = 0; n < seed.size(); n += step) {
      run(target, {seed.data(), seed.data() + n});
      for (const int bits : {0xFF, 0x04, 0x10}) {
        std::vector<std::uint8_t> changed = seed;
        changed[n] = static_cast<std::uint8_t>(seed[n] ^ bits);
        run(target, changed);
      }
    }
    ++seeds;
  }
  return seeds;
}

TEST(HostFuzzSeeds, Samples) {
  EXPECT_GE(run_over_seeds(fuzz_samples, "fuzz_samples"), 4U);
}

TEST(HostFuzzSeeds, Device) {
  EXPECT_GE(run_over_seeds(fuzz_device, "fuzz_device"), 3U);
}

}  // namespace
}  // namespace qbt2
