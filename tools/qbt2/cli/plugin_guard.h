#pragma once

#include <string>

/// A plug-in is foreign code in this process: it may end it. Of a run that is under way that must
/// not look like success.
namespace qbt2::tool {

/// While it lives, exit() by whoever calls it prints a line that names the plug-in, removes
/// temporary files and ends with status 2. At most one at a time.
class PluginGuard {
 public:
  explicit PluginGuard(std::string plugin);
  ~PluginGuard();
  PluginGuard(const PluginGuard&) = delete;
  PluginGuard& operator=(const PluginGuard&) = delete;
};

}  // namespace qbt2::tool
