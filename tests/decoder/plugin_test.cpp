// The shared library itself: what it exports, what it hides, and one sample through its entry
// points. The host decodes all its rows through them.

#include <dlfcn.h>

#include "tests/decoder/decoder_test_support.h"

namespace decoder_test {
namespace {

class PluginTest : public testing::Test {
 protected:
  explicit PluginTest(void* /*loaded before*/ = nullptr)
      : library_(dlopen(QBT2_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL)) {}

  template <typename Function>
  Function Find(const char* name) {
    return reinterpret_cast<Function>(dlsym(library_, name));
  }

  TempHome home_;
  void* library_;
};

TEST_F(PluginTest, DecodesThroughTheEntryPoints) {
  ASSERT_NE(library_, nullptr) << dlerror();
  const auto create = Find<void* (*)()>("CreateDecoderUnit");
  const auto destroy = Find<void (*)(void*)>("DestroyDecoderUnit");
  ASSERT_TRUE(create != nullptr && destroy != nullptr);
  void* handle = create();
  auto* unit = static_cast<CDecoderUnitIF*>(handle);
  Bytes sample = Sample(5, {0x64, 0xAB000019});
  Bytes output(408);
  std::uint32_t produced = 0;
  unit->ProcessSamples(0, sample.data(), 400, output.data(), produced);
  EXPECT_EQ(output[produced - 1], 0xFE);
  // The error type is known on both sides of the boundary.
  EXPECT_EQ(ErrorOf([&] { unit->ProcessSamples(0, sample.data(), 1, output.data(), produced); }),
            "{0, 1}");
  destroy(handle);
  destroy(nullptr);
}

TEST_F(PluginTest, StaysLoaded) {
  if (RanInFreshProcess()) return;
  ASSERT_NE(library_, nullptr) << dlerror();
  dlclose(library_);
  EXPECT_NE(dlopen(QBT2_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

/// With a library in the process that has a function of the plug-in's.
class PluginBesideOthersTest : public PluginTest {
 protected:
  PluginBesideOthersTest()
      : PluginTest(InFreshProcess() ? dlopen(QBT2_TEST_COMPANION_PATH, RTLD_NOW | RTLD_GLOBAL)
                                    : nullptr) {}
};

TEST_F(PluginBesideOthersTest, CallsItsOwnFunctions) {
  if (RanInFreshProcess()) return;
  ASSERT_NE(library_, nullptr) << dlerror();
  Find<void (*)(void*)>("DestroyDecoderUnit")(Find<void* (*)()>("CreateDecoderUnit")());
  const char* calls = std::getenv("COMPANION_CALLS");
  EXPECT_EQ(std::string(calls != nullptr ? calls : ""), "Create;");
}

TEST_F(PluginTest, ExportedAndHiddenSymbols) {
  ASSERT_NE(library_, nullptr) << dlerror();
  // Mangled: typeinfo for Kz::Dvt::Trace::DecodeError, debug_log_init(), debug_log_msg(log_type_t,
  // char const*, int, char const*, char const*, ...), GetTraceUserDirectory(std::string&).
  const char* const exported[] = {
      "CreateDecoderUnit",
      "DestroyDecoderUnit",
      "FileSize",
      "g_log_enable",
      "g_log_level",
      "_ZTIN2Kz3Dvt5Trace11DecodeErrorE",
      "_Z14debug_log_initv",
      "_Z13debug_log_msg10log_type_tPKciS1_S1_z",
      "_Z21GetTraceUserDirectoryRNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"};
  for (const char* name : exported) {
    EXPECT_NE(dlsym(library_, name), nullptr) << name;
  }
  // SetUpTraceEnvironment(), the decoder's vtable, one of its members, one of the utilities.
  const char* const hidden[] = {"_Z21SetUpTraceEnvironmentv", "_ZTV19StpQBTracer2Decoder",
                                "_ZN19StpQBTracer2Decoder11LoadUsecaseEv",
                                "_ZN6KZ_DVT4uDllC1EPKci"};
  for (const char* name : hidden) {
    EXPECT_EQ(dlsym(library_, name), nullptr) << name;
  }
}

}  // namespace
}  // namespace decoder_test
