#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/decode/master_selection.h"
#include "host/decode/run_report.h"
#include "host/rows/named_master.h"

/// What neither a row nor a damaged place says: that a capture held nothing to decode, that the
/// settings do not fit the traffic, or that what would make rows readable was not given. Pure
/// functions (no_settings_notice() looks for files); texts for a person, without the file's name.
namespace qbt2 {

/// The setting with the rate of the trace source's clock in Hz. Nothing says that its timestamps
/// count in that clock, so it is only mentioned.
inline constexpr const char* kClockSetting = "STM_DTC_fprocess_clock_hz";

/// Whether a capture that was read to its end held nothing that could be decoded.
bool held_nothing(const CaptureCounts& counts);
std::vector<std::string> capture_notices(const CaptureCounts& counts);

/// For a capture whose rows go without names. Names the settings that lie beside it, as
/// `qbt2 generate` writes them: CAPTURE.cfg, or CAPTURE with its suffix replaced.
std::string no_settings_notice(const std::string& capture_path);

/// Masters with settings and no traffic, and the other way round: a line each. Only for a run that
/// has read everything. `configured`: the ids of the settings, in rising order.
std::vector<std::string> traffic_notices(const std::vector<std::uint32_t>& configured,
                                         const RunReport& report);

/// Rows that carry the name of another master than their own, because the decoder knows only the
/// low 8 bits of an id: a line for each of the first 20 probes, then their number. `masters` as
/// RunOutline has them; `wanted`: the masters whose rows were asked for, empty: all.
std::vector<std::string> shared_probe_notices(const std::vector<NamedMaster>& masters,
                                              const std::vector<std::uint16_t>& wanted,
                                              const RunReport& report);

/// Names the choices without traffic in any capture, and the masters with traffic; empty where
/// there are none.
std::string missing_masters_notice(const std::vector<MasterChoice>& choices,
                                   const RunReport& report);

/// For the first capture that gave rows with timestamps of an unknown rate: its name and the text.
/// `clock_setting`: what the settings say about the clock of the trace source; empty: nothing.
struct ClockNotice {
  std::string file;
  std::string text;
};
std::optional<ClockNotice> clock_notice(const std::optional<std::string>& clock_setting,
                                        const RunReport& report);

}  // namespace qbt2
