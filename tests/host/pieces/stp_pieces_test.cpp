// A stream that is cut into pieces, read in parallel and stitched, against one reader over all of
// it: samples, counts, damage and notices must be the same.

#include <gtest/gtest.h>

#include <deque>
#include <fstream>
#include <sstream>

#include "host/coresight/frame_demultiplexer.h"
#include "host/generate/capture_generator.h"
#include "host/pieces/stp_piece_cutter.h"
#include "host/pieces/stp_piece_reader.h"
#include "host/pieces/stp_stitcher.h"
#include "tests/host/stp/random_stp.h"

namespace qbt2 {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// What a reading gives, as text that a failure can show.
struct Reading {
  std::ostringstream samples;
  std::ostringstream damage;
  std::ostringstream notices;
  std::ostringstream counts;
  std::uint64_t bytes_read_in_order = 0;

  void add(const SampleBatch& batch) {
    for (const SampleHead& head : batch.heads) {
      samples << head.offset << ' ' << head.master;
      if (head.has_timestamp) samples << " @" << head.timestamp;
      if (head.has_time_ns) samples << " =" << head.time_ns;
      for (std::uint32_t i = 0; i < head.size; ++i) {
        samples << ' ' << +batch.bytes.data()[head.begin + i];
      }
      samples << '\n';
    }
  }
  void add(const CaptureCounts& all) {
    const AssemblyCounts& assembly = all.assembly;
    for (const std::uint64_t count :
         {all.stp_bytes, all.stp_packets, all.stp_async_packets, all.stp_sync_losses,
          all.bytes_skipped, all.damages, assembly.words, assembly.messages,
          assembly.messages_incomplete, assembly.ignored_packets, assembly.source_errors}) {
      counts << count << ' ';
    }
    for (const auto& [words, messages] : assembly.messages_of_words) {
      counts << words << ':' << messages << ' ';
    }
    for (std::size_t m = 0; m < assembly.masters.size(); ++m) {
      if (assembly.masters.test(m)) counts << 'M' << m << ' ';
    }
  }
  CaptureOptions reported_here(CaptureOptions options) {
    options.on_damage = [this](std::uint64_t offset, std::string_view reason) {
      damage << offset << ' ' << reason << '\n';
    };
    options.on_notice = [this](std::string_view text) { notices << text << '\n'; };
    return options;
  }
};

Reading read_in_one(const Bytes& bytes, const CaptureOptions& options) {
  Reading reading;
  StpMessageReader reader(reading.reported_here(options), nullptr);
  SampleBatch batch;
  reader.push(bytes, batch);
  reader.finish(batch);
  reading.add(batch);
  CaptureCounts counts;
  reader.add_to(counts);
  reading.add(counts);
  return reading;
}

/// `ahead`: pieces that are read before the oldest one is stitched.
Reading read_in_pieces(const Bytes& bytes, const CaptureOptions& options, std::size_t piece_bytes,
                       std::size_t ahead) {
  struct Job {
    StpPiece piece;
    SampleBatch samples;
  };
  Reading reading;
  std::size_t at = 0;
  StpPieceCutter cutter(
      [&](std::span<std::uint8_t> buffer) {
        const std::size_t size = std::min(buffer.size(), bytes.size() - at);
        std::copy_n(bytes.data() + at, size, buffer.data());
        at += size;
        return size;
      },
      piece_bytes);
  StpStitcher stitcher(reading.reported_here(options));
  std::optional<StpPieceReader> reader;
  std::deque<Job> jobs;
  const auto stitch_oldest = [&] {
    Job& job = jobs.front();
    stitcher.stitch(job.piece, job.samples);
    job.piece.exchange_beginning(job.samples);
    reading.add(job.samples);
    jobs.pop_front();
  };
  for (;;) {
    Job& job = jobs.emplace_back();
    const bool any = cutter.next(job.piece);
    if (!any) break;
    stitcher.prepare(job.piece);
    if (job.piece.wants_read) {
      if (!reader) reader.emplace(options, job.piece.framing);
      reader->read(job.piece, job.samples);
    }
    if (jobs.size() > ahead || !stitcher.may_cut()) stitch_oldest();
  }
  jobs.pop_back();
  while (!jobs.empty()) stitch_oldest();
  SampleBatch batch;
  stitcher.finish(batch);
  reading.add(batch);
  CaptureCounts counts;
  stitcher.add_to(counts);
  reading.add(counts);
  reading.bytes_read_in_order = stitcher.bytes_read_here();
  return reading;
}

/// Compares the readings for pieces of all sizes; returns the bytes that were not read in parallel.
std::uint64_t expect_same(const Bytes& bytes, const CaptureOptions& options) {
  const Reading expected = read_in_one(bytes, options);
  std::uint64_t read_in_order = 0;
  for (const std::size_t piece_bytes : {std::size_t{1500}, std::size_t{1}}) {
    for (const std::size_t ahead : {std::size_t{0}, std::size_t{5}}) {
      SCOPED_TRACE(testing::Message() << "pieces of " << piece_bytes << ", " << ahead << " ahead");
      const Reading reading = read_in_pieces(bytes, options, piece_bytes, ahead);
      EXPECT_EQ(reading.samples.str(), expected.samples.str());
      EXPECT_EQ(reading.damage.str(), expected.damage.str());
      EXPECT_EQ(reading.notices.str(), expected.notices.str());
      EXPECT_EQ(reading.counts.str(), expected.counts.str());
      read_in_order = reading.bytes_read_in_order;
    }
  }
  return read_in_order;
}

Bytes generated(GeneratorOptions options) {
  Bytes bytes;
  CaptureGenerator(options).run([&](std::span<const std::uint8_t> piece) {
    bytes.insert(bytes.end(), piece.begin(), piece.end());
  });
  return bytes;
}

GeneratorOptions generator_options(Framing framing, TimestampUse use, StpTimestampCoding coding) {
  GeneratorOptions options;
  options.bytes = 12'000;
  options.encoding.framing = framing;
  options.encoding.timestamps = use;
  options.encoding.coding = coding;
  options.encoding.async_every = 400;
  options.frequency_packet = coding != StpTimestampCoding::kGray;
  options.traffic.masters = {0, 1, 44, 300};
  return options;
}

constexpr Framing kFramings[] = {Framing::kFlag, Framing::kMarkerLast, Framing::kTimestampLast,
                                 Framing::kMarkerFirst};

TEST(StpPieces, GeneratedCapturesOfEveryKindSoundAndDamaged) {
  for (const Framing framing : kFramings) {
    for (const auto use : {TimestampUse::kEvery, TimestampUse::kSome, TimestampUse::kNone}) {
      if (framing == Framing::kTimestampLast && use != TimestampUse::kEvery) continue;
      for (const auto coding :
           {StpTimestampCoding::kNatural, StpTimestampCoding::kGray, StpTimestampCoding::kDelta}) {
        SCOPED_TRACE(testing::Message()
                     << framing_name(framing) << ' ' << int(use) << ' ' << int(coding));
        GeneratorOptions options = generator_options(framing, use, coding);
        CaptureOptions read;
        read.framing = framing;
        const Bytes sound = generated(options);
        const std::uint64_t in_order = expect_same(sound, read);
        // A sum of differences is known only to who has read all of them; and under marker-first
        // every source always has a message open.
        if (coding != StpTimestampCoding::kDelta && framing != Framing::kMarkerFirst) {
          EXPECT_LT(in_order, sound.size() / 2);
        }
        options.damaged_places = 6;
        const Bytes damaged = generated(options);
        expect_same(damaged, {});
        read.clock_hz = 1'000'000;
        read.masters = {1, 300};
        expect_same(damaged, read);
        if (HasFailure()) return;
      }
    }
  }
}

/// The STP stream of a file, out of its frames if it has some.
Bytes stream_of(const std::string& name) {
  std::ifstream file(QBT2_SHARED_DATA_DIR "/" + name, std::ios::binary);
  const Bytes bytes((std::istreambuf_iterator<char>(file)), {});
  EXPECT_FALSE(bytes.empty()) << name;
  if (name.ends_with(".stp")) return bytes;
  Bytes stream;
  FrameDemultiplexer(name.starts_with("flagged") ? 0x10 : 0x20)
      .push(bytes, [&](std::span<const std::uint8_t> block, std::uint64_t /*offset*/) {
        stream.insert(stream.end(), block.begin(), block.end());
      });
  return stream;
}

TEST(StpPieces, RealCapturesRepeatedAndDamaged) {
  for (const char* const name : {"mixed-8-masters.stp", "stm-board-a.cs.bin", "stm-board-b.cs.bin",
                                 "flagged-messages.cs.bin"}) {
    const Bytes once = stream_of(name);
    for (std::uint32_t variant = 0; variant < 8; ++variant) {
      SCOPED_TRACE(testing::Message() << name << ", variant " << variant);
      SeededRandom random(variant);
      Bytes bytes;
      for (int copy = 0; copy < 3; ++copy) bytes.insert(bytes.end(), once.begin(), once.end());
      for (std::uint32_t place = 0; place < 4 * variant; ++place) {
        bytes[random.below(static_cast<std::uint32_t>(bytes.size()))] ^=
            static_cast<std::uint8_t>(1U << random.below(8));
      }
      bytes.erase(bytes.end() - variant, bytes.end());
      expect_same(bytes, {});
      if (HasFailure()) return;
    }
  }
}

/// A message of two words in every framing, so that the framing is settled.
Bytes first_messages() {
  StpWriter writer;
  writer.async();
  writer.version(StpTimestampCoding::kNatural);
  writer.data(StpKind::kD32, 1);
  writer.data(StpKind::kD32, 2, {.marked = true, .timestamp = 100});
  writer.flag();
  writer.data(StpKind::kD32, 3, {.marked = true});
  writer.data(StpKind::kD32, 4);
  writer.flag();
  writer.pad_to_byte();
  return writer.take();
}

TEST(StpPieces, AThousandDamagedStreamsOfRandomPackets) {
  for (std::uint64_t seed = 0; seed < 1000; ++seed) {
    SCOPED_TRACE(seed);
    test::RandomStp random(seed);
    Bytes bytes = first_messages();
    const Bytes rest = seed % 8 == 0 ? random.sound(400) : random.damaged(100 + seed % 400);
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    CaptureOptions options;
    options.framing = kFramings[seed % 4];
    expect_same(bytes, options);
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace qbt2
