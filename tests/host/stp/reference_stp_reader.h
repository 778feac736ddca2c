#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/host/stp/stp_events.h"

/// A slow STP reader that has the whole stream in memory and shares no code with StpReader: it
/// finds every ASYNC first, then reads each segment between two of them. StpReader has to produce
/// the same events for chunks of any size.
namespace qbt2::test {

class ReferenceStpReader {
 public:
  explicit ReferenceStpReader(std::span<const std::uint8_t> bytes) {
    for (const std::uint8_t byte : bytes) {
      nibbles_.push_back(byte & 0xF);
      nibbles_.push_back(byte >> 4);
    }
    const std::vector<std::size_t> asyncs = find_asyncs();
    const std::size_t first = asyncs.empty() ? nibbles_.size() : asyncs.front();
    skip(0, first);
    for (std::size_t i = 0; i < asyncs.size(); ++i) {
      const bool last = i + 1 == asyncs.size();
      emit(asyncs[i], StpKind::kAsync, 0, 0, false, false);
      read_segment(asyncs[i] + 22, last ? nibbles_.size() : asyncs[i + 1], last);
    }
  }

  std::vector<StpEvent> events;
  StpCounters counters;
  bool ended_on_boundary = false;

 private:
  struct SegmentEnd {};
  struct Loss {
    StpSyncLoss reason;
  };

  std::vector<std::size_t> find_asyncs() const {
    std::vector<std::size_t> found;
    std::size_t run = 0;
    for (std::size_t i = 0; i < nibbles_.size(); ++i) {
      if (nibbles_[i] == 0 && run >= 21) found.push_back(i - 21);
      run = nibbles_[i] == 0xF ? run + 1 : 0;
    }
    return found;
  }

  void read_segment(std::size_t begin, std::size_t end, bool last) {
    segment_end_ = end;
    fresh_ = true;
    for (at_ = begin; at_ < end;) {
      const std::size_t start = at_;
      try {
        read_packet(start);
      } catch (const SegmentEnd&) {
        bool only_f = true;
        for (std::size_t i = start; i < end; ++i) only_f = only_f && nibbles_[i] == 0xF;
        if (!last && !only_f) lose(start, StpSyncLoss::kCutByAsync);
        if (!last && only_f && end + 21 - start > 64) lose(start, StpSyncLoss::kRunOfOnes);
        return skip(start, end);
      } catch (const Loss& loss) {
        lose(start, loss.reason);
        return skip(start, end);
      }
    }
    ended_on_boundary = last;
  }

  unsigned take() {
    if (at_ == segment_end_) throw SegmentEnd();
    return nibbles_[at_++];
  }
  std::uint64_t take(unsigned count) {
    std::uint64_t value = 0;
    while (count-- > 0) value = value * 16 + take();
    return value;
  }

  /// A kind of packet: nibbles of its payload, and its opcodes as text: plain, marked, timestamped,
  /// both; "" where there is none.
  struct Form {
    StpKind kind;
    unsigned width;
    std::array<std::string_view, 4> opcodes;
  };
  static constexpr Form kForms[] = {
      {StpKind::kM8, 2, {"1"}},
      {StpKind::kM16, 4, {"F1"}},
      {StpKind::kC8, 2, {"3"}},
      {StpKind::kC16, 4, {"F3"}},
      {StpKind::kMerr, 2, {"2"}},
      {StpKind::kGerr, 2, {"F2"}},
      {StpKind::kCerr, 2, {"F0F3"}},
      {StpKind::kD4, 1, {"C", "FD", "FC", "D"}},
      {StpKind::kD8, 2, {"4", "F8", "F4", "8"}},
      {StpKind::kD16, 4, {"5", "F9", "F5", "9"}},
      {StpKind::kD32, 8, {"6", "FA", "F6", "A"}},
      {StpKind::kD64, 16, {"7", "FB", "F7", "B"}},
      {StpKind::kFlag, 0, {"FE", "", "E"}},
      {StpKind::kNull, 0, {"0", "", "F01"}},
      {StpKind::kTrig, 2, {"F06", "", "F07"}},
      {StpKind::kXsync, 2, {"F0A", "", "F0B"}},
      {StpKind::kFreq, 8, {"F08", "", "F09"}},
      {StpKind::kFreq40, 10, {"F0F0", "", "F0F1"}},
  };

