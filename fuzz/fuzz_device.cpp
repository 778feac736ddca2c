// Device descriptions from arbitrary text: accepted, or refused with an error that names the file;
// never a crash.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "host/base/error.h"
#include "host/device/device_description.h"
#include "host/device/device_session.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    qbt2::DeviceSession session(
        qbt2::parse_device_description({reinterpret_cast<const char*>(data), size}, "fuzz"));
    require(!session.device_name().empty());
    std::string value;
    std::string error;
    for (const std::uint32_t id : session.master_ids()) {
      require(session.GetConfigAccessor(session.device_name(), "", error)
                  ->ReadSetting("QBT2_" + std::to_string(id), value, error));
    }
  } catch (const qbt2::Error& error) {
    require(error.code() == qbt2::ErrorCode::kInput);
    require(std::string(error.what()).starts_with("fuzz: "));
  }
  return 0;
}
