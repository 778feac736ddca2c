// Saving and loading when memory runs out, at every allocation: the whole is done, or the call
// returns false; nothing throws.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>

#include "platforms/source/trace/device_config_manager_stm.h"
#include "platforms/source/trace/tdf_handler.h"
#include "platforms/source/trace/tdf_helper.h"
#include "tests/support/saved_environment.h"
#include "tests/support/tdf_bytes.h"
#include "tests/support/test_folder.h"

namespace {

// The allocations of this program that succeed before one fails, or all from there on.
long g_allocations_left = -1;  // negative: no limit
bool g_one_fails = false;
bool g_failed = false;

}  // namespace

// Inlined, they look mismatched to the compiler.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (g_allocations_left == 0) {
    g_failed = true;
    if (g_one_fails) g_allocations_left = -1;
    throw std::bad_alloc();
  }
  if (g_allocations_left > 0) --g_allocations_left;
  if (void* const memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

using namespace qbt2::test;
using namespace EktTrace::ConfigFile;
using Kz::Dvt::Trace::TDFHandler;

TEST(OutOfMemory, SavesAndLoadsAreWholeOrFail) {
  const TestFolder folder;
  const SavedEnvironment environment;
  set_variable("KZ_TRACE_SETTINGS_DIR", folder.path());
  // Longer than what strings and streams hold without allocating.
  const std::string text(2000, 't');
  const std::string lines = "A=" + text + "\nB=" + text + "\n";
  const std::string decoder = "DECODER=" + text + "\nDATA_TYPE=1\nDATA_FORMAT=2\nATBID=3\n";
  const std::string identifier =
      "EMU=" + text + "\nPORT=p\nDEVICEID=0x1\nDEVICEMAP=d$0x1~\nDEVINFO=0x1$" + text +
      "$i~\nOUTFILES=\nTRACEID=0x2$" + text + "~\nPROCMAP=" + text + "$3$~\n";
  const std::string in =
      folder.put("in.tdf", "TDF2" + section("KZDecode", 1, decoder) +
                               section("DEVID", 1, identifier) + section("EKTCONFIG", 2, lines));
  const std::string header =
      folder.put("header.tdf", "TDF2" + le32(9) + le32(1) + counted("TraceKZ") + counted(text) +
                                   le32(0) + counted(text) + std::string(16, '\0'));
  folder.put("lines.txt", lines);
  const std::string out = folder.at("out.tdf");

  KzTrace_t::KzTraceData_t record;
  record.headerText4 = text;
  const TraceDecode_t::TraceDecodeData_t info = {text, 1, 2, 3};
  const DeviceIdentifier_t::DevIdData_t devices = {
      text, "p", {{text, "", "i", 1, 2, 3, ""}}, {{"d", 1}}};
  DeviceConfig_t::DeviceConfigData_t settings;
  settings.values = {{"A", text}, {"B", text}};
  KzTrace_t::KzTraceData_t read_record;
  TraceDecode_t::TraceDecodeData_t read_info;
  DeviceIdentifier_t::DevIdData_t read_devices;
  DeviceConfig_t::DeviceConfigData_t read_settings;
  std::string error;
  std::uint32_t length = 0;
  const auto wrote = [&](const std::string& bytes) {
    return [&, bytes] { return read_file(out) == bytes; };
  };
  const auto has_settings = [&] { return read_settings.values == settings.values; };

  const struct {
    const char* what;
    std::function<bool()> call, is_whole;
  } cases[] = {
      {"header save", [&, file = KzTrace_t(out)]() mutable { return file.Save(record, error); },
       [&] { return read_file(out).size() == 4 + 12 + 7 + 4 * 4 + 28 + 4 + 16 + 8 + text.size(); }},
      {"header load",
       [&, file = KzTrace_t(header)]() mutable { return file.Load(read_record, error); },
       [&] { return read_record.headerText4 == text; }},
      {"decoder save", [&, file = TraceDecode_t(out)]() mutable { return file.Save(info, error); },
       wrote("TDF2" + section("KZDecode", 1, decoder))},
      {"decoder load",
       [&, file = TraceDecode_t(in)]() mutable { return file.Load(read_info, error); },
       [&] { return read_info.decoder == text && read_info.atbId == 3; }},
      {"identifier save",
       [&, file = DeviceIdentifier_t(out)]() mutable { return file.Save(devices, error); },
       wrote("TDF2" + section("DEVID", 1, identifier))},
      {"identifier load",
       [&, file = DeviceIdentifier_t(in)]() mutable { return file.Load(read_devices, error); },
       [&] { return read_devices == devices; }},
      {"settings save",
       [&, file = DeviceConfig_t(out, 0, 1)]() mutable { return file.Save(settings, error); },
       wrote("TDF2" + section("EKTCONFIG", 2, lines))},
      {"settings load",
       [&, file = DeviceConfig_t(in, 0, 1)]() mutable { return file.Load(read_settings, error); },
       has_settings},
      {"plain save",
       [&, file = DeviceConfig_t(out, 2, 1)]() mutable { return file.Save(settings, error); },
       wrote(lines)},
      {"plain load",
       [&, file = DeviceConfig_t("lines.txt", 1, 1)]() mutable {
         return file.Load(read_settings, error);
       },
       has_settings},
      {"seek",
       [&] {
         std::FILE* const file = std::fopen(in.c_str(), "rb");
         std::fseek(file, 4, SEEK_SET);
         const bool found = TDFHandler::SeekSectionData(file, "EKTCONFIG", 2, length);
         std::fclose(file);
         return found;
       },
       [&] { return length == lines.size(); }},
      {"construct",
       [&] {
         return EktTrace::DeviceConfigManagerStm_t::Construct(nullptr, text, text, error) ==
                nullptr;
       },
       [&] { return g_failed || error.ends_with("Null device pointer"); }},
  };
  for (const auto& c : cases) {
    for (const bool one_fails : {true, false}) {
      g_failed = true;
      for (int n = 0; g_failed; ++n) {
        folder.put("out.tdf", "TDF2");
        read_record = {};
        read_info = {};
        read_devices = {};
        read_settings = {};
        error.assign(200, '-');  // room for a message, as a caller may have
        g_failed = false;
        g_one_fails = one_fails;
        g_allocations_left = n;
        bool done = false;
        bool thrown = false;
        try {
          done = c.call();
        } catch (...) {
          thrown = true;
        }
        g_allocations_left = -1;
        ASSERT_FALSE(thrown) << c.what << " at allocation " << n;
        EXPECT_TRUE(done ? c.is_whole() : g_failed) << c.what << " at allocation " << n;
      }
    }
  }
}

}  // namespace
