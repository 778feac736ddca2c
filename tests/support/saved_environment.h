#pragma once

#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

namespace qbt2::test {

/// Restores all environment variables of the process, and the time zone, at the end of its life.
/// One thread.
class SavedEnvironment {
 public:
  SavedEnvironment() {
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
      const std::string text = *entry;
      const std::size_t equals = text.find('=');
      if (equals != std::string::npos) {
        variables_.emplace_back(text.substr(0, equals), text.substr(equals + 1));
      }
    }
  }
  ~SavedEnvironment() {
    clearenv();
    for (const auto& [name, value] : variables_) setenv(name.c_str(), value.c_str(), 1);
    tzset();
  }
  SavedEnvironment(const SavedEnvironment&) = delete;
  SavedEnvironment& operator=(const SavedEnvironment&) = delete;

 private:
  std::vector<std::pair<std::string, std::string>> variables_;
};

/// Sets the variable; null unsets it.
inline void set_variable(const char* name, const char* value) {
  if (value != nullptr) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
}
inline void set_variable(const char* name, const std::string& value) {
  setenv(name, value.c_str(), 1);
}

}  // namespace qbt2::test
