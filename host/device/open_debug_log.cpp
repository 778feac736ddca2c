#include "host/device/open_debug_log.h"

#include <exception>

#include "common/source/logging/debug_log.h"

namespace qbt2 {

std::string open_debug_log() try {
  debug_log_init();
  return {};
} catch (const std::exception& error) {
  return error.what();
}

}  // namespace qbt2
