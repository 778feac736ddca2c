#include "tools/qbt2/cli/options.h"

#include <algorithm>
#include <utility>

#include "host/base/near_name.h"

namespace qbt2::tool {

CLI::Validator one_of(std::vector<std::string> names) {
  return CLI::Validator(
      [names = std::move(names)](const std::string& word) {
        if (std::find(names.begin(), names.end(), word) != names.end()) return std::string();
        return "'" + word + "' is not one of " + CLI::detail::join(names, ", ") +
               nearest_hint(word, {names.begin(), names.end()});
      },
      "");
}

void check_values(CLI::App& app) {
  const CLI::Validator is_value(
      [&app](const std::string& value) -> std::string {
        if (value.empty()) return "empty value";
        const bool is_option = value.size() > 1 && app.get_option_no_throw(value) != nullptr;
        return is_option && value.front() == '-' ? "needs a value before " + value : "";
      },
      "");
  for (CLI::Option* const option : app.get_options()) option->check(is_value);
}

}  // namespace qbt2::tool
