#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "host/base/trace_id.h"
#include "host/coresight/frame_format.h"

/// Wraps the bytes of trace sources into CoreSight formatter frames: the inverse of
/// FrameDemultiplexer, for synthetic captures and for tests. One thread.
namespace qbt2 {

class FrameWriter {
 public:
  /// What a continuous stream contains besides data. Counted in frames; 0: never.
  struct Options {
    unsigned frame_sync_every = 0;     ///< a frame synchronization packet before every n-th
    unsigned halfword_sync_every = 0;  ///< a halfword synchronization packet before every n-th
    unsigned repeat_id_every = 0;      ///< the current ID again in every n-th frame
  };

  FrameWriter() = default;
  explicit FrameWriter(const Options& options) : options_(options) {}

  /// Appends bytes of source `id`. An ID that changes at an odd place is sent before that byte, to
  /// take effect after it.
  void write(std::uint8_t id, std::span<const std::uint8_t> bytes);
  /// Fills a frame that has been begun with padding.
  void finish();

  /// Whole frames, not yet taken.
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }
  std::vector<std::uint8_t> take();

 private:
  /// An even byte and its flag: data, or an ID change and whether it takes effect one byte late.
  struct Even {
    std::uint8_t byte = 0;
    bool flag = false;
  };
  static Even data(std::uint8_t byte);
  static Even id_change(std::uint8_t id, bool is_late);

  void write_byte(std::uint8_t id, std::uint8_t byte);
  bool must_write_id(std::uint8_t id);
  void put(const Even& even, std::uint8_t odd);
  void put_last(const Even& even);
  void end_frame();

  Options options_;
  std::vector<std::uint8_t> bytes_;
  std::uint64_t frames_ = 0;
  std::uint64_t newest_id_frame_ = ~std::uint64_t{0};
  std::uint8_t current_ = kNullTraceId;
  std::array<std::uint8_t, kFrameBytes> frame_{};
  std::size_t place_ = 0;  ///< the next even place
  /// A byte of the current source for that place, or for the odd one if the ID changes after it.
  std::optional<std::uint8_t> waiting_;
};

}  // namespace qbt2
