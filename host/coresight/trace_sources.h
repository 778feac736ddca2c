#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "host/base/input_file.h"
#include "host/coresight/frame_demultiplexer.h"

namespace qbt2 {

/// The trace sources that frames in `input` hold: those of a whole regular file, which is then
/// rewound to its first byte; of a pipe those of its first megabyte, which stays to be read, or of
/// less where a source is there and the pipe pauses for half a second or takes two.
/// `on_progress` (may be empty) is called with the bytes read so far. Throws Error(kInput) when the
/// input cannot be read.
std::vector<SourceBytes> find_sources(
    InputFile& input, const std::function<void(std::uint64_t bytes)>& on_progress = {});

}  // namespace qbt2
