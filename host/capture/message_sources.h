#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <unordered_map>
#include <vector>

#include "host/capture/framing.h"
#include "interfaces/sample_format.h"

/// The sources of a stream and the words of their open messages. One stream, one thread, bounded
/// memory.
namespace qbt2 {

/// Sources (master, channel) remembered at a time. One more replaces another, whose open words are
/// then incomplete, so that a stream of garbage cannot fill the memory.
inline constexpr std::size_t kMostSources = 16384;

/// Master and channel as one number.
constexpr std::uint32_t source_key(std::uint16_t master, std::uint16_t channel) {
  return std::uint32_t{master} << 16 | channel;
}
constexpr std::uint16_t master_of(std::uint32_t key) {
  return static_cast<std::uint16_t>(key >> 16);
}

/// Words as a sample has them, pairs of a length byte and a word. Each pair is stored as eight
/// bytes, of which five count.
inline constexpr std::size_t kPairStoreBytes = sizeof(std::uint64_t);
inline constexpr std::size_t kMostPairBytes =
    Kz::Dvt::Trace::SampleFormat::kPairBytes * (kLongestMessageWords - 1) + kPairStoreBytes;

inline void store_pair(std::uint8_t* at, std::uint32_t word) {
  const std::uint64_t pair = std::uint64_t{word} << 8 | Kz::Dvt::Trace::SampleFormat::kWordLength;
  std::memcpy(at, &pair, sizeof pair);
}

/// The word in the low half, then the one in the high half.
inline void store_two(std::uint8_t* at, std::uint64_t words) {
  const std::uint64_t first = words << 8 | Kz::Dvt::Trace::SampleFormat::kWordLength;
  std::memcpy(at, &first, sizeof first);  // its upper bytes are overwritten
  store_pair(at + Kz::Dvt::Trace::SampleFormat::kPairBytes,
             static_cast<std::uint32_t>(words >> 32));
}

/// A (master, channel) that has sent words. Kept when its message ends, since the same source is
/// likely to send another.
struct MessageSource {
  std::uint64_t offset = 0;  ///< in the input, of the packet that began the message
  std::uint64_t words = 0;   ///< may be more than pairs has room for; 0: no message is open
  std::uint32_t key = 0;
  std::uint32_t epoch = 0;  ///< its master's when the message began
  bool stray = false;       ///< marker-first: words before the first marked packet
  std::array<std::uint8_t, kMostPairBytes> pairs{};

  /// Words past kLongestMessageWords are only counted.
  void append(std::uint32_t word) {
    if (words < kLongestMessageWords) {
      store_pair(pairs.data() + Kz::Dvt::Trace::SampleFormat::kPairBytes * words, word);
    }
    ++words;
  }
};

/// Messages are begun and closed here, or dropped all at once: that only advances an epoch, so a
/// stream full of MERR and GERR packets never loops over the sources.
class MessageSources {
 public:
  MessageSources();

  /// The source of this key, or null.
  MessageSource* find(std::uint32_t key) {
    MessageSource* const recent = recent_[slot_of(key)];
    return recent != nullptr && recent->key == key ? recent : find_other(key);
  }
  /// A new source. When there are kMostSources it replaces another, whose message is dropped.
  MessageSource& make(std::uint32_t key);

  bool is_open(const MessageSource& source) {
    return source.words != 0 && source.epoch == current(master_of(source.key)).epoch;
  }
  /// Whether a message may be taken without opening the source: it is known, so that it replaces no
  /// other, and has no message open.
  bool is_idle(std::uint32_t key) {
    const MessageSource* const source = find(key);
    return source != nullptr && source->words == 0;
  }
  /// Begins a message without words. The source has none open.
  void begin(MessageSource& source, std::uint64_t offset);
  /// The open message has ended.
  void close(MessageSource& source);

  void drop_master(std::uint16_t master);
  void drop_all();

  /// Messages begun and neither closed nor dropped.
  std::uint64_t open_messages() const { return open_messages_; }
  std::uint64_t dropped_messages() const { return dropped_messages_; }
  /// The sources with an open message, in the order in which these began.
  std::vector<MessageSource*> open_sources();

  /// The sources remembered, in the order in which they appeared unless one was replaced.
  const std::deque<MessageSource>& all() const { return sources_; }
  /// Opens a message as it was open elsewhere; its source is known and has none open.
  void reopen(const MessageSource& open);
  /// No message is open any more, without being counted as dropped.
  void forget_messages();
  /// forget_messages(), and no source is known any more.
  void forget_sources();
  void reset_counts() { dropped_messages_ = 0; }

 private:
  static constexpr std::size_t kRecentSources = 1024;

  struct Master {
    std::uint32_t epoch = 0;
    std::uint32_t all_epoch = 0;
    std::uint32_t open = 0;  ///< messages
  };
  struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
  };

  /// Masters next to each other, and channels of a master, have slots of their own.
  static std::size_t slot_of(std::uint32_t key) { return (key ^ key >> 16) % kRecentSources; }
  MessageSource* find_other(std::uint32_t key);
  MessageSource& replaced();
  Master& current(std::uint16_t id) {
    Master& master = masters_[id];
    if (master.all_epoch != all_epoch_) catch_up(master);
    return master;
  }
  void catch_up(Master& master) const;

  std::deque<MessageSource> sources_;  ///< they never move
  /// By id; memory that no master has touched is none, as there may be a reader for each thread.
  std::unique_ptr<Master[], FreeMemory> masters_;
  std::unordered_map<std::uint32_t, MessageSource*> source_of_key_;
  std::array<MessageSource*, kRecentSources> recent_{};  ///< found last, by slot; or null
  std::size_t next_victim_ = 0;
  std::uint64_t open_messages_ = 0;
  std::uint64_t dropped_messages_ = 0;
  std::uint32_t all_epoch_ = 0;
};

}  // namespace qbt2
