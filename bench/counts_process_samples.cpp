// Instructions of ProcessSamples for messages of six words; see script/check_counts.

#include <cstdio>
#include <vector>

#include "bench/traffic.h"

using qbt2::bench::kRowBytes;
using qbt2::bench::LoadedUnit;
using qbt2::bench::Traffic;

/// What is counted: everything from the call to the return.
extern "C" [[gnu::noinline]] std::uint64_t counted_region(const LoadedUnit& unit, Traffic& traffic,
                                                          std::uint8_t* output) {
  std::uint64_t bytes = 0;
  for (const qbt2::SampleHead& head : traffic.samples.heads) {
    std::uint32_t produced = 0;
    unit->ProcessSamples(0, traffic.samples.bytes.data() + head.begin, kRowBytes, output, produced);
    bytes += produced;
  }
  return bytes;
}

int main() {
  Traffic traffic = qbt2::bench::make_traffic(qbt2::bench::kTransactionsOnly, 20000);
  const LoadedUnit unit(traffic.settings);
  std::vector<std::uint8_t> output(kRowBytes);
  const std::uint64_t bytes = counted_region(unit, traffic, output.data());
  std::printf("%zu message\n", traffic.samples.heads.size());
  return bytes == 0 ? 1 : 0;
}
