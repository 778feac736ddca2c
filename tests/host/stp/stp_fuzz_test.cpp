#include "tests/support/fuzz_seeds.h"

extern "C" int fuzz_stp(const std::uint8_t* data, std::size_t size);
extern "C" int fuzz_frames(const std::uint8_t* data, std::size_t size);

TEST(StpFuzzSeeds, Stp) {
  qbt2::test::run_over_seeds(fuzz_stp, QBT2_FUZZ_SEED_DIR "/fuzz_stp");
}
TEST(StpFuzzSeeds, Frames) {
  qbt2::test::run_over_seeds(fuzz_frames, QBT2_FUZZ_SEED_DIR "/fuzz_frames");
}
