#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/base/input_file.h"
#include "host/coresight/frame_demultiplexer.h"
#include "host/stp/stp_reader.h"

/// What a capture contains, found by reading it once from front to back (frames of a regular file
/// twice), without assembling messages or decoding. Memory does not depend on the capture's size.
/// One thread.
namespace qbt2 {

/// Data packets of one master and channel.
struct StpSource {
  std::uint16_t master = 0;
  std::uint16_t channel = 0;
  std::uint64_t data_packets = 0;
};

/// Data packets of one master.
struct StpMaster {
  std::uint16_t id = 0;
  std::vector<std::uint32_t> channels;      ///< in rising order
  std::uint64_t data_packets = 0;           ///< of these channels
  std::uint64_t unlisted_data_packets = 0;  ///< of channels that are not listed
};

/// Packets, timestamps and sources of an STP stream.
struct StpInfo {
  std::uint64_t bytes = 0;
  std::array<std::uint64_t, kStpKindCount> packets{};  ///< by StpKind
  std::uint64_t sync_losses = 0;
  std::uint64_t bytes_skipped = 0;
  std::bitset<8> versions;  ///< low three bits of the VERSION packets
  StpTimestampCoding coding = StpTimestampCoding::kNatural;  ///< the newest
  std::uint64_t frequency_hz = 0;                            ///< of the newest FREQ packet; 0: none
  std::uint64_t timestamps = 0;                              ///< packets with a timestamp
  std::uint64_t first_timestamp = 0;                         ///< in stream order, in ticks
  std::uint64_t last_timestamp = 0;
  std::vector<StpSource> sources;  ///< by master and channel
  /// Data packets of sources beyond kMostSources, which are not listed: in all, and by master id
  /// (empty where there are none).
  std::uint64_t unlisted_data_packets = 0;
  std::vector<std::uint64_t> unlisted_of_master;

  static constexpr std::size_t kMostSources = 16384;

  std::uint64_t packets_in_all() const;
  std::uint64_t of_kind(StpKind kind) const { return packets[static_cast<std::size_t>(kind)]; }
  /// From the first to the last timestamp. Empty without timestamps, without their rate, and where
  /// the last is the smaller one, as when the counter restarts.
  std::optional<std::uint64_t> span_ns() const;
  /// All masters with data packets, in rising order of ids.
  std::vector<StpMaster> masters() const;
};

/// The trace sources in formatter frames; see FrameDemultiplexer for the counts.
struct FramesInfo {
  struct Source {
    std::uint8_t id = 0;
    std::uint64_t bytes = 0;
    StpInfo stp;

    /// No ASYNC packet: another protocol.
    bool is_stp() const { return stp.of_kind(StpKind::kAsync) != 0; }
  };

  std::uint64_t bytes = 0;
  std::uint64_t bytes_framing = 0;
  std::uint64_t frames_cut = 0;
  std::vector<Source> sources;  ///< by id

  /// Whether one of `sources` is likely no more than a flipped bit in an ID change: it has next to
  /// no data and no ASYNC packet.
  bool is_stray(const Source& source) const;
};

/// Samples by their number of words, and the probe ids seen, both ascending.
struct SamplesInfo {
  std::uint64_t bytes = 0;
  std::uint64_t bytes_skipped = 0;
  std::uint64_t samples = 0;
  std::vector<std::pair<std::size_t, std::uint64_t>> samples_of_words;  ///< words, samples
  std::vector<std::uint16_t> probes;
};

/// Callbacks of the readers below, on the caller's thread. All may be empty.
struct InfoEvents {
  /// A damaged place, with its offset in the input in bytes.
  std::function<void(std::uint64_t offset, std::string_view reason)> on_damage;
  std::function<void(std::string_view text)> on_notice;
  /// Progress, as bytes of the input; each of two passes counts half.
  std::function<void(std::uint64_t bytes)> on_progress;
};

/// These read `input` to its end and throw Error(kInput) when it cannot be read.
StpInfo read_stp_info(InputFile& input, const InfoEvents& events);
SamplesInfo read_samples_info(InputFile& input, const InfoEvents& events);
/// Of a source that first appears after the first megabyte of a pipe only the bytes are counted.
FramesInfo read_frames_info(InputFile& input, const InfoEvents& events);

}  // namespace qbt2
