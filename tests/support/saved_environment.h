#pragma once

#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace qbt2::test {

/// Sets the variable; null unsets it.
inline void set_variable(const char* name, const char* value) {
  if (value == nullptr) {
    unsetenv(name);
  } else {
    setenv(name, value, 1);
  }
}
inline void set_variable(const char* name, const std::string& value) {
  set_variable(name, value.c_str());
}

/// Restores all environment variables of the process, and the time zone, at the end of its life.
/// One thread.
class SavedEnvironment {
 public:
  SavedEnvironment() {
    for (char** entry = environ; *entry != nullptr; ++entry) variables_.emplace_back(*entry);
  }
  ~SavedEnvironment() {
    clearenv();
    for (const std::string& variable : variables_) {
      const std::size_t equals = variable.find('=');
      set_variable(variable.substr(0, equals).c_str(), variable.substr(equals + 1));
    }
    tzset();
  }
  SavedEnvironment(const SavedEnvironment&) = delete;
  SavedEnvironment& operator=(const SavedEnvironment&) = delete;

 private:
  std::vector<std::string> variables_;
};

}  // namespace qbt2::test
