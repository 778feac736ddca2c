#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "host/base/error.h"
#include "host/device/open_debug_log.h"
#include "tools/qbt2/cli/command.h"
#include "tools/qbt2/cli/help.h"
#include "tools/qbt2/cli/message.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/cli/signals.h"
#include "tools/qbt2/cli/usage_error.h"
#include "tools/qbt2/commands/columns_command.h"
#include "tools/qbt2/commands/decode_command.h"
#include "tools/qbt2/commands/generate_command.h"
#include "tools/qbt2/commands/info_command.h"
#include "tools/qbt2/commands/tdf_command.h"

namespace {

using qbt2::tool::Command;

/// A stream that the caller has closed (`2>&-`) would give its number to the next file opened, and
/// messages would end up in a capture. Opened the wrong way round, so that its use still fails.
void open_missing_standard_streams() {
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(number, F_GETFD) >= 0) continue;
    const int opened = ::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    if (opened != number) std::_Exit(qbt2::tool::kExitFailed);  // the lowest free number is given
  }
}

void print(const std::string& text) {
  qbt2::tool::Printer printer("-");
  printer.print(text);
  printer.finish();
}

/// Runs the command that the arguments name; --help and --version are answers of their own.
int run(CLI::App& app, const std::vector<Command>& commands, int argc, char** argv) try {
  app.parse(argc, argv);
  const std::string no_log = qbt2::open_debug_log();
  if (!no_log.empty()) qbt2::tool::print_message("no debug log: " + no_log);
  return qbt2::tool::run_chosen(commands);
} catch (const CLI::Success& answer) {
  std::ostringstream text;
  app.exit(answer, text, text);
  print(text.str());
  return qbt2::tool::kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  open_missing_standard_streams();
  qbt2::tool::set_up_signals();
  CLI::App app{"Decodes QB Tracer 2 bus traffic from STP captures into rows.", "qbt2"};
  qbt2::tool::set_up_help(app);
  app.set_version_flag("--version", "qbt2 " QBT2_VERSION, "Print the version and exit");
  app.require_subcommand(1);
  const std::vector<Command> commands = {
      qbt2::tool::add_decode_command(app),   qbt2::tool::add_columns_command(app),
      qbt2::tool::add_generate_command(app), qbt2::tool::add_tdf_command(app),
      qbt2::tool::add_info_command(app),
  };
  qbt2::tool::end_help(app,
                       {"qbt2 generate -o soc.stp --messages 100k",
                        "qbt2 decode soc.stp --config soc.stp.cfg --limit 20"},
                       {0, 1, 2});
  try {
    return run(app, commands, argc, argv);
  } catch (const qbt2::tool::ReaderGone&) {
    return qbt2::tool::kExitOk;
  } catch (const CLI::ParseError& error) {
    qbt2::tool::print_message(qbt2::tool::usage_error_text(app, error));
  } catch (const qbt2::Error& error) {
    qbt2::tool::print_message(error.what());
  } catch (const std::bad_alloc&) {
    qbt2::tool::print_message(
        "out of memory; close other programs, or raise the limit (ulimit -v)");
  } catch (const std::exception& error) {
    qbt2::tool::print_message("unexpected", error.what());
  }
  return qbt2::tool::kExitFailed;
}
