#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <vector>

#include "host/capture/assembly_counts.h"
#include "host/capture/message_sources.h"
#include "host/capture/sample_batch.h"
#include "host/capture/tick_clock.h"
#include "interfaces/sample_format.h"

namespace qbt2 {

/// Complete messages in, samples out: each message is counted by its length and its master and, if
/// the master is wanted, appended to a batch. One stream, one thread.
class FinishedMessages {
 public:
  struct Message {
    std::uint16_t master = 0;
    bool has_timestamp = false;
    std::uint64_t words = 0;
    std::uint64_t offset = 0;     ///< in the input, of the packet that began the message
    std::uint64_t timestamp = 0;  ///< valid when has_timestamp
  };

  /// `masters`: those whose messages become samples; empty: all.
  FinishedMessages(const std::vector<std::uint16_t>& masters, std::uint64_t clock_hz);

  /// Not owned; to be set before the first message.
  void set_batch(SampleBatch& batch) { batch_ = &batch; }
  void set_clock(std::uint64_t hz) { clock_.set_rate(hz); }
  bool has_clock() const { return clock_.is_known(); }
  std::uint64_t clock_hz() const { return clock_.rate(); }

  /// Where the words of the next message are to be stored, kMostPairBytes at most. Valid until
  /// add() or set_batch().
  std::uint8_t* room() {
    using namespace Kz::Dvt::Trace;
    return batch_->bytes.room(SampleFormat::kHeaderBytes + kMostPairBytes) +
           SampleFormat::kHeaderBytes;
  }
  /// The message whose words, up to kLongestMessageWords, are stored in room().
  void add(const Message& message) {
    ++messages_of_words_[message.words];
    Master& master = masters_[message.master];
    master.has_messages = true;
    if (master.is_wanted) write(message);
  }
  /// A longer message, which is only counted.
  void count_long(std::uint16_t master, std::uint64_t words);

  /// Sets what is known here: messages, their lengths and masters.
  void add_to(AssemblyCounts& counts) const;
  bool has_messages(std::uint16_t master) const { return masters_[master].has_messages; }
  void forget_messages_of(std::uint16_t master) { masters_[master].has_messages = false; }
  /// Adds the messages and their lengths to `counts` and counts from 0; the masters stay, as there
  /// are many of them to look through.
  void move_messages_to(AssemblyCounts& counts);

 private:
  void add_messages_to(AssemblyCounts& counts) const;

  struct Master {
    bool is_wanted = false;
    bool has_messages = false;
  };

  void write(const Message& message) {
    using namespace Kz::Dvt::Trace;
    const auto payload = static_cast<std::uint32_t>(SampleFormat::kPairBytes * message.words);
    // Filled in place: a copy of fields just written would wait for their stores.
    SampleHead& head = batch_->heads.emplace_back();
    head.offset = message.offset;
    head.timestamp = message.timestamp;
    head.begin = static_cast<std::uint32_t>(batch_->bytes.size());
    head.size = static_cast<std::uint32_t>(SampleFormat::kHeaderBytes) + payload;
    head.master = message.master;
    head.has_timestamp = message.has_timestamp;
    head.has_time_ns = message.has_timestamp && clock_.to_ns(message.timestamp, head.time_ns);
    write_header(batch_->bytes.data() + head.begin, message.master, payload);
    batch_->bytes.add(head.size);
  }
  static void write_header(std::uint8_t* sample, std::uint16_t master, std::uint32_t payload) {
    using namespace Kz::Dvt::Trace;
    static_assert(SampleFormat::kHeaderBytes == sizeof(std::uint64_t));
    const std::uint64_t header = std::uint64_t{SampleFormat::ProbeOfMaster(master)}
                                     << (8 * SampleFormat::kProbeIdOffset) |
                                 std::uint64_t{payload} << (8 * SampleFormat::kPayloadBytesOffset);
    std::memcpy(sample, &header, sizeof header);
  }

  SampleBatch* batch_ = nullptr;
  TickClock clock_;
  std::array<std::uint64_t, kLongestMessageWords + 1> messages_of_words_{};
  std::map<std::uint64_t, std::uint64_t> long_messages_of_words_;
  std::vector<Master> masters_;  ///< by id
};

}  // namespace qbt2
