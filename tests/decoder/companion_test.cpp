// The optional companion library: found, called in the right order, and harmless when it fails.
// Once it is loaded into a process, its name finds it, so each case runs in a process of its own.

#include <dlfcn.h>

#include "tests/decoder/decoder_test_support.h"

namespace decoder_test {
namespace {

std::string Calls() {
  const char* calls = std::getenv("COMPANION_CALLS");
  return calls != nullptr ? calls : "";
}

/// Records its queries among the calls of the companion.
class RecordingManager final : public FakeConfigManager {
 public:
  bool GetProperty(const std::string& name, ConfigPropertyValue& value) override {
    setenv("COMPANION_CALLS", (Calls() + name + ";").c_str(), 1);
    return FakeConfigManager::GetProperty(name, value);
  }
};

class CompanionTest : public testing::Test {
 protected:
  void Install() {
    library_ = dlopen(QBT2_TEST_COMPANION_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr) << dlerror();
  }

  TempHome home_;
  RecordingManager manager_;
  void* library_ = nullptr;
};

TEST_F(CompanionTest, CreatedOnceAndCalledBeforeTheFirstQuery) {
  if (RanInFreshProcess()) return;
  Install();
  {
    StpQBTracer2Decoder unit;
    EXPECT_EQ(Calls(), "Create;");
    EXPECT_EQ(StpQBTracer2DecoderPeer{unit}.DestroyUtility(),
              dlsym(library_, "DestroyDeviceDataBaseUtility"));
    unit.SetDeviceConfigManager(&manager_);
    unit.DataReset();
    EXPECT_EQ(Calls(), "Create;SetDeviceIdentifier(null);ZeroSupress;ClockRate;");
  }
  EXPECT_EQ(Calls().find("Destroy;"), std::string::npos) << "deliberately not called";
  dlclose(library_);
  EXPECT_NE(dlopen(QBT2_TEST_COMPANION_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr) << "not unloaded";
}

TEST_F(CompanionTest, FailureIsTolerated) {
  if (RanInFreshProcess()) return;
  Install();
  setenv("COMPANION_FAILS_IN", "Create", 1);
  StpQBTracer2Decoder without;
  EXPECT_EQ(StpQBTracer2DecoderPeer{without}.Utility(), nullptr);
  setenv("COMPANION_FAILS_IN", "SetDeviceIdentifier(null)", 1);
  StpQBTracer2Decoder unit;
  unit.SetDeviceConfigManager(&manager_);
  unit.SetMasterIds({6});
  unit.DataReset();
  EXPECT_EQ(Calls(), "Create;Create;SetDeviceIdentifier(null);ZeroSupress;ClockRate;QBT2_6;");
  EXPECT_EQ(StpQBTracer2DecoderPeer{unit}.Probes().size(), 1U);
}

}  // namespace
}  // namespace decoder_test
