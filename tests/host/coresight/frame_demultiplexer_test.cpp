#include "host/coresight/frame_demultiplexer.h"

#include <map>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "host/coresight/frame_detection.h"
#include "host/coresight/frame_writer.h"
#include "host/stp/stp_detection.h"
#include "tests/host/coresight/reference_demultiplexer.h"
#include "tests/host/stp/random_stp.h"

namespace qbt2 {
namespace {

using test::PlacedByte;
using test::RandomStp;
using test::ReferenceDemultiplexer;
using Bytes = std::vector<std::uint8_t>;

/// One source of an input that is demultiplexed in chunks of random sizes.
struct Demultiplexed {
  FrameDemultiplexer frames;
  std::vector<PlacedByte> placed;

  Demultiplexed(const Bytes& input, std::uint8_t source, RandomStp& random) : frames(source) {
    random.in_chunks(input, [&](std::span<const std::uint8_t> chunk) {
      frames.push(chunk, [&](std::span<const std::uint8_t> block, std::uint64_t first) {
        EXPECT_EQ(first, placed.size());
        for (std::size_t i = 0; i < block.size(); ++i) {
          placed.push_back({block[i], frames.input_offset(first + i)});
        }
      });
    });
    EXPECT_EQ(frames.input_bytes(), input.size());
    EXPECT_EQ(frames.stream_bytes(), placed.size());
    EXPECT_EQ(frames.bytes_framing() + frames.bytes_other_sources() + frames.stream_bytes(),
              input.size());
  }

