#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

/// Runs a fuzz target, which aborts on a fault, over its seeds: whole, cut at every byte and with
/// every byte changed.
namespace qbt2::test {

using FuzzTarget = int (*)(const std::uint8_t* data, std::size_t size);

inline void run_over_seeds(FuzzTarget target, const std::filesystem::path& folder) {
  // Vectors of exact size let the address sanitizer see a read past the end.
  const auto run = [target](const std::vector<std::uint8_t>& bytes) {
    EXPECT_EQ(target(bytes.data(), bytes.size()), 0);
  };
  std::size_t seeds = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    SCOPED_TRACE(entry.path().filename().string());
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<std::uint8_t> seed(std::istreambuf_iterator<char>(file), {});
    run(seed);
    const std::size_t step = 1 + seed.size() / 400;  // long seeds are not tried at every byte
    for (std::size_t n = 0; n < seed.size(); n += step) {
      run({seed.data(), seed.data() + n});
      for (const int bits : {0xFF, 0x0F, 0x10, 0x04}) {
        std::vector<std::uint8_t> changed = seed;
        changed[n] = static_cast<std::uint8_t>(seed[n] ^ bits);
        run(changed);
      }
    }
    ++seeds;
  }
  EXPECT_GE(seeds, 3U);
}

}  // namespace qbt2::test
