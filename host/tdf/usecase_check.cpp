#include "host/tdf/usecase_check.h"

#include <charconv>
#include <cstdint>
#include <stdexcept>

namespace qbt2 {
namespace {

/// Converted as the decoder does: blanks and a sign may stand before, anything behind the digits.
std::string number_fault(const std::string& token) {
  try {
    (void)std::stoul(token, nullptr, 0);
  } catch (const std::invalid_argument&) {
    return "is no number";
  } catch (const std::out_of_range&) {
    return "is out of range";
  }
  return {};
}

std::vector<std::string> split(std::string_view line) {
  std::vector<std::string> tokens;
  for (;;) {
    const std::size_t end = line.find(';');
    tokens.emplace_back(line.substr(0, end));
    if (end == std::string_view::npos) return tokens;
    line.remove_prefix(end + 1);
  }
}

bool is_plain_decimal_id(std::string_view text) {
  std::uint32_t id = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, status] = std::from_chars(text.data(), end, id);
  return status == std::errc{} && stop == end && (text.size() == 1 || text.front() != '0');
}

}  // namespace

std::string usecase_line_fault(std::string_view line) {
  const std::vector<std::string> tokens = split(line);
  if (tokens.size() != kUsecaseFields) {
    return std::to_string(tokens.size()) + " fields instead of " + std::to_string(kUsecaseFields);
  }
  for (std::size_t i = 1; i < tokens.size(); ++i) {
    const std::string fault = number_fault(tokens[i]);
    if (!fault.empty()) return "field " + std::to_string(i) + " ('" + tokens[i] + "') " + fault;
  }
  return {};
}

std::vector<std::string> check_usecase_settings(
    const std::map<std::string, std::string>& settings) {
  std::vector<std::string> faults;
  for (const auto& [name, value] : settings) {
    if (!name.starts_with(kUsecaseKeyPrefix)) continue;
    if (!is_plain_decimal_id(std::string_view(name).substr(kUsecaseKeyPrefix.size()))) {
      faults.push_back(name + ": never asked for, the decoder asks by the id in plain decimal");
      continue;
    }
    const std::string fault = usecase_line_fault(value);
    if (fault.empty()) continue;
    faults.push_back(std::string(name).append(": ").append(fault).append("; its rows say Unknown"));
  }
  return faults;
}

}  // namespace qbt2
