#pragma once

#include <string>
#include <vector>

#include "host/decode/decoder_setup.h"
#include "host/decode/run_report.h"

/// What neither a row nor a damaged place says: that a capture held nothing to decode, or that the
/// settings do not fit the traffic. Pure functions; texts for a person, without the file's name.
namespace qbt2 {

/// Whether a capture that was read to its end held nothing that could be decoded.
bool held_nothing(const CaptureCounts& counts);
std::vector<std::string> capture_notices(const CaptureCounts& counts);

/// Use-case settings that the decoder cannot use, settings of masters without traffic, and traffic
/// of masters without settings. Nothing where there are no settings.
std::vector<std::string> settings_notices(const DecoderSetup& setup, const RunReport& report);

}  // namespace qbt2
