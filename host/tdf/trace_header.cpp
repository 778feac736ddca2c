#include "host/tdf/trace_header.h"

#include <cstring>
#include <limits>
#include <type_traits>

#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/base/parse_number.h"
#include "host/base/text_parts.h"

namespace qbt2 {
namespace {

using Record = TraceHeaderRecord;

// In the order of the payload, which is not that of the record.
constexpr std::array<std::size_t, 7> kNumberFields = {2, 8, 3, 4, 5, 6, 7};

/// Reads from front to back; after the first fault nothing more is read.
class PayloadReader {
 public:
  explicit PayloadReader(std::span<const std::uint8_t> payload) : payload_(payload) {}

  bool good() const { return !fault_; }
  std::optional<TraceHeaderFault> fault() const { return fault_; }
  std::uint64_t remaining() const { return payload_.size() - at_; }
  void fail(std::string reason) {
    if (good()) fault_ = {at_, std::move(reason)};
  }

  template <typename Number>
  Number number(std::string_view what) {
    Number value = 0;
    if (!has(sizeof value, what)) return 0;
    std::memcpy(&value, payload_.data() + at_, sizeof value);
    at_ += sizeof value;
    return value;
  }
  std::uint32_t word(std::string_view what) { return number<std::uint32_t>(what); }

  std::string text(std::string_view what) {
    const std::size_t begin = at_;
    const std::uint32_t length = word(what);
    if (!good()) return {};
    if (length > remaining()) {
      at_ = begin;
      fail(std::string(what)
               .append(" claims ")
               .append(counted(length, "byte"))
               .append(", left: ")
               .append(std::to_string(payload_.size() - begin - sizeof length)));
      return {};
    }
    std::string text(reinterpret_cast<const char*>(payload_.data()) + at_, length);
    at_ += length;
    return text;
  }

  void skip(std::size_t bytes, std::string_view what) {
    if (has(bytes, what)) at_ += bytes;
  }

  /// A count and that many items of at least `least_bytes`, each read by `skip_item`. Returns the
  /// count. It is checked against the bytes left first, so that an absurd one fails at once.
  template <typename SkipItem>
  std::uint32_t list(std::string_view what, std::size_t least_bytes, SkipItem skip_item) {
    const std::size_t begin = at_;
    const std::uint32_t count = word(what);
    if (good() && count > remaining() / least_bytes) {
      at_ = begin;
      fail(std::string(what)
               .append(" claims ")
               .append(std::to_string(count))
               .append(" items, more than fit the bytes left"));
    }
    for (std::uint32_t i = 0; i < count && good(); ++i) skip_item();
    return count;
  }

 private:
  bool has(std::size_t bytes, std::string_view what) {
    if (good() && remaining() < bytes) fail("the payload ends inside " + std::string(what));
    return good();
  }

  std::span<const std::uint8_t> payload_;
  std::size_t at_ = 0;
  std::optional<TraceHeaderFault> fault_;
};

constexpr std::size_t kWord = sizeof(std::uint32_t);

void read_lists(PayloadReader& reader, std::array<std::uint32_t, 4>& items) {
  const auto skip_text = [&](std::string_view what) { (void)reader.text(what); };
  items[0] = reader.list("list A", 4 * kWord, [&] {
    skip_text("list A");
    reader.skip(2 * kWord, "list A");
    reader.list("an item of list A", 2 * kWord, [&] {
      reader.skip(kWord, "list A");
      skip_text("list A");
    });
  });
  items[1] = reader.list("list B", 3 * kWord, [&] { reader.skip(3 * kWord, "list B"); });
  items[2] = reader.list("list C", 2 * kWord, [&] {
    reader.skip(kWord, "list C");
    reader.list("an item of list C", 8 * kWord, [&] {
      reader.skip(5 * kWord, "list C");
      for (int i = 0; i < 3; ++i) skip_text("list C");
    });
  });
  items[3] = reader.list("list D", 5 * kWord, [&] {
    reader.skip(4 * kWord, "list D");
    skip_text("list D");
  });
}

/// Blanks belong to a text, not to a number.
void set_field(Record& record, const TraceHeaderField& field, const TextLine& line,
               const std::string& place) {
  const auto set = [&](auto member) {
    using Value = std::remove_reference_t<decltype(record.*member)>;
    if constexpr (std::is_same_v<Value, std::string>) {
      record.*member = line.whole_value();
    } else {
      const auto number = parse_decimal_or_hex(line.value(), std::numeric_limits<Value>::max());
      if (!number) {
        throw Error(ErrorCode::kInput, place,
                    std::string(field.name)
                        .append(" is not a number of ")
                        .append(std::to_string(8 * sizeof(Value)))
                        .append(" bits (decimal, or hexadecimal after 0x)"));
      }
      record.*member = static_cast<Value>(*number);
    }
  };
  std::visit(set, field.member);
}

}  // namespace

std::optional<TraceHeaderFault> read_trace_header(std::span<const std::uint8_t> payload,
                                                  TraceHeader& header) {
  PayloadReader reader(payload);
  Record& record = header.record;
  record.deviceText = reader.text("deviceText");
  record.connectionName = reader.text("connectionName");
  for (const std::size_t index : kNumberFields) {
    const TraceHeaderField& field = kTraceHeaderFields[index];
    record.*std::get<std::uint32_t Record::*>(field.member) = reader.word(field.name);
  }
  record.headerText3 = reader.text("headerText3");
  header.timestamp = reader.word("the timestamp");
  record.headerText4 = reader.text("headerText4");
  read_lists(reader, header.list_items);
  record.headerValue8 = reader.number<std::uint64_t>("headerValue8");
  if (reader.good() && reader.remaining() != 0) {
    reader.fail(counted(reader.remaining(), "byte").append(" left after the record"));
  }
  return reader.fault();
}

TraceHeaderRecord parse_trace_header_text(std::string_view text, const std::string& file) {
  TraceHeaderRecord record;
  std::array<bool, kTraceHeaderFields.size()> given{};
  for_each_line(text, [&](const TextLine& line) {
    if (line.text.empty() || line.text.front() == '#') return;
    const std::string place = file + ": line " + std::to_string(line.number);
    if (!line.has_equals()) throw Error(ErrorCode::kInput, place, "is not KEY=VALUE");
    std::size_t index = 0;
    while (index < given.size() && kTraceHeaderFields[index].name != line.key()) ++index;
    const std::string key(line.key());
    if (index == given.size()) {
      throw Error(ErrorCode::kInput, place, "'" + key + "' is not a field of the trace header");
    }
    if (given[index]) throw Error(ErrorCode::kInput, place, key + " is given twice");
    given[index] = true;
    set_field(record, kTraceHeaderFields[index], line, place);
  });
  return record;
}

}  // namespace qbt2
