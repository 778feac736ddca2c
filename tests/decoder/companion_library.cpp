// A stand-in for a host's DeviceDataBaseUtility. It records its calls in the environment of the
// process, where the test reads them, and fails in the call that the test names there.

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "interfaces/device_session_if.h"

namespace {

/// Its type is defined in this library, which must stay loaded while the decoder handles it.
struct CompanionFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void Record(const std::string& call) {
  const char* calls = std::getenv("COMPANION_CALLS");
  setenv("COMPANION_CALLS", ((calls != nullptr ? calls : "") + call + ";").c_str(), 1);
  const char* failing = std::getenv("COMPANION_FAILS_IN");
  if (failing != nullptr && call == failing) throw CompanionFailure(call);
}

class Utility final : public Kz::Dvt::Trace::CDeviceDataBaseUtility {
 public:
  void SetDeviceIdentifier(Kz::Dvt::Trace::CDeviceIdentifier* identifier) override {
    Record(identifier != nullptr ? "SetDeviceIdentifier" : "SetDeviceIdentifier(null)");
  }
};

Utility g_utility;

}  // namespace

extern "C" QBT2_API void* CreateDeviceDataBaseUtility() {
  Record("Create");
  return static_cast<Kz::Dvt::Trace::CDeviceDataBaseUtility*>(&g_utility);
}

/// KZ_DVT::uLogSystem::GetLogSystem(), which the plug-in exports and calls.
extern "C" QBT2_API void* _ZN6KZ_DVT10uLogSystem12GetLogSystemEv() {
  Record("GetLogSystem");
  return nullptr;
}

extern "C" QBT2_API void DestroyDeviceDataBaseUtility(void* /*utility*/) {
  Record("Destroy");
}
