// The STP reader over arbitrary bytes in chunks of arbitrary sizes: the same events as the
// reference reader, which has the whole stream in memory.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "tests/host/stp/reference_stp_reader.h"
#include "tests/host/stp/stp_events.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

/// The first byte is the size of the chunks; 0 means one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::span<const std::uint8_t> bytes(data + 1, size - 1);
  const std::size_t chunk = data[0] == 0 ? size : data[0];
  qbt2::StpReader reader;
  qbt2::test::StpRecorder recorder;
  for (std::size_t at = 0; at < bytes.size(); at += chunk) {
    reader.push(bytes.subspan(at, std::min(chunk, bytes.size() - at)), recorder);
  }
  const bool on_boundary = reader.finish(recorder);

  const qbt2::test::ReferenceStpReader reference(bytes);
  require(on_boundary == reference.ended_on_boundary);
  require(recorder.events == reference.events);
  require(reader.counters() == reference.counters);
  return 0;
}
