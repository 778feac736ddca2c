// The fuzz targets of sample files and device descriptions, which abort on what they object to.
#include "tests/support/fuzz_seeds.h"

extern "C" int fuzz_samples(const std::uint8_t* data, std::size_t size);
extern "C" int fuzz_device(const std::uint8_t* data, std::size_t size);

namespace qbt2::test {
namespace {

TEST(HostFuzzSeeds, Samples) {
  run_over_seeds(fuzz_samples, QBT2_FUZZ_SEED_DIR "/fuzz_samples");
}

TEST(HostFuzzSeeds, Device) {
  run_over_seeds(fuzz_device, QBT2_FUZZ_SEED_DIR "/fuzz_device");
}

}  // namespace
}  // namespace qbt2::test
