#include "host/decode/pipeline.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "host/base/error.h"
#include "host/decode/text_sink.h"
#include "host/generate/capture_generator.h"
#include "tests/support/sample_bytes.h"
#include "tests/support/test_folder.h"

namespace qbt2 {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

DecodeRequest request_for(std::vector<std::string> captures, unsigned threads) {
  DecodeRequest request;
  request.captures = std::move(captures);
  request.plugin = QBT2_PLUGIN_PATH;
  request.threads = threads;
  return request;
}

/// A sample file of throughput messages that moved first, first + 1, ... bytes.
std::string numbered_samples(std::uint32_t first, std::uint32_t count) {
  std::string bytes;
  for (std::uint32_t n = first; n < first + count; ++n) bytes += test::sample(1, {n, 1});
  return bytes;
}

std::size_t column(const ColumnCatalogue& catalogue, std::string_view key) {
  std::size_t k = 0;
  while (catalogue.columns.at(k).key != key) ++k;
  return k;
}

/// Collects the column Bytes of every row, by capture.
struct CollectedChunk final : RowChunk {
  void clear() override { values.clear(); }
  std::vector<std::uint64_t> values;
};

class CollectingSink : public RowSink {
 public:
  explicit CollectingSink(std::size_t captures) : values(captures) {}

  std::unique_ptr<RowStage> make_stage(const RunOutline& outline) override {
    return std::make_unique<Stage>(column(outline.catalogue, "Bytes"), throw_at);
  }
  bool take(RowChunk& chunk, std::size_t capture) override {
    for (const std::uint64_t value : static_cast<CollectedChunk&>(chunk).values) {
      values.at(capture).push_back(value);
      if (on_row) on_row(value);
      if (value == close_at) return false;
    }
    return true;
  }
  void end(const RunReport& report) override { ended = report.end; }

  std::vector<std::vector<std::uint64_t>> values;
  std::function<void(std::uint64_t)> on_row;
  std::uint64_t throw_at = UINT64_MAX;  ///< the stage throws at this value
  std::uint64_t close_at = UINT64_MAX;
  std::optional<RunEnd> ended;

 private:
  class Stage : public RowStage {
   public:
    Stage(std::size_t bytes, std::uint64_t throw_at) : bytes_(bytes), throw_at_(throw_at) {}
    std::unique_ptr<RowChunk> make_chunk() override { return std::make_unique<CollectedChunk>(); }
    void append(const RowBatch& rows, std::size_t /*capture*/, RowChunk& chunk) override {
      for (std::size_t row = 0; row < rows.size(); ++row) {
        const std::uint64_t value = rows.value(bytes_, row);
        if (value == throw_at_) throw std::runtime_error("stage");
        static_cast<CollectedChunk&>(chunk).values.push_back(value);
      }
    }

