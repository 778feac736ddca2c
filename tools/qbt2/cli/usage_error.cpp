#include "tools/qbt2/cli/usage_error.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "host/base/near_name.h"
#include "tools/qbt2/cli/command.h"

namespace qbt2::tool {
namespace {

/// The command that was being parsed: the last sub-command that was named.
const CLI::App& innermost(const CLI::App& app) {
  const std::vector<CLI::App*> parsed = app.get_subcommands();
  return parsed.empty() ? app : innermost(*parsed.back());
}

std::string see_help(const CLI::App& app) {
  return "; see " + full_name(app) + " --help";
}

std::string hint(std::string_view word, const std::vector<std::string>& names,
                 const std::string& otherwise) {
  const std::string nearest = nearest_hint(word, {names.begin(), names.end()});
  return nearest.empty() ? otherwise : nearest;
}

std::vector<std::string> command_names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* const command : app.get_subcommands({})) {
    names.push_back(command->get_name());
  }
  return names;
}

std::vector<std::string> option_names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

bool is_option(std::string_view word) {
  return word.size() > 1 && word.front() == '-';
}

std::string unknown_option(const CLI::App& app, std::string_view word) {
  word = word.substr(0, word.find('='));
  const std::string_view name = word.substr(std::min(word.find_first_not_of('-'), word.size()));
  return "unknown option '" + std::string(word) + "'" +
         hint("--" + std::string(name), option_names(app), see_help(app));
}

/// A word that `app` has no use for.
std::string unexpected_word(const CLI::App& app, const std::string& word) {
  if (is_option(word)) return unknown_option(app, word);
  const std::vector<std::string> commands = command_names(app);
  if (commands.empty()) return "unexpected argument '" + word + "'" + see_help(app);
  return "unknown command '" + word + "'" +
         hint(word, commands, "; the commands are " + CLI::detail::join(commands, ", "));
}

/// The option at fault, which the parser's text begins with.
std::string option_at_fault(const std::string& text) {
  return text.substr(0, text.find_first_of(": "));
}

std::string wrong_count(const CLI::App& app, const std::string& text) {
  // "Could not convert: --flag = word", or the option's name first
  const std::string name = option_at_fault(text.substr(std::min(text.find('-'), text.size())));
  const CLI::Option* const option = app.get_option_no_throw(name);
  if (option == nullptr) return text + see_help(app);
  if (option->get_items_expected_max() == 0) return name + ": takes no value";
  return name + (option->count() == 0 ? ": needs a value" : ": is given more than once");
}

std::string missing(const CLI::App& app, const std::string& text) {
  const std::vector<std::string> commands = command_names(app);
  if (!commands.empty()) {
    return "no command given; the commands are " + CLI::detail::join(commands, ", ");
  }
  return option_at_fault(text) + " is missing" + see_help(app);
}

}  // namespace

std::string usage_error_text(const CLI::App& root, const CLI::ParseError& error) {
  const CLI::App& app = innermost(root);
  std::string text = error.what();
  // A word that is left over explains more than what is missing because of it.
  for (const CLI::App* place = &app; place != nullptr; place = place->get_parent()) {
    const std::vector<std::string> words = place->remaining();
    if (words.empty()) continue;
    const bool misplaced = place != &app && app.get_option_no_throw(words.front()) != nullptr;
    return misplaced ? "the option " + words.front() + " goes after '" + full_name(app) + "'"
                     : unexpected_word(*place, words.front());
  }
  switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
    case CLI::ExitCodes::RequiredError:
      return missing(app, text);
    case CLI::ExitCodes::ArgumentMismatch:
    case CLI::ExitCodes::ConversionError:
      return wrong_count(app, text);
    default:
      return text;
  }
}

}  // namespace qbt2::tool
