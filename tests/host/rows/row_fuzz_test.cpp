#include "tests/support/fuzz_seeds.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

TEST(RowFuzzSeeds, Records) {
  qbt2::test::run_over_seeds(LLVMFuzzerTestOneInput, QBT2_FUZZ_RECORD_SEEDS);
}
