#include "host/decode/capture_set.h"

#include "host/base/error.h"
#include "host/capture/file_kind.h"
#include "host/capture/open_capture.h"

namespace qbt2 {
namespace {

CaptureFormat format_of(InputFile& file, const DecodeRequest& request) {
  if (request.input) return *request.input;
  const auto format = detect_capture_format(file);
  if (format) return *format;
  if (file.peek(1).empty()) return CaptureFormat::kStp;  // reported as empty at its end
  const std::string hint = wrong_file_hint(file.peek(kDetectionBytes), FileUse::kCapture);
  if (!hint.empty()) {
    throw Error(ErrorCode::kInput, file.name(), 0, "not recognised as a capture: " + hint);
  }
  throw Error(ErrorCode::kInput, file.name(), 0,
              "not recognised as a capture (neither samples, nor STP with an ASYNC packet, nor "
              "formatter frames); choose with --input");
}

CaptureOptions options_for(const InputFile& file, const DecodeRequest& request,
                           std::optional<std::uint8_t> settings_source, RunObserver* observer) {
  CaptureOptions options;
  options.framing = request.framing;
  options.source_id = request.source_id ? request.source_id : settings_source;
  options.clock_hz = request.clock_hz;
  options.masters = request.masters;
  if (observer != nullptr) {
    options.on_damage = [observer, &file](std::uint64_t offset, std::string_view reason) {
      observer->on_damage(file.name(), offset, reason);
    };
    options.on_notice = [observer, &file](std::string_view text) {
      observer->on_notice(file.name(), text);
    };
  }
  return options;
}

/// Options that belong to another format than the one that was detected, and a format that was
/// given for a file that looks like none.
void note_doubts(InputFile& file, CaptureFormat format, const DecodeRequest& request,
                 RunObserver& observer) {
  if (request.input && file.is_regular() && !detect_capture_format(file)) {
    const std::string hint = wrong_file_hint(file.peek(kDetectionBytes), FileUse::kCapture);
    if (!hint.empty()) observer.on_notice(file.name(), hint);
  }
  if (request.source_id && format != CaptureFormat::kFrames) {
    observer.on_notice(file.name(), "has no formatter frames: --atb-id is not used");
  }
  if (request.framing && format == CaptureFormat::kSamples) {
    observer.on_notice(file.name(),
                       "contains samples, which are whole messages: --framing is not used");
  }
}

}  // namespace

std::vector<OpenCapture> open_captures(const DecodeRequest& request,
                                       std::optional<std::uint8_t> settings_source, bool in_pieces,
                                       RunObserver* observer) {
  std::vector<OpenCapture> captures;
  captures.reserve(request.captures.size());
  for (const std::string& path : request.captures) {
    captures.emplace_back().file = std::make_unique<InputFile>(path);
  }
  for (OpenCapture& capture : captures) {
    InputFile& file = *capture.file;
    capture.format = format_of(file, request);
    if (observer != nullptr) note_doubts(file, capture.format, request, *observer);
    const CaptureOptions options = options_for(file, request, settings_source, observer);
    if (in_pieces && capture.format == CaptureFormat::kStp && file.is_regular()) {
      capture.pieces = std::make_unique<StpPieceCapture>(file, options);
    } else {
      capture.reader = make_capture_reader(file, capture.format, options);
    }
  }
  return captures;
}

std::uint64_t total_bytes(const std::vector<OpenCapture>& captures) {
  std::uint64_t total = 0;
  for (const OpenCapture& capture : captures) {
    if (!capture.file->is_regular()) return 0;
    total += capture.file->size_bytes();
  }
  return total;
}

}  // namespace qbt2
