#include "host/decode/decode_pool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "host/capture/open_capture.h"
#include "host/generate/capture_generator.h"
#include "tests/support/sample_bytes.h"
#include "tests/support/test_folder.h"

namespace qbt2 {
namespace {

using Formatter = std::unique_ptr<RowFormatter>;

/// Workers over the real plug-in.
struct Workers {
  Workers(unsigned count, const std::function<Formatter(const ColumnCatalogue&)>& make_formatter) {
    const DecoderLibrary library(QBT2_PLUGIN_PATH);
    std::vector<DecoderLibrary::Unit> units;
    for (unsigned i = 0; i < count; ++i) {
      units.push_back(library.create_unit());
      catalogue = read_catalogue(*units.back());
      units.back()->DataReset();
    }
    for (DecoderLibrary::Unit& unit : units) {
      list.push_back(
          std::make_unique<DecodeWorker>(std::move(unit), catalogue, make_formatter(catalogue)));
    }
  }
  ColumnCatalogue catalogue;
  std::vector<std::unique_ptr<DecodeWorker>> list;
};

Formatter bytes_as_csv(const ColumnCatalogue& catalogue) {
  FormatOptions options;
  options.fields = parse_field_list(catalogue, "Bytes");
  return make_row_formatter("csv", catalogue, options);
}

void add_sample(SampleBatch& batch, const std::string& bytes) {
  SampleHead head;
  head.begin = static_cast<std::uint32_t>(batch.bytes.size());
  head.size = static_cast<std::uint32_t>(bytes.size());
  batch.bytes.insert(batch.bytes.end(), bytes.begin(), bytes.end());
  batch.heads.push_back(head);
}

TEST(DecodePool, HandsJobsBackInTheOrderOfSubmission) {
  for (const unsigned workers : {1U, 3U}) {
    Workers made(workers, bytes_as_csv);
    std::string text;
    std::vector<std::size_t> inputs;
    DecodePool pool(std::move(made.list), [&](DecodeJob& job) {
      text += job.text.view();
      inputs.push_back(job.input);
    });
    std::string expected;
    std::uint32_t number = 1;
    for (std::size_t input = 0; input < 300; ++input) {
      DecodeJob& job = pool.next_job();
      EXPECT_TRUE(job.samples.heads.empty() && job.text.view().empty());
      job.input = input;
      // Large and small jobs in turn, so that later ones are done before earlier ones.
      for (std::size_t i = 0; i < (input % 3 == 0 ? 200 : input % 5); ++i, ++number) {
        add_sample(job.samples, test::sample(1, {number, 1}));
        expected += std::to_string(number) + "\n";
      }
      pool.submit();
    }
    pool.finish();
    pool.finish();  // nothing left: nothing happens
    EXPECT_EQ(text, expected) << workers;
    ASSERT_EQ(inputs.size(), 300U);
    for (std::size_t i = 0; i < inputs.size(); ++i) EXPECT_EQ(inputs[i], i);
  }
}

TEST(DecodePool, StopsBehindTheRowLimitAndKeepsTheFirstRejections) {
  Workers made(1, bytes_as_csv);
  DecodeCounts counts;
  std::size_t rejections = 0;
  std::string text;
  DecodePool pool(std::move(made.list), [&](DecodeJob& job) {
    counts += job.counts;
    rejections += job.rejections.size();
    text += job.text.view();
  });
  std::string broken = test::sample(1, {1}) + std::string(2, '\x04');
  broken[4] = 7;
  DecodeJob& job = pool.next_job();
  for (int i = 0; i < 50; ++i) add_sample(job.samples, broken);
  for (int i = 0; i < 9; ++i) add_sample(job.samples, test::sample(1, {7, 1}));
  pool.submit(4);
  pool.finish();
  EXPECT_EQ(text, "7\n7\n7\n7\n");
  EXPECT_EQ(counts.rows(), 4U);
  EXPECT_EQ(counts.samples_rejected, 50U);
  EXPECT_EQ(rejections, 20U);
}

/// Throws at the row whose first column is 666.
class FailingFormatter : public RowFormatter {
 public:
  void header(TextBuffer& /*out*/) override {}
  void append(const RowBatch& rows, TextBuffer& /*out*/) override {
    for (std::size_t row = 0; row < rows.size(); ++row) {
      if (rows.value(0, row) == 666) throw std::runtime_error("row 666");
    }
  }
  void footer(TextBuffer& /*out*/) override {}
};

TEST(DecodePool, AFailureReachesTheCallerWhereverItHappens) {
  for (const unsigned workers : {1U, 3U}) {
    for (const bool in_consumer : {false, true}) {
      Workers made(workers, [](const ColumnCatalogue&) -> Formatter {
        return std::make_unique<FailingFormatter>();
      });
      std::size_t consumed = 0;
      DecodePool pool(std::move(made.list), [&](DecodeJob& job) {
        ++consumed;
        if (in_consumer && job.input == 40) throw std::runtime_error("disk full");
      });
      const auto run = [&] {
        for (std::size_t input = 0; input < 100; ++input) {
          DecodeJob& job = pool.next_job();
          job.input = input;
          add_sample(job.samples, test::sample(1, {!in_consumer && input == 40 ? 666U : 1U, 1}));
          pool.submit();
        }
        pool.finish();
      };
      EXPECT_THROW(run(), std::runtime_error);
      EXPECT_EQ(consumed, in_consumer ? 41U : 40U) << workers;
      // The pool goes while other jobs are queued or under way.
    }
  }
}

// ---- a million messages ----

/// Compares every row with what the generator wrote.
class ComparingFormatter : public RowFormatter {
 public:
  ComparingFormatter(const ColumnCatalogue& catalogue, const std::vector<GeneratedMessage>& truth)
      : truth_(truth) {
    for (std::size_t k = 0; k < catalogue.columns.size(); ++k) {
      const std::string& key = catalogue.columns[k].key;
      if (key.starts_with("RawQBT2_")) raw_.push_back(k);
      if (key == "Bytes") bytes_ = k;
      if (key == "TotalWait") wait_ = k;
      if (key == "CHANNELID") channel_ = k;
    }
  }
  void header(TextBuffer& /*out*/) override {}
  void footer(TextBuffer& /*out*/) override {}
  void append(const RowBatch& rows, TextBuffer& out) override {
    for (std::size_t row = 0; row < rows.size(); ++row, ++next_) {
      if (next_ < truth_.size() && equal(rows, row, truth_[next_])) continue;
      out.append("message " + std::to_string(next_) + " differs\n");
    }
  }

