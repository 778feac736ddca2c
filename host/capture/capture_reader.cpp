#include "host/capture/capture_reader.h"

#include <string>

#include "host/base/number_text.h"

namespace qbt2 {

bool report_if_cut(const InputFile& input, const OnDamage& on_damage) {
  if (input.missing_bytes() == 0) return false;
  if (on_damage) {
    on_damage(input.position(), "the file became shorter while it was read: its last " +
                                    counted(input.missing_bytes(), "byte is", "bytes are") +
                                    " missing");
  }
  return true;
}

CaptureCounts& CaptureCounts::operator+=(const CaptureCounts& other) {
  bytes += other.bytes;
  bytes_framing += other.bytes_framing;
  bytes_other_sources += other.bytes_other_sources;
  stp_bytes += other.stp_bytes;
  stp_packets += other.stp_packets;
  stp_async_packets += other.stp_async_packets;
  stp_sync_losses += other.stp_sync_losses;
  bytes_skipped += other.bytes_skipped;
  damages += other.damages;
  assembly += other.assembly;
  return *this;
}

}  // namespace qbt2
