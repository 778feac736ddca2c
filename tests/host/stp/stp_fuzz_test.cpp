#include <vector>

#include "tests/host/stp/random_stp.h"
#include "tests/support/fuzz_seeds.h"

extern "C" int fuzz_stp(const std::uint8_t* data, std::size_t size);
extern "C" int fuzz_frames(const std::uint8_t* data, std::size_t size);

TEST(StpFuzzSeeds, Stp) {
  qbt2::test::run_over_seeds(fuzz_stp, QBT2_FUZZ_SEED_DIR "/fuzz_stp");
}
TEST(StpFuzzSeeds, Frames) {
  qbt2::test::run_over_seeds(fuzz_frames, QBT2_FUZZ_SEED_DIR "/fuzz_frames");
}

// Mostly synchronization packets, whole and cut; the target aborts on a failure.
TEST(StpFuzz, FramesOfGarbage) {
  for (std::uint64_t seed = 1; seed <= 300; ++seed) {
    qbt2::test::RandomStp random(seed);
    std::vector<std::uint8_t> input(2 + random.below(400));
    for (std::uint8_t& byte : input) {
      const std::uint64_t kind = random.below(6);
      byte = kind < 3 ? 0xFF : kind == 3 ? 0x7F : static_cast<std::uint8_t>(random.value());
    }
    input[0] = static_cast<std::uint8_t>(random.value());
    fuzz_frames(input.data(), input.size());
  }
}