   private:
    std::size_t bytes_;
    std::uint64_t throw_at_;
  };
};

TEST(Pipeline, RowsComeInTheOrderOfTheInputPulledAndPushed) {
  const test::TestFolder folder;
  const std::vector<std::string> captures = {folder.put("a", numbered_samples(1, 30000)),
                                             folder.put("b", numbered_samples(50000, 3)),
                                             folder.put("c", numbered_samples(60000, 20000))};
  for (const unsigned threads : {1U, 2U, 4U}) {
    SCOPED_TRACE(threads);
    std::vector<std::vector<std::uint64_t>> pulled(captures.size());
    Pipeline pull(request_for(captures, threads));
    const std::size_t bytes = column(pull.catalogue(), "Bytes");
    while (const auto decoded = pull.next()) {
      for (std::size_t row = 0; row < decoded->rows->size(); ++row) {
        pulled.at(decoded->capture).push_back(decoded->rows->value(bytes, row));
      }
    }
    EXPECT_FALSE(pull.next()) << "the end stays the end";
    CollectingSink sink(captures.size());
    const RunReport report = Pipeline(request_for(captures, threads)).run(sink);
    EXPECT_EQ(sink.values, pulled);
    ASSERT_EQ(pulled[0].size(), 30000U);
    ASSERT_THAT(pulled[1], ElementsAre(50000, 50001, 50002));
    ASSERT_EQ(pulled[2].size(), 20000U);
    for (std::size_t n = 0; n < 30000; ++n) ASSERT_EQ(pulled[0][n], 1 + n);
    EXPECT_EQ(report.end, RunEnd::kComplete);
    EXPECT_EQ(report.captures[1].decode.rows(), 3U);
    EXPECT_EQ(report.decode_totals().rows(), 50003U);
    EXPECT_EQ(report.captures[2].capture.bytes, 20000U * 18);
    EXPECT_FALSE(report.damaged());
    EXPECT_EQ(pull.report().decode_totals().rows(), 50003U);
  }
}

TEST(Pipeline, EndsEarlyInEveryWay) {
  const test::TestFolder folder;
  const std::string capture = folder.put("a", numbered_samples(1, 100000));
  for (const unsigned threads : {1U, 3U}) {
    SCOPED_TRACE(threads);
    CollectingSink closed(1);
    closed.close_at = 7000;
    EXPECT_EQ(Pipeline(request_for({capture}, threads)).run(closed).end, RunEnd::kSinkClosed);
    EXPECT_EQ(closed.values[0].back(), 7000U);

    CollectingSink stopped(1);
    Pipeline pipeline(request_for({capture}, threads));
    stopped.on_row = [&](std::uint64_t value) {
      if (value == 7000) pipeline.stop();
    };
    EXPECT_EQ(pipeline.run(stopped).end, RunEnd::kStopped);
    EXPECT_EQ(stopped.ended, RunEnd::kStopped);
    EXPECT_LT(stopped.values[0].size(), 20000U) << "not past the chunk at hand";

    DecodeRequest limited = request_for({capture, capture}, threads);
    limited.limit = 7000;
    CollectingSink first(2);
    const RunReport report = Pipeline(limited).run(first);
    EXPECT_EQ(report.end, RunEnd::kLimit);
    EXPECT_EQ(first.values[0].size(), 7000U);
    EXPECT_LT(report.captures[0].capture.bytes, 200000U) << "the rest is not read";

    CollectingSink failing(1);
    failing.throw_at = 7000;
    EXPECT_THROW(Pipeline(request_for({capture}, threads)).run(failing), std::runtime_error);
    EXPECT_EQ(failing.ended, std::nullopt);
    CollectingSink full(1);
    full.on_row = [](std::uint64_t value) {
      if (value == 7000) throw std::runtime_error("disk full");
    };
    EXPECT_THROW(Pipeline(request_for({capture}, threads)).run(full), std::runtime_error);
    EXPECT_EQ(full.values[0].size(), 7000U);
  }
}

struct RecordingObserver : RunObserver {
  void on_damage(std::string_view file, std::uint64_t offset, std::string_view reason) override {
    lines.push_back(std::string(file) + " damage " + std::to_string(offset) + " " +
                    std::string(reason));
  }
  void on_rejected_sample(std::string_view /*file*/, std::uint64_t offset,
                          std::string_view /*reason*/) override {
    rejected.push_back(offset);
  }
  void on_more_rejected_samples(std::uint64_t count) override { more_rejected += count; }
  void on_notice(std::string_view file, std::string_view text) override {
    lines.push_back(std::string(file) + " " + std::string(text));
  }
  void on_progress(std::uint64_t bytes, std::uint64_t total) override { progress = {bytes, total}; }

