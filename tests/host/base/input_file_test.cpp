#include "host/base/input_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <thread>

#include "host/base/error.h"
#include "host/capture/capture_info.h"
#include "host/capture/open_capture.h"
#include "host/generate/capture_generator.h"
#include "tests/support/test_folder.h"

namespace qbt2 {
namespace {

std::string text(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

/// The rest of the file, read in pieces of `piece` bytes.
std::string rest(InputFile& file, std::size_t piece) {
  std::string all;
  std::vector<std::uint8_t> buffer(piece);
  while (const std::size_t got = file.read(buffer)) all += text(std::span(buffer).first(got));
  return all;
}

/// A pipe that a thread fills in pieces of 1 to 61 bytes.
class SlowPipe {
 public:
  explicit SlowPipe(std::string bytes) : bytes_(std::move(bytes)) {
    EXPECT_EQ(::pipe2(ends_.data(), O_CLOEXEC), 0);
    feeder_ = std::thread([this] {
      for (std::size_t at = 0, piece = 1; at < bytes_.size(); at += piece, piece = piece % 61 + 1) {
        const std::string part = bytes_.substr(at, piece);
        EXPECT_EQ(::write(ends_[1], part.data(), part.size()), static_cast<ssize_t>(part.size()));
      }
      ::close(ends_[1]);
    });
  }
  ~SlowPipe() {
    feeder_.join();
    ::close(ends_[0]);
  }
  SlowPipe(const SlowPipe&) = delete;
  SlowPipe& operator=(const SlowPipe&) = delete;
  std::string path() const { return "/dev/fd/" + std::to_string(ends_[0]); }

 private:
  std::string bytes_;
  std::array<int, 2> ends_{};
  std::thread feeder_;
};

TEST(InputFile, PeekingTakesNothing) {
  const test::TestFolder folder;
  InputFile file(folder.put("file", "0123456789"));
  EXPECT_TRUE(file.is_regular());
  EXPECT_EQ(file.size_bytes(), 10U);
  EXPECT_EQ(text(file.peek(4)), "0123");
  EXPECT_EQ(text(file.peek(2)), "01");
  std::array<std::uint8_t, 3> three{};
  EXPECT_EQ(file.read(three), 3U);
  EXPECT_EQ(text(three), "012");
  EXPECT_EQ(text(file.peek(4)), "3456") << "what was taken is gone";
  EXPECT_EQ(text(file.peek(100)), "3456789");
  EXPECT_EQ(rest(file, 2), "3456789");
  EXPECT_TRUE(file.peek(1).empty());
  file.rewind();
  EXPECT_EQ(text(file.peek(1)), "0");
  EXPECT_EQ(rest(file, 100), "0123456789");
}

TEST(InputFile, APipeIsReadLikeAFile) {
  const std::string bytes(3000, 'x');
  const SlowPipe pipe(bytes + "end");
  InputFile file(pipe.path());
  EXPECT_FALSE(file.is_regular());
  EXPECT_EQ(file.size_bytes(), 0U);
  EXPECT_EQ(file.peek(2000).size(), 2000U);
  EXPECT_EQ(rest(file, 700), bytes + "end");
}

TEST(InputFile, RefusesWhatCannotBeRead) {
  const test::TestFolder folder;
  const std::string file = folder.put("file", "");
  const struct {
    std::string path;
    std::string line;
  } cases[] = {
      {folder.at("none"), folder.at("none") + ": cannot open: No such file or directory"},
      {file + "/below", file + "/below: cannot open: Not a directory"},
      {folder.at(""), folder.at("") + ": is a directory"},
      {"", ": cannot open: No such file or directory"},
  };
  for (const auto& c : cases) {
    try {
      const InputFile opened(c.path);
      ADD_FAILURE() << c.path;
    } catch (const Error& error) {
      EXPECT_EQ(error.code(), ErrorCode::kInput);
      EXPECT_EQ(error.what(), c.line);
    }
  }
  InputFile own_memory("/proc/self/mem");  // opens, but its first page cannot be read
  EXPECT_THROW((void)own_memory.peek(1), Error);
}

TEST(CaptureReaders, PiecesOfAPipeChangeNoSample) {
  const test::TestFolder folder;
  for (const CaptureFormat format :
       {CaptureFormat::kStp, CaptureFormat::kFrames, CaptureFormat::kSamples}) {
    GeneratorOptions options;
    options.format = format;
    options.messages = 3000;
    options.damaged_places = format == CaptureFormat::kSamples ? 0 : 3;
    std::string bytes;
    CaptureGenerator(options).run(
        [&](std::span<const std::uint8_t> piece) { bytes += text(piece); });
    const auto read = [&](InputFile& input) {
      CaptureOptions reading;
      if (format == CaptureFormat::kFrames) reading.source_id = options.atb_id;
      const auto reader = make_capture_reader(input, format, reading);
      SampleBatch batch;
      while (reader->next(batch)) {
      }
      EXPECT_EQ(reader->counts().bytes, bytes.size());
      std::string all = text(batch.bytes);
      for (const SampleHead& head : batch.heads) {
        for (const std::uint64_t value : {head.offset, head.timestamp, head.time_ns}) {
          all.append(" ").append(std::to_string(value));
        }
      }
      return all;
    };
    InputFile file(folder.put("capture", bytes));
    const std::string expected = read(file);
    const SlowPipe pipe(bytes);
    InputFile slow(pipe.path());
    EXPECT_GT(expected.size(), 50'000U);
    EXPECT_TRUE(read(slow) == expected) << capture_format_name(format);
  }
}

TEST(CaptureReaders, AFileThatShrinksIsDamageAtItsEnd) {
  const test::TestFolder folder;
  for (const CaptureFormat format :
       {CaptureFormat::kStp, CaptureFormat::kFrames, CaptureFormat::kSamples}) {
    GeneratorOptions options;
    options.format = format;
    options.messages = 20'000;
    std::string bytes;
    CaptureGenerator(options).run(
        [&](std::span<const std::uint8_t> piece) { bytes += text(piece); });
    std::vector<std::pair<std::uint64_t, std::string>> damages;
    CaptureOptions reading;
    reading.source_id = options.atb_id;
    reading.on_damage = [&](std::uint64_t offset, std::string_view reason) {
      damages.emplace_back(offset, reason);
    };
    const std::pair<std::uint64_t, std::string> expected(
        100'000, "the file became shorter while it was read: its last " +
                     std::to_string(bytes.size() - 100'000) + " bytes are missing");
    const std::string path = folder.put("capture", bytes);
    InputFile file(path);
    const auto reader = make_capture_reader(file, format, reading);
    SampleBatch batch;
    ASSERT_TRUE(reader->next(batch));
    std::filesystem::resize_file(path, 100'000);
    while (reader->next(batch)) {
    }
    SCOPED_TRACE(capture_format_name(format));
    ASSERT_FALSE(damages.empty());
    EXPECT_EQ(damages.back(), expected);
    EXPECT_EQ(reader->counts().damages, damages.size());
    EXPECT_EQ(reader->counts().bytes, 100'000U);
    EXPECT_GT(batch.heads.size(), 2500U);
    if (format == CaptureFormat::kSamples) continue;

    damages.clear();
    InputFile whole(folder.put("capture", bytes));
    InfoEvents events;
    events.on_damage = reading.on_damage;
    events.on_progress = [&](std::uint64_t) { std::filesystem::resize_file(path, 100'000); };
    if (format == CaptureFormat::kStp) {
      read_stp_info(whole, events);
    } else {
      read_frames_info(whole, events);
    }
    EXPECT_THAT(damages, testing::ElementsAre(expected));
  }
}

}  // namespace
}  // namespace qbt2
