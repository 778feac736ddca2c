#include "host/tdf/usecase_check.h"

#include <algorithm>

#include "host/base/number_ranges.h"
#include "host/base/number_text.h"
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
    return counted(count, "field") + " instead of " + std::to_string(kUseCaseFields);
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

std::string usecase_line_remark(std::string_view line) {
  const std::vector<std::string_view> fields = split(line, ';');
  for (std::size_t i = 1; i < fields.size(); ++i) {
    const std::string field(fields[i]);
    const std::size_t end = c_number_end(field);
    if (trimmed(std::string_view(field).substr(end)).empty()) continue;
    return "field " + std::to_string(i) + " ('" + excerpt(field) + "') is read as " +
           field.substr(0, end);
  }
  return {};
}

namespace {

/// The settings with faults of one kind.
struct FaultyMasters {
  std::string first;  ///< name and fault of the first
  std::vector<std::uint32_t> ids;

  void add(std::uint32_t id, const std::string& name, const std::string& fault) {
    if (ids.empty()) first = name + ": " + fault;
    ids.push_back(id);
  }
  std::string text(const std::string& one, const std::string& many) {
    if (ids.size() == 1) return first + one;
    std::sort(ids.begin(), ids.end());
    return masters_text(ids) + many + " (" + first + ")";
  }
};

}  // namespace

std::vector<std::string> check_usecase_settings(
    const std::map<std::string, std::string>& settings) {
  FaultyMasters unreadable;
  FaultyMasters misread;
  std::string never_read;  // the first
  std::size_t never_read_count = 0;
  for (const auto& [name, value] : settings) {
    if (!has_use_case_prefix(name)) continue;
    const auto id = use_case_master(name);
    if (!id) {
      if (never_read_count++ == 0) never_read = name;
    } else if (const std::string fault = usecase_line_fault(value); !fault.empty()) {
      unreadable.add(*id, name, fault);
    } else if (const std::string remark = usecase_line_remark(value); !remark.empty()) {
      misread.add(*id, name, remark);
    }
  }
  std::vector<std::string> texts;
  if (!unreadable.ids.empty()) {
    texts.push_back(unreadable.text("; its rows say Unknown",
                                    " have settings that the decoder cannot read; their rows say "
                                    "Unknown"));
  }
  if (!misread.ids.empty()) {
    texts.push_back(misread.text("; numbers are decimal, or hexadecimal after 0x",
                                 " have numbers that are read in part; numbers are decimal, or "
                                 "hexadecimal after 0x"));
  }
  if (never_read_count != 0) {
    const std::size_t more = never_read_count - 1;
    texts.push_back(never_read + (more == 0 ? "" : " and " + counted(more, "more setting")) +
                    ": the decoder never reads " + (more == 0 ? "it" : "them") +
                    ", ids must be plain decimal");
  }
  return texts;
}

}  // namespace qbt2
