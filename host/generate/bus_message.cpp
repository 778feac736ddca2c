#include "host/generate/bus_message.h"

namespace qbt2 {
namespace {

namespace format = Kz::Dvt::Trace::SampleFormat;

/// Fills a word from its least significant bit upwards, field by field.
class WordPacker {
 public:
  constexpr WordPacker& field(std::uint64_t value, unsigned width) {
    const std::uint64_t mask = (std::uint64_t{1} << width) - 1;
    word_ |= (value & mask) << filled_;
    filled_ += width;
    return *this;
  }
  constexpr WordPacker& unused(unsigned width) { return field(0, width); }
  constexpr std::uint32_t word() const { return static_cast<std::uint32_t>(word_); }

 private:
  std::uint64_t word_ = 0;
  unsigned filled_ = 0;
};

}  // namespace

MessageWords pack(const ThroughputWindow& window) {
  MessageWords message;
  message.count = format::kThroughputWords;
  message.words[0] = window.bytes;
  message.words[1] = WordPacker().field(window.matched, 24).unused(8).word();
  return message;
}

MessageWords pack(const LatencyWindow& window) {
  MessageWords message;
  message.count = format::kLatencyWords;
  // The tracked count spans the first two words: low 8 bits, then the high 16.
  message.words[0] = WordPacker().field(window.matched, 24).field(window.tracked, 8).word();
  message.words[1] = WordPacker().field(window.tracked >> 8, 16).field(window.max_wait, 16).word();
  message.words[2] = window.total_wait;
  message.words[3] = WordPacker().field(window.credit_wait, 24).unused(8).word();
  return message;
}

MessageWords pack(const BusTransaction& transaction) {
  const BusTransaction& t = transaction;
  MessageWords message;
  message.count = format::kTransactionWords;
  message.words[0] = WordPacker().field(t.address, 32).word();
  message.words[1] = WordPacker()
                         .field(t.address >> 32, 16)
                         .field(t.address_mode, 2)
                         .field(t.route_id, 12)
                         .field(t.direction, 1)
                         .field(t.exclusive, 1)
                         .word();
  message.words[2] = WordPacker()
                         .field(t.byte_count, 10)
                         .field(t.priority, 3)
                         .field(t.line_size, 3)
                         .field(t.privilege, 2)
                         .field(t.privilege_id, 8)
                         .field(t.data_type, 2)
                         .field(t.region, 4)
                         .word();
  message.words[3] = WordPacker()
                         .field(t.interest, 1)
                         .field(t.debug, 1)
                         .field(t.inner_domain, 2)
                         .field(t.outer_domain, 2)
                         .field(t.share_domain, 2)
                         .field(t.qos, 3)
                         .field(t.secure, 1)
                         .field(t.memory_type, 2)
                         .field(t.opcode, 5)
                         .unused(1)
                         .field(t.sideband, 8)
                         .unused(1)
                         .field(t.extended_priority, 3)
                         .word();
  message.words[4] = WordPacker()
                         .field(t.order_id, 4)
                         .field(t.mirrored_sideband, 7)
                         .field(t.firewall_pass, 2)
                         .field(t.prefetchable, 1)
                         .field(t.virtual_id, 12)
                         .field(t.address_select, 4)
                         .field(t.address_type, 2)
                         .word();
  message.words[5] = WordPacker().field(t.channel_id, 12).unused(20).word();
  return message;
}

}  // namespace qbt2
