// The single stages side by side with libopencsd listing the packets of the same bytes, and with a
// plain copy: each contender runs once in every round, so that other load on the machine meets all
// of them alike, and what is printed is the median over the rounds of the ratios within a round.
// The clock is the thread's own processor time.
//
// usage: stage_race CAPTURE [ROUNDS]
// Prints "NAME VALUE" lines for bench/side_by_side.

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "bench/traffic.h"
#include "host/base/input_file.h"
#include "host/stp/stp_reader.h"
#include "tests/support/opencsd_stm.h"

namespace qbt2::bench {
namespace {

constexpr std::size_t kChunkBytes = std::size_t{64} << 10;
constexpr std::size_t kReaderBytes = std::size_t{16} << 20;
constexpr std::uint64_t kMessages = 1024;  // samples and rows: 0.3 MB, within a core's own cache
constexpr int kPasses = 512;               // over the messages, for a time that can be measured
constexpr int kOpencsdPasses = 32;

double thread_seconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Keeps what was computed from being optimised away.
void keep(std::uint64_t value) {
  asm volatile("" : : "r"(value) : "memory");
}

struct SummingSink {
  std::uint64_t sum = 0;
  void on_packet(const StpPacket& packet) { sum += packet.value + packet.timestamp; }
  void on_sync_lost(std::uint64_t, StpSyncLoss) {}
  void on_skipped(const StpSkippedRange&) {}
};

void read_stp(std::span<const std::uint8_t> bytes) {
  StpReader reader;
  SummingSink sink;
  while (!bytes.empty()) {
    const std::size_t size = std::min(bytes.size(), kChunkBytes);
    reader.push(bytes.first(size), sink);
    bytes = bytes.subspan(size);
  }
  keep(sink.sum + reader.counters().packets);
}

void list_with_opencsd(std::span<const std::uint8_t> bytes) {
  test::OpencsdStm lister(
      false, 0x10, [](void*, std::uint64_t, const ocsd_stm_pkt&) {}, nullptr);
  if (!lister.push(bytes)) throw std::runtime_error("libopencsd gave up");
  lister.finish();
}

/// One pass over all messages.
void decode(const LoadedUnit& unit, Traffic& traffic, std::uint8_t* output) {
  std::uint32_t produced = 0;
  for (const SampleHead& head : traffic.samples.heads) {
    unit->ProcessSamples(0, traffic.samples.bytes.data() + head.begin, kRowBytes, output, produced);
  }
  keep(produced);
}

/// The same bytes moved: the sample in, the row out.
void copy(const Traffic& traffic, const std::vector<std::vector<std::uint8_t>>& rows,
          std::uint8_t* input, std::uint8_t* output) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const SampleHead& head = traffic.samples.heads[i];
    std::memcpy(input, traffic.samples.bytes.data() + head.begin, head.size);
    std::memcpy(output, rows[i].data(), rows[i].size());
    asm volatile("" : : "r"(input), "r"(output) : "memory");
  }
}

struct Contender {
  std::string name;
  int passes;  // a round's time is divided by them
  std::function<void()> run;
  std::vector<double> seconds;
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double median_ratio(const Contender& above, const Contender& below) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < above.seconds.size(); ++i) {
    ratios.push_back(above.seconds[i] / below.seconds[i]);
  }
  return median(ratios);
}

void race(std::vector<Contender*> contenders, int rounds) {
  for (Contender* contender : contenders) contender->run();  // caches and pages warm
  for (int round = 0; round < rounds; ++round) {
    for (Contender* contender : contenders) {
      const double begin = thread_seconds();
      for (int pass = 0; pass < contender->passes; ++pass) contender->run();
      contender->seconds.push_back((thread_seconds() - begin) / contender->passes);
    }
  }
}

void print(const std::string& name, double value) {
  std::printf("%s %.4g\n", name.c_str(), value);
}

void race_readers(const std::string& path, int rounds) {
  InputFile file(path);
  std::vector<std::uint8_t> bytes(kReaderBytes);
  std::size_t size = 0;
  while (const std::size_t got = file.read(std::span(bytes).subspan(size))) size += got;
  bytes.resize(size);
  Contender reader{"stp_reader", 1, [&] { read_stp(bytes); }, {}};
  Contender opencsd{"opencsd", 1, [&] { list_with_opencsd(bytes); }, {}};
  std::vector<std::uint8_t> target(bytes.size());
  Contender memory{"memcpy",
                   1,
                   [&] {
                     std::memcpy(target.data(), bytes.data(), bytes.size());
                     keep(target[bytes.size() / 2]);
                   },
                   {}};
  race({&reader, &opencsd, &memory}, rounds);
  const auto megabytes = static_cast<double>(bytes.size()) / 1e6;
  for (const Contender* one : {&reader, &opencsd, &memory}) {
    print(one->name + "_MB_per_s", megabytes / median(one->seconds));
  }
  print("stp_reader_over_opencsd", median_ratio(opencsd, reader));
}

void race_decoder(const std::string& kind, const TrafficMix& mix, int rounds) {
  Traffic traffic = make_traffic(mix, kMessages);
  const LoadedUnit unit(traffic.settings);
  const auto rows = make_rows(unit, traffic);
  std::vector<std::uint8_t> input(kRowBytes);
  std::vector<std::uint8_t> output(kRowBytes);
  Contender decoder{kind, kPasses, [&] { decode(unit, traffic, output.data()); }, {}};
  Contender opencsd{"opencsd", kOpencsdPasses, [&] { list_with_opencsd(traffic.stream); }, {}};
  Contender copier{"copy", kPasses, [&] { copy(traffic, rows, input.data(), output.data()); }, {}};
  race({&decoder, &opencsd, &copier}, rounds);
  const double ns_per_message = 1e9 / static_cast<double>(rows.size());
  print(kind + "_ns", median(decoder.seconds) * ns_per_message);
  print(kind + "_opencsd_ns", median(opencsd.seconds) * ns_per_message);
  print(kind + "_copy_ns", median(copier.seconds) * ns_per_message);
  print(kind + "_over_opencsd", median_ratio(decoder, opencsd));
  print(kind + "_over_copy", median_ratio(decoder, copier));
}

}  // namespace
}  // namespace qbt2::bench

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: stage_race CAPTURE [ROUNDS]\n");
    return 2;
  }
  const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 9;
  try {
    qbt2::bench::race_readers(argv[1], rounds);
    qbt2::bench::race_decoder("throughput", qbt2::bench::kThroughputOnly, rounds);
    qbt2::bench::race_decoder("latency", qbt2::bench::kLatencyOnly, rounds);
    qbt2::bench::race_decoder("transaction", qbt2::bench::kTransactionsOnly, rounds);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "stage_race: %s\n", error.what());
    return 1;
  }
  return 0;
}
