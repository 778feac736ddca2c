#pragma once

#include <memory>

#include "host/capture/capture_format.h"
#include "host/capture/capture_reader.h"

/// Opens a capture of any format: the one place that knows all capture readers.
namespace qbt2 {

/// The format of an input that is at its first byte, of which nothing is taken; empty when it is
/// not a capture. Of a pipe that is being written no more is awaited than needed. Throws
/// Error(kInput) when the input cannot be read.
std::optional<CaptureFormat> detect_capture_format(InputFile& input);

/// The reader of `format` for `input`, which must outlive it and be at its first byte. Any
/// thread; the reader itself is used by one thread at a time.
/// Throws Error(kUsage) when frames hold several trace sources and `options` names none (the
/// message lists their IDs), Error(kInput) when the input cannot be read.
std::unique_ptr<CaptureReader> make_capture_reader(InputFile& input, CaptureFormat format,
                                                   const CaptureOptions& options);

}  // namespace qbt2
