#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>
#include <string>
#include <vector>

#include "host/base/error.h"
#include "tools/qbt2/cli/command.h"
#include "tools/qbt2/cli/message.h"
#include "tools/qbt2/cli/printer.h"
#include "tools/qbt2/cli/signals.h"
#include "tools/qbt2/commands/columns_command.h"
#include "tools/qbt2/commands/decode_command.h"
#include "tools/qbt2/commands/generate_command.h"
#include "tools/qbt2/commands/info_command.h"
#include "tools/qbt2/commands/tdf_command.h"

namespace {

using qbt2::tool::Command;

int run_chosen(const std::vector<Command>& commands) {
  for (const Command& command : commands) {
    if (command.app->parsed()) return command.run();
  }
  return qbt2::tool::kExitFailed;
}

/// A stream that the caller has closed (`2>&-`) would give its number to the next file opened, and
/// messages would end up in a capture. Opened the wrong way round, so that its use still fails.
void open_missing_standard_streams() {
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(number, F_GETFD) >= 0) continue;
    const int opened = ::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    if (opened != number) std::_Exit(qbt2::tool::kExitFailed);  // the lowest free number is given
  }
}

/// CLI11's own answer, with its many exit codes folded into ours: help and version are fine,
/// everything else is a mistake in the call.
int exit_for_parse(const CLI::App& app, const CLI::ParseError& error) {
  std::ostringstream out;
  std::ostringstream err;
  const int status = app.exit(error, out, err);
  std::fputs(out.str().c_str(), stdout);
  // The arguments in it may be names that a shell has found in a folder.
  std::istringstream lines(err.str());
  for (std::string line; std::getline(lines, line);) {
    std::fputs((qbt2::tool::shown(line) + "\n").c_str(), stderr);
  }
  return status == 0 ? qbt2::tool::kExitOk : qbt2::tool::kExitFailed;
}

}  // namespace

int main(int argc, char** argv) {
  open_missing_standard_streams();
  qbt2::tool::set_up_signals();
  CLI::App app{"Decodes QB Tracer 2 bus traffic from STP captures into rows.", "qbt2"};
  app.set_version_flag("--version", "qbt2 " QBT2_VERSION);
  app.require_subcommand(1);
  const std::vector<Command> commands = {
      qbt2::tool::add_decode_command(app),   qbt2::tool::add_columns_command(app),
      qbt2::tool::add_generate_command(app), qbt2::tool::add_tdf_command(app),
      qbt2::tool::add_info_command(app),
  };
  try {
    app.parse(argc, argv);
    return run_chosen(commands);
  } catch (const CLI::ParseError& error) {
    return exit_for_parse(app, error);
  } catch (const qbt2::Error& error) {
    qbt2::tool::print_message(error.what());
  } catch (const std::exception& error) {
    qbt2::tool::print_message("unexpected", error.what());
  }
  return qbt2::tool::kExitFailed;
}
