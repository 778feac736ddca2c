#include "host/decode/decoder_setup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "host/base/error.h"
#include "host/decode/decode_worker.h"
#include "tests/support/sample_bytes.h"
#include "tests/support/tdf_bytes.h"
#include "tests/support/test_folder.h"

namespace qbt2 {
namespace {

using testing::ElementsAre;

constexpr const char* kSettings =
    "# names\n"
    "ATBID=0x21\n"
    "QBT2_5=DMA1;1;0x1000;0;0;0;0;0;0;0;0;0;0;0;0\n"
    "QBT2_261=SHADOWED;1;2;0;0;0;0;0;0;0;0;0;0;0;0\n"
    "QBT2_131=MASTERNAME;1;255;0;0;0;0;0;0;0;0;0;0;0;0\n";
constexpr const char* kDevice =
    R"({"version": 1, "name": "SOC", "components": [{"name": "MOD_QBTRACER0",
        "property_lists": {"masterid.proc": [{"name": "GPU", "value": 131}]}}],
        "settings": {"ATBID": "17", "QBT2_9": "ISP;0;16;0;0;0;0;0;0;0;0;0;0;0;0"}})";

std::string trace_data_file(const std::string& settings) {
  return "TDF2" + test::section("STMDECODERINFO", 1, settings);
}

/// What the real plug-in calls the master of a throughput sample of each probe, and its window.
std::string rows_of(DecoderSetup& setup, const std::vector<std::uint8_t>& probes) {
  const DecoderLibrary library(QBT2_PLUGIN_PATH);
  DecoderLibrary::Unit unit = library.create_unit();
  const ColumnCatalogue catalogue = read_catalogue(*unit);
  setup.apply(*unit);
  DecodeWorker worker(std::move(unit), catalogue);
  worker.use_rows(RowUse::kKeep);
  DecodeJob job;
  for (const std::uint8_t probe : probes) {
    const std::string bytes = test::sample(probe, {100, 25});
    SampleHead head;
    head.begin = static_cast<std::uint32_t>(job.samples.bytes.size());
    head.size = static_cast<std::uint32_t>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), job.samples.bytes.room(bytes.size()));
    job.samples.bytes.add(bytes.size());
    job.samples.heads.push_back(head);
  }
  worker.run(job);
  std::string text;
  for (std::size_t row = 0; row < job.rows->size(); ++row) {
    const RowHead& head = job.rows->head(row);
    text.append(job.rows->texts().text(head.master_text)).append(",");
    text.append(job.rows->texts().text(head.description_text)).append("\n");
  }
  return text;
}

std::string named_masters(DecoderSetup& setup) {
  std::string text;
  for (const NamedMaster& master : setup.masters()) {
    text += std::to_string(master.id) + "=" + master.name + "/" +
            std::to_string(master.sampling_window) + " ";
  }
  return text;
}

TEST(DecoderSetup, NamesMastersFromTextAndTraceDataFiles) {
  const test::TestFolder folder;
  const std::string device = folder.put("soc.json", kDevice);
  for (const std::string& config : {folder.put("settings.cfg", kSettings),
                                    folder.put("settings.tdf", trace_data_file(kSettings))}) {
    DecoderSetup plain(config, "");
    EXPECT_THAT(plain.master_ids(), ElementsAre(5, 131, 261));
    EXPECT_EQ(plain.atb_id(), 0x21);
    EXPECT_EQ(rows_of(plain, {5, 131, 6}),
              "DMA1,Throughput statistics per 0x1000 clock cycles\n"
              "MASTERNAME,Throughput statistics per 0xff clock cycles\n"
              "Unknown,Throughput statistics: sampling period unknown\n");
    DecoderSetup described(config, device);
    EXPECT_THAT(described.master_ids(), ElementsAre(5, 9, 131, 261));
    EXPECT_EQ(rows_of(described, {131, 9}),
              "GPU,Throughput statistics per 0xff clock cycles\n"
              "ISP,Throughput statistics per 0x10 clock cycles\n");
    EXPECT_EQ(named_masters(plain), "5=DMA1/4096 131=MASTERNAME/255 261=SHADOWED/2 ");
    EXPECT_EQ(named_masters(described), "5=DMA1/4096 9=ISP/16 131=GPU/255 261=SHADOWED/2 ");
    EXPECT_EQ(described.atb_id(), 0x21) << "settings cover the description";
    EXPECT_TRUE(described.warnings().empty());
  }
  DecoderSetup device_only("", device);
  EXPECT_EQ(device_only.atb_id(), 17);
  EXPECT_THAT(device_only.master_ids(), ElementsAre(9));
  DecoderSetup nothing("", "");
  EXPECT_FALSE(nothing.has_settings());
  EXPECT_EQ(named_masters(nothing), "");
  DecoderSetup unusable(std::map<std::string, std::string>{
      {"QBT2_7", "ISP;1;2d00;0;0;0;0;0;0;0;0;0;0;0;0"}, {"QBT2_8", "short;1;1"}});
  EXPECT_EQ(named_masters(unusable), "7=ISP/2 ") << "digits up to the first other character";
  EXPECT_EQ(rows_of(nothing, {5}), "Unknown,Throughput statistics: sampling period unknown\n");
}

