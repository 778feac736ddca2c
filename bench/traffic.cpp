#include "bench/traffic.h"

#include <cstring>

#include "host/device/settings_text.h"
#include "interfaces/sample_format.h"

namespace qbt2::bench {
namespace {

using namespace Kz::Dvt::Trace::SampleFormat;

// The decoder may read a whole word after a sample's last length byte.
constexpr std::size_t kSlackBytes = 8;

void append_sample(SampleBatch& batch, const GeneratedMessage& message) {
  SampleHead head;
  head.offset = message.offset;
  head.timestamp = message.timestamp.value_or(0);
  head.has_timestamp = message.timestamp.has_value();
  head.master = message.master;
  head.begin = static_cast<std::uint32_t>(batch.bytes.size());
  head.size =
      static_cast<std::uint32_t>(Kz::Dvt::Trace::SampleFormat::SampleBytes(message.words.count));
  std::uint8_t* at = batch.bytes.room(head.size);
  batch.bytes.add(head.size);
  at[kProbeIdOffset] = ProbeOfMaster(message.master);
  at[kPayloadBytesOffset] = static_cast<std::uint8_t>(head.size - kHeaderBytes);
  at += kHeaderBytes;
  for (const std::uint32_t word : message.words.view()) {
    *at = kWordLength;
    std::memcpy(at + 1, &word, sizeof word);
    at += kPairBytes;
  }
  batch.heads.push_back(head);
}

}  // namespace

Traffic make_traffic(const TrafficMix& mix, std::uint64_t messages) {
  GeneratorOptions options;
  options.traffic.mix = mix;
  options.messages = messages;
  CaptureGenerator generator(options);
  Traffic traffic;
  traffic.settings = generator.settings();
  generator.run(
      [&](std::span<const std::uint8_t> piece) {
        traffic.stream.insert(traffic.stream.end(), piece.begin(), piece.end());
      },
      [&](const GeneratedMessage& message) { append_sample(traffic.samples, message); });
  traffic.samples.bytes.room(kSlackBytes);
  return traffic;
}

LoadedUnit::LoadedUnit(const std::string& settings) {
  setup_ = std::make_unique<DecoderSetup>(read_plain_settings(settings));
  unit_ = DecoderLibrary().create_unit();
  catalogue_ = read_catalogue(*unit_);
  setup_->apply(*unit_);
}

std::vector<std::vector<std::uint8_t>> make_rows(const LoadedUnit& unit, Traffic& traffic) {
  std::vector<std::vector<std::uint8_t>> rows;
  std::vector<std::uint8_t> output(kRowBytes);
  for (std::size_t i = 0; i < traffic.samples.heads.size(); ++i) {
    std::uint32_t produced = 0;
    unit->ProcessSamples(0, traffic.sample(i), kRowBytes, output.data(), produced);
    rows.emplace_back(output.begin(), output.begin() + produced);
  }
  return rows;
}

}  // namespace qbt2::bench
