#include "host/coresight/formatter_frames.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>

#include "host/stp/stp_opcodes.h"
#include "host/stp/stp_reader.h"

namespace qbt2 {
namespace {

static_assert(std::endian::native == std::endian::little, "frames are read as two 64-bit words");

constexpr std::size_t kFrameData = 15;
constexpr std::uint64_t kHistoryBytes = std::uint64_t{64} << 10;

/// Bit 0 of the even bytes: set where the byte is an id.
constexpr std::uint64_t kIdBits = 0x0001000100010001;
constexpr std::uint64_t kEvenBytes = 0x00FF00FF00FF00FF;

/// The lowest bits of four even bytes, as byte 15 holds them, where they belong.
constexpr std::array<std::uint64_t, 16> kLowestBits = [] {
  std::array<std::uint64_t, 16> words{};
  for (std::size_t flags = 0; flags < words.size(); ++flags) {
    for (std::size_t bit = 0; bit < 4; ++bit) {
      words[flags] |= static_cast<std::uint64_t>(flags >> bit & 1) << (16 * bit);
    }
  }
  return words;
}();

/// FF FF FF 7F, the synchronisation word, and FF 7F, the half-word of idle time. Neither can be
/// data: an even FF would be the reserved id 0x7F.
constexpr std::uint32_t kSyncWord = 0xFFFFFF7F;
constexpr std::uint32_t kHalfWord = 0xFF7F;
constexpr std::size_t kSyncWordBytes = 4;

struct FrameWords {
  std::uint64_t low;
  std::uint64_t high;

  explicit FrameWords(const std::uint8_t* frame) {
    std::memcpy(&low, frame, sizeof low);
    std::memcpy(&high, frame + sizeof low, sizeof high);
  }
  bool has_ids() const { return ((low | high) & kIdBits) != 0; }
  /// An FF at an even place, or a first byte that may end a synchronisation word.
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

std::uint64_t InputOffsets::Mark::at(std::uint64_t offset) const {
  const std::uint64_t distance = offset - stream_offset;
  if (!whole_frames) return input_offset + distance;
  return input_offset + distance / kFrameData * kFrameBytes + distance % kFrameData;
}

std::uint64_t InputOffsets::input_offset(std::uint64_t stream_offset) const {
  const auto after = std::upper_bound(
      marks_.begin(), marks_.end(), stream_offset,
      [](std::uint64_t offset, const Mark& mark) { return offset < mark.stream_offset; });
  if (marks_.empty()) return stream_offset;
  if (after == marks_.begin()) return marks_.front().input_offset;
  return std::prev(after)->at(stream_offset);
}

bool InputOffsets::continues(std::uint64_t stream_offset, std::uint64_t input_offset,
                             bool whole_frames) const {
  if (marks_.empty()) return false;
  const Mark& mark = marks_.back();
  if (mark.whole_frames != whole_frames || mark.at(stream_offset) != input_offset) return false;
  return !whole_frames || (stream_offset - mark.stream_offset) % kFrameData == 0;
}

void InputOffsets::add(std::uint64_t stream_offset, std::uint64_t input_offset, bool whole_frames) {
  // Half the marks are dropped at a time, so that dropping costs little.
  constexpr std::size_t kFewMarks = 1024;
  if (marks_.size() == marks_.capacity() && marks_.size() >= kFewMarks) {
    const auto old = std::partition_point(marks_.begin(), marks_.end(), [&](const Mark& mark) {
      return mark.stream_offset + kHistoryBytes < stream_offset;
    });
    // The last of the old ones may still hold for what is not.
    if (old - marks_.begin() > static_cast<std::ptrdiff_t>(marks_.size() / 2)) {
      marks_.erase(marks_.begin(), std::prev(old));
    }
  }
  marks_.push_back({stream_offset, input_offset, whole_frames});
}

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
  constexpr std::size_t kLastPlace = 14;  // an even byte with no odd one behind it
  unsigned flags = frame[kFrameData];
  for (std::size_t place = 0; place <= kLastPlace; place += 2, flags >>= 1) {
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
    if (place < kLastPlace) put(frame[place + 1], offset_of(place + 1));
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
    std::memcpy(out, &words.low, sizeof words.low);  // 16 bytes, of which the next frame has one
    std::memcpy(out + sizeof words.low, &words.high, sizeof words.high);
    out += kFrameData;
  }
  const std::size_t data = frames * kFrameData;
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
  if (newest_bytes_ == kSyncWord) {
    // Anywhere but between two frames it cuts one short, and the next one begins behind it.
    if (partial_size_ != kSyncWordBytes) ++frames_cut_;
    partial_size_ = 0;
    is_continuous_ = true;
    return;
  }
  // Within a frame half-words are taken out only where the stream is known to be a continuous one:
  // in memory a frame of stale bytes must not move the ones behind it.
  const bool may_be_half_word = partial_size_ == 2 || (is_continuous_ && partial_size_ % 2 == 0);
  if (may_be_half_word && (newest_bytes_ & 0xFFFF) == kHalfWord) {
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

bool looks_like_stp(std::span<const std::uint8_t> bytes) {
  std::uint64_t f_run = 0;
  std::size_t at = 0;
  while (at < bytes.size() * 2) {
    at = detail::find_async_end(bytes, at, f_run);
    if (at == detail::kNotFound) return false;
    f_run = 0;
    std::size_t next = at;
    while (next < bytes.size() * 2 && detail::nibble_at(bytes, next) == 0) ++next;
    const detail::StpParse parse = detail::parse_packet(bytes, next, true);
    if (parse.outcome == detail::StpParse::kPacket && parse.opcode.kind == StpKind::kVersion) {
      return true;
    }
  }
  return false;
}

bool looks_like_frames(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t kHeadBytes = std::size_t{256} << 10;
  // Frames of a capture's stale end may name any id, so a few reserved ones are no proof.
  constexpr std::uint64_t kFewReserved = 4;
  bytes = bytes.first(std::min(bytes.size(), kHeadBytes));
  FrameDemultiplexer all;
  all.push(bytes, [](std::span<const std::uint8_t>, std::uint64_t) {});
  if (all.reserved_id_changes() * kFewReserved > all.id_changes()) return false;
  for (const SourceBytes& source : all.sources()) {
    FrameDemultiplexer frames(source.id);
    std::uint64_t f_run = 0;
    bool has_async = false;
    frames.push(bytes, [&](std::span<const std::uint8_t> block, std::uint64_t) {
      has_async = has_async || detail::find_async_end(block, 0, f_run) != detail::kNotFound;
    });
    if (has_async) return true;
  }
  return false;
}

}  // namespace qbt2