  Bytes bytes() const {
    Bytes all;
    for (const PlacedByte& one : placed) all.push_back(one.byte);
    return all;
  }
};

Bytes demultiplex(const Bytes& input, std::uint8_t source) {
  RandomStp random(1);
  return Demultiplexed(input, source, random).bytes();
}

TEST(FrameDemultiplexer, TakesFramesApart) {
  struct Case {
    const char* what;
    Bytes input;
    Bytes of_10;
    Bytes of_20;
  };
  const Case cases[] = {
      {"a change that takes effect at once, and one that does not",
       {0x21, 1, 2, 3, 0x41, 5, 6, 7, 0x21, 9, 10, 11, 12, 13, 14, 0x10},
       {1, 2, 3, 10, 11, 12, 13, 14},
       {5, 6, 7, 9}},
      {"a change at the last place holds from the next frame on, late or not",
       {0x21, 1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 0x41, 0x80,  //
        20,   21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34,   0},
       {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13},
       {20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34}},
      {"padding", {0x21, 1, 2, 3, 0x01, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 4}, {1, 2, 3, 5}, {}},
      {"data before the first ID belongs to no source",
       {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 0x21, 0},
       {},
       {}},
      {"halfword synchronization packets within a frame of a continuous stream",
       {0xFF, 0xFF, 0xFF, 0x7F, 0x21, 1,  0xFF, 0x7F, 2,    3,    4,    5,  6,
        7,    8,    9,    10,   11,   12, 13,   0xFF, 0x7F, 0xFF, 0x7F, 14, 0},
       {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14},
       {}},
      {"a frame cut by the end", {0x21, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(demultiplex(c.input, 0x10), c.of_10);
    EXPECT_EQ(demultiplex(c.input, 0x20), c.of_20);
  }
}

TEST(FrameDemultiplexer, CountsEveryByte) {
  // ID, three bytes of 0x10; ID, five of 0x20; null ID and padding; byte 15.
  const Bytes frame = {0x21, 1, 2, 3, 0x41, 5, 6, 7, 8, 9, 0x01, 0, 0, 0, 0, 0};
  Bytes input = frame;
  input.insert(input.end(), frame.begin(), frame.begin() + 7);
  FrameDemultiplexer frames(0x20);
  frames.push(input);
  EXPECT_EQ(frames.stream_bytes(), 5U);
  EXPECT_EQ(frames.bytes_other_sources(), 3U);
  EXPECT_EQ(frames.bytes_framing(), 16U - 8U + 7U);
  EXPECT_EQ(frames.sources(), (std::vector<SourceBytes>{{0x10, 3}, {0x20, 5}}));
}

TEST(FrameDemultiplexer, AFrameSynchronizationPacketEndsACutFrame) {
  const Bytes frame = {0x21, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0};
  const Bytes data = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
  for (std::ptrdiff_t kept = 1; kept < 16; ++kept) {
    Bytes input(frame.begin(), frame.begin() + kept);
    input.insert(input.end(), {0xFF, 0xFF, 0xFF, 0x7F});
    input.insert(input.end(), frame.begin(), frame.end());
    for (std::uint64_t seed = 1; seed < 9; ++seed) {
      SCOPED_TRACE(std::to_string(kept) + " bytes kept, seed " + std::to_string(seed));
      RandomStp random(seed);
      const Demultiplexed one(input, 0x10, random);
      EXPECT_EQ(one.frames.frames_cut(), 1U);
      // With 13 to 15 bytes before it, the packet's own head completes a wrong frame first.
      const Bytes bytes = one.bytes();
      ASSERT_TRUE(kept < 13 ? bytes.size() == 14 : bytes.size() >= 14) << bytes.size();
      EXPECT_EQ(Bytes(bytes.end() - 14, bytes.end()), data);
    }
  }
}

TEST(FrameDemultiplexer, ReadsWhatTheWriterWrote) {
  for (std::uint64_t seed = 1; seed <= 300 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    RandomStp random(seed);
    const auto sometimes = [&] { return static_cast<unsigned>(random.below(2) * random.below(6)); };
    FrameWriter writer({sometimes(), sometimes(), sometimes()});
    std::map<std::uint8_t, Bytes> written;
    for (std::uint64_t pieces = 1 + random.below(60); pieces > 0; --pieces) {
      const auto id = static_cast<std::uint8_t>(1 + random.below(random.below(2) == 0 ? 3 : 0x6F));
      Bytes bytes(random.below(random.below(3) == 0 ? 200 : 5));
      for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.value());
      writer.write(id, bytes);
      written[id].insert(written[id].end(), bytes.begin(), bytes.end());
      if (random.below(10) == 0) writer.finish();
    }
    writer.finish();
    const Bytes input = writer.take();
    auto expected = ReferenceDemultiplexer(input).sources;
    for (const auto& [id, bytes] : written) {
      const Demultiplexed one(input, id, random);
      EXPECT_EQ(one.bytes(), bytes);
      EXPECT_EQ(one.placed, expected[id]);
      EXPECT_EQ(one.frames.frames_cut(), 0U);
    }
  }
}

TEST(InputOffsets, KeepsTheLast64KiB) {
  // Two sources alternate byte by byte: the most marks possible.
  FrameWriter writer;
  for (int i = 0; i < 400000; ++i) {
    const auto byte = static_cast<std::uint8_t>(i);
    writer.write(static_cast<std::uint8_t>(1 + i % 2), std::span(&byte, 1));
  }
  writer.finish();
  const Bytes input = writer.take();
  const std::vector<PlacedByte> placed = ReferenceDemultiplexer(input).sources.at(1);
  FrameDemultiplexer frames(1);
  std::uint64_t seen = 0;
  frames.push(input, [&](std::span<const std::uint8_t> block, std::uint64_t first) {
    seen = first + block.size();
    for (const std::uint64_t back : {std::uint64_t{1}, std::uint64_t{4000}, std::uint64_t{65000}}) {
      if (back > seen) continue;
      EXPECT_EQ(frames.input_offset(seen - back), placed[seen - back].input_offset);
    }
  });
  EXPECT_EQ(seen, 200000U);
  // For older bytes the oldest known offset is returned.
  EXPECT_LT(frames.input_offset(0), placed[seen - 65000].input_offset);
}

TEST(InputDetection, DistinguishesStreamsFromFrames) {
  RandomStp random(7);
  StpWriter writer;
  writer.async();
  writer.version(StpTimestampCoding::kGray);
  for (int i = 0; i < 500; ++i) random.packet(writer);
  writer.pad_to_byte();
  const Bytes stp = writer.take();

  Bytes late(1000, 0x35);
  late.insert(late.end(), stp.begin(), stp.end());

  FrameWriter frame_writer;
  frame_writer.write(0x10, Bytes(300, 0x55));
  frame_writer.write(0x20, stp);
  frame_writer.finish();
  const Bytes framed = frame_writer.take();

  Bytes async_alone(10, 0xFF);
  async_alone.insert(async_alone.end(), {0x0F, 0x66});

  struct Case {
    const char* what;
    Bytes bytes;
    bool is_stp;
    bool is_frames;
  };
  const Case cases[] = {
      {"nothing", {}, false, false},
      {"STP", stp, true, false},
      {"STP after 1000 other bytes", late, true, false},
      {"frames", framed, false, true},
      {"ASYNC without VERSION", async_alone, false, false},
      {"zeros", Bytes(5000, 0), false, false},
      {"ones", Bytes(5000, 0xFF), false, false},
      {"text", Bytes(5000, 'a'), false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(looks_like_stp(c.bytes), c.is_stp);
    EXPECT_EQ(looks_like_frames(c.bytes), c.is_frames);
  }
}

}  // namespace
}  // namespace qbt2
