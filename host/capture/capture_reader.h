#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "host/base/input_file.h"
#include "host/capture/assembly_counts.h"
#include "host/capture/framing.h"
#include "host/capture/sample_batch.h"

/// From an input to samples: the interface of the capture readers, their options and their counts.
/// open_capture.h makes a reader. A reader belongs to one input and is used by one thread at a
/// time; its memory does not depend on the capture's size.
namespace qbt2 {

/// Bytes of the input that a capture reader reads at a time.
inline constexpr std::size_t kCapturePieceBytes = std::size_t{64} << 10;

/// Where every byte of a capture went. For STP and frames: bytes = bytes_framing +
/// bytes_other_sources + stp_bytes, and bytes_skipped of the stp_bytes were not trusted.
struct CaptureCounts {
  std::uint64_t bytes = 0;                ///< of the input, all of them
  std::uint64_t bytes_framing = 0;        ///< flags, IDs, padding and synchronization of frames
  std::uint64_t bytes_other_sources = 0;  ///< data of trace sources that were not decoded
  std::uint64_t stp_bytes = 0;
  std::uint64_t stp_packets = 0;  ///< ASYNC and NULL included
  std::uint64_t stp_async_packets = 0;
  std::uint64_t stp_sync_losses = 0;  ///< damage; not the bytes before the first ASYNC
  std::uint64_t bytes_skipped = 0;
  std::uint64_t damages = 0;  ///< losses of synchronization, cut frames, samples and files
  AssemblyCounts assembly;

  CaptureCounts& operator+=(const CaptureCounts& other);
};

/// Called for each damaged place, in order, with its offset in the input in bytes. May be empty.
using OnDamage = std::function<void(std::uint64_t offset, std::string_view reason)>;

/// To be called at the end of a capture: whether it is shorter than it was when it was opened,
/// which is damage and reported as such.
bool report_if_cut(const InputFile& input, const OnDamage& on_damage);

struct CaptureOptions {
  std::optional<Framing> framing;         ///< empty: chosen from the first packets
  std::optional<std::uint8_t> source_id;  ///< frames: a trace ID; empty: the only source present
  /// Rate of the STP timestamps in Hz until a FREQ packet gives it; 0: not known.
  std::uint64_t clock_hz = 0;
  /// Masters whose messages become samples, full STP ids; empty: all.
  std::vector<std::uint16_t> masters;
  OnDamage on_damage;
  /// Called with a line for the user about something that is not damage. May be empty.
  std::function<void(std::string_view text)> on_notice;
};

/// Both callbacks run inside next() (a notice also while the reader is made), on the caller's
/// thread; their texts are valid during the call only.
class CaptureReader {
 public:
  virtual ~CaptureReader() = default;
  /// Reads the next piece of the input and appends its samples, perhaps none, to `batch`. False
  /// when the input had ended before the call. Throws Error(kInput) when the input cannot be read.
  virtual bool next(SampleBatch& batch) = 0;
  /// Bytes of the input read so far.
  virtual std::uint64_t position() const = 0;
  /// Complete once next() has returned false.
  virtual CaptureCounts counts() const = 0;
};

}  // namespace qbt2