  void read_packet(std::size_t start) {
    std::string opcode;
    do {
      opcode += "0123456789ABCDEF"[take()];
    } while (opcode == "F" || opcode == "F0" || opcode == "F0F");
    if (opcode == "FF") return read_f_run(start);
    fresh_ = fresh_ && (opcode == "0" || opcode == "F00");
    if (opcode == "F00") return read_version(start);
    if (opcode == "F02" || opcode == "F03") {
      return read(start, StpKind::kUser, take() + 1, false, opcode == "F03");
    }
    if (opcode == "F04" || opcode == "F05" || opcode == "F0F2") {
      throw Loss{StpSyncLoss::kUnsettledPacket};
    }
    for (const Form& form : kForms) {
      for (unsigned variant = 0; variant < 4; ++variant) {
        if (form.opcodes[variant] != opcode) continue;
        return read(start, form.kind, form.width, variant % 2 != 0, variant >= 2);
      }
    }
    throw Loss{StpSyncLoss::kReservedOpcode};
  }

  void read_version(std::size_t start) {
    const unsigned first = take();
    const unsigned coding = first % 8;
    if (coding < 2) throw Loss{StpSyncLoss::kStpVersion1};
    if (coding > 4) throw Loss{StpSyncLoss::kReservedVersion};
    const std::uint64_t value = first < 8 ? first : std::uint64_t{first} * 256 + take(2);
    if (std::exchange(fresh_, false)) master_ = channel_ = 0;
    coding_ = coding;
    emit(start, StpKind::kVersion, value, first < 8 ? 1 : 3, false, false);
  }

  void read_f_run(std::size_t start) {
    while (take() == 0xF) {
    }
    const bool is_long = at_ - 1 - start > 64;
    throw Loss{is_long ? StpSyncLoss::kRunOfOnes : StpSyncLoss::kReservedOpcode};
  }

  void read(std::size_t start, StpKind kind, unsigned width, bool marked, bool timed) {
    const std::uint64_t value = take(width);
    if (timed) read_timestamp();
    if (kind == StpKind::kM8 || kind == StpKind::kM16) {
      master_ = static_cast<std::uint16_t>(value);
      channel_ = 0;
    }
    if (kind == StpKind::kMerr) channel_ = 0;
    if (kind == StpKind::kGerr) master_ = channel_ = 0;
    if (kind == StpKind::kC8) channel_ = static_cast<std::uint16_t>((channel_ & 0xFF00U) + value);
    if (kind == StpKind::kC16) channel_ = static_cast<std::uint16_t>(value);
    emit(start, kind, value, width, marked, timed);
  }

  void read_timestamp() {
    const unsigned size = take();
    if (size == 15) throw Loss{StpSyncLoss::kReservedTimestampSize};
    const unsigned count = size == 13 ? 14 : size == 14 ? 16 : size;
    const std::uint64_t sent = take(count);
    if (coding_ == 2) {
      time_ += sent;
      return;
    }
    // The newest timestamp in the coding of the stream, its low nibbles replaced.
    std::uint64_t raw = coding_ == 4 ? time_ ^ time_ / 2 : time_;
    raw = count == 16 ? sent : raw - raw % (std::uint64_t{1} << 4 * count) + sent;
    time_ = raw;
    for (unsigned bit = 1; coding_ == 4 && bit < 64; ++bit) time_ ^= raw >> bit;
  }

  void emit(std::size_t start, StpKind kind, std::uint64_t value, unsigned width, bool marked,
            bool timed) {
    ++counters.packets;
    events.push_back({.offset = start,
                      .packet = {start, value, time_, master_, channel_, kind,
                                 static_cast<std::uint8_t>(width), marked, timed}});
  }
  void lose(std::size_t start, StpSyncLoss reason) {
    ++counters.sync_losses;
    events.push_back({StpEvent::kSyncLost, start / 2, 0, reason, {}});
  }
  void skip(std::size_t begin, std::size_t end) {
    if (begin == end) return;
    counters.nibbles_skipped += end - begin;
    events.push_back({StpEvent::kSkipped, begin, end - begin, {}, {}});
  }

  std::vector<std::uint8_t> nibbles_;
  std::size_t at_ = 0;
  std::size_t segment_end_ = 0;
  bool fresh_ = false;  ///< nothing but NULL since the ASYNC
  std::uint16_t master_ = 0;
  std::uint16_t channel_ = 0;
  std::uint64_t time_ = 0;
  unsigned coding_ = 3;
};

}  // namespace qbt2::test
