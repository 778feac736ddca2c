#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tests/host/stp/stp_events.h"

/// A STP reader that is slow, holds the whole stream in memory and shares no code with StpReader:
/// it first finds every ASYNC, then reads each stretch between two of them on its own. What it says
/// is what StpReader has to say, whatever the chunks.
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
  std::uint64_t packets = 0;
  std::uint64_t sync_losses = 0;
  std::uint64_t nibbles_skipped = 0;
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

  // Packets are told apart by their opcode as text: "6", "F6", "F09", "F0F1".
  void read_packet(std::size_t start) {
    std::string opcode;
    do {
      opcode += "0123456789ABCDEF"[take()];
    } while (opcode == "F" || opcode == "F0" || opcode == "F0F");
    if (opcode == "FF") return read_f_run();
    if (opcode == "0") return emit(start, StpKind::kNull, 0, 0, false, false);
    fresh_ = fresh_ && opcode == "F00";
    if (opcode == "F00") return read_version(start);
    if (opcode == "F01") return read(start, StpKind::kNull, 0, false, true);
    if (opcode == "F02") return read(start, StpKind::kUser, take() + 1, false, false);
    if (opcode == "F03") return read(start, StpKind::kUser, take() + 1, false, true);
    if (opcode == "F04" || opcode == "F05" || opcode == "F0F2") {
      throw Loss{StpSyncLoss::kUnsettledPacket};
    }
    if (opcode == "F06") return read(start, StpKind::kTrig, 2, false, false);
    if (opcode == "F07") return read(start, StpKind::kTrig, 2, false, true);
    if (opcode == "F08") return read(start, StpKind::kFreq, 8, false, false);
    if (opcode == "F09") return read(start, StpKind::kFreq, 8, false, true);
    if (opcode == "F0A") return read(start, StpKind::kXsync, 2, false, false);
    if (opcode == "F0B") return read(start, StpKind::kXsync, 2, false, true);
    if (opcode == "F0F0") return read(start, StpKind::kFreq40, 10, false, false);
    if (opcode == "F0F1") return read(start, StpKind::kFreq40, 10, false, true);
    if (opcode == "F0F3") return read(start, StpKind::kCerr, 2, false, false);
    if (opcode.size() > 2) throw Loss{StpSyncLoss::kReservedOpcode};
    if (opcode == "1") return read(start, StpKind::kM8, 2, false, false);
    if (opcode == "2") return read(start, StpKind::kMerr, 2, false, false);
    if (opcode == "3") return read(start, StpKind::kC8, 2, false, false);
    if (opcode == "E") return read(start, StpKind::kFlag, 0, false, true);
    if (opcode == "F1") return read(start, StpKind::kM16, 4, false, false);
    if (opcode == "F2") return read(start, StpKind::kGerr, 2, false, false);
    if (opcode == "F3") return read(start, StpKind::kC16, 4, false, false);
    if (opcode == "FE") return read(start, StpKind::kFlag, 0, false, false);
    read_data(start, opcode);
  }

  void read_data(std::size_t start, const std::string& opcode) {
    const bool escaped = opcode.size() == 2;
    const char last = opcode.back();
    const bool upper = last >= '8' && last <= 'B';
    if (last == 'C') return read(start, StpKind::kD4, 1, false, escaped);
    if (last == 'D') return read(start, StpKind::kD4, 1, true, !escaped);
    const int width = (upper ? last == 'A'   ? 10
                               : last == 'B' ? 11
                                             : last - '0'
                             : last - '0') %
                      4;  // D8, D16, D32, D64
    constexpr StpKind kKinds[] = {StpKind::kD8, StpKind::kD16, StpKind::kD32, StpKind::kD64};
    const bool timed = escaped ? !upper : upper;
    read(start, kKinds[width], 2U << width, upper, timed);
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

  void read_f_run() {
    while (true) {
      if (take() != 0xF) throw Loss{StpSyncLoss::kReservedOpcode};
    }
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
    std::vector<unsigned> sent;
    for (unsigned i = 0; i < count; ++i) sent.push_back(take());
    std::uint64_t number = 0;
    for (const unsigned nibble : sent) number = number * 16 + nibble;
    if (coding_ == 2) {
      time_ += number;
      return;
    }
    // The kept time stamp as its 64 bits in the coding of the stream, the lowest first.
    std::vector<bool> bits(65);
    for (unsigned i = 0; i < 64; ++i) {
      const bool next = i < 63 && (time_ >> (i + 1) & 1) != 0;
      bits[i] = ((time_ >> i & 1) != 0) != (coding_ == 4 && next);
    }
    for (unsigned i = 0; i < 4 * count; ++i) bits[i] = (number >> i & 1) != 0;
    time_ = 0;
    bool above = false;
    for (unsigned i = 64; i-- > 0;) {
      above = coding_ == 4 ? bits[i] != above : bits[i];
      time_ = time_ * 2 + (above ? 1 : 0);
    }
  }

  void emit(std::size_t start, StpKind kind, std::uint64_t value, unsigned width, bool marked,
            bool timed) {
    StpPacket packet;
    packet.nibble_offset = start;
    packet.value = value;
    packet.timestamp = time_;
    packet.master = master_;
    packet.channel = channel_;
    packet.kind = kind;
    packet.value_nibbles = static_cast<std::uint8_t>(width);
    packet.marked = marked;
    packet.has_timestamp = timed;
    ++packets;
    events.push_back({StpEvent::kPacket, start, 0, {}, packet});
  }
  void lose(std::size_t start, StpSyncLoss reason) {
    ++sync_losses;
    events.push_back({StpEvent::kSyncLost, start / 2, 0, reason, {}});
  }
  void skip(std::size_t begin, std::size_t end) {
    if (begin == end) return;
    nibbles_skipped += end - begin;
    events.push_back({StpEvent::kSkipped, begin, end - begin, {}, {}});
  }

  std::vector<std::uint8_t> nibbles_;
  std::size_t at_ = 0;
  std::size_t segment_end_ = 0;
  bool fresh_ = false;  // nothing but NULL since the ASYNC
  std::uint16_t master_ = 0;
  std::uint16_t channel_ = 0;
  std::uint64_t time_ = 0;
  unsigned coding_ = 3;
};

}  // namespace qbt2::test
