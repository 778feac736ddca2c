#include "host/stp/stp_packet.h"

#include <array>

namespace qbt2 {

std::string_view to_string(StpKind kind) {
  static constexpr std::array<std::string_view, kStpKindCount> kNames = {
      "NULL", "M8",  "M16",  "MERR", "GERR", "C8",    "C16",  "CERR",    "D4",      "D8",   "D16",
      "D32",  "D64", "FLAG", "USER", "TRIG", "XSYNC", "FREQ", "FREQ_40", "VERSION", "ASYNC"};
  return kNames[static_cast<std::size_t>(kind)];
}

std::string_view to_string(StpSyncLoss reason) {
  switch (reason) {
    case StpSyncLoss::kReservedOpcode:
      return "reserved opcode";
    case StpSyncLoss::kUnsettledPacket:
      return "packet of unsettled length";
    case StpSyncLoss::kReservedTimestampSize:
      return "reserved timestamp size";
    case StpSyncLoss::kReservedVersion:
      return "reserved VERSION";
    case StpSyncLoss::kStpVersion1:
      return "STP version 1 is not supported";
    case StpSyncLoss::kCutByAsync:
      return "packet cut short by an ASYNC";
    case StpSyncLoss::kRunOfOnes:
      return "run of ones too long for an ASYNC";
  }
  return "unknown";
}

}  // namespace qbt2
