#include "host/generate/capture_generator.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/base/use_case_setting.h"
#include "host/coresight/trace_funnel.h"
#include "host/generate/damage_injector.h"
#include "interfaces/sample_format.h"

namespace qbt2 {
namespace {

namespace format = Kz::Dvt::Trace::SampleFormat;

/// Bytes collected before the sink is called.
constexpr std::size_t kPieceBytes = std::size_t{64} << 10;
/// Smaller for frames: how much a piece grows in them is known only after wrapping.
constexpr std::size_t kFramesPieceBytes = std::size_t{8} << 10;

StpEncoding encoding_of(const GeneratorOptions& options) {
  StpEncoding encoding = options.encoding;
  encoding.frequency_hz = options.frequency_packet ? options.traffic.clock_hz : 0;
  return encoding;
}

void append_sample(const TrafficMessage& message, std::vector<std::uint8_t>& out) {
  std::array<std::uint8_t, format::kHeaderBytes> header{};
  header[format::kProbeIdOffset] = format::ProbeOfMaster(message.master);
  header[format::kPayloadBytesOffset] =
      static_cast<std::uint8_t>(message.words.count * format::kPairBytes);
  out.insert(out.end(), header.begin(), header.end());
  for (const std::uint32_t word : message.words.view()) {
    out.push_back(format::kWordLength);
    for (unsigned shift = 0; shift < 32; shift += 8) {
      out.push_back(static_cast<std::uint8_t>(word >> shift));
    }
  }
}

/// Damages the pieces as requested, passes them to the sink and counts their bytes.
class Output {
 public:
  Output(const GeneratorOptions& options, const CaptureGenerator::Sink& sink)
      : options_(options), sink_(sink), damage_(options.damaged_places, ~options.traffic.seed) {}

  void write(std::vector<std::uint8_t> piece, std::uint64_t messages) {
    const bool by_messages = options_.messages != 0;
    const std::uint64_t done = by_messages ? messages : bytes_ + piece.size();
    pass_on(std::move(piece), done, by_messages ? options_.messages : options_.bytes);
  }
  void finish(std::vector<std::uint8_t> piece, GeneratorSummary& summary) {
    pass_on(std::move(piece), 1, 1);
    summary.bytes = bytes_out_;
    summary.damaged_places = damage_.places_done();
  }
  /// Before damage.
  std::uint64_t bytes() const { return bytes_; }

 private:
  void pass_on(std::vector<std::uint8_t> piece, std::uint64_t done, std::uint64_t total) {
    const std::uint64_t begin = bytes_;
    bytes_ += piece.size();
    damage_.apply(piece, begin, done, total);
    bytes_out_ += piece.size();
    if (!piece.empty()) sink_(piece);
  }

  const GeneratorOptions& options_;
  const CaptureGenerator::Sink& sink_;
  DamageInjector damage_;
  std::uint64_t bytes_ = 0;
  std::uint64_t bytes_out_ = 0;
};

}  // namespace

CaptureGenerator::CaptureGenerator(const GeneratorOptions& options)
    : options_(options), model_(options.traffic) {
  const auto refuse = [](const std::string& reason) { throw Error(ErrorCode::kUsage, reason); };
  if (options.messages == 0 && options.bytes == 0) {
    refuse("the capture has no end: give its messages or its bytes");
  }
  if (options.atb_id == 0 || options.atb_id > kLargestTraceId) {
    refuse("the ATB id must be from 1 to " + std::to_string(kLargestTraceId));
  }
  if (options.other_sources > kMostOtherSources) {
    refuse("at most " + std::to_string(kMostOtherSources) + " other sources");
  }
  if (options.other_sources != 0 && options.format != CaptureFormat::kFrames) {
    refuse("other sources need the input format frames");
  }
}

GeneratorSummary CaptureGenerator::run(const Sink& sink, const Observer& observer) {
  if (options_.format == CaptureFormat::kSamples) {
    run_samples(sink, observer);
  } else {
    run_stp(sink, observer);
  }
  return summary_;
}

/// Whether the capture, `bytes` long before damage, is complete.
bool CaptureGenerator::enough(std::uint64_t bytes) const {
  return (options_.messages != 0 && summary_.messages >= options_.messages) ||
         (options_.bytes != 0 && bytes >= options_.bytes);
}

TrafficMessage CaptureGenerator::next_message() {
  const TrafficMessage message = model_.next();
  ++summary_.messages;
  summary_.throughput += message.kind == TrafficKind::kThroughput ? 1 : 0;
  summary_.latency += message.kind == TrafficKind::kLatency ? 1 : 0;
  summary_.transactions += message.kind == TrafficKind::kTransaction ? 1 : 0;
  summary_.last_tick = message.ticks;
  return message;
}

void CaptureGenerator::run_samples(const Sink& sink, const Observer& observer) {
  Output output(options_, sink);
  std::vector<std::uint8_t> piece;
  while (!enough(output.bytes() + piece.size())) {
    const std::uint64_t offset = output.bytes() + piece.size();
    const TrafficMessage message = next_message();
    append_sample(message, piece);
    if (observer) observer({message.kind, message.master, message.words, std::nullopt, offset});
    if (piece.size() >= kPieceBytes) output.write(std::exchange(piece, {}), summary_.messages);
  }
  output.finish(std::move(piece), summary_);
}

void CaptureGenerator::run_stp(const Sink& sink, const Observer& observer) {
  Output output(options_, sink);
  StpMessageEncoder encoder(encoding_of(options_));
  const bool framed = options_.format == CaptureFormat::kFrames;
  const std::size_t piece_bytes = framed ? kFramesPieceBytes : kPieceBytes;
  TraceFunnel funnel(options_.atb_id, options_.other_sources, ~options_.traffic.seed);
  const auto wrap = [&](std::vector<std::uint8_t> stp) {
    return framed ? funnel.merge(stp) : std::move(stp);
  };
  while (!enough(output.bytes() + encoder.bytes_waiting())) {
    const TrafficMessage message = next_message();
    const StpMessageEncoder::Place place = encoder.append(message);
    if (observer) {
      observer({message.kind, message.master, message.words, place.timestamp, place.offset});
    }
    if (encoder.bytes_waiting() >= piece_bytes) {
      output.write(wrap(encoder.take()), summary_.messages);
    }
  }
  encoder.finish();
  output.write(wrap(encoder.take()), summary_.messages);
  output.finish(framed ? funnel.finish() : std::vector<std::uint8_t>(), summary_);
}

std::string CaptureGenerator::settings() const {
  std::string text =
      "# Settings of a synthetic capture, for --config. A QBT2_<master> line holds the master's "
      "name,\n"
      "# a number, the sampling window in clock cycles, four numbers, and two filters of four\n"
      "# registers each: the first lets all pass, the second transactions of interest (reads).\n"
      "STM_STP_Version=2\n";
  text += "STM_DTC_fprocess_clock_hz=" + std::to_string(options_.traffic.clock_hz) + "\n";
  if (options_.format == CaptureFormat::kFrames) {
    text += "ATBID=" + std::to_string(options_.atb_id) + "\n";
  }
  for (const TrafficModel::Master& master : model_.masters()) {
    text += use_case_setting_name(master.id) + "=" + master.name + ";1;" +
            hex_text(model_.sampling_period()) + ";0;0;0;0;0;0;0;0;0;0;0x1;0\n";
  }
  return text;
}

}  // namespace qbt2
