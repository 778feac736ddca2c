#include "platforms/source/trace/tdf_helper.h"

#include <gmock/gmock.h>

#include <ctime>

#include "platforms/source/trace/tdf_handler.h"
#include "tests/platforms/trace_testing.h"

namespace {

using namespace trace_testing;
using EktTrace::ConfigFile::DeviceConfig_t;
using EktTrace::ConfigFile::DeviceIdentifier_t;
using EktTrace::ConfigFile::IUseCaseText_t;
using EktTrace::ConfigFile::KzTrace_t;
using EktTrace::ConfigFile::TraceDecode_t;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;
using ::testing::Pair;

class TraceSections : public InFolder {
 protected:
  // The error text of a call that must fail.
  template <typename Section, typename Data>
  static std::string LoadFailure(Section section, Data data) {
    std::string error;
    EXPECT_FALSE(section.Load(data, error));
    return error;
  }
  template <typename Section, typename Data>
  static std::string SaveFailure(Section section, const Data& data) {
    std::string error;
    EXPECT_FALSE(section.Save(data, error));
    return error;
  }
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

// The seven numbers of SomeHeader in the order of the file.
const std::string kNumbers =
    Word(0x11) + Word(0x77) + Word(470) + Word(38) + Word(0x44) + Word(0x55) + Word(0x66);
const std::string kValue8 = Word(0x44332211) + Word(0x88776655);

TEST_F(TraceSections, HeaderIsWrittenAsTheFormatSays) {
  const std::string path = Put("a.tdf", std::string(1000, 'x'));
  std::string error;
  const auto before = static_cast<std::uint32_t>(std::time(nullptr));
  ASSERT_TRUE(KzTrace_t(path).Save(SomeHeader(), error)) << error;
  const std::string bytes = ReadFile(path);
  const std::size_t stampAt = 4 + 12 + 7 + (4 + 3) + (4 + 4) + 28 + (4 + 5);
  std::uint32_t stamp = 0;
  ASSERT_GT(bytes.size(), stampAt + 4);
  bytes.copy(reinterpret_cast<char*>(&stamp), 4, stampAt);
  // Of the file system's clock and the process's, either may be the coarser one.
  EXPECT_GE(stamp, before - 1);
  EXPECT_LE(stamp, static_cast<std::uint32_t>(std::time(nullptr)) + 1);
  EXPECT_EQ(bytes,
            "TDF2" + Section("KZTrace", 20,
                             Text("dev") + Text("conn") + kNumbers + Text("three") + Word(stamp) +
                                 Text("4") + Word(0) + Word(0) + Word(0) + Word(0) + kValue8));
  // The reader looks for another component's name, on purpose.
  EXPECT_EQ(LoadFailure(KzTrace_t(path), SomeHeader()), "Wrong component name.");
}

TEST_F(TraceSections, HeaderThatDoesNotFitLeavesTheFileAlone) {
  const std::string path = Put("a.tdf", "before");
  auto data = SomeHeader();
  data.headerText4.assign(10240 - 84 + 1, 'x');  // all the rest takes 84 bytes
  EXPECT_EQ(SaveFailure(KzTrace_t(path), data), "Trace file header is larger than 10240 bytes.");
  EXPECT_EQ(ReadFile(path), "before");
  data.headerText4.pop_back();
  std::string error;
  EXPECT_TRUE(KzTrace_t(path).Save(data, error)) << error;
  DebugLog::TakeRecords();
  EXPECT_EQ(SaveFailure(KzTrace_t(At("a.txt")), data), "TDF file extension must be .tdf.");
  EXPECT_THAT(DebugLog::TakeRecords(),
              ElementsAre("E Save: Error saving Binary Trace file: TDF file extension must be "
                          ".tdf."));
}

// Lists A to D with an item or two in each, nested ones included.
const std::string kLists = Word(1) + Text("a") + Word(1) + Word(2) + Word(2) + Word(9) +
                           Text("k1") + Word(9) + Text("k2") +  //
                           Word(2) + std::string(24, 'b') +     //
                           Word(1) + Word(7) + Word(1) + std::string(20, 'c') + Text("") +
                           Text("c") + Text("cc") +  //
                           Word(1) + std::string(16, 'd') + Text("dd");

TEST_F(TraceSections, HeaderOfEveryFormatVersionIsRead) {
  const std::string tail = Text("three") + Word(12345) + Text("4") + kLists;
  const std::string device = Text("dev");
  const std::string connection = Text("conn") + kNumbers;
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
      const std::string start = (tdf ? "TDF2" : "") + Word(100) + Word(c.version) +
                                (tdf ? "" : Text("TraceDataFile")) + Text("TraceKZ");
      KzTrace_t::KzTraceData_t data;
      data.deviceText = "old";
      data.headerValue3 = 3;
      data.headerValue8 = 8;
      std::string error;
      ASSERT_TRUE(KzTrace_t(Put("a.tdf", start + c.record)).Load(data, error))
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
  const std::string start = "TDF2" + Word(100) + Word(1) + Text("TraceKZ");
  const std::string texts = Text("three") + Word(0) + Text("4");
  const std::string many = Word(0xFFFFFFFF);
  const struct {
    const char* name;
    std::string bytes;
    const char* text;
  } cases[] = {
      {"a.TDF", start, "File extension is wrong"},
      {"atdf", start, "File extension is wrong"},
      {"a.tdf", "TDF2" + Word(0) + Word(1),
       "Display header size in binary trace file is invalid (zero)."},
      {"a.tdf", Word(0), "Display header size in binary trace file is invalid (zero)."},
      {"a.tdf", Word(9) + Word(0),
       "File type is correct, but this format version is not supported."},
      {"a.tdf", Word(9) + Word(21),
       "File type is correct, but this format version is not supported."},
      {"a.tdf", Word(9) + Word(20) + Text("TraceDataFilE"), "File signature is incorrect."},
      {"a.tdf", "TDF2" + Word(9) + Word(20) + Text("KZTrace"), "Wrong component name."},
      // No message of its own: the file ends early, or a text is longer than any reader takes.
      {"a.tdf", "", ""},
      {"a.tdf", "TD", ""},
      {"a.tdf", "TDF2" + Word(9) + Word(20) + Word(10240) + std::string(10240, 'x'), ""},
      {"a.tdf", start + texts + many + std::string(64, '\0'), ""},
      {"a.tdf", start + texts + Word(0) + many + std::string(64, '\0'), ""},
      {"a.tdf", start + texts + Word(0) + Word(0) + Word(1) + many + many, ""},
      {"a.tdf", start + texts + Word(0) + Word(0) + Word(0) + many, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(LoadFailure(KzTrace_t(Put(c.name, c.bytes)), SomeHeader()), c.text)
        << ::testing::PrintToString(c.bytes.substr(0, 80));
  }
  EXPECT_EQ(LoadFailure(KzTrace_t(At("none.tdf")), SomeHeader()),
            "Failure opening binary trace file: ");
  EXPECT_EQ(LoadFailure(KzTrace_t(At("a.tdf"), 1), SomeHeader()), "File type not supported");
}

// --- decoder information ----------------------------------------------------------------------

std::string TextOf(const TraceDecode_t::TraceDecodeData_t& data) {
  std::ostringstream text;
  text << data.decoder << ' ' << data.dataType << ' ' << data.dataFormat << ' ' << data.atbId;
  return text.str();
}

TEST_F(TraceSections, DecoderInformationIsWrittenAndReadBack) {
  const std::string path = Put("a.tdf", "TDF2");
  std::string error;
  ASSERT_TRUE(TraceDecode_t(path).Save({"X", 3, 5, 12}, error)) << error;
  EXPECT_EQ(ReadFile(path),
            "TDF2" + Section("KZDecode", 1, "DECODER=X\nDATA_TYPE=3\nDATA_FORMAT=5\nATBID=12\n"));
  TraceDecode_t::TraceDecodeData_t data;
  ASSERT_TRUE(TraceDecode_t(path).Load(data, error)) << error;
  EXPECT_EQ(TextOf(data), "X 3 5 12");
  EXPECT_EQ(SaveFailure(TraceDecode_t(path, 1), data), "File type is not supported");
  EXPECT_EQ(LoadFailure(TraceDecode_t(path, 4), data), "File type is not supported");
  EXPECT_EQ(SaveFailure(TraceDecode_t(At("none.tdf")), data), "Bad TDF file");
  EXPECT_EQ(LoadFailure(TraceDecode_t(Put("b.tdf", "TDF2")), data),
            "Section size cannot be located in the file.");
  const FileSizeLimit full(ReadFile(path).size() + 30);
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
      {"DECODER=\n", "old 1 2 3", {"E InputDecoderLine: Bad syntax: DECODER="}},
      {"=X\n", "old 1 2 3", {"E InputDecoderLine: Bad syntax: =X"}},
      {"DECODER\n", "old 1 2 3", {"E InputDecoderLine: Bad syntax: DECODER"}},
      {"decoder=X\n", "old 1 2 3", {"E InputDecoderLine: Unrecognized name: decoder"}},
      {"DATA_TYPE=7\nDATA_FORMAT=7\n", "old 7 7 3", {}},
      {"DATA_TYPE=8\n", "old 0 2 3", {"E ReadKind: Unrecognized data type: 8"}},
      {"DATA_FORMAT=8\n", "old 1 0 3", {"E ReadKind: Unrecognized data format: 8"}},
      {"DATA_TYPE=99999999999\n", "old 0 2 3", {"E ReadKind: Unrecognized data type: -1"}},
      {"DATA_TYPE=none\n", "old 0 2 3", {"E ReadKind: Unrecognized data type: 0"}},
      {"ATBID=99999999999\n", "old 1 2 3", {"E InputDecoderLine: Bad syntax: ATBID=99999999999"}},
      {"ATBID=010x\nATBID=4\r\n", "old 1 2 4", {}},
      {"ATBID=010\n", "old 1 2 10", {}},
      {std::string("A\0B\nATBID=5", 11), "old 1 2 5", {"E InputDecoderLine: Bad syntax: A"}},
      {std::string(1 << 20, 'x') + "\nATBID=6", "old 1 2 6", {}},
  };
  DebugLog::TakeRecords();
  for (const auto& c : cases) {
    TraceDecode_t::TraceDecodeData_t data = {"old", 1, 2, 3};
    std::istringstream stream(c.text);
    TraceDecode_t::InputValues(stream, data);
    const std::string what = c.text.substr(0, 40);
    EXPECT_EQ(TextOf(data), c.data) << what;
    EXPECT_EQ(DebugLog::TakeRecords(), c.records) << what;
  }
}

TEST_F(TraceSections, CutSectionTakesNoMoreMemoryThanItsFile) {
  const std::string path =
      Put("a.tdf", "TDF2" + Word(0x8000000) + Word(1) + Text("KZDecode") + "DECODER=X\nATBID=5");
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

void ExpectEqual(const DevIdData_t& a, const DevIdData_t& b, const std::string& what) {
  EXPECT_EQ(a.emulator, b.emulator) << what;
  EXPECT_EQ(a.port, b.port) << what;
  EXPECT_TRUE(a.devices == b.devices) << what;
  EXPECT_TRUE(a.processors == b.processors) << what;
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
  for (const auto& c : cases) {
    ExpectEqual(Parse(Render(c.data)), c.data, c.what);
  }
  EXPECT_EQ(Render({}),
            "EMU=\nPORT=\nDEVICEID=\nDEVICEMAP=\nDEVINFO=\nOUTFILES=\nTRACEID=\nPROCMAP=\n");
}

TEST_F(TraceSections, DeviceIdentifierToleratesBadLines) {
  const struct {
    std::string text;
    DevIdData_t data;
    std::vector<std::string> records;
  } cases[] = {
      {"FOO=1\nEMU=E\n",
       {"E", "", {}, {}},
       {"E InputKeyword: Unrecognized keyword in data section: FOO"}},
      {"BAR\n",
       {},
       {"E InputLine: Line does not match syntax, ignoring: BAR",
        "E InputKeyword: Unrecognized keyword in data section: BAR"}},
      {"EMU\n", {"EMU", "", {}, {}}, {"E InputLine: Line does not match syntax, ignoring: EMU"}},
      {"  PORT \t=  p q \n", {"", "p q", {}, {}}, {}},
      {" \t \nEMU=E",
       {"E", "", {}, {}},
       {"E InputLine: Line does not match syntax, ignoring: ",
        "E InputKeyword: Unrecognized keyword in data section: "}},
      {"DEVICEID= 0x1 , 26,0x0,,0xFF\n", {"", "", {}, {{"0", 1}, {"1", 26}, {"2", 255}}}, {}},
      {"DEVICEID=0x1,x,0x100000000\n",
       {"", "", {}, {{"0", 1}}},
       {"E ReadNumber: Bad number, using 0: x", "E ReadNumber: Bad number, using 0: 0x100000000"}},
      // The map before the ids, with a device that the ids lack, and an id that the map lacks.
      {"DEVICEMAP=B$0x2~C$0x3~\nDEVICEID=0x1,0x2\n",
       {"", "", {}, {{"B", 2}, {"C", 3}, {"0", 1}}},
       {}},
      {"DEVICEMAP=only\nDEVINFO=0x5~\n", {"", "", {Proc("Unknown", "", 5)}, {{"only", 0}}}, {}},
      {"TRACEID=0x2$b~\nPROCMAP=a$9~b$010$$$\nOUTFILES=a~b$f~~\n",
       {"", "", {Proc("b", "", 0, 2, 10, "f"), Proc("a", "", 0, 0, 9)}, {}},
       {}},
  };
  DebugLog::TakeRecords();
  for (const auto& c : cases) {
    ExpectEqual(Parse(c.text), c.data, c.text);
    EXPECT_EQ(DebugLog::TakeRecords(), c.records) << c.text;
  }
}

TEST_F(TraceSections, DeviceIdentifierLivesInASectionOrAPlainFile) {
  const std::string path = Put("a.tdf", "TDF2");
  std::string error;
  DevIdData_t data;
  ASSERT_TRUE(DeviceIdentifier_t(path).Save(kRichIdentifier, error)) << error;
  EXPECT_EQ(ReadFile(path), "TDF2" + Section("DEVID", 1, kRichText));
  ASSERT_TRUE(DeviceIdentifier_t(path).Load(data, error)) << error;
  ExpectEqual(data, kRichIdentifier, "section");

  setenv("KZ_TRACE_LOGGING_DIR", m_folder.path().c_str(), 1);
  ASSERT_TRUE(DeviceIdentifier_t("name", 4).Save(kRichIdentifier, error)) << error;
  EXPECT_EQ(ReadFile(At("name.dim")), kRichText);
  data = {};
  ASSERT_TRUE(DeviceIdentifier_t("name", 4).Load(data, error)) << error;
  ExpectEqual(data, kRichIdentifier, "plain");

  EXPECT_EQ(LoadFailure(DeviceIdentifier_t("none", 4), data),
            "Failed to open file " + At("none.dim"));
  EXPECT_EQ(SaveFailure(DeviceIdentifier_t("no/folder", 4), data),
            "Failed to open " + At("no/folder.dim") + " for writing");
  std::filesystem::create_symlink("/dev/full", At("full.dim"));
  EXPECT_EQ(SaveFailure(DeviceIdentifier_t("full", 4), data), "Failed to write " + At("full.dim"));
  EXPECT_EQ(SaveFailure(DeviceIdentifier_t("name", 1), data),
            "Invalid file type for writing Device Configuration");
  EXPECT_EQ(LoadFailure(DeviceIdentifier_t("name", 2), data), "File type is not supported");
  EXPECT_EQ(SaveFailure(DeviceIdentifier_t(At("none.tdf")), data),
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
  const std::string sections[] = {Section("ARMDCM", 1, "A=1\nB=2\n"),
                                  Section("EKTCONFIG", 2, "A=1\nB=2\n"),
                                  Section("STMDECODERINFO", 1, "A=1\nB=2\n{ one\nZ=9\n")};
  std::string error;
  for (std::uint32_t type = 0; type < 3; ++type) {
    const std::string path = Put("a.tdf", "TDF2");
    ASSERT_TRUE(DeviceConfig_t(path, 0, type).Save(data, error)) << type << error;
    EXPECT_EQ(ReadFile(path), "TDF2" + sections[type]) << type;
    auto loaded = Settings({{"A", "0"}, {"old", "kept"}});
    ASSERT_TRUE(DeviceConfig_t(path, 0, type).Load(loaded, error)) << type << error;
    EXPECT_THAT(loaded.values, IsSupersetOf({Pair("A", "1"), Pair("old", "kept")}));
    EXPECT_EQ(loaded.values.size(), type == 2 ? 4u : 3u);
    EXPECT_EQ(LoadFailure(DeviceConfig_t(path, 0, (type + 1) % 3), loaded),
              "Section size cannot be located in the file.");
  }
  const std::string path = Put("a.tdf", "TDF2");
  EXPECT_EQ(SaveFailure(DeviceConfig_t(path, 0, 3), data), "Bad configuration type.");
  EXPECT_EQ(LoadFailure(DeviceConfig_t(path, 0, 3), data), "Bad configuration type.");
  EXPECT_EQ(ReadFile(path), "TDF2");
  EXPECT_EQ(SaveFailure(DeviceConfig_t(At("none.tdf"), 0, 2), data), "Bad TDF file");
  EXPECT_EQ(LoadFailure(DeviceConfig_t(At("none.tdf"), 0, 2), data), "Bad TDF file");
}

TEST_F(TraceSections, PlainSettingsAreSavedAsNamedAndLoadedFromTheSettingsFolder) {
  std::filesystem::create_directory(At("settings"));
  setenv("KZ_TRACE_SETTINGS_DIR", At("settings").c_str(), 1);
  std::string error;
  for (const std::uint32_t type : {1u, 2u, 4u}) {
    ASSERT_TRUE(DeviceConfig_t(At("settings/s.txt"), type, 1).Save(Settings({{"A", "1"}}), error));
    EXPECT_EQ(ReadFile(At("settings/s.txt")), "A=1\n") << type;
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
            "Failed to open file " + At("settings/none"));
  EXPECT_EQ(LoadFailure(DeviceConfig_t("", 1, 1), data), "Failed to open file " + At("settings/"));
  EXPECT_EQ(SaveFailure(DeviceConfig_t(At("no/s.txt"), 2, 1), data),
            "Error opening file " + At("no/s.txt") + " for writing");
  EXPECT_EQ(SaveFailure(DeviceConfig_t("/dev/full", 2, 1), data), "Error writing file /dev/full");

  unsetenv("KZ_TRACE_SETTINGS_DIR");
  auto loaded = Settings({});
  EXPECT_TRUE(DeviceConfig_t(At("settings/s.txt"), 1, 1).Load(loaded, error)) << error;
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
      Put("a.tdf", "TDF2" + Section("EKTCONFIG", 2, std::string("a=1\0b=2\n", 8)));
  ASSERT_TRUE(DeviceConfig_t(path, 0, 1).Load(data, error)) << error;
  EXPECT_THAT(data.values, ElementsAre(Pair("a", "1")));
}

}  // namespace
