#include "host/stp/stp_detection.h"

#include "host/stp/stp_async.h"
#include "host/stp/stp_nibbles.h"
#include "host/stp/stp_parse.h"

namespace qbt2 {

bool looks_like_stp(std::span<const std::uint8_t> bytes) {
  std::uint64_t f_run = 0;
  std::size_t at = 0;
  while (at < bytes.size() * 2) {
    at = detail::find_async_end(bytes, at, f_run);
    if (at == detail::kNotFound) return false;
    f_run = 0;
    std::size_t next = at;
    while (next < bytes.size() * 2 && detail::nibble_at(bytes, next) == 0) ++next;
    const detail::StpParse parse = detail::parse_packet(bytes, next, true);
    if (parse.outcome == detail::StpParse::kPacket && parse.opcode.kind == StpKind::kVersion) {
      return true;
    }
  }
  return false;
}

}  // namespace qbt2
