#include "host/capture/sample_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/sample_bytes.h"
#include "tests/support/test_folder.h"

namespace qbt2 {
namespace {

using test::sample;
using testing::HasSubstr;

struct ReadBack {
  std::string bytes;                   // of all samples, back to back
  std::vector<std::uint64_t> offsets;  // of each
  std::vector<std::string> damage;     // "offset reason"
  CaptureCounts counts;
};

ReadBack read(const std::string& path, std::vector<std::uint16_t> masters = {}) {
  ReadBack result;
  CaptureOptions options;
  options.masters = std::move(masters);
  options.on_damage = [&](std::uint64_t offset, std::string_view reason) {
    result.damage.push_back(std::to_string(offset).append(" ").append(reason));
  };
  InputFile input(path);
  SampleFileReader reader(input, options);
  SampleBatch batch;
  while (reader.next(batch)) {
  }
  EXPECT_FALSE(reader.next(batch)) << "after the end";
  for (const SampleHead& head : batch.heads) {
    EXPECT_EQ(head.begin, result.bytes.size());
    result.bytes.append(reinterpret_cast<const char*>(batch.bytes.data()) + head.begin, head.size);
    result.offsets.push_back(head.offset);
  }
  result.counts = reader.counts();
  return result;
}

TEST(LooksLikeSamples, OnlyWellFormedOnesFromTheFirstByteOn) {
  const std::string good = sample(1, {1, 2});
  std::string bad_length = good;
  bad_length[13] = 3;
  std::string odd_payload = good;
  odd_payload[4] = 9;
  std::string many;
  for (int i = 0; i < 64; ++i) many += good;
  const struct {
    std::string bytes;
    bool expected;
  } cases[] = {
      {good, true},
      {sample(1, std::vector<std::uint32_t>(64, 7)), true},
      {sample(1, std::vector<std::uint32_t>(65, 7)), false},  // longer than any message
      {sample(1, {}), false},                                 // zeros prove nothing
      {good.substr(0, 15), true},                             // cut by the end of the first bytes
      {good.substr(0, 7), false},
      {"", false},
      {bad_length, false},
      {odd_payload + good, false},
      {good + bad_length, false},
      {many + bad_length, true},  // enough seen
      {"\x01" + good, false},
  };
  for (const auto& c : cases) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(c.bytes.data());
    EXPECT_EQ(looks_like_samples({first, c.bytes.size()}), c.expected)
        << testing::PrintToString(c.bytes);
  }
}

TEST(SampleFile, ACutAtEveryLengthCostsOnlyTheLastSample) {
  const test::TestFolder folder;
  const std::string whole = sample(1, {1, 2}) + sample(2, {}) + sample(3, {1, 2, 3, 4});
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    SCOPED_TRACE(size);
    const std::size_t end = size < 18 ? 0 : size < 26 ? 18 : size < 54 ? 26 : 54;
    const ReadBack result = read(folder.put("cut", whole.substr(0, size)));
    EXPECT_EQ(result.bytes, whole.substr(0, end));
    EXPECT_EQ(result.counts.bytes, size);
    EXPECT_EQ(result.counts.bytes_skipped, size - end);
    std::vector<std::string> damage;
    if (size != end) damage.push_back(std::to_string(end) + " the last sample is cut short");
    EXPECT_EQ(result.damage, damage);
    EXPECT_EQ(result.counts.damages, damage.size());
  }
}

TEST(SampleFile, SamplesOfAnySizeUpToTheLimit) {
  const test::TestFolder folder;
  std::string bytes;
  std::vector<std::uint64_t> offsets;
  for (std::size_t words = 0; words < 400; ++words) {
    offsets.push_back(bytes.size());
    bytes +=
        sample(static_cast<std::uint8_t>(words), std::vector<std::uint32_t>(words, 0x04040404));
  }
  std::string largest = sample(9, {});
  largest.replace(4, 4, test::le32(kLargestSamplePayload));
  largest.resize(largest.size() + kLargestSamplePayload, '\x55');
  offsets.push_back(bytes.size());
  bytes += largest;
  const ReadBack result = read(folder.put("samples", bytes));
  EXPECT_TRUE(result.bytes == bytes);
  EXPECT_EQ(result.offsets, offsets);
  EXPECT_EQ(result.counts.assembly.messages, 401U);
  EXPECT_EQ(result.counts.assembly.words, 399U * 400 / 2 + kLargestSamplePayload / 5);
  EXPECT_EQ(result.counts.damages, 0U);

  const std::string good = sample(1, {1, 2});
  largest.replace(4, 4, test::le32(kLargestSamplePayload + 1));
  const ReadBack refused = read(folder.put("samples", good + largest + good));
  EXPECT_EQ(refused.bytes, good);
  ASSERT_EQ(refused.damage.size(), 1U);
  EXPECT_THAT(refused.damage[0], HasSubstr("18 the sample header gives 1048577 payload bytes"));
  EXPECT_EQ(refused.counts.bytes, 2 * good.size() + largest.size());
  EXPECT_EQ(refused.counts.bytes_skipped, good.size() + largest.size());
}

TEST(SampleFile, ChoosesMastersByTheirLowBits) {
  const test::TestFolder folder;
  const std::string path =
      folder.put("samples", sample(5, {1, 2}) + sample(6, {3, 4}) + sample(5, {5, 6}));
  EXPECT_EQ(read(path, {5}).offsets, (std::vector<std::uint64_t>{0, 36}));
  EXPECT_EQ(read(path, {6, 5}).offsets.size(), 3U);
  EXPECT_TRUE(read(path, {0x105}).offsets.empty());
  const CaptureCounts counts = read(path, {6}).counts;
  EXPECT_EQ(counts.assembly.messages, 3U) << "the others are counted too";
  EXPECT_TRUE(counts.assembly.masters.test(5));
}

}  // namespace
}  // namespace qbt2
