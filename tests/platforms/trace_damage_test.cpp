// Trace data files cut and altered at every place, and texts that no writer makes, through the same
// entries that the fuzzers use. Those abort when a reader leaves the file or contradicts itself.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>

#include "common/source/errors/error_code.h"
#include "platforms/source/trace/tdf_handler.h"
#include "platforms/source/trace/tdf_helper.h"
#include "tests/platforms/trace_testing.h"

extern "C" int FuzzTdf(const std::uint8_t* data, std::size_t size);
extern "C" int FuzzSettings(const std::uint8_t* data, std::size_t size);

namespace {

using namespace trace_testing;
using namespace EktTrace::ConfigFile;
using Kz::Dvt::Trace::TDFHandler;

void Feed(int (*target)(const std::uint8_t*, std::size_t), const std::string& bytes) {
  target(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

class TraceDamage : public InFolder {
 protected:
  // One section of each kind, and one that nobody knows before the last.
  std::string RichFile() const {
    const std::string path = At("rich.tdf");
    std::string error;
    KzTrace_t::KzTraceData_t header;
    header.deviceText = "device";
    header.headerText4 = "4";
    EXPECT_TRUE(KzTrace_t(path).Save(header, error)) << error;
    EXPECT_TRUE(TraceDecode_t(path).Save({"X", 3, 5, 12}, error)) << error;
    EXPECT_TRUE(DeviceIdentifier_t(path).Save(
        {"emu", "port", {{"cpu", "", "info", 1, 2, 3, "file"}}, {{"dev", 7}}}, error))
        << error;
    WriteFile(path, ReadFile(path) + Section("unknown", 77, std::string(40, '\xA5')));
    DeviceConfig_t::DeviceConfigData_t settings;
    settings.values = {{"ATBID", "16"}, {"QBT2_5", "DMA;1;0x1000;0;0;0;0;0;0;0;0;0;0;0;0"}};
    EXPECT_TRUE(DeviceConfig_t(path, 0, 2).Save(settings, error)) << error;
    return ReadFile(path);
  }
};

TEST_F(TraceDamage, FileCutAnywhereGivesWhatIsThere) {
  const std::string rich = RichFile();
  const std::string section = "STMDECODERINFO";
  const std::size_t payloadAt = rich.find(section) + section.size();
  const std::string payload = rich.substr(payloadAt);
  std::string buffer(rich.size(), '\0');
  for (std::size_t size = 0; size <= rich.size(); ++size) {
    const std::string path = Put("cut.tdf", rich.substr(0, size));
    Feed(FuzzTdf, rich.substr(0, size));
    std::uint32_t got = 0;
    bool found = true;
    try {
      TDFHandler::LoadSectionData(path.c_str(), section.c_str(), 1, buffer.data(),
                                  static_cast<std::uint32_t>(buffer.size()), got);
    } catch (const Kz::Dvt::Hwdbg::hwDbgError&) {
      found = false;
    }
    // A file that ends right behind the name still holds the section, with no data.
    ASSERT_EQ(found, size >= payloadAt) << size;
    ASSERT_EQ(buffer.substr(0, got), found ? payload.substr(0, size - payloadAt) : "") << size;
  }
}

TEST_F(TraceDamage, AlteredBytesGetAnAnswer) {
  const std::string rich = RichFile();
  for (std::size_t at = 0; at < rich.size(); ++at) {
    for (const unsigned value : {0x00u, 0xFFu, 0x80u, 0x0Cu}) {
      std::string bytes = rich;
      bytes[at] = static_cast<char>(value);
      Feed(FuzzTdf, bytes);
      Feed(FuzzSettings, bytes);
    }
  }
}

TEST_F(TraceDamage, TextsThatNoWriterMakesGetAnAnswer) {
  const std::string mega(1 << 20, '~');
  std::string manyNames = "TRACEID=";
  for (int i = 0; i < 50000; ++i) {
    manyNames += "0x" + std::to_string(i % 1000) + "$p" + std::to_string(i) + "~";
  }
  const std::string cases[] = {
      "",
      " ",
      "\n\n\n",
      "\r\n",
      "=",
      "==\n=",
      std::string(3, '\0'),
      std::string("EMU=\0\nA\0=\0\n", 12),
      "DEVICEID=,,,0x,0x0x,-1,0xFFFFFFFFF\nDEVICEMAP=$~~$$~\nDEVINFO=$$$~",
      "DEVICEMAP=0$0x5~\nDEVICEID=0x1,0x5\n",
      "PROCMAP= a$1$~\nDEVINFO=0x1$ a $x~\n",
      "EMU=" + mega,
      "PROCMAP=" + mega,
      "DEVICEID=" + std::string(1 << 20, ','),
      "OUTFILES=" + std::string(1 << 20, '$'),
      mega,
      std::string(1 << 20, ' '),
      "DATA_TYPE=" + std::string(1 << 20, '9'),
      manyNames,
  };
  for (const std::string& text : cases) {
    SCOPED_TRACE(::testing::PrintToString(text.substr(0, 40)));
    Feed(FuzzSettings, text);
  }
}

TEST(TraceSeeds, EverySeedGetsAnAnswer) {
  const struct {
    const char* folder;
    int (*target)(const std::uint8_t*, std::size_t);
  } targets[] = {{"fuzz_tdf", FuzzTdf}, {"fuzz_settings", FuzzSettings}};
  for (const auto& t : targets) {
    int seeds = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(QBT2_FUZZ_SEED_DIR "/") + t.folder)) {
      SCOPED_TRACE(entry.path().string());
      Feed(t.target, ReadFile(entry.path().string()));
      ++seeds;
    }
    EXPECT_GT(seeds, 0) << t.folder;
  }
}

}  // namespace
