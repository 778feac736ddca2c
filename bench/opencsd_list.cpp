// The peer of the whole tool: libopencsd lists the packets of an STP capture, with a callback that
// does nothing, on one thread.
//
// usage: opencsd_list CAPTURE

#include <cstdio>
#include <exception>
#include <vector>

#include "host/base/input_file.h"
#include "tests/support/opencsd_stm.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: opencsd_list CAPTURE\n");
    return 2;
  }
  try {
    qbt2::InputFile file(argv[1]);
    qbt2::test::OpencsdStm lister(
        false, 0x10, [](void*, std::uint64_t, const ocsd_stm_pkt&) {}, nullptr);
    std::vector<std::uint8_t> piece(std::size_t{64} << 10);
    while (const std::size_t got = file.read(piece)) {
      if (!lister.push(std::span(piece).first(got))) {
        std::fprintf(stderr, "opencsd_list: libopencsd gave up\n");
        return 1;
      }
    }
    lister.finish();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "opencsd_list: %s\n", error.what());
    return 1;
  }
  return 0;
}
