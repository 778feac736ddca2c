// Sample files over arbitrary bytes: the reader must account for every byte, and the plug-in must
// answer each sample with a row, with no row or with a DecodeError, without a read past the sample
// or a write more than eight bytes past the capacity.
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "host/capture/sample_file.h"
#include "host/decode/decode_worker.h"
#include "host/decode/text_sink.h"

namespace {

using Kz::Dvt::Trace::DecodeError;
using qbt2::DecoderLibrary;

void require(bool condition) {
  if (!condition) std::abort();
}

/// The plug-in, set up once.
struct Decoder {
  Decoder() : unit(library.create_unit()), outline{qbt2::read_catalogue(*unit), 1, false, {}} {
    unit->DataReset();
    DecoderLibrary::Unit second = library.create_unit();
    qbt2::read_catalogue(*second);
    second->DataReset();
    worker = std::make_unique<qbt2::DecodeWorker>(std::move(second), outline.catalogue);
    qbt2::TextSinkOptions options;
    options.format = "jsonl";
    worker->use_rows(qbt2::RowUse::kStage, qbt2::TextSink(options).make_stage(outline));
  }
  DecoderLibrary library;
  DecoderLibrary::Unit unit;
  qbt2::RunOutline outline;
  std::unique_ptr<qbt2::DecodeWorker> worker;
};

/// The samples of a file with these bytes.
qbt2::CaptureCounts read_samples(const std::uint8_t* data, std::size_t size,
                                 qbt2::SampleBatch& batch) {
  const int file = ::memfd_create("samples", MFD_CLOEXEC);
  require(file >= 0 && ::write(file, data, size) == static_cast<ssize_t>(size));
  qbt2::InputFile input("/proc/self/fd/" + std::to_string(file));
  ::close(file);
  qbt2::SampleFileReader reader(input, {});
  while (reader.next(batch)) {
  }
  return reader.counts();
}

void check_coverage(const qbt2::CaptureCounts& counts, const qbt2::SampleBatch& batch,
                    std::size_t size) {
  std::uint64_t end = 0;
  for (const qbt2::SampleHead& head : batch.heads) {
    require(head.offset == end && head.begin == end);
    end += head.size;
  }
  require(counts.bytes == size && end + counts.bytes_skipped == size);
  require(counts.damages == (counts.bytes_skipped != 0 ? 1 : 0));
}

/// Buffers of exactly the promised sizes, so that the address sanitizer sees one byte too many.
void check_sample(Decoder& decoder, const std::uint8_t* sample, std::size_t size,
                  std::uint32_t capacity) {
  constexpr std::size_t kSlackBytes = 8;
  const std::unique_ptr<std::uint8_t[]> in(new std::uint8_t[size]);
  const std::unique_ptr<std::uint8_t[]> out(new std::uint8_t[capacity + kSlackBytes]);
  std::memcpy(in.get(), sample, size);
  std::uint32_t produced = 0;
  try {
    decoder.unit->ProcessSamples(0, in.get(), capacity, out.get(), produced);
  } catch (const DecodeError& error) {
    require(error.kind == 0 || error.kind == 2);
    return;
  }
  require(produced >= 1 && produced <= capacity + kSlackBytes);
  require(produced == 1 ? out[0] == 0xFD : out[produced - 1] == 0xFE);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Never destroyed: DestroyDecoderUnit runs no destructor, which would count as a leak.
  static Decoder& decoder = *new Decoder();
  (void)qbt2::looks_like_samples({data, size});
  qbt2::DecodeJob job;
  check_coverage(read_samples(data, size, job.samples), job.samples, size);
  constexpr std::uint32_t kRoomForAnyRow = 4096;
  for (const qbt2::SampleHead& head : job.samples.heads) {
    const std::uint8_t* const sample = job.samples.bytes.data() + head.begin;
    check_sample(decoder, sample, head.size, kRoomForAnyRow);
    check_sample(decoder, sample, head.size, data[0]);
  }
  decoder.worker->run(job);
  require(job.counts.rows() + job.counts.samples_without_row + job.counts.samples_rejected ==
          job.samples.heads.size());
  return 0;
}
