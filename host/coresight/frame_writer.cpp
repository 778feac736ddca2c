#include "host/coresight/frame_writer.h"

#include <utility>

namespace qbt2 {
namespace {

bool is_due(std::uint64_t frame, unsigned every) {
  return every != 0 && frame % every == 0;
}

}  // namespace

FrameWriter::Even FrameWriter::data(std::uint8_t byte) {
  return {static_cast<std::uint8_t>(byte & 0xFE), (byte & 1) != 0};
}

FrameWriter::Even FrameWriter::id_change(std::uint8_t id, bool is_late) {
  return {static_cast<std::uint8_t>(id << 1 | 1), is_late};
}

void FrameWriter::write(std::uint8_t id, std::span<const std::uint8_t> bytes) {
  for (const std::uint8_t byte : bytes) write_byte(id, byte);
}

bool FrameWriter::must_write_id(std::uint8_t id) {
  if (id != current_) return true;
  return is_due(frames_, options_.repeat_id_every) && newest_id_frame_ != frames_;
}

void FrameWriter::write_byte(std::uint8_t id, std::uint8_t byte) {
  if (waiting_) {
    const std::uint8_t before = *std::exchange(waiting_, std::nullopt);
    if (id == current_) return put(data(before), byte);
    current_ = id;
    put(id_change(id, true), before);
  }
  if (must_write_id(id)) {
    current_ = id;
    newest_id_frame_ = frames_;
    if (place_ < kFrameLastPlace) return put(id_change(id, false), byte);
    put_last(id_change(id, false));
  }
  if (place_ == kFrameLastPlace) return put_last(data(byte));
  waiting_ = byte;
}

void FrameWriter::finish() {
  if (place_ == 0 && !waiting_) return;
  if (waiting_) {
    put(id_change(kNullTraceId, true), *std::exchange(waiting_, std::nullopt));
    current_ = kNullTraceId;
  }
  while (place_ != 0) {
    const Even even = current_ == kNullTraceId ? data(0) : id_change(kNullTraceId, false);
    current_ = kNullTraceId;
    if (place_ == kFrameLastPlace) return put_last(even);
    put(even, 0);
  }
}

void FrameWriter::put(const Even& even, std::uint8_t odd) {
  frame_[place_] = even.byte;
  frame_[place_ + 1] = odd;
  if (even.flag) {
    frame_[kFrameFlagsPlace] =
        static_cast<std::uint8_t>(frame_[kFrameFlagsPlace] | 1U << (place_ / 2));
  }
  place_ += 2;
}

void FrameWriter::put_last(const Even& even) {
  frame_[kFrameLastPlace] = even.byte;
  if (even.flag) {
    frame_[kFrameFlagsPlace] =
        static_cast<std::uint8_t>(frame_[kFrameFlagsPlace] | 1U << (kFrameLastPlace / 2));
  }
  end_frame();
}

void FrameWriter::end_frame() {
  if (is_due(frames_, options_.frame_sync_every)) {
    bytes_.insert(bytes_.end(), kFrameSync.begin(), kFrameSync.end());
  }
  if (is_due(frames_, options_.halfword_sync_every)) {
    bytes_.insert(bytes_.end(), kHalfwordSync.begin(), kHalfwordSync.end());
  }
  bytes_.insert(bytes_.end(), frame_.begin(), frame_.end());
  frame_.fill(0);
  place_ = 0;
  ++frames_;
}

std::vector<std::uint8_t> FrameWriter::take() {
  return std::exchange(bytes_, {});
}

}  // namespace qbt2
