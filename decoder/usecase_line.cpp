#include "decoder/usecase_line.h"

#include <array>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <cstddef>
#include <cstdint>

#include "decoder/usecase_layout.h"

namespace {

using FilterRegisters = std::array<std::uint32_t, kRegisterCount>;

std::uint16_t PackFilterA(const FilterRegisters& registers) {
  std::uint64_t packed = 0;
  for (const PackedRange& range : kPackedRanges) {
    packed |= Extract(registers.data(), range.bits) << range.targetBit;
  }
  return static_cast<std::uint16_t>(packed);
}

void StoreFilterFields(const FilterRegisters& registers, std::size_t filter,
                       Qbt2ProbeData_t& record) {
  for (const FilterField& field : kFilterFields) {
    field.store(record, filter, static_cast<std::uint32_t>(Extract(registers.data(), field.bits)));
  }
  record.filterAPacked[filter] = PackFilterA(registers);
  record.filterZero[filter] = 0;
  record.filterOne[filter] = 1;
}

}  // namespace

std::vector<std::string> SplitUsecaseLine(const std::string& line) {
  std::vector<std::string> tokens;
  boost::algorithm::split(tokens, line, boost::algorithm::is_any_of(";"));
  return tokens;
}

unsigned long ParseUsecaseNumber(const std::string& token) {
  return std::stoul(token, nullptr, 0);
}

void ParseUsecaseNumbers(const std::vector<std::string>& tokens, Qbt2ProbeData_t& record) {
  for (std::size_t token = Kz::Dvt::Trace::kUseCaseNameField + 1; token < kFirstRegisterToken;
       ++token) {
    kTokenStores[token - 1](record, ParseUsecaseNumber(tokens[token]));
  }
  std::array<FilterRegisters, kFilterCount> filters{};
  std::size_t token = kFirstRegisterToken;
  for (FilterRegisters& registers : filters) {
    for (std::uint32_t& value : registers) {
      value = static_cast<std::uint32_t>(ParseUsecaseNumber(tokens[token++]));
    }
  }
  for (std::size_t filter = 0; filter < kFilterCount; ++filter) {
    StoreFilterFields(filters[filter], filter, record);
  }
}
