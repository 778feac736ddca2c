#include "host/tdf/usecase_check.h"

#include "host/base/parse_number.h"
#include "host/base/text_parts.h"
#include "host/base/use_case_setting.h"

namespace qbt2 {
namespace {

using Kz::Dvt::Trace::kUseCaseFields;

std::string number_fault(const std::string& field) {
  switch (parse_c_number(field).fault) {
    case NumberFault::kNotANumber:
      return "is not a number";
    case NumberFault::kTooLarge:
      return "is out of range";
    case NumberFault::kNone:
      break;
  }
  return {};
}

}  // namespace

std::string usecase_line_fault(std::string_view line) {
  const std::size_t count = part_count(line, ';');  // before the parts: a line may be all of them
  if (count != kUseCaseFields) {
    return std::to_string(count) + " fields instead of " + std::to_string(kUseCaseFields);
  }
  const std::vector<std::string_view> fields = split(line, ';');
  for (std::size_t i = 1; i < fields.size(); ++i) {
    const std::string field(fields[i]);
    const std::string fault = number_fault(field);
    if (!fault.empty()) {
      return "field " + std::to_string(i) + " ('" + excerpt(field) + "') " + fault;
    }
  }
  return {};
}

std::optional<UsecaseLine> read_usecase_line(std::string_view line) {
  if (!usecase_line_fault(line).empty()) return std::nullopt;
  const std::vector<std::string_view> fields = split(line, ';');
  const auto period = parse_c_number(std::string(fields[Kz::Dvt::Trace::kUseCasePeriodField]));
  return UsecaseLine{std::string(fields[Kz::Dvt::Trace::kUseCaseNameField]),
                     static_cast<std::uint32_t>(*period)};
}

std::vector<std::string> check_usecase_settings(
    const std::map<std::string, std::string>& settings) {
  std::vector<std::string> faults;
  for (const auto& [name, value] : settings) {
    if (!has_use_case_prefix(name)) continue;
    if (!use_case_master(name)) {
      faults.push_back(name + ": the decoder never reads it, ids must be plain decimal");
      continue;
    }
    const std::string fault = usecase_line_fault(value);
    if (fault.empty()) continue;
    faults.push_back(std::string(name).append(": ").append(fault).append("; its rows say Unknown"));
  }
  return faults;
}

}  // namespace qbt2