TEST(DecoderSetup, TakesTheSourceIdFromTheSettings) {
  const test::TestFolder folder;
  const struct {
    const char* value;
    std::optional<int> expected;
  } cases[] = {{"16", 16},          {"0x10", 16},          {"020", 16},  // octal
               {"0x6F", 0x6F},      {"112", std::nullopt}, {"0", std::nullopt},
               {"x", std::nullopt}, {"-1", std::nullopt},  {"18446744073709551633", std::nullopt}};
  for (const auto& c : cases) {
    const DecoderSetup setup(folder.put("cfg", std::string("ATBID=") + c.value + "\n"), "");
    EXPECT_EQ(setup.atb_id().has_value(), c.expected.has_value()) << c.value;
    EXPECT_EQ(setup.atb_id().value_or(0), c.expected.value_or(0)) << c.value;
  }
  EXPECT_FALSE(DecoderSetup(folder.put("cfg", "OTHER=1\n"), "").atb_id());
}

TEST(DecoderSetup, TakesTheSourceIdFromTheFirstThatHasOne) {
  const test::TestFolder folder;
  const std::string device = folder.put("soc.json", R"({"version": 1, "name": "SOC", "components":
      [{"name": "STM0", "type": "system-trace", "trace_id": 19}]})");
  const struct {
    const char* settings;
    const char* decoder_info;
    std::optional<int> expected;
  } cases[] = {{"ATBID=0x11\n", "ATBID=18\n", 0x11},
               {"A=1\n", "ATBID=18\n", 18},
               {"ATBID=0\n", "ATBID=18\n", 18},
               {"A=1\n", "ATBID=0\n", 19},
               {"A=1\n", "ATBID=112\n", 19}};
  for (const auto& c : cases) {
    const std::string file = folder.put(
        "f.tdf", trace_data_file(c.settings) + test::section("KZDecode", 1, c.decoder_info));
    EXPECT_EQ(DecoderSetup(file, device).atb_id(), c.expected) << c.settings << c.decoder_info;
  }
  EXPECT_EQ(DecoderSetup("", device).atb_id(), 19);
}

TEST(DecoderSetup, RefusesFilesThatAreNotSettings) {
  const test::TestFolder folder;
  const struct {
    std::string bytes;
    const char* reason;
  } refused[] = {
      {"TDF1" + std::string(40, '\x01'), "trace data file of a kind that is not known"},
      {std::string("\xFF\xFE"
                   "A\0=\0",
                   6),
       "is UTF-16"},
      {std::string("A\0=\0"
                   "1\0\n\0",
                   8),
       "is UTF-16"},
      {"A=1\nB=\xFF\n", "byte 6: neither a trace data file nor UTF-8 text"},
      {"A=1\nB=\x01\n", "byte 6: neither"},
      {"{\"QBT2_5\": \"DMA=1\"}", "looks like JSON"},
      {"# comment\nSWITCH\n", "has no line KEY=VALUE"},
      {"# A=1\n", "has no line KEY=VALUE"},
      {"A=" + std::string(std::size_t{16} << 20, 'x'), "larger than 16 MiB"},
  };
  for (const auto& c : refused) {
    try {
      const DecoderSetup setup(folder.put("cfg", c.bytes), "");
      ADD_FAILURE() << c.reason;
    } catch (const Error& error) {
      EXPECT_NE(std::strstr(error.what(), c.reason), nullptr) << error.what();
      EXPECT_EQ(error.code(), ErrorCode::kInput);
    }
  }
  const DecoderSetup empty(folder.put("cfg", "\r\n \n"), "");
  EXPECT_THAT(empty.warnings(), ElementsAre("is empty: no settings"));
  const DecoderSetup marked(folder.put("cfg",
                                       "\xEF\xBB\xBF"
                                       "ATBID=1\r\nX=1\nATBID=2\n"),
                            "");
  EXPECT_THAT(marked.warnings(),
              ElementsAre("the byte order mark at the beginning is skipped",
                          "ATBID is set in line 1 and again in line 3, which counts"));
  EXPECT_EQ(marked.atb_id(), 2);
}

TEST(DecoderSetup, RefusesWhatHoldsNoSettings) {
  const test::TestFolder folder;
  std::string other_version = trace_data_file(kSettings);
  other_version[8] = 2;
  for (const std::string& path :
       {folder.at("missing"), folder.at(""), std::string("-"), std::string("/dev/null"),
        folder.put("short.tdf", "TDF2"), folder.put("old.tdf", other_version)}) {
    try {
      const DecoderSetup setup(path, "");
      ADD_FAILURE() << path;
    } catch (const Error& error) {
      EXPECT_EQ(error.code(), ErrorCode::kInput);
      EXPECT_NE(std::strstr(error.what(), path.c_str()), nullptr) << error.what();
    }
  }
}

}  // namespace
}  // namespace qbt2
