#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "host/base/input_file.h"
#include "host/capture/framing_chooser.h"
#include "host/capture/sample_batch.h"

/// From an input to samples: reads a capture piece by piece, whatever it is wrapped in, and hands
/// out the samples of each piece. One thread; memory does not depend on the capture's size.
namespace qbt2 {

enum class CaptureFormat : std::uint8_t {
  kSamples,  ///< the plug-in's samples, back to back
  kStp,      ///< a STP version 2 stream
  kFrames,   ///< 16-byte CoreSight formatter frames around STP
};
inline constexpr int kCaptureFormatCount = 3;
/// "samples", "stp", "frames".
std::string_view capture_format_name(CaptureFormat format);

/// What the input looks like from its first bytes; empty when it looks like none of them.
std::optional<CaptureFormat> detect_capture_format(std::span<const std::uint8_t> first_bytes);
/// How many first bytes are worth looking at.
inline constexpr std::size_t kDetectionBytes = std::size_t{256} << 10;

/// Where every byte of a capture went. For STP and frames: bytes = bytes_framing +
/// bytes_other_sources + stp_bytes, and bytes_skipped of the stp_bytes were not trusted.
struct CaptureCounts {
  std::uint64_t bytes = 0;
  std::uint64_t bytes_framing = 0;
  std::uint64_t bytes_other_sources = 0;
  std::uint64_t stp_bytes = 0;
  std::uint64_t stp_packets = 0;
  std::uint64_t stp_async_packets = 0;
  std::uint64_t stp_sync_losses = 0;
  std::uint64_t bytes_skipped = 0;
  std::uint64_t damages = 0;  ///< losses of synchronisation, a sample cut short
  AssemblyCounts assembly;

  CaptureCounts& operator+=(const CaptureCounts& other);
};

struct CaptureOptions {
  std::optional<Framing> framing;         ///< empty: choose
  std::optional<std::uint8_t> source_id;  ///< frames: empty: the only one present
  std::uint64_t clock_hz = 0;
  std::vector<std::uint16_t> masters;
  /// Told of each damaged place, with its byte of the input, as it is met.
  std::function<void(std::uint64_t offset, std::string_view reason)> on_damage;
  /// Told of what a user should know and what is no damage.
  std::function<void(std::string_view text)> on_notice;
};

class CaptureReader {
 public:
  virtual ~CaptureReader() = default;
  /// Reads the next piece and appends its samples, perhaps none, to `batch`. False when the input
  /// had ended before. Throws Error(kInput) where the input cannot be read.
  virtual bool next(SampleBatch& batch) = 0;
  /// Bytes of the input read so far.
  virtual std::uint64_t position() const = 0;
  /// Complete once next() has answered false.
  virtual CaptureCounts counts() const = 0;
};

/// `input` must outlive the reader. Throws Error(kUsage) when frames hold several sources and none
/// was chosen; the line lists their ids.
std::unique_ptr<CaptureReader> make_capture_reader(InputFile& input, CaptureFormat format,
                                                   const CaptureOptions& options);

}  // namespace qbt2
