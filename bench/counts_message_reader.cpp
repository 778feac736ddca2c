// Instructions of reader and assembler for a fixed capture of all kinds of messages in equal parts;
// see script/check_counts.
//
// usage: counts_message_reader MASTERS

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

#include "host/capture/stp_message_reader.h"
#include "host/generate/capture_generator.h"

/// What is counted: everything from the call to the return.
extern "C" [[gnu::noinline]] void counted_region(qbt2::StpMessageReader& reader,
                                                 std::span<const std::uint8_t> stream,
                                                 qbt2::SampleBatch& batch) {
  while (!stream.empty()) {
    const auto piece = stream.first(std::min(stream.size(), qbt2::kCapturePieceBytes));
    batch.clear();
    reader.push(piece, batch);
    stream = stream.subspan(piece.size());
  }
}

int main(int argc, char** argv) {
  const int masters = argc == 2 ? std::atoi(argv[1]) : 0;
  if (masters < 1 || masters > 65535) return 2;
  qbt2::GeneratorOptions options;
  options.traffic.mix = {1, 1, 1};
  options.traffic.masters.clear();
  for (int id = 0; id < masters; ++id) {
    options.traffic.masters.push_back(static_cast<std::uint16_t>(id));
  }
  options.messages = 200000;
  std::vector<std::uint8_t> stream;
  qbt2::CaptureGenerator(options).run([&stream](std::span<const std::uint8_t> piece) {
    stream.insert(stream.end(), piece.begin(), piece.end());
  });
  qbt2::CaptureOptions reading;
  reading.framing = qbt2::Framing::kFlag;
  qbt2::StpMessageReader reader(reading, nullptr);
  qbt2::SampleBatch batch;
  counted_region(reader, stream, batch);
  qbt2::CaptureCounts counts;
  reader.add_to(counts);
  std::printf("%llu message\n", static_cast<unsigned long long>(counts.assembly.messages));
  return 0;
}
