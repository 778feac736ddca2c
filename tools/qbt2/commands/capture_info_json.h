#pragma once

#include "host/capture/capture_info.h"
#include "tools/qbt2/commands/json_list.h"

/// What captures contain, as JSON objects: the members of `qbt2 info` after file and kind. Pure
/// functions.
namespace qbt2::tool {

Json stp_json(const StpInfo& info);
/// Lists the sources with data of their own. Sources that are likely no more than a flipped bit in
/// an ID change are only counted.
Json frames_json(const FramesInfo& info);
Json samples_json(const SamplesInfo& info);

}  // namespace qbt2::tool