 private:
  bool equal(const RowBatch& rows, std::size_t row, const GeneratedMessage& message) const {
    const RowHead& head = rows.head(row);
    const auto& words = message.words.words;
    bool same = head.offset == message.offset && head.has_timestamp &&
                head.timestamp == message.timestamp && head.has_time_ns &&
                head.time_ns == 5 * head.timestamp &&  // 200 MHz
                head.stp_master == message.master && head.probe == (message.master & 0xFF);
    for (std::size_t i = 0; i < raw_.size(); ++i) {
      const bool there = head.columns.test(raw_[i]);
      same = same && there == (i < message.words.count);
      same = same && (!there || rows.value(raw_[i], row) == words[i]);
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

  const std::vector<GeneratedMessage>& truth_;
  std::vector<std::size_t> raw_;
  std::size_t bytes_ = 0;
  std::size_t wait_ = 0;
  std::size_t channel_ = 0;
  std::size_t next_ = 0;
};

TEST(DecodePool, AMillionMessagesBecomeTheRowsTheyWere) {
  const test::TestFolder folder;
  GeneratorOptions options;
  options.messages = 1'000'000;
  options.traffic.masters = {5, 32, 33, 255, 256, 0x1234};
  std::vector<GeneratedMessage> truth;
  {
    std::ofstream file(folder.at("capture"), std::ios::binary);
    CaptureGenerator(options).run(
        [&](std::span<const std::uint8_t> bytes) {
          file.write(reinterpret_cast<const char*>(bytes.data()),
                     static_cast<std::streamsize>(bytes.size()));
        },
        [&](const GeneratedMessage& message) { truth.push_back(message); });
  }
  Workers made(1, [&](const ColumnCatalogue& catalogue) -> Formatter {
    return std::make_unique<ComparingFormatter>(catalogue, truth);
  });
  std::string differences;
  DecodeCounts counts;
  DecodePool pool(std::move(made.list), [&](DecodeJob& job) {
    if (differences.size() < 1000) differences += job.text.view();
    counts += job.counts;
  });
  InputFile input(folder.at("capture"));
  const auto reader = make_capture_reader(input, CaptureFormat::kStp, {});
  while (reader->next(pool.next_job().samples)) pool.submit();
  pool.finish();
  EXPECT_EQ(differences, "");
  EXPECT_EQ(counts.rows(), 1'000'000U);
  EXPECT_EQ(counts.samples_rejected + counts.samples_without_row, 0U);
}

}  // namespace
}  // namespace qbt2
