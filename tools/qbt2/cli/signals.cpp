#include "tools/qbt2/cli/signals.h"

#include <csignal>

#include "host/base/temporary_files.h"

namespace qbt2::tool {
namespace {

/// SA_RESETHAND has set the signal back to its default, which is met when this returns.
extern "C" void end_by_signal(int number) {
  remove_temporary_files();
  ::raise(number);
}

}  // namespace

void set_up_signals() {
  for (const int number : {SIGPIPE, SIGXFSZ}) std::signal(number, SIG_IGN);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action {};
    if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = end_by_signal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    ::sigaction(number, &action, nullptr);
  }
}

}  // namespace qbt2::tool
