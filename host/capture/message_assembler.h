#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "host/capture/assembly_counts.h"
#include "host/capture/framing.h"
#include "host/capture/sample_batch.h"
#include "host/stp/stp_packet.h"
#include "interfaces/sample_format.h"

/// Collects the D32 words of each (master, channel) into messages and writes each message as a
/// sample for the plug-in. Sink of the STP reader; one stream, one thread, bounded memory.
namespace qbt2 {

/// Sources (master, channel) remembered at a time. One more replaces another, whose open words are
/// then incomplete, so that a stream of garbage cannot fill the memory.
inline constexpr std::size_t kMostSources = 16384;

/// Maps the bytes of an STP stream to their offsets in the input.
class StreamOffsets {
 public:
  virtual ~StreamOffsets() = default;
  /// Called with offsets that never decrease.
  virtual std::uint64_t input_offset(std::uint64_t stream_offset) = 0;
};

struct AssemblerOptions {
  Framing framing = Framing::kFlag;
  /// Rate of the timestamps in Hz until a FREQ packet gives it; 0: not known.
  std::uint64_t clock_hz = 0;
  /// Masters whose messages become samples, full STP ids; empty: all. The others are only counted.
  std::vector<std::uint16_t> masters;
  /// Not owned; null: the stream is the input.
  StreamOffsets* offsets = nullptr;
};

class MessageAssembler {
 public:
  explicit MessageAssembler(const AssemblerOptions& options);

  /// Complete messages are appended to `batch` from now on. Not owned; to be set before the first
  /// packet.
  void set_batch(SampleBatch& batch) { batch_ = &batch; }

  void on_packet(const StpPacket& packet) {
    // Only on_words() needs the time before this packet, so it is not kept here: a copy of it would
    // wait for the last packet's stores, once for every packet.
    if (packet.kind == StpKind::kD32 && continues_current(packet)) [[likely]] {
      take_time(packet);
      append_word(*current_, static_cast<std::uint32_t>(packet.value));
      ++counts_.words;
      return;
    }
    if (packet.kind == StpKind::kD32 || packet.kind == StpKind::kD64) {
      on_words(packet);
      return;
    }
    take_time(packet);
    switch (packet.kind) {
      case StpKind::kFlag:
        on_flag(packet);
        break;
      case StpKind::kD4:
      case StpKind::kD8:
      case StpKind::kD16:
        ++counts_.ignored_packets;
        break;
      case StpKind::kMerr:
      case StpKind::kGerr:
        on_source_error(packet);
        break;
      case StpKind::kFreq:
      case StpKind::kFreq40:
        if (packet.value != 0) clock_hz_ = packet.value;
        break;
      default:
        break;
    }
  }
  void on_sync_lost(std::uint64_t /*byte_offset*/, StpSyncLoss /*reason*/) { drop_all(); }
  void on_skipped(const StpSkippedRange& /*range*/) {}

  /// The stream has ended. Open messages are incomplete, except under marker-first, where a capture
  /// that ends on a packet boundary ends them.
  void finish(bool on_packet_boundary);

  /// Messages begun and not ended, stray words included.
  std::uint64_t open_messages() const { return open_messages_; }
  /// Whether one of them may still get a length that the decoder knows.
  bool has_short_open_message();
  /// Runs of words outside any message: under marker-first, those before the first marked packet.
  std::uint64_t stray_messages() const { return stray_messages_; }
  /// Replaces AssemblerOptions::offsets from now on.
  void set_offsets(StreamOffsets* offsets) { options_.offsets = offsets; }
  AssemblyCounts counts() const;

 private:
  static constexpr std::uint32_t kNone = ~std::uint32_t{0};
  /// A length byte and its word are stored as eight bytes, of which five count.
  static constexpr std::size_t kStoreSlack =
      sizeof(std::uint64_t) - Kz::Dvt::Trace::SampleFormat::kPairBytes;

  struct Time {
    std::uint64_t ticks = 0;
    bool known = false;
  };

  /// A (master, channel) that has sent words. Kept when a message ends, since the same source is
  /// likely to send another. A message is open when `words` is not 0 and `epoch` is its master's.
  struct Source {
    std::uint64_t offset = 0;
    std::uint64_t words = 0;
    std::uint32_t key = 0;
    std::uint32_t epoch = 0;
    bool stray = false;  ///< marker-first: words before the first marked packet
    std::array<std::uint8_t,
               Kz::Dvt::Trace::SampleFormat::SampleBytes(kLongestMessageWords) + kStoreSlack>
        sample{};
  };

  /// Dropping the words of a master, or of all, only advances an epoch, so a stream full of MERR
  /// and GERR packets never loops over the sources.
  struct Master {
    std::uint32_t epoch = 0;
    std::uint32_t all_epoch = 0;
    std::uint32_t open = 0;  ///< messages begun and not ended
  };

  static std::uint32_t key_of(const StpPacket& packet) {
    return std::uint32_t{packet.master} << 16 | packet.channel;
  }
  static std::uint16_t master_of(std::uint32_t key) {
    return static_cast<std::uint16_t>(key >> 16);
  }

  /// Whether the packet only adds a word to the message of the last packet, as nearly all do.
  bool continues_current(const StpPacket& packet) const {
    return current_ != nullptr && key_of(packet) == current_->key &&
           current_->words < kLongestMessageWords && !(packet.marked && mark_delimits_) &&
           !(packet.has_timestamp && timestamp_delimits_);
  }
  static void append_word(Source& source, std::uint32_t word) {
    if (source.words < kLongestMessageWords) {
      using namespace Kz::Dvt::Trace;
      const std::uint64_t pair = std::uint64_t{word} << 8 | SampleFormat::kWordLength;
      std::memcpy(source.sample.data() + SampleFormat::SampleBytes(source.words), &pair,
                  sizeof pair);
    }
    ++source.words;
  }

  void take_time(const StpPacket& packet) {
    newest_.ticks = packet.timestamp;
    newest_.known |= packet.has_timestamp;
  }
  /// D32 and D64; includes take_time().
  void on_words(const StpPacket& packet);
  void on_flag(const StpPacket& packet);
  void on_source_error(const StpPacket& packet);
  Source* find_source(std::uint32_t key);
  Source& make_source(std::uint32_t key);
  Master& master_at(std::uint16_t id);
  bool is_open(const Source& source);
  void append_packet(Source& source, const StpPacket& packet);
  void begin(Source& source, const StpPacket& packet);
  void end(Source& source, const Time& time);
  void close(Source& source);
  void emit(Source& source, const Time& time);
  void drop_all();
  void end_open_messages();

  AssemblerOptions options_;
  std::bitset<65536> wanted_masters_;
  SampleBatch* batch_ = nullptr;
  AssemblyCounts counts_;
  std::array<std::uint64_t, kLongestMessageWords + 1> messages_of_words_{};
  std::uint64_t open_messages_ = 0;
  std::uint64_t stray_messages_ = 0;
  std::uint64_t clock_hz_ = 0;
  Time newest_;
  bool mark_delimits_;
  bool timestamp_delimits_;
  Source* current_ = nullptr;  ///< of the last word, its message still open; or null
  std::vector<Source> sources_;
  std::size_t next_victim_ = 0;
  std::unordered_map<std::uint32_t, std::uint32_t> source_of_key_;
  std::array<std::uint32_t, 256> recent_{};  ///< the last source for each hash of a key
  std::vector<Master> masters_;
  std::uint32_t all_epoch_ = 0;
};

}  // namespace qbt2
