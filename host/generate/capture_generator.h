#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "host/capture/capture_format.h"
#include "host/coresight/trace_funnel.h"
#include "host/generate/stp_message_encoder.h"
#include "host/generate/traffic_model.h"

/// Synthetic captures: traffic of a small system-on-chip in the form in which a trace receiver
/// stores it, damaged on request, with the settings that decode it. Equal options give equal bytes
/// on every machine. Written piece by piece, so memory does not depend on the capture's size. One
/// thread.
namespace qbt2 {

struct GeneratorOptions {
  TrafficOptions traffic;
  /// The capture ends with the message that reaches either; 0 for no limit, but not both. Bytes are
  /// counted before damage.
  std::uint64_t messages = 0;
  std::uint64_t bytes = 0;
  CaptureFormat format = CaptureFormat::kStp;
  /// Its frequency_hz is taken from the traffic's clock when frequency_packet is set.
  StpEncoding encoding;
  bool frequency_packet = true;
  std::uint32_t damaged_places = 0;
  std::uint8_t atb_id = 0x10;       ///< frames: 1 to kLargestTraceId
  std::uint32_t other_sources = 0;  ///< frames: sources of other data between ours, at most
                                    ///< kMostOtherSources
};

/// The ground truth: a message as it was written, before any damage.
struct GeneratedMessage {
  TrafficKind kind = TrafficKind::kTransaction;
  std::uint16_t master = 0;  ///< full id; a sample holds only its low 8 bits
  MessageWords words;
  /// Newest timestamp in the stream at the end of the message. Under the framing marker-first a
  /// reader learns only later that the message has ended, so it may see a newer one.
  std::optional<std::uint64_t> timestamp;
  /// Byte at which the first packet or the sample begins: of the STP stream for STP and frames, of
  /// the capture for samples.
  std::uint64_t offset = 0;
};

struct GeneratorSummary {
  std::uint64_t messages = 0;
  std::uint64_t throughput = 0;
  std::uint64_t latency = 0;
  std::uint64_t transactions = 0;
  std::uint64_t bytes = 0;  ///< of the capture, after damage
  std::uint32_t damaged_places = 0;
  std::uint64_t last_tick = 0;
};

class CaptureGenerator {
 public:
  /// Throws Error(kUsage) for options that contradict each other.
  explicit CaptureGenerator(const GeneratorOptions& options);

  using Sink = std::function<void(std::span<const std::uint8_t>)>;
  using Observer = std::function<void(const GeneratedMessage&)>;
  /// Passes the whole capture to `sink`, piece by piece, and each message to `observer`. What
  /// either throws ends the run. Call it once.
  GeneratorSummary run(const Sink& sink, const Observer& observer = {});

  /// The settings that belong to the capture, as KEY=VALUE lines.
  std::string settings() const;

 private:
  bool enough(std::uint64_t bytes) const;
  TrafficMessage next_message();
  void run_samples(const Sink& sink, const Observer& observer);
  void run_stp(const Sink& sink, const Observer& observer);

  GeneratorOptions options_;
  TrafficModel model_;
  GeneratorSummary summary_;
};

}  // namespace qbt2
