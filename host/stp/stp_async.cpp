#include "host/stp/stp_async.h"

#include <cstring>

#include "host/stp/stp_nibbles.h"
#include "host/stp/stp_opcodes.h"

namespace qbt2::detail {
namespace {

bool all_ones(const std::uint8_t* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word == ~std::uint64_t{0};
}

}  // namespace

std::size_t skip_f_run(std::span<const std::uint8_t> data, std::size_t at, std::uint64_t& f_run) {
  const std::size_t end = data.size() * 2;
  const std::size_t begin = at;
  while (at < end && nibble_at(data, at) == kNibbleF) {
    ++at;
    while (at % 2 == 0 && end - at >= 16 && all_ones(data.data() + at / 2)) at += 16;
  }
  f_run += at - begin;
  return at;
}

std::size_t find_async_end(std::span<const std::uint8_t> data, std::size_t at,
                           std::uint64_t& f_run) {
  // 21 F nibbles fill 10 whole bytes. A run that begins in byte b or one of the 8 after it fills
  // byte b + 9, so one comparison rules out nine bytes.
  constexpr std::size_t kStride = 9;
  const std::size_t end = data.size() * 2;
  while (at < end) {
    if (f_run == 0 && at % 2 == 0) {
      std::size_t byte = at / 2;
      while (data.size() - byte > kStride && data[byte + kStride] != 0xFF) byte += kStride;
      at = byte * 2;
    }
    const std::size_t run_end = skip_f_run(data, at, f_run);
    if (run_end == end) return kNotFound;
    at = run_end + 1;
    if (f_run >= kAsyncRun && nibble_at(data, run_end) == 0) return at;
    f_run = 0;
  }
  return kNotFound;
}

}  // namespace qbt2::detail
