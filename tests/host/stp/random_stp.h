#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

#include "host/stp/stp_writer.h"

/// Random streams from a seed: sound ones and damaged ones.
namespace qbt2::test {

class RandomStp {
 public:
  explicit RandomStp(std::uint64_t seed) : random_(seed) {}

  std::uint64_t below(std::uint64_t limit) { return random_() % limit; }

  /// Short and long values, many with a run of F, in which an ASYNC can hide.
  std::uint64_t value() {
    switch (below(5)) {
      case 0:
        return ~std::uint64_t{0};
      case 1:
        return ~std::uint64_t{0} << below(64);
      case 2:
        return ~std::uint64_t{0} >> below(64);
      case 3:
        return random_() >> below(64);
      default:
        return random_();
    }
  }

  void packet(StpWriter& writer) {
    using Coding = StpTimestampCoding;
    time_ = below(40) == 0 ? value() : time_ + (random_() >> below(64)) % 100000;
    const StpWriter::Timestamp maybe = below(2) == 0 ? StpWriter::Timestamp(time_) : std::nullopt;
    const auto byte = static_cast<std::uint8_t>(value());
    switch (below(26)) {
      case 0:
        writer.async();
        if (below(2) == 0) writer.null();
        if (below(4) != 0) {
          constexpr Coding kCodings[] = {Coding::kNatural, Coding::kGray, Coding::kDelta};
          writer.version(kCodings[below(3)]);
        }
        break;
      case 1:
        return writer.null(maybe);
      case 2:
        return writer.master(static_cast<std::uint16_t>(random_() >> below(64)));
      case 3:
        return writer.c8(byte);
      case 4:
        return writer.c16(static_cast<std::uint16_t>(value()));
      case 5:
        return below(2) == 0 ? writer.merr(byte) : writer.gerr(byte);
      case 6:
        return writer.cerr(byte);
      case 7:
        return below(2) == 0 ? writer.trig(byte, maybe) : writer.xsync(byte, maybe);
      case 8:
        return below(2) == 0 ? writer.freq(static_cast<std::uint32_t>(value()), maybe)
                             : writer.freq_40(value(), maybe);
      case 9:
        return writer.user(value(), static_cast<unsigned>(1 + below(16)), maybe);
      case 10:
      case 11:
        return writer.flag(maybe);
      default: {
        const auto kind = static_cast<std::uint64_t>(StpKind::kD4) + below(5);
        writer.data(static_cast<StpKind>(kind), value(), {below(2) == 0, maybe});
      }
    }
  }

  /// The ways in which a source ends its messages.
  enum Way : std::uint8_t { kFlag, kMarkerLast, kTimestampLast, kMarkerFirst, kWays };

  /// A message of one of `sources` masters and channels, mostly of 2, 4 or 6 words.
  void message(StpWriter& writer, std::uint64_t sources, Way way) {
    const std::uint64_t source = below(sources);
    if (below(3) != 0) writer.master(static_cast<std::uint16_t>(source * 37));
    if (below(8) == 0) writer.c8(static_cast<std::uint8_t>(source % 3));
    if (below(20) == 0) writer.c16(static_cast<std::uint16_t>(source));
    const std::uint64_t words = below(8) == 0 ? 1 + below(70) : 2 + 2 * below(3);
    if (below(20) == 0) way = static_cast<Way>(below(kWays));
    for (std::uint64_t i = 1; i <= words; ++i) {
      if (below(200) == 0) packet(writer);
      StpDataOptions options;
      options.marked = (way == kMarkerLast && i == words) || (way == kMarkerFirst && i == 1);
      const bool is_timed = way == kTimestampLast ? i == words : options.marked && below(2) == 0;
      if (is_timed) options.timestamp = time_ += 1 + (value() & 0xFFFF);
      writer.data(StpKind::kD32, value(), options);
    }
    if (below(100) == 0) return;
    time_ += value() % 100000;
    if (way == kFlag) writer.flag(below(3) != 0 ? StpWriter::Timestamp(time_) : std::nullopt);
  }

  std::vector<std::uint8_t> sound(std::size_t packets) {
    StpWriter writer;
    writer.async();
    while (packets-- > 0) packet(writer);
    writer.pad_to_byte();
    return writer.take();
  }

  /// Packets with faults of every kind between and inside them.
  std::vector<std::uint8_t> damaged(std::size_t packets) {
    StpWriter writer;
    if (below(2) == 0) writer.async();
    while (packets-- > 0) {
      if (below(12) == 0) fault(writer);
      packet(writer);
    }
    return damage(writer.take());
  }

  /// Some bits flipped, the end or the beginning cut off.
  std::vector<std::uint8_t> damage(std::vector<std::uint8_t> bytes) {
    for (std::uint64_t flips = below(4); flips > 0 && !bytes.empty(); --flips) {
      bytes[below(bytes.size())] ^= static_cast<std::uint8_t>(1U << below(8));
    }
    if (below(4) == 0) bytes.resize(below(bytes.size() + 1));
    if (below(4) == 0) {
      bytes.erase(bytes.begin(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(below(bytes.size() + 1)));
    }
    return bytes;
  }

  /// Calls take() for the bytes in pieces: single bytes, small ones, or large ones.
  template <typename Take>
  void in_chunks(std::span<const std::uint8_t> bytes, Take&& take) {
    constexpr std::uint64_t kLargest[] = {1, 2, 7, 40, 70, 1000};
    const std::uint64_t largest = kLargest[below(std::size(kLargest))];
    while (!bytes.empty()) {
      const std::size_t size = std::min<std::size_t>(bytes.size(), 1 + below(largest));
      take(bytes.first(size));
      bytes = bytes.subspan(size);
    }
  }

 private:
  void fault(StpWriter& writer) {
    switch (below(6)) {
      case 0:  // garbage
        return writer.nibbles(random_(), static_cast<unsigned>(below(17)));
      case 1: {  // the head of a packet, then an ASYNC
        constexpr std::uint16_t kHeads[] = {0x4,  0x6,   0x7,   0xB,   0xF,    0xF0, 0xF7,
                                            0xFB, 0xF00, 0xF03, 0xF0F, 0xF0F1, 0xE};
        const std::uint64_t head = kHeads[below(std::size(kHeads))];
        writer.nibbles(head, head > 0xFFF ? 4 : head > 0xFF ? 3 : head > 0xF ? 2 : 1);
        writer.nibbles(value(), static_cast<unsigned>(below(17)));
        return writer.async();
      }
      case 2:  // a run of F of any length
        for (std::uint64_t count = below(100); count > 0; --count) writer.nibbles(0xF, 1);
        return writer.nibbles(below(3), 1);
      case 3:  // reserved or unsettled
        return writer.nibbles(0xF00 + below(16), 3);
      case 4:
        return writer.nibbles(0xF0F0 + below(16), 4);
      default:  // VERSION of any kind
        return writer.nibbles(0xF000 + below(16), 4);
    }
  }

  std::mt19937_64 random_;
  std::uint64_t time_ = 0;
};

}  // namespace qbt2::test
