#pragma once

#include <string>

/// A plug-in is foreign code in this process and may end it. That must not look like a successful
/// run.
namespace qbt2::tool {

/// While it lives, any call of exit() prints a line that names the plug-in, removes
/// temporary files and ends with status 2. At most one at a time.
class PluginGuard {
 public:
  explicit PluginGuard(std::string plugin);
  ~PluginGuard();
  PluginGuard(const PluginGuard&) = delete;
  PluginGuard& operator=(const PluginGuard&) = delete;
};

}  // namespace qbt2::tool
