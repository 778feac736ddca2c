#include "host/coresight/frame_demultiplexer.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>

#include "host/coresight/frame_format.h"

namespace qbt2 {
namespace {

static_assert(std::endian::native == std::endian::little, "frames are read as two 64-bit words");

/// Bit 0 of the even bytes: set in an ID change.
constexpr std::uint64_t kIdBits = 0x0001000100010001;
constexpr std::uint64_t kEvenBytes = 0x00FF00FF00FF00FF;

/// Four flags of byte 15, moved to bit 0 of their even bytes.
constexpr std::array<std::uint64_t, 16> kLowestBits = [] {
  std::array<std::uint64_t, 16> words{};
  for (std::size_t flags = 0; flags < words.size(); ++flags) {
    for (std::size_t bit = 0; bit < 4; ++bit) {
      words[flags] |= static_cast<std::uint64_t>(flags >> bit & 1) << (16 * bit);
    }
  }
  return words;
}();

/// The synchronization packets as the newest bytes read, the newest one lowest.
constexpr std::uint32_t kNewestFrameSync = 0xFFFFFF7F;
constexpr std::uint32_t kNewestHalfwordSync = 0xFF7F;

struct FrameWords {
  std::uint64_t low;
  std::uint64_t high;

  explicit FrameWords(const std::uint8_t* frame) {
    std::memcpy(&low, frame, sizeof low);
    std::memcpy(&high, frame + sizeof low, sizeof high);
  }
  bool has_ids() const { return ((low | high) & kIdBits) != 0; }
  /// Whether there is FF at an even place, or a first byte that may end a synchronization packet.
  bool may_hold_sync() const {
    constexpr std::uint64_t kCarries = kIdBits << 8;
    const std::uint64_t carried = ((low & kEvenBytes) + kIdBits) | ((high & kEvenBytes) + kIdBits);
    return (carried & kCarries) != 0 || (low & 0xFF) == 0x7F;
  }
  void restore_lowest_bits() {
    const std::uint64_t flags = high >> 56;
    low |= kLowestBits[flags & 0xF];
    high |= kLowestBits[flags >> 4];
  }
};

std::uint32_t last_four(const std::uint8_t* end) {
  return static_cast<std::uint32_t>(end[-4]) << 24 | static_cast<std::uint32_t>(end[-3]) << 16 |
         static_cast<std::uint32_t>(end[-2]) << 8 | end[-1];
}

}  // namespace

FrameDemultiplexer::FrameDemultiplexer(std::uint8_t source)
    : source_(source), block_(std::make_unique<std::uint8_t[]>(kBlockBytes)) {}

void FrameDemultiplexer::put(std::uint8_t byte, std::uint64_t input_offset) {
  ++source_bytes_[current_];
  if (current_ != source_ || source_ == kNullTraceId) return;
  if (!offsets_.continues(stream_bytes_, input_offset, false)) {
    offsets_.add(stream_bytes_, input_offset, false);
  }
  block_[block_size_++] = byte;
  ++stream_bytes_;
}

template <typename OffsetOf>
void FrameDemultiplexer::take_frame(const std::uint8_t* frame, OffsetOf&& offset_of) {
  unsigned flags = frame[kFrameFlagsPlace];
  for (std::size_t place = 0; place <= kFrameLastPlace; place += 2, flags >>= 1) {
    const std::uint8_t byte = frame[place];
    const bool flag = (flags & 1) != 0;
    const bool is_id = (byte & 1) != 0;
    const auto id = static_cast<std::uint8_t>(byte >> 1);
    if (is_id) {
      ++id_changes_;
      if (id >= kFirstReservedTraceId) ++reserved_id_changes_;
      if (!flag) current_ = id;
    } else {
      put(static_cast<std::uint8_t>(byte | (flag ? 1 : 0)), offset_of(place));
    }
    if (place < kFrameLastPlace) put(frame[place + 1], offset_of(place + 1));
    if (is_id) current_ = id;
  }
}

std::size_t FrameDemultiplexer::take_data_frames(std::span<const std::uint8_t> bytes) {
  const bool is_chosen = current_ == source_ && source_ != kNullTraceId;
  const std::size_t room = (kBlockBytes - block_size_) / kFrameBytes;
  const std::size_t most = std::min(bytes.size() / kFrameBytes, is_chosen ? room : bytes.size());
  std::uint8_t* out = block_.get() + block_size_;
  std::size_t frames = 0;
  for (; frames < most; ++frames) {
    FrameWords words(bytes.data() + frames * kFrameBytes);
    if (words.has_ids()) break;
    if (!is_chosen) continue;
    words.restore_lowest_bits();
    std::memcpy(out, &words.low, sizeof words.low);  // 16 bytes; the next frame overwrites the last
    std::memcpy(out + sizeof words.low, &words.high, sizeof words.high);
    out += kFrameDataBytes;
  }
  const std::size_t data = frames * kFrameDataBytes;
  source_bytes_[current_] += data;
  if (is_chosen && frames > 0) {
    if (!offsets_.continues(stream_bytes_, input_bytes_, true)) {
      offsets_.add(stream_bytes_, input_bytes_, true);
    }
    block_size_ += data;
    stream_bytes_ += data;
  }
  return frames * kFrameBytes;
}

void FrameDemultiplexer::take_byte(std::uint8_t byte) {
  newest_bytes_ = newest_bytes_ << 8 | byte;
  partial_[partial_size_] = byte;
  partial_offsets_[partial_size_] = input_bytes_++;
  ++partial_size_;
  if (newest_bytes_ == kNewestFrameSync) {
    // Anywhere but between two frames it cuts one short; the next frame begins after it.
    if (partial_size_ != kFrameSync.size() && frames_cut_++ == 0) {
      first_cut_offset_ = partial_offsets_[0];
    }
    partial_size_ = 0;
    is_continuous_ = true;
    return;
  }
  // Within a frame they are removed only in a stream known to be continuous: in a memory buffer a
  // frame of stale bytes must not shift the frames after it.
  const bool may_be_halfword_sync =
      partial_size_ == 2 || (is_continuous_ && partial_size_ % 2 == 0);
  if (may_be_halfword_sync && (newest_bytes_ & 0xFFFF) == kNewestHalfwordSync) {
    partial_size_ -= 2;
    return;
  }
  if (partial_size_ < kFrameBytes) return;
  partial_size_ = 0;
  take_frame(partial_.data(), [this](std::size_t place) { return partial_offsets_[place]; });
}

std::size_t FrameDemultiplexer::fill_block(std::span<const std::uint8_t> bytes) {
  std::size_t at = 0;
  while (at < bytes.size() && kBlockBytes - block_size_ >= kFrameBytes) {
    const std::uint8_t* const next = bytes.data() + at;
    if (partial_size_ > 0 || bytes.size() - at < kFrameBytes) {
      take_byte(bytes[at++]);
      continue;
    }
    const FrameWords words(next);
    std::size_t taken = kFrameBytes;
    if (!words.has_ids()) {
      taken = take_data_frames(bytes.subspan(at));
    } else if (!words.may_hold_sync()) {
      take_frame(next, [this](std::size_t place) { return input_bytes_ + place; });
    } else {
      take_byte(bytes[at++]);
      continue;
    }
    at += taken;
    input_bytes_ += taken;
    newest_bytes_ = last_four(bytes.data() + at);
  }
  return at;
}

std::uint64_t FrameDemultiplexer::bytes_framing() const {
  return input_bytes_ - bytes_other_sources() - stream_bytes_;
}

std::uint64_t FrameDemultiplexer::bytes_other_sources() const {
  const auto begin = source_bytes_.begin() + kNullTraceId + 1;
  return std::accumulate(begin, source_bytes_.end(), std::uint64_t{0}) - stream_bytes_;
}

std::vector<SourceBytes> FrameDemultiplexer::sources() const {
  std::vector<SourceBytes> found;
  for (std::uint8_t id = kNullTraceId + 1; id < kFirstReservedTraceId; ++id) {
    if (source_bytes_[id] > 0) found.push_back({id, source_bytes_[id]});
  }
  return found;
}

}  // namespace qbt2
