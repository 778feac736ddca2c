#include "tools/qbt2/cli/plugin_guard.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "host/base/temporary_files.h"
#include "tools/qbt2/cli/command.h"
#include "tools/qbt2/cli/message.h"

namespace qbt2::tool {
namespace {

std::string guarded_plugin;  // empty: none

void report_exit() {
  if (guarded_plugin.empty()) return;
  print_message(guarded_plugin +
                ": the decoder plug-in ended the program before its work was done");
  remove_temporary_files();
  ::_exit(kExitFailed);
}

}  // namespace

PluginGuard::PluginGuard(std::string plugin) {
  static const bool registered = std::atexit(report_exit) == 0;
  (void)registered;
  guarded_plugin = std::move(plugin);
}

PluginGuard::~PluginGuard() {
  guarded_plugin.clear();
}

}  // namespace qbt2::tool
