#include "platforms/source/trace/tdf_helper.h"

#include <gmock/gmock.h>

#include <ctime>
#include <functional>
#include <tuple>

#include "platforms/source/trace/tdf_handler.h"
#include "tests/support/debug_log_records.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/saved_environment.h"
#include "tests/support/tdf_bytes.h"
#include "tests/support/test_folder.h"

namespace {

using namespace qbt2::test;
using EktTrace::ConfigFile::DeviceConfig_t;
using EktTrace::ConfigFile::DeviceIdentifier_t;
using EktTrace::ConfigFile::IUseCaseText_t;
using EktTrace::ConfigFile::KzTrace_t;
using EktTrace::ConfigFile::TraceDecode_t;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;
using ::testing::Pair;

class TraceSections : public testing::Test {
 protected:
  /// The error text of a call that must fail.
  template <typename Section, typename Data>
  static std::string LoadFailure(Section from, Data data) {
    std::string error;
    EXPECT_FALSE(from.Load(data, error));
    return error;
  }
  template <typename Section, typename Data>
  static std::string SaveFailure(Section to, const Data& data) {
    std::string error;
    EXPECT_FALSE(to.Save(data, error));
    return error;
  }

  const TestFolder folder_;
  const SavedEnvironment environment_;
};

// --- trace file header ------------------------------------------------------------------------

KzTrace_t::KzTraceData_t SomeHeader() {
  KzTrace_t::KzTraceData_t data;
  data.deviceText = "dev";
  data.connectionName = "conn";
  data.headerValue1 = 0x11;
  data.headerValue2 = 470;
  data.headerValue3 = 38;
  data.headerValue4 = 0x44;
  data.headerValue5 = 0x55;
  data.headerValue6 = 0x66;
  data.headerValue7 = 0x77;
  data.headerText3 = "three";
  data.headerText4.assign(1, '4');
  data.headerValue8 = 0x8877665544332211;
  return data;
}

/// The seven numbers of SomeHeader in the order of the file.
const std::string kNumbers =
    le32(0x11) + le32(0x77) + le32(470) + le32(38) + le32(0x44) + le32(0x55) + le32(0x66);
const std::string kValue8 = le32(0x44332211) + le32(0x88776655);

TEST_F(TraceSections, HeaderIsWrittenAsTheFormatSays) {
  const std::string path = folder_.put("a.tdf", std::string(1000, 'x'));
  std::string error;
  const auto before = static_cast<std::uint32_t>(std::time(nullptr));
  ASSERT_TRUE(KzTrace_t(path).Save(SomeHeader(), error)) << error;
  const std::string bytes = read_file(path);
  const std::size_t timestampAt = 4 + 12 + 7 + (4 + 3) + (4 + 4) + 28 + (4 + 5);
  std::uint32_t timestamp = 0;
  ASSERT_GT(bytes.size(), timestampAt + 4);
  bytes.copy(reinterpret_cast<char*>(&timestamp), 4, timestampAt);
  // Either of the two clocks, the file system's and the process's, may be the coarser one.
  EXPECT_GE(timestamp, before - 1);
  EXPECT_LE(timestamp, static_cast<std::uint32_t>(std::time(nullptr)) + 1);
  EXPECT_EQ(bytes, "TDF2" + section("KZTrace", 20,
                                    counted("dev") + counted("conn") + kNumbers + counted("three") +
                                        le32(timestamp) + counted("4") + le32(0) + le32(0) +
                                        le32(0) + le32(0) + kValue8));
  // Deliberate: the reader expects another component name.
  EXPECT_EQ(LoadFailure(KzTrace_t(path), SomeHeader()), "Wrong component name.");
}

TEST_F(TraceSections, HeaderThatDoesNotFitLeavesTheFileAlone) {
  const std::string path = folder_.put("a.tdf", "before");
  auto data = SomeHeader();
  data.headerText4.assign(10240 - 84 + 1, 'x');  // all the rest takes 84 bytes
  EXPECT_EQ(SaveFailure(KzTrace_t(path), data), "Trace file header is larger than 10240 bytes.");
  EXPECT_EQ(read_file(path), "before");
  data.headerText4.pop_back();
  std::string error;
  EXPECT_TRUE(KzTrace_t(path).Save(data, error)) << error;
  DebugLogRecords log;
  EXPECT_EQ(SaveFailure(KzTrace_t(folder_.at("a.txt")), data), "TDF file extension must be .tdf.");
  EXPECT_THAT(log.take(),
              ElementsAre("E Error saving Binary Trace file: TDF file extension must be .tdf."));
}

/// Lists A to D with an item or two each, nested ones included.
const std::string kLists = le32(1) + counted("a") + le32(1) + le32(2) + le32(2) + le32(9) +
                           counted("k1") + le32(9) + counted("k2") +  //
                           le32(2) + std::string(24, 'b') +           //
                           le32(1) + le32(7) + le32(1) + std::string(20, 'c') + counted("") +
                           counted("c") + counted("cc") +  //
                           le32(1) + std::string(16, 'd') + counted("dd");

TEST_F(TraceSections, HeaderOfEveryFormatVersionIsRead) {
  const std::string tail = counted("three") + le32(12345) + counted("4") + kLists;
  const std::string device = counted("dev");
  const std::string connection = counted("conn") + kNumbers;
  const struct {
    std::uint32_t version;
    std::string record, data;
  } cases[] = {
      {1, tail, "old D90xx PRB770 Emulator/CPU_1 1910 3 0 8 three 4"},
      {2, connection + tail, "old conn 11 26 77 0 three 4"},
      {3, connection + tail + kValue8, "old conn 11 26 77 8877665544332211 three 4"},
      {4, device + connection + tail + kValue8, "dev conn 11 26 77 8877665544332211 three 4"},
      {20, device + connection + tail + kValue8, "dev conn 11 26 77 8877665544332211 three 4"},
  };
  for (const auto& c : cases) {
    for (const bool tdf : {false, true}) {
      const std::string start = (tdf ? "TDF2" : "") + le32(100) + le32(c.version) +
                                (tdf ? "" : counted("TraceDataFile")) + counted("TraceKZ");
      KzTrace_t::KzTraceData_t data;
      data.deviceText = "old";
      data.headerValue3 = 3;
      data.headerValue8 = 8;
      std::string error;
      ASSERT_TRUE(KzTrace_t(folder_.put("a.tdf", start + c.record)).Load(data, error))
          << c.version << error;
      std::ostringstream read;
      read << std::hex << data.deviceText << ' ' << data.connectionName << ' ' << data.headerValue1
           << ' ' << data.headerValue3 << ' ' << data.headerValue7 << ' ' << data.headerValue8
           << ' ' << data.headerText3 << ' ' << data.headerText4;
      EXPECT_EQ(read.str(), c.data) << c.version;
    }
  }
}

TEST_F(TraceSections, HeaderFailuresCarryTheirTexts) {
  const std::string start = "TDF2" + le32(100) + le32(1) + counted("TraceKZ");
  const std::string texts = counted("three") + le32(0) + counted("4");
  const std::string many = le32(0xFFFFFFFF);
  const std::tuple<const char*, std::string, const char*> cases[] = {
      {"a.TDF", start, "File extension is wrong"},
      {"atdf", start, "File extension is wrong"},
      {"a.tdf", "TDF2" + le32(0) + le32(1),
       "Display header size in binary trace file is invalid (zero)."},
      {"a.tdf", le32(0), "Display header size in binary trace file is invalid (zero)."},
      {"a.tdf", le32(9) + le32(0),
       "File type is correct, but this format version is not supported."},
      {"a.tdf", le32(9) + le32(21),
       "File type is correct, but this format version is not supported."},
      {"a.tdf", le32(9) + le32(20) + counted("TraceDataFilE"), "File signature is incorrect."},
      {"a.tdf", "TDF2" + le32(9) + le32(20) + counted("KZTrace"), "Wrong component name."},
      // Without a message: the file ends early, or a text exceeds the limit.
      {"a.tdf", "", ""},
      {"a.tdf", "TD", ""},
      {"a.tdf", "TDF2" + le32(9) + le32(20) + le32(10240) + std::string(10240, 'x'), ""},
      {"a.tdf", start + texts + many + std::string(64, '\0'), ""},
      {"a.tdf", start + texts + le32(0) + many + std::string(64, '\0'), ""},
      {"a.tdf", start + texts + le32(0) + le32(0) + le32(1) + many + many, ""},
      {"a.tdf", start + texts + le32(0) + le32(0) + le32(0) + many, ""},
  };
  for (const auto& [name, bytes, text] : cases) {
    EXPECT_EQ(LoadFailure(KzTrace_t(folder_.put(name, bytes)), SomeHeader()), text)
        << ::testing::PrintToString(bytes.substr(0, 80));
  }
  EXPECT_EQ(LoadFailure(KzTrace_t(folder_.at("none.tdf")), SomeHeader()),
            "Failure opening binary trace file: ");
  EXPECT_EQ(LoadFailure(KzTrace_t(folder_.at("a.tdf"), 1), SomeHeader()),
            "File type not supported");
}

// --- decoder information ----------------------------------------------------------------------

std::string TextOf(const TraceDecode_t::TraceDecodeData_t& data) {
  std::ostringstream text;
  text << data.decoder << ' ' << data.dataType << ' ' << data.dataFormat << ' ' << data.atbId;
  return text.str();
}

TEST_F(TraceSections, DecoderInformationIsWrittenAndReadBack) {
  const std::string path = folder_.put("a.tdf", "TDF2");
  std::string error;
  ASSERT_TRUE(TraceDecode_t(path).Save({"X", 3, 5, 12}, error)) << error;
  EXPECT_EQ(read_file(path),
            "TDF2" + section("KZDecode", 1, "DECODER=X\nDATA_TYPE=3\nDATA_FORMAT=5\nATBID=12\n"));
  TraceDecode_t::TraceDecodeData_t data;
  ASSERT_TRUE(TraceDecode_t(path).Load(data, error)) << error;
  EXPECT_EQ(TextOf(data), "X 3 5 12");
  EXPECT_EQ(SaveFailure(TraceDecode_t(path, 1), data), "File type is not supported");
  EXPECT_EQ(LoadFailure(TraceDecode_t(path, 4), data), "File type is not supported");
  EXPECT_EQ(SaveFailure(TraceDecode_t(folder_.at("none.tdf")), data), "Bad TDF file");
  EXPECT_EQ(LoadFailure(TraceDecode_t(folder_.put("b.tdf", "TDF2")), data),
            "Section size cannot be located in the file.");
  const FileSizeLimit full(read_file(path).size() + 30);
  EXPECT_EQ(SaveFailure(TraceDecode_t(path), data),
            "Write I/O error - unable to write section data.");
}

// Each text is read over the record {"old", 1, 2, 3}.
TEST_F(TraceSections, DecoderInformationSkipsBadLines) {
  const struct {
    std::string text;
    const char* data;
    std::vector<std::string> records;  // of the debug log
  } cases[] = {
      {"", "old 1 2 3", {}},
      {"\n \t \n  # DECODER=X\nATBID=9", "old 1 2 9", {}},
      {" DECODER \t= a = b \n", "a = b 1 2 3", {}},
      {"DECODER=\n", "old 1 2 3", {"E Bad syntax: DECODER="}},
      {"=X\n", "old 1 2 3", {"E Bad syntax: =X"}},
      {"DECODER\n", "old 1 2 3", {"E Bad syntax: DECODER"}},
      {"decoder=X\n", "old 1 2 3", {"E Unrecognized name: decoder"}},
      {"DATA_TYPE=7\nDATA_FORMAT=7\n", "old 7 7 3", {}},
      {"DATA_TYPE=8\n", "old 0 2 3", {"E Unrecognized data type: 8"}},
      {"DATA_FORMAT=8\n", "old 1 0 3", {"E Unrecognized data format: 8"}},
      {"DATA_TYPE=99999999999\n", "old 0 2 3", {"E Unrecognized data type: -1"}},
      {"DATA_TYPE=none\n", "old 0 2 3", {"E Unrecognized data type: 0"}},
      {"ATBID=99999999999\n", "old 1 2 3", {"E Bad syntax: ATBID=99999999999"}},
      {"ATBID=010x\nATBID=4\r\n", "old 1 2 4", {}},
      {"DATA_TYPE=010\nDATA_FORMAT=0x5\n", "old 0 0 3", {"E Unrecognized data type: 10"}},
      {"ATBID=010\n", "old 1 2 8", {}},
      {"ATBID=0x10\n", "old 1 2 16", {}},
      {std::string("A\0B\nATBID=5", 11), "old 1 2 5", {"E Bad syntax: A"}},
      {std::string(1 << 20, 'x') + "\nATBID=6", "old 1 2 6", {}},
  };
  DebugLogRecords log;
  for (const auto& c : cases) {
    TraceDecode_t::TraceDecodeData_t data = {"old", 1, 2, 3};
    std::istringstream stream(c.text);
    TraceDecode_t::InputValues(stream, data);
    const std::string what = c.text.substr(0, 40);
    EXPECT_EQ(TextOf(data), c.data) << what;
    EXPECT_EQ(log.take(), c.records) << what;
  }
}

TEST_F(TraceSections, CutSectionTakesNoMoreMemoryThanItsFile) {
  const std::string path = folder_.put(
      "a.tdf", "TDF2" + le32(0x8000000) + le32(1) + counted("KZDecode") + "DECODER=X\nATBID=5");
  TraceDecode_t::TraceDecodeData_t data;
  std::string error;
  const auto mostKilobytes = [] {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
  };
  const long before = mostKilobytes();
  ASSERT_TRUE(TraceDecode_t(path).Load(data, error)) << error;
  EXPECT_LT(mostKilobytes() - before, 64 * 1024) << "the header claims 128 MiB";
  EXPECT_EQ(TextOf(data), "X 0 0 5");
}

// --- device identifier ------------------------------------------------------------------------

using DevIdData_t = DeviceIdentifier_t::DevIdData_t;
using DeviceEntry_t = DeviceIdentifier_t::DeviceEntry_t;
using ProcEntry_t = DeviceIdentifier_t::ProcEntry_t;

ProcEntry_t Proc(const std::string& name, const std::string& infoText = "",
                 std::uint32_t infoId = 0, std::uint32_t traceId = 0, std::uint32_t mapValue = 0,
                 const std::string& outFile = "") {
  return {name, "", infoText, infoId, traceId, mapValue, outFile};
}

std::string Render(const DevIdData_t& data) {
  std::ostringstream stream;
  DeviceIdentifier_t::OutputData(stream, 1, data);
  return stream.str();
}

DevIdData_t Parse(const std::string& text) {
  DevIdData_t data;
  std::istringstream stream(text);
  DeviceIdentifier_t::InputData(stream, 1, data);
  return data;
}

const DevIdData_t kRichIdentifier = {
    "Emu",
    "0x240",
    {Proc("cpu0", "first core", 0xAB, 0x10, 7, "out0.bin"), Proc("cpu1")},
    {{"A", 1}, {"B", 26}}};

const std::string kRichText =
    "EMU=Emu\nPORT=0x240\nDEVICEID=0x1,0x1a\nDEVICEMAP=A$0x1~B$0x1a~\n"
    "DEVINFO=0xab$cpu0$first core~0x0$cpu1$~\nOUTFILES=cpu0$out0.bin~\n"
    "TRACEID=0x10$cpu0~0x0$cpu1~\nPROCMAP=cpu0$7$~cpu1$0$~\n";

TEST_F(TraceSections, DeviceIdentifierReadsBackWhatItWrote) {
  const struct {
    const char* what;
    DevIdData_t data;
  } cases[] = {
      {"empty", {}},
      {"rich", kRichIdentifier},
      {"order is not that of names",
       {"", "", {Proc("z"), Proc("a"), Proc("m")}, {{"z", 3}, {"a", 2}}}},
      {"names of digits", {"", "", {Proc("1"), Proc("0")}, {{"1", 5}, {"0", 6}, {"7", 7}}}},
      {"repeated ids", {"", "", {}, {{"A", 9}, {"B", 4}, {"C", 9}, {"D", 9}}}},
      {"repeated devices", {"", "", {}, {{"A", 9}, {"A", 9}, {"A", 8}}}},
      {"ids of 0 between others", {"", "", {}, {{"A", 1}, {"B", 0}, {"C", 2}, {"D", 0}}}},
      {"largest numbers", {"", "", {Proc("p", "i", ~0u, ~0u, ~0u, "o")}, {{"d", 0xFFFFFFFF}}}},
      {"empty names", {"", "", {Proc("", "i", 1, 2, 3, "o")}, {{"", 1}, {"B", 2}}}},
      {"texts like syntax", {"a=b", "#", {Proc("x=y", " i,0x1 ", 1, 2, 3, "#o")}, {{"0x1", 1}}}},
      {"repeated processors", {"", "", {Proc("p", "one", 1, 2, 3), Proc("p", "two", 4, 5, 6)}, {}}},
  };
  for (const auto& c : cases) EXPECT_TRUE(Parse(Render(c.data)) == c.data) << c.what;
  EXPECT_EQ(Render({}),
            "EMU=\nPORT=\nDEVICEID=\nDEVICEMAP=\nDEVINFO=\nOUTFILES=\nTRACEID=\nPROCMAP=\n");
}

TEST_F(TraceSections, DeviceIdentifierToleratesBadLines) {
  const struct {
    std::string text;
    DevIdData_t data;
    std::vector<std::string> records;
  } cases[] = {
      {"FOO=1\nEMU=E\n", {"E", "", {}, {}}, {"E Unrecognized keyword in data section: FOO"}},
      {"BAR\n",
       {},
       {"E Line does not match syntax, ignoring: BAR",
        "E Unrecognized keyword in data section: BAR"}},
      {"EMU\n", {"EMU", "", {}, {}}, {"E Line does not match syntax, ignoring: EMU"}},
      {"  PORT \t=  p q \n", {"", "p q", {}, {}}, {}},
      {" \t \nEMU=E",
       {"E", "", {}, {}},
       {"E Line does not match syntax, ignoring: ", "E Unrecognized keyword in data section: "}},
      {"DEVICEID= 0x1 , 26,0x0,,0xFF\n", {"", "", {}, {{"0", 1}, {"1", 26}, {"2", 255}}}, {}},
      {"DEVICEID=0x1,x,0x100000000\n",
       {"", "", {}, {{"0", 1}}},
       {"E Bad number, using 0: x", "E Bad number, using 0: 0x100000000"}},
      // The map before the ids, a device missing in the ids, and an id missing in the map.
      {"DEVICEMAP=B$0x2~C$0x3~\nDEVICEID=0x1,0x2\n",
       {"", "", {}, {{"B", 2}, {"C", 3}, {"0", 1}}},
       {}},
      {"DEVICEMAP=only\nDEVINFO=0x5~\n", {"", "", {Proc("Unknown", "", 5)}, {{"only", 0}}}, {}},
      {"TRACEID=0x2$b~\nPROCMAP=a$9~b$010$$$\nOUTFILES=a~b$f~~\n",
       {"", "", {Proc("b", "", 0, 2, 10, "f"), Proc("a", "", 0, 0, 9)}, {}},
       {}},
  };
  DebugLogRecords log;
  for (const auto& c : cases) {
    EXPECT_TRUE(Parse(c.text) == c.data) << c.text;
    EXPECT_EQ(log.take(), c.records) << c.text;
  }
}

TEST_F(TraceSections, DeviceIdentifierLivesInASectionOrAPlainFile) {
  const std::string path = folder_.put("a.tdf", "TDF2");
  std::string error;
  DevIdData_t data;
  {
    DebugLogRecords log;
    ASSERT_TRUE(DeviceIdentifier_t(path).Save(kRichIdentifier, error)) << error;
    EXPECT_THAT(log.take_with_functions(),
                ElementsAre("MP Save: Saving Device Identifer data: " + kRichText + " "));
  }
  EXPECT_EQ(read_file(path), "TDF2" + section("DEVID", 1, kRichText));
  ASSERT_TRUE(DeviceIdentifier_t(path).Load(data, error)) << error;
  EXPECT_TRUE(data == kRichIdentifier);

  set_variable("KZ_TRACE_LOGGING_DIR", folder_.path());
  ASSERT_TRUE(DeviceIdentifier_t("name", 4).Save(kRichIdentifier, error)) << error;
  EXPECT_EQ(read_file(folder_.at("name.dim")), kRichText);
  data = {};
  ASSERT_TRUE(DeviceIdentifier_t("name", 4).Load(data, error)) << error;
  EXPECT_TRUE(data == kRichIdentifier);

  EXPECT_EQ(LoadFailure(DeviceIdentifier_t("none", 4), data),
            "Failed to open file " + folder_.at("none.dim"));
  EXPECT_EQ(SaveFailure(DeviceIdentifier_t("no/folder", 4), data),
            "Failed to open " + folder_.at("no/folder.dim") + " for writing");
  std::filesystem::create_symlink("/dev/full", folder_.at("full.dim"));
  EXPECT_EQ(SaveFailure(DeviceIdentifier_t("full", 4), data),
            "Failed to write " + folder_.at("full.dim"));
  EXPECT_EQ(SaveFailure(DeviceIdentifier_t("name", 1), data),
            "Invalid file type for writing Device Configuration");
  EXPECT_EQ(LoadFailure(DeviceIdentifier_t("name", 2), data), "File type is not supported");
  EXPECT_EQ(SaveFailure(DeviceIdentifier_t(folder_.at("none.tdf")), data),
            "File name passed to save file is not valid.");
}

// --- device settings --------------------------------------------------------------------------

DeviceConfig_t::DeviceConfigData_t Settings(std::map<std::string, std::string> values) {
  DeviceConfig_t::DeviceConfigData_t data;
  data.values = std::move(values);
  return data;
}

struct Block : IUseCaseText_t {
  explicit Block(std::string t) : text(std::move(t)) {}
  std::string GetText() const override { return text; }
  std::string text;
};

TEST_F(TraceSections, SettingsGoToTheSectionOfTheirType) {
  const Block first("{ one\n");
  const Block third("Z=9\n");
  auto data = Settings({{"B", "2"}, {"A", "1"}});
  data.useCaseText1 = &first;
  data.useCaseText3 = &third;
  const std::string sections[] = {section("ARMDCM", 1, "A=1\nB=2\n"),
                                  section("EKTCONFIG", 2, "A=1\nB=2\n"),
                                  section("STMDECODERINFO", 1, "A=1\nB=2\n{ one\nZ=9\n")};
  std::string error;
  for (std::uint32_t type = 0; type < 3; ++type) {
    const std::string path = folder_.put("a.tdf", "TDF2");
    ASSERT_TRUE(DeviceConfig_t(path, 0, type).Save(data, error)) << type << error;
    EXPECT_EQ(read_file(path), "TDF2" + sections[type]) << type;
    auto loaded = Settings({{"A", "0"}, {"old", "kept"}});
    ASSERT_TRUE(DeviceConfig_t(path, 0, type).Load(loaded, error)) << type << error;
    EXPECT_THAT(loaded.values, IsSupersetOf({Pair("A", "1"), Pair("old", "kept")}));
    EXPECT_EQ(loaded.values.size(), type == 2 ? 4u : 3u);
    EXPECT_EQ(LoadFailure(DeviceConfig_t(path, 0, (type + 1) % 3), loaded),
              "Section size cannot be located in the file.");
  }
  const std::string path = folder_.put("a.tdf", "TDF2");
  EXPECT_EQ(SaveFailure(DeviceConfig_t(path, 0, 3), data), "Bad configuration type.");
  EXPECT_EQ(LoadFailure(DeviceConfig_t(path, 0, 3), data), "Bad configuration type.");
  EXPECT_EQ(read_file(path), "TDF2");
  EXPECT_EQ(SaveFailure(DeviceConfig_t(folder_.at("none.tdf"), 0, 2), data), "Bad TDF file");
  EXPECT_EQ(LoadFailure(DeviceConfig_t(folder_.at("none.tdf"), 0, 2), data), "Bad TDF file");
}

// Also where a function below the operation, or an exception, brings the failure.
TEST_F(TraceSections, RecordsNameTheOperation) {
  const std::string path = folder_.put("a.tdf", "TDF2");
  const std::string none = folder_.at("none.tdf");
  std::string error;
  DevIdData_t devices;
  auto settings = Settings({});
  TraceDecode_t::TraceDecodeData_t info;
  const std::pair<std::function<void()>, std::vector<std::string>> cases[] = {
      {[&] { Parse("BAR\nPROCMAP=p$x~"); },
       {"E InputData: Line does not match syntax, ignoring: BAR",
        "E InputData: Unrecognized keyword in data section: BAR",
        "E InputData: Bad number, using 0: x"}},
      {[&] {
         std::istringstream stream("X\nDATA_TYPE=9");
         TraceDecode_t::InputValues(stream, info);
       },
       {"E InputValues: Bad syntax: X", "E InputValues: Unrecognized data type: 9"}},
      {[&] { DeviceIdentifier_t(path).Load(devices, error); },
       {"E Load: Section size cannot be located in the file."}},
      {[&] { DeviceConfig_t(path, 0, 3).Load(settings, error); },
       {"E Load: Bad configuration type."}},
      {[&] { DeviceConfig_t(none, 0, 1).Load(settings, error); }, {"E Load: Bad TDF file"}},
      {[&] { DeviceConfig_t(path, 0, 3).Save(settings, error); },
       {"MP Save: Saving Device Config data to file " + path + "\n:  ",
        "E Save: Bad configuration type."}},
      {[&] { DeviceConfig_t(none, 0, 1).Save(settings, error); },
       {"MP Save: Saving Device Config data to file " + none + "\n:  "}},
  };
  DebugLogRecords log;
  for (const auto& [call, records] : cases) {
    call();
    EXPECT_EQ(log.take_with_functions(), records);
  }
}

TEST_F(TraceSections, PlainSettingsAreSavedAsNamedAndLoadedFromTheSettingsFolder) {
  std::filesystem::create_directory(folder_.at("settings"));
  set_variable("KZ_TRACE_SETTINGS_DIR", folder_.at("settings"));
  std::string error;
  for (const std::uint32_t type : {1u, 2u, 4u}) {
    ASSERT_TRUE(
        DeviceConfig_t(folder_.at("settings/s.txt"), type, 1).Save(Settings({{"A", "1"}}), error));
    EXPECT_EQ(read_file(folder_.at("settings/s.txt")), "A=1\n") << type;
  }
  for (const std::uint32_t type : {1u, 4u}) {
    auto loaded = Settings({});
    ASSERT_TRUE(DeviceConfig_t("s.txt", type, 1).Load(loaded, error)) << type << error;
    EXPECT_THAT(loaded.values, ElementsAre(Pair("A", "1"))) << type;
  }
  auto data = Settings({{"A", "1"}});
  for (const std::uint32_t type : {2u, 3u, 5u}) {
    EXPECT_EQ(LoadFailure(DeviceConfig_t("s.txt", type, 1), data), "File type is not supported");
  }
  for (const std::uint32_t type : {3u, 5u, 0xFFFFFFFFu}) {
    EXPECT_EQ(SaveFailure(DeviceConfig_t("s.txt", type, 1), data), "File type is not supported");
  }
  EXPECT_EQ(LoadFailure(DeviceConfig_t("none", 1, 1), data),
            "Failed to open file " + folder_.at("settings/none"));
  EXPECT_EQ(LoadFailure(DeviceConfig_t("", 1, 1), data),
            "Failed to open file " + folder_.at("settings/"));
  EXPECT_EQ(SaveFailure(DeviceConfig_t(folder_.at("no/s.txt"), 2, 1), data),
            "Error opening file " + folder_.at("no/s.txt") + " for writing");
  EXPECT_EQ(SaveFailure(DeviceConfig_t("/dev/full", 2, 1), data), "Error writing file /dev/full");

  // A file of 4096 bytes whose reading fails.
  if (std::filesystem::exists("/sys/class/net/lo/speed")) {
    set_variable("KZ_TRACE_SETTINGS_DIR", "/sys/class/net/lo");
    EXPECT_EQ(LoadFailure(DeviceConfig_t("speed", 1, 1), data),
              "Failed to open file /sys/class/net/lo/speed");
  }
  unsetenv("KZ_TRACE_SETTINGS_DIR");
  auto loaded = Settings({});
  EXPECT_TRUE(DeviceConfig_t(folder_.at("settings/s.txt"), 1, 1).Load(loaded, error)) << error;
}

TEST_F(TraceSections, SettingLinesAreReadLeniently) {
  const struct {
    std::string text;
    std::map<std::string, std::string> values;
  } cases[] = {
      {"  KEY =  some value  \n", {{"KEY", "some value"}}},
      {"ENABLE\n", {{"ENABLE", "ENABLE"}}},
      {"=x\ny=\n=\n \t\n\n# a=1\n", {}},
      {"{ b=1\nc=2\n", {{"c", "2"}}},
      {"a=1\na=2\n", {{"a", "2"}}},
      {"a=b=c", {{"a", "b=c"}}},
      {"a=1\r\n", {{"a", "1\r"}}},
      {std::string("a\0=\0", 4), {{std::string("a\0", 2), std::string(1, '\0')}}},
      {std::string(1 << 20, 'k') + "=v", {{std::string(1 << 20, 'k'), "v"}}},
  };
  for (const auto& c : cases) {
    auto data = Settings({});
    std::istringstream stream(c.text);
    DeviceConfig_t::InputValues(stream, data);
    EXPECT_TRUE(data.values == c.values) << c.text.substr(0, 40);
  }
  // In a section the text ends at the first zero byte.
  auto data = Settings({});
  std::string error;
  const std::string path =
      folder_.put("a.tdf", "TDF2" + section("EKTCONFIG", 2, std::string("a=1\0b=2\n", 8)));
  ASSERT_TRUE(DeviceConfig_t(path, 0, 1).Load(data, error)) << error;
  EXPECT_THAT(data.values, ElementsAre(Pair("a", "1")));
}

}  // namespace
