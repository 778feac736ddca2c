// Damaged trace data files, and texts that no writer makes. Every damaged input also goes to the
// fuzz targets, which abort if a reader leaves the file or contradicts itself.
#include <cstdint>
#include <sstream>
#include <string>

#include "platforms/source/trace/tdf_helper.h"
#include "platforms/source/trace/tdf_walker.h"
#include "tests/support/fuzz_seeds.h"
#include "tests/support/tdf_bytes.h"
#include "tests/support/test_folder.h"

extern "C" int FuzzTdf(const std::uint8_t* data, std::size_t size);
extern "C" int FuzzSettings(const std::uint8_t* data, std::size_t size);

namespace {

using namespace qbt2::test;
using namespace EktTrace::ConfigFile;

void Feed(FuzzTarget target, const std::string& bytes) {
  target(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

/// The sections of a file as "name/version: payload".
std::vector<std::string> SectionsOf(const std::string& path, const std::string& bytes) {
  Kz::Dvt::Trace::TdfFault fault;
  std::vector<std::string> sections;
  for (const auto& s : Kz::Dvt::Trace::ListSections(path, fault)) {
    sections.push_back(s.name + "/" + std::to_string(s.version) + ": " +
                       bytes.substr(s.payloadOffset, s.payloadLength));
  }
  return sections;
}

TEST(TraceDamage, SectionsBeforeTheDamageStayReadable) {
  const TestFolder folder;
  const std::string parts[] = {"TDF2", section("KZDecode", 1, "DECODER=X\n"),
                               section("unknown", 77, std::string(20, '\xA5')),
                               section("EKTCONFIG", 2, "ATBID=16\nQBT2_5=DMA\n")};
  const std::vector<std::string> sections = {"KZDecode/1: DECODER=X\n",
                                             "unknown/77: " + std::string(20, '\xA5'),
                                             "EKTCONFIG/2: ATBID=16\nQBT2_5=DMA\n"};
  const std::string whole = parts[0] + parts[1] + parts[2] + parts[3];
  ASSERT_EQ(SectionsOf(folder.put("a.tdf", whole), whole), sections);

  const auto expect_before = [&](const std::string& damaged, std::size_t at) {
    std::size_t intact = 0;
    for (std::size_t end = 4; intact < 3 && (end += parts[intact + 1].size()) <= at;) ++intact;
    const auto found = SectionsOf(folder.put("a.tdf", damaged), damaged);
    ASSERT_GE(found.size(), intact) << at;
    for (std::size_t i = 0; i < intact; ++i) EXPECT_EQ(found[i], sections[i]) << at;
    Feed(FuzzTdf, damaged);
    Feed(FuzzSettings, damaged);
  };
  for (std::size_t at = 0; at < whole.size(); ++at) {
    expect_before(whole.substr(0, at), at);
    for (const int value : {0x00, 0x0C, 0x80, 0xFF}) {
      std::string changed = whole;
      changed[at] = static_cast<char>(value);
      expect_before(changed, at);
    }
  }
}

// How many settings, devices and processors the parsers find.
TEST(TraceDamage, TextsThatNoWriterMakes) {
  const std::size_t mega = 1 << 20;
  std::string many_names = "TRACEID=";
  for (int i = 0; i < 50000; ++i) {
    many_names += "0x" + std::to_string(i % 1000) + "$p" + std::to_string(i) + "~";
  }
  const struct {
    std::string text;
    std::size_t settings, devices, processors;
  } cases[] = {
      {"", 0, 0, 0},
      {" ", 0, 0, 0},
      {"\n\n\n", 0, 0, 0},
      {"\r\n", 1, 0, 0},
      {"==\n=", 0, 0, 0},
      {std::string(3, '\0'), 1, 0, 0},
      {std::string("EMU=\0\nA\0=\0\n", 11), 2, 0, 0},
      {"DEVICEID=,,,0x,0x0x,-1,0xFFFFFFFFF\nDEVICEMAP=$~~$$~\nDEVINFO=$$$~", 3, 2, 1},
      {"DEVICEMAP=0$0x5~\nDEVICEID=0x1,0x5\n", 2, 2, 0},
      {"PROCMAP= a$1$~\nDEVINFO=0x1$ a $x~\n", 2, 0, 1},
      {"EMU=" + std::string(mega, '~'), 1, 0, 0},
      {"PROCMAP=" + std::string(mega, '~'), 1, 0, 0},
      {"DEVICEID=" + std::string(mega, ','), 1, 0, 0},
      {"OUTFILES=" + std::string(mega, '$'), 1, 0, 1},
      {std::string(mega, ' '), 0, 0, 0},
      {"DATA_TYPE=" + std::string(mega, '9'), 1, 0, 0},
      {many_names, 1, 0, 50000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.text.substr(0, 40)));
    DeviceConfig_t::DeviceConfigData_t settings;
    DeviceIdentifier_t::DevIdData_t identifier;
    std::istringstream lines(c.text), again(c.text);
    DeviceConfig_t::InputValues(lines, settings);
    DeviceIdentifier_t::InputData(again, 1, identifier);
    EXPECT_EQ(settings.values.size(), c.settings);
    EXPECT_EQ(identifier.devices.size(), c.devices);
    EXPECT_EQ(identifier.processors.size(), c.processors);
    Feed(FuzzSettings, c.text);
  }
}

TEST(TraceDamage, DamagedSeeds) {
  run_over_seeds(FuzzTdf, QBT2_FUZZ_SEED_DIR "/fuzz_tdf");
  run_over_seeds(FuzzSettings, QBT2_FUZZ_SEED_DIR "/fuzz_settings");
}

}  // namespace