  std::vector<std::string> lines;
  std::vector<std::uint64_t> rejected;
  std::uint64_t more_rejected = 0;
  std::pair<std::uint64_t, std::uint64_t> progress;
};

TEST(Pipeline, ReportsDamageRejectedSamplesAndProgress) {
  const test::TestFolder folder;
  std::string broken = test::sample(1, {1}) + std::string(2, '\x04');
  broken[4] = 7;  // a second word that would end after the payload
  std::string bytes;
  for (int n = 0; n < 50; ++n) bytes += broken;
  const std::string good = numbered_samples(1, 9);
  const std::string capture = folder.put("a", bytes + good + good.substr(0, 10));
  RecordingObserver observer;
  DecodeRequest request = request_for({capture}, 1);
  request.input = CaptureFormat::kSamples;
  request.fields = "Bytes";
  CollectingSink sink(1);
  const RunReport report = Pipeline(request, &observer).run(sink);
  EXPECT_EQ(sink.values[0].size(), 9U);
  EXPECT_EQ(observer.rejected.size(), 20U);
  EXPECT_EQ(observer.rejected[1], 15U);
  EXPECT_EQ(observer.more_rejected, 30U);
  EXPECT_EQ(report.decode_totals().samples_rejected, 50U);
  EXPECT_THAT(observer.lines,
              ElementsAre(HasSubstr(capture + " damage " + std::to_string(50 * 15 + 9 * 18))));
  EXPECT_EQ(observer.progress, (std::pair<std::uint64_t, std::uint64_t>(922, 922)));
  EXPECT_TRUE(report.damaged());
}

std::vector<GeneratedMessage> generate(const std::string& path, const GeneratorOptions& options) {
  std::vector<GeneratedMessage> truth;
  std::ofstream file(path, std::ios::binary);
  CaptureGenerator(options).run(
      [&](std::span<const std::uint8_t> bytes) {
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
      },
      [&](const GeneratedMessage& message) { truth.push_back(message); });
  return truth;
}

TEST(Pipeline, ErasedFlashIsDamageAndTheTraceAfterItIsRead) {
  const test::TestFolder folder;
  GeneratorOptions options;
  options.messages = 100;
  generate(folder.at("part"), options);
  const std::string part = test::read_file(folder.at("part"));
  const std::string capture =
      folder.put("a", part + std::string(5000, '\xFF') + part + std::string(5000, '\xFF'));
  RecordingObserver observer;
  CollectingSink sink(1);
  DecodeRequest request = request_for({capture}, 1);
  request.framing = Framing::kFlag;
  request.fields = "Bytes";
  const RunReport report = Pipeline(request, &observer).run(sink);
  EXPECT_EQ(report.decode_totals().rows(), 200U);
  EXPECT_THAT(observer.lines, ElementsAre(capture + " damage " + std::to_string(part.size()) +
                                          " run of ones too long for an ASYNC"));
  EXPECT_TRUE(report.damaged());
}

TEST(Pipeline, ALimitIsReachedWithoutReadingAllOfTheZerosAfterTheTrace) {
  const test::TestFolder folder;
  GeneratorOptions options;
  options.messages = 100;
  generate(folder.at("a"), options);
  std::filesystem::resize_file(folder.at("a"), std::uint64_t{4} << 30);
  DecodeRequest request = request_for({folder.at("a")}, 1);
  request.limit = 5;
  CollectingSink sink(1);
  const RunReport report = Pipeline(request).run(sink);
  EXPECT_EQ(report.end, RunEnd::kLimit);
  EXPECT_EQ(report.decode_totals().rows(), 5U);
  EXPECT_LT(report.captures[0].capture.bytes, std::uint64_t{100} << 20);
}

TEST(Pipeline, DecodesOnlyTheTimesAndFieldsAskedFor) {
  const test::TestFolder folder;
  GeneratorOptions options;
  options.messages = 20000;
  const auto truth = generate(folder.at("a"), options);
  DecodeRequest request = request_for({folder.at("a")}, 2);
  request.fields = "timestamp,Bytes";
  const std::uint64_t from = *truth[5000].timestamp;
  const std::uint64_t to = *truth[9000].timestamp;
  request.time = {TimeRange::Unit::kTicks, from, to};
  const auto wanted = std::count_if(truth.begin(), truth.end(), [&](const auto& message) {
    return message.timestamp && from <= *message.timestamp && *message.timestamp < to;
  });
  Pipeline pipeline(request);
  const std::size_t bytes = column(pipeline.catalogue(), "Bytes");
  std::int64_t rows = 0;
  while (const auto decoded = pipeline.next()) {
    for (std::size_t row = 0; row < decoded->rows->size(); ++row, ++rows) {
      const RowHead& head = decoded->rows->head(row);
      EXPECT_TRUE(from <= head.timestamp && head.timestamp < to);
      EXPECT_EQ(head.columns.test(bytes), head.kind == RowKind::kThroughput);
      EXPECT_FALSE(head.columns.test(column(pipeline.catalogue(), "RawQBT2_0")));
    }
  }
  EXPECT_GT(wanted, 3000);
  EXPECT_EQ(rows, wanted);
  EXPECT_EQ(pipeline.report().captures[0].messages_outside,
            static_cast<std::uint64_t>(20000 - wanted));
  request.fields = "Byte";
  EXPECT_THROW(Pipeline{request}, Error);
}

TEST(Pipeline, TheRowsOfALivePipeComeBeforeItGoesOn) {
  const test::TestFolder folder;
  for (const CaptureFormat format :
       {CaptureFormat::kStp, CaptureFormat::kFrames, CaptureFormat::kSamples}) {
    GeneratorOptions options;
    options.format = format;
    options.messages = 3000;
    generate(folder.at("whole"), options);
    const std::string bytes = test::read_file(folder.at("whole"));
    const auto request = [](const std::string& path) {
      DecodeRequest request = request_for({path}, 2);
      request.framing = Framing::kFlag;
      return request;
    };
    const auto rows_of_first = [&](std::size_t size) {
      CollectingSink sink(1);
      const auto run = Pipeline(request(folder.put("part", bytes.substr(0, size)))).run(sink);
      return run.decode_totals().rows();
    };
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    std::atomic<std::uint64_t> rows{0};
    std::thread writer([&] {
      std::size_t written = 0;
      for (const std::size_t part : {std::size_t{2000}, std::size_t{70'000}, bytes.size()}) {
        const auto piece = static_cast<ssize_t>(part - written);
        EXPECT_EQ(::write(ends[1], bytes.data() + written, part - written), piece);
        written = part;
        const std::uint64_t expected = rows_of_first(part);
        const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (rows != expected && std::chrono::steady_clock::now() < give_up) {
          std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        EXPECT_EQ(rows, expected) << capture_format_name(format) << " " << part;
      }
      ::close(ends[1]);
    });
    Pipeline pipeline(request("/dev/fd/" + std::to_string(ends[0])));
    while (const auto decoded = pipeline.next()) rows += decoded->rows->size();
    writer.join();
    ::close(ends[0]);
    EXPECT_EQ(rows, 3000U);
  }
}

/// Whether a row is what the generator wrote.
class Truth {
 public:
  explicit Truth(const ColumnCatalogue& catalogue)
      : bytes_(column(catalogue, "Bytes")),
        wait_(column(catalogue, "TotalWait")),
        channel_(column(catalogue, "CHANNELID")),
        raw_(column(catalogue, "RawQBT2_0")) {}

  bool equal(const RowBatch& rows, std::size_t row, const GeneratedMessage& message) const {
    const RowHead& head = rows.head(row);
    const auto& words = message.words.words;
    bool same = head.offset == message.offset && head.has_timestamp &&
                head.timestamp == message.timestamp && head.has_time_ns &&
                head.time_ns == 5 * head.timestamp &&  // 200 MHz
                head.stp_master == message.master && head.probe == (message.master & 0xFF);
    for (std::size_t i = 0; i < 6; ++i) {
      const bool there = head.columns.test(raw_ + i);
      same = same && there == (i < message.words.count);
      same = same && (!there || rows.value(raw_ + i, row) == words[i]);
    }
    switch (message.kind) {
      case TrafficKind::kThroughput:
        return same && head.kind == RowKind::kThroughput && rows.value(bytes_, row) == words[0];
      case TrafficKind::kLatency:
        return same && head.kind == RowKind::kLatency && rows.value(wait_, row) == words[2];
      case TrafficKind::kTransaction:
        return same && head.kind == RowKind::kTransaction &&
               head.address == (words[0] | std::uint64_t{words[1] & 0xFFFF} << 32) &&
               rows.value(channel_, row) == (words[5] & 0xFFF);
    }
    return false;
  }

 private:
  std::size_t bytes_;
  std::size_t wait_;
  std::size_t channel_;
  std::size_t raw_;  ///< the first of six
};

/// Everything that a run gives: rows as text, what is observed, statistics but for the speed.
std::string all_of(DecodeRequest request, unsigned threads, const std::string& output) {
  struct Recorder : RunObserver {
    void on_damage(std::string_view file, std::uint64_t offset, std::string_view text) override {
      seen << file << ' ' << offset << ' ' << text << '\n';
    }
    void on_notice(std::string_view file, std::string_view text) override {
      notices.insert(std::string(file).append(" ").append(text));
    }
    std::ostringstream seen;
    std::multiset<std::string> notices;  // some come with the first rows, wherever reading is then
  } recorder;
  request.threads = threads;
  TextSinkOptions options;
  options.output = output;
  TextSink sink(options);
  RunReport report = Pipeline(std::move(request), &recorder).run(sink);
  report.seconds = 0;
  std::ifstream rows(output);
  recorder.seen << rows.rdbuf() << report.statistics_text();
  for (const std::string& text : recorder.notices) recorder.seen << text << '\n';
  for (const CaptureReport& capture : report.captures) {
    recorder.seen << capture.messages_outside << ' ' << capture.capture.damages << '\n';
  }
  return recorder.seen.str();
}

TEST(Pipeline, AnyNumberOfThreadsGivesTheSameToTheByte) {
  const test::TestFolder folder;
  DecodeRequest request = request_for({}, 1);
  for (const Framing framing :
       {Framing::kFlag, Framing::kMarkerLast, Framing::kTimestampLast, Framing::kMarkerFirst}) {
    for (const CaptureFormat format : {CaptureFormat::kStp, CaptureFormat::kFrames}) {
      GeneratorOptions options;
      options.bytes = 700'000;
      options.format = format;
      options.encoding.framing = framing;
      options.damaged_places = framing == Framing::kFlag ? 0 : 25;
      options.traffic.masters = {5, 32, 33, 255, 256, 0x1234};
      request.captures.push_back(folder.at(std::to_string(request.captures.size())));
      generate(request.captures.back(), options);
    }
  }
  for (const bool in_part : {false, true}) {
    if (in_part) request.time = TimeRange{TimeRange::Unit::kTicks, 20'000, 900'000};
    const std::string one = all_of(request, 1, folder.at("rows"));
    ASSERT_GT(one.size(), 1'000'000U);
    for (const unsigned threads : {2U, 3U, 8U}) {
      SCOPED_TRACE(threads);
      // Not EXPECT_EQ: the texts are long.
      EXPECT_TRUE(all_of(request, threads, folder.at("rows")) == one);
    }
  }
}

TEST(Pipeline, AMillionMessagesBecomeTheRowsTheyWere) {
  const test::TestFolder folder;
  GeneratorOptions options;
  options.messages = 1'000'000;
  options.traffic.masters = {5, 32, 33, 255, 256, 0x1234};
  const auto messages = generate(folder.at("capture"), options);
  Pipeline pipeline(request_for({folder.at("capture")}, 2));
  const Truth truth(pipeline.catalogue());
  std::size_t number = 0;
  std::size_t different = 0;
  while (const auto decoded = pipeline.next()) {
    for (std::size_t row = 0; row < decoded->rows->size(); ++row, ++number) {
      ASSERT_LT(number, messages.size());
      different += truth.equal(*decoded->rows, row, messages[number]) ? 0 : 1;
    }
  }
  EXPECT_EQ(number, 1'000'000U);
  EXPECT_EQ(different, 0U);
  const DecodeCounts counts = pipeline.report().decode_totals();
  EXPECT_EQ(counts.samples_rejected + counts.samples_without_row, 0U);
}

}  // namespace
}  // namespace qbt2
