#include "tools/qbt2/cli/help.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

#include "tools/qbt2/cli/command.h"
#include "tools/qbt2/cli/numbers.h"
#include "tools/qbt2/cli/options.h"

namespace qbt2::tool {
namespace {

constexpr std::size_t kLineColumns = 80;
constexpr std::size_t kNameColumns = 28;  ///< where the descriptions begin

/// The words of `text` in lines of at most `columns`.
std::string wrapped(std::string_view text, std::size_t columns) {
  std::string lines;
  while (text.size() > columns) {
    const std::size_t blank = text.rfind(' ', columns);
    if (blank == std::string_view::npos) break;  // one long word
    lines.append(text.substr(0, blank)).append("\n");
    text.remove_prefix(blank + 1);
  }
  return lines.append(text);
}

class HelpFormatter final : public CLI::Formatter {
 public:
  HelpFormatter() {
    column_width(kNameColumns);
    label("OPTIONS", "options");
    label("SUBCOMMAND", "COMMAND");
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    const bool has_value = option->get_items_expected_max() != 0 && !option->get_positional();
    return has_value ? " " + option->get_type_name() : "";
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    const std::string& value = option->get_default_str();
    return wrapped(option->get_description() + (value.empty() ? "" : " (default: " + value + ")"),
                   kLineColumns - kNameColumns);
  }
  std::string make_subcommand(const CLI::App* command) const override {
    std::ostringstream line;
    CLI::detail::format_help(line, command->get_name(),
                             wrapped(command->get_description(), kLineColumns - kNameColumns),
                             kNameColumns);
    return line.str();
  }
};

bool takes_numbers(const CLI::App& app) {
  const auto options = app.get_options();
  return std::any_of(options.begin(), options.end(), [](const CLI::Option* option) {
    return option->get_type_name() == kNumberValue;
  });
}

}  // namespace

void set_up_help(CLI::App& root) {
  root.formatter(std::make_shared<HelpFormatter>());
}

void end_help(CLI::App& app, std::initializer_list<std::string_view> examples,
              std::initializer_list<int> statuses) {
  std::string text;
  if (takes_numbers(app)) {
    text += wrapped(std::string("N is a number: ") + kNumberForms, kLineColumns) + "\n\n";
  }
  text += "Examples:\n";
  for (const std::string_view example : examples) text.append("  ").append(example).append("\n");
  text += "\nExit status:";
  for (const int status : statuses) {
    text.append("\n  ").append(std::to_string(status)).append("  ");
    text.append(kExitMeanings.at(static_cast<std::size_t>(status)));
  }
  app.footer(text);
  app.group("Commands");
}

}  // namespace qbt2::tool
