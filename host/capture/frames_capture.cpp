#include "host/capture/frames_capture.h"

#include <algorithm>
#include <string>

#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/capture/capture_format.h"
#include "host/capture/file_kind.h"
#include "host/coresight/frame_detection.h"
#include "host/coresight/trace_sources.h"

namespace qbt2 {
namespace {

std::string shown_id(std::uint8_t id) {
  return hex_text(id, 2);
}

std::string list_of(const std::vector<SourceBytes>& sources) {
  std::string text;
  for (const SourceBytes& source : sources) {
    if (!text.empty()) text += ", ";
    text += shown_id(source.id);
  }
  return text;
}

/// A single damaged byte can change to an ID that no source has: sources with less than one percent
/// of the largest one's data are dropped.
std::vector<SourceBytes> without_strays(std::vector<SourceBytes> sources) {
  constexpr std::uint64_t kPercent = 100;
  std::uint64_t largest = 0;
  for (const SourceBytes& source : sources) largest = std::max(largest, source.bytes);
  std::erase_if(sources,
                [largest](const SourceBytes& source) { return source.bytes * kPercent < largest; });
  return sources;
}

/// So many sources without any STP among them are no system's: the bytes are not frames.
void refuse_other_data(InputFile& input, std::size_t sources) {
  constexpr std::size_t kMostWithoutStp = 16;
  if (sources <= kMostWithoutStp) return;
  const auto head =
      input.peek_live(kDetectionBytes, [](auto /*bytes*/, bool paused) { return paused; });
  if (looks_like_frames(head)) return;
  const std::string hint = wrong_file_hint(head, FileUse::kCapture);
  throw Error(ErrorCode::kUsage, input.name(),
              "does not look like formatter frames: " + std::to_string(sources) +
                  " source IDs, and STP under none of them; " +
                  (hint.empty() ? "leave out --input frames" : hint));
}

std::uint8_t choose_source(InputFile& input, const CaptureOptions& options) {
  if (options.source_id) return *options.source_id;
  const std::vector<SourceBytes> all = find_sources(input);
  const std::vector<SourceBytes> sources = without_strays(all);
  if (sources.empty()) return kNullTraceId;
  refuse_other_data(input, sources.size());
  if (sources.size() > 1) {
    throw Error(
        ErrorCode::kUsage, input.name(),
        "contains several trace sources: " + list_of(sources) + "; choose one with --atb-id");
  }
  const std::uint8_t source = sources.front().id;
  if (all.size() > 1 && options.on_notice) {
    options.on_notice("decoding source " + shown_id(source) + "; " +
                      counted(all.size() - 1, "other ID has", "other IDs have") +
                      " less than 1 % of its data each, taken for damage");
  }
  return source;
}

}  // namespace

FramesCaptureReader::FramesCaptureReader(InputFile& input, const CaptureOptions& options)
    : input_(input),
      options_(options),
      source_(choose_source(input, options)),
      frames_(source_),
      offsets_(frames_),
      messages_(options, &offsets_),
      piece_(kCapturePieceBytes) {}

bool FramesCaptureReader::next(SampleBatch& batch) {
  if (ended_) return false;
  const std::size_t got = input_.read(piece_);
  if (got == 0) {
    finish(batch);
    return true;
  }
  frames_.push(std::span(piece_).first(got),
               [&](std::span<const std::uint8_t> stream_bytes, std::uint64_t /*offset*/) {
                 messages_.push(stream_bytes, batch);
               });
  return true;
}

void FramesCaptureReader::finish(SampleBatch& batch) {
  ended_ = true;
  messages_.finish(batch);
  is_cut_ = report_if_cut(input_, options_.on_damage);
  report_cut_frames(frames_, options_.on_notice);
  if (frames_.stream_bytes() != 0 || frames_.input_bytes() == 0 || !options_.on_notice) return;
  if (source_ == kNullTraceId) return options_.on_notice("the frames contain no trace source");
  const std::vector<SourceBytes> others = frames_.sources();
  const std::string present = others.empty() ? "" : "; sources present: " + list_of(others);
  options_.on_notice("the frames contain no data of source " + shown_id(source_) + present);
}

void report_cut_frames(const FrameDemultiplexer& frames,
                       const std::function<void(std::string_view text)>& on_notice) {
  if (frames.frames_cut() == 0 || !on_notice) return;
  on_notice(counted(frames.frames_cut(), "frame is", "frames are") +
            " cut short by a frame synchronization packet, the first at byte " +
            std::to_string(frames.first_cut_offset()) + "; what it held is lost");
}

CaptureCounts FramesCaptureReader::counts() const {
  CaptureCounts counts;
  counts.bytes = frames_.input_bytes();
  counts.bytes_framing = frames_.bytes_framing();
  counts.bytes_other_sources = frames_.bytes_other_sources();
  counts.damages = frames_.frames_cut() + (is_cut_ ? 1 : 0);
  messages_.add_to(counts);
  return counts;
}

}  // namespace qbt2
