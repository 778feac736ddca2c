// Instructions of the STP reader for a fixed stream; see script/check_counts.

#include <cstdio>

#include "bench/traffic.h"
#include "host/stp/stp_reader.h"

namespace {

struct SummingSink {
  std::uint64_t sum = 0;
  void on_packet(const qbt2::StpPacket& packet) { sum += packet.value + packet.timestamp; }
  void on_sync_lost(std::uint64_t, qbt2::StpSyncLoss) {}
  void on_skipped(const qbt2::StpSkippedRange&) {}
};

}  // namespace

/// What is counted: everything from the call to the return.
extern "C" [[gnu::noinline]] void counted_region(qbt2::StpReader& reader, SummingSink& sink,
                                                 const std::vector<std::uint8_t>& bytes) {
  reader.push(bytes, sink);
}

int main() {
  const auto traffic = qbt2::bench::make_traffic({}, 20000);
  qbt2::StpReader reader;
  SummingSink sink;
  counted_region(reader, sink, traffic.stream);
  std::printf("%llu packet\n", static_cast<unsigned long long>(reader.counters().packets));
  return sink.sum == 0 ? 1 : 0;
}
