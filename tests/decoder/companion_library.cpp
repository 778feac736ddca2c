// A companion library of the tests' own, in the place of a host's DeviceDataBaseUtility. It notes
// its calls in the environment of the process, where the test finds them, and fails where it is
// told to.

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "interfaces/device_session_if.h"

namespace {

/// Of this library: the decoder has to outlive it and the exception.
struct CompanionFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void Note(const std::string& call) {
  const char* calls = std::getenv("COMPANION_CALLS");
  setenv("COMPANION_CALLS", ((calls != nullptr ? calls : "") + call + ";").c_str(), 1);
  const char* failing = std::getenv("COMPANION_FAILS_IN");
  if (failing != nullptr && call == failing) throw CompanionFailure(call);
}

class Utility final : public Kz::Dvt::Trace::CDeviceDataBaseUtility {
 public:
  void SetDeviceIdentifier(Kz::Dvt::Trace::CDeviceIdentifier* identifier) override {
    Note(identifier != nullptr ? "SetDeviceIdentifier" : "SetDeviceIdentifier(null)");
  }
};

Utility g_utility;

}  // namespace

extern "C" QBT2_API void* CreateDeviceDataBaseUtility() {
  Note("Create");
  return static_cast<Kz::Dvt::Trace::CDeviceDataBaseUtility*>(&g_utility);
}

extern "C" QBT2_API void DestroyDeviceDataBaseUtility(void* /*utility*/) {
  Note("Destroy");
}
