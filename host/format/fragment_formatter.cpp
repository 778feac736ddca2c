#include "host/format/fragment_formatter.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "host/base/number_text.h"

namespace qbt2 {
namespace {

// More combinations of fields than a decoder has kinds of rows; beyond them all are made anew.
constexpr std::size_t kMaxShapes = 16;
// The lines of all probes stay below this; rows whose texts never repeat reach it, and then all
// lines are made anew.
constexpr std::size_t kMaxPassageBytes = std::size_t{1} << 20;
constexpr std::size_t kProbes = 256;
constexpr std::size_t kKinds = 4;
constexpr std::size_t kCopyBytes = 16;  // most fragments are a key of at most this length

enum PresenceFlag : std::uint8_t {
  kHasTimestamp = 1,
  kHasTimeNs = 2,
  kHasProbe = 4,
  kHasMaster = 8,
  kHasType = 16,
  kHasDescription = 32,
  kHasAddress = 64,
  kIsNoRow = 128,
};

/// Copies at least kCopyBytes: source and destination have that much room.
char* copy_fragment(char* at, const char* fragment, std::size_t size) {
  std::memcpy(at, fragment, kCopyBytes);
  if (size > kCopyBytes) std::memcpy(at + kCopyBytes, fragment + kCopyBytes, size - kCopyBytes);
  return at + size;
}

template <typename Number>
Number load_cell(const std::uint8_t* first_cell, std::size_t row) {
  Number value;
  std::memcpy(&value, first_cell + row * sizeof value, sizeof value);
  return value;
}

std::string rendered(TextRenderer render, std::string_view text) {
  TextBuffer out;
  render(text, out);
  return std::string(out.view());
}

char* copy_text(char* at, std::string_view text) {
  std::memcpy(at, text.data(), text.size());
  return at + text.size();
}

}  // namespace

FragmentFormatter::FragmentFormatter(const ColumnCatalogue& catalogue, const FormatOptions& options,
                                     const RowStyle& style)
    : catalogue_(&catalogue),
      fields_(options.fields.empty() ? default_fields(catalogue, options.several_captures)
                                     : options.fields),
      labels_(fields_.size()),
      style_(style),
      hex_addresses_(options.hex_addresses),
      texts_(style.render) {
  forget_lines();
  if (style.label == nullptr) return;
  for (std::size_t n = 0; n < fields_.size(); ++n) {
    labels_[n] = rendered(style.label, field_name(catalogue, fields_[n]));
  }
}

FragmentFormatter::Presence FragmentFormatter::presence_of(const RowHead& head) {
  const auto flag = [](bool given, PresenceFlag which) {
    return static_cast<unsigned>(given ? which : 0);
  };
  const unsigned flags = flag(head.has_timestamp, kHasTimestamp) |
                         flag(head.has_time_ns, kHasTimeNs) | flag(head.has_probe, kHasProbe) |
                         flag(head.has_master, kHasMaster) | flag(head.has_type, kHasType) |
                         flag(head.has_description, kHasDescription) |
                         flag(head.has_address, kHasAddress);
  return {head.columns, head.kind, static_cast<std::uint8_t>(flags)};
}

bool FragmentFormatter::has(const Presence& presence, FieldIndex field) {
  if (field >= kBuiltinFieldCount) return presence.columns.test(field - kBuiltinFieldCount);
  switch (static_cast<BuiltinField>(field)) {
    case BuiltinField::kCapture:
    case BuiltinField::kOffset:
    case BuiltinField::kStpMaster:
      return true;
    case BuiltinField::kTimestamp:
      return (presence.flags & kHasTimestamp) != 0;
    case BuiltinField::kTimeNs:
      return (presence.flags & kHasTimeNs) != 0;
    case BuiltinField::kProbe:
      return (presence.flags & kHasProbe) != 0;
    case BuiltinField::kMaster:
      return (presence.flags & kHasMaster) != 0;
    case BuiltinField::kType:
      return (presence.flags & kHasType) != 0;
    case BuiltinField::kKind:
      return presence.kind != RowKind::kUnknown;
    case BuiltinField::kDescription:
      return (presence.flags & kHasDescription) != 0;
    case BuiltinField::kAddress:
      return (presence.flags & kHasAddress) != 0;
  }
  return false;
}

/// What is the same in all rows of a shape, and so is part of its fragments.
std::optional<std::string> FragmentFormatter::constant_value(const Presence& presence,
                                                             FieldIndex field) const {
  if (field == static_cast<FieldIndex>(BuiltinField::kCapture)) return std::to_string(capture_ + 1);
  if (field == static_cast<FieldIndex>(BuiltinField::kKind)) {
    return rendered(style_.render, kind_name(presence.kind));
  }
  return std::nullopt;
}

void FragmentFormatter::forget_shapes() {
  shapes_.clear();
  forget_lines();
}

void FragmentFormatter::forget_lines() {
  ways_.assign(kProbes * kKinds, Ways{});
  lines_.assign(1, Line{});
  lines_[kNoLine].presence.flags = kIsNoRow;
  passages_.clear();
  passage_sizes_.clear();
}

void FragmentFormatter::use_batch(const RowBatch& rows, std::size_t capture) {
  if (std::exchange(capture_, capture) != capture) forget_shapes();  // fragments hold its number
  texts_.use(rows.texts());
  if (std::exchange(text_generation_, rows.texts().generation()) != text_generation_) {
    forget_lines();
  }
  cells_.clear();
  for (std::size_t k = 0; k < catalogue_->columns.size(); ++k) cells_.push_back(rows.cell(k, 0));
}

std::uint8_t FragmentFormatter::shape_of(const Presence& presence) {
  auto known = std::find_if(shapes_.begin(), shapes_.end(),
                            [&](const Shape& shape) { return shape.presence == presence; });
  if (known == shapes_.end()) {
    if (shapes_.size() == kMaxShapes) forget_shapes();
    shapes_.push_back(make_shape(presence));
    known = shapes_.end() - 1;
  }
  return static_cast<std::uint8_t>(known - shapes_.begin());
}

bool FragmentFormatter::is_line_of(const Line& line, const Presence& presence,
                                   const RowHead& head) {
  return line.presence == presence && line.probe == head.probe &&
         line.stp_master == head.stp_master && line.master_text == head.master_text &&
         line.type_text == head.type_text && line.description_text == head.description_text;
}

inline const FragmentFormatter::Line& FragmentFormatter::line_of(const RowHead& head) {
  const Presence presence = presence_of(head);
  Ways& ways = ways_[head.probe * kKinds + static_cast<std::size_t>(head.kind)];
  for (const std::uint16_t number : ways) {
    if (is_line_of(lines_[number], presence, head)) return lines_[number];
  }
  return make_line(ways, presence, head);
}

const FragmentFormatter::Line& FragmentFormatter::make_line(Ways& ways, const Presence& presence,
                                                            const RowHead& head) {
  if (passages_.size() > kMaxPassageBytes) forget_lines();
  Line line{.presence = presence,
            .master_text = head.master_text,
            .type_text = head.type_text,
            .description_text = head.description_text,
            .stp_master = head.stp_master,
            .probe = head.probe,
            .shape = shape_of(presence)};
  const Shape& shape = shapes_[line.shape];
  line.text_begin = static_cast<std::uint32_t>(passages_.size());
  line.sizes_begin = static_cast<std::uint32_t>(passage_sizes_.size());
  for (const Step& step : shape.steps) {
    if (step.kind != StepKind::kPassage) continue;
    const std::size_t before = passages_.size();
    append_passage(shape, step, head);
    passage_sizes_.push_back(static_cast<std::uint32_t>(passages_.size() - before));
  }
  line.max_bytes = shape.max_bytes + passages_.size() - line.text_begin;
  auto free = std::find(ways.begin(), ways.end(), kNoLine);
  if (free != ways.end()) {
    *free = static_cast<std::uint16_t>(lines_.size());
    lines_.emplace_back();
  } else {
    free = ways.begin() + static_cast<std::ptrdiff_t>(next_victim_++ % kWays);
  }
  return lines_[*free] = line;
}

/// Appends the fields of a kPassage step, fragments included.
void FragmentFormatter::append_passage(const Shape& shape, const Step& step, const RowHead& head) {
  for (std::size_t n = step.first; n < step.end; ++n) {
    const Value& value = shape.values[n];
    passages_.append(
        std::string_view(shape.fragments).substr(value.fragment_begin, value.fragment_size));
    switch (static_cast<BuiltinField>(value.field)) {
      case BuiltinField::kMaster:
        passages_.append(texts_.get(head.master_text));
        break;
      case BuiltinField::kType:
        passages_.append(texts_.get(head.type_text));
        break;
      case BuiltinField::kDescription:
        passages_.append(texts_.get(head.description_text));
        break;
      default: {
        const bool is_probe = value.field == static_cast<FieldIndex>(BuiltinField::kProbe);
        passages_.commit(write_decimal(passages_.reserve(kMaxNumberChars),
                                       is_probe ? head.probe : head.stp_master));
      }
    }
  }
}

FragmentFormatter::Shape FragmentFormatter::make_shape(const Presence& presence) const {
  Shape shape;
  shape.presence = presence;
  std::string& text = shape.fragments;
  std::size_t begin = 0;
  const auto end_fragment = [&] {
    const std::size_t from = std::exchange(begin, text.size());
    return std::pair{static_cast<std::uint32_t>(from),
                     static_cast<std::uint32_t>(text.size() - from)};
  };
  text = style_.open;
  bool first = true;
  for (std::size_t n = 0; n < fields_.size(); ++n) {
    const bool present = has(presence, fields_[n]);
    if (!present && !style_.keeps_absent) continue;
    if (!std::exchange(first, false)) text += style_.separator;
    if (!present) continue;
    text += labels_[n];
    if (const auto constant = constant_value(presence, fields_[n])) {
      text += *constant;
      continue;
    }
    const bool is_hex =
        hex_addresses_ && fields_[n] == static_cast<FieldIndex>(BuiltinField::kAddress);
    if (is_hex) text.append(style_.quote).append("0x");
    const auto [from, size] = end_fragment();
    if (is_hex) text += style_.quote;
    add_value(shape, {from, size, fields_[n]});
  }
  // A record of one empty cell would be an empty line, which readers of CSV skip.
  if (shape.steps.empty() && text.empty()) text += rendered(style_.render, "");
  text += style_.close;
  std::tie(shape.close_begin, shape.close_size) = end_fragment();
  shape.max_bytes = text.size() + shape.values.size() * kMaxNumberChars + kCopyBytes;
  text.append(kCopyBytes, '\0');
  return shape;
}

/// Appends a value to the last step, or to a new one where it is written in another way.
void FragmentFormatter::add_value(Shape& shape, Value value) const {
  Step step;
  if (value.field >= kBuiltinFieldCount) {
    value.field -= kBuiltinFieldCount;
    step.kind = StepKind::kColumns;
    step.width = catalogue_->columns[value.field].size_bytes;
    step.fragments = value.fragment_size == 1            ? FragmentSize::kOneChar
                     : value.fragment_size <= kCopyBytes ? FragmentSize::kShort
                                                         : FragmentSize::kLong;
  } else {
    switch (static_cast<BuiltinField>(value.field)) {
      case BuiltinField::kProbe:
      case BuiltinField::kStpMaster:
      case BuiltinField::kMaster:
      case BuiltinField::kType:
      case BuiltinField::kDescription:
        step.kind = StepKind::kPassage;
        break;
      default:
        step.kind = StepKind::kNumber;
    }
  }
  step.first = static_cast<std::uint32_t>(shape.values.size());
  step.end = step.first + 1;
  shape.values.push_back(value);
  if (!shape.steps.empty() && step.kind != StepKind::kNumber) {
    Step& last = shape.steps.back();
    if (last.kind == step.kind && last.width == step.width && last.fragments == step.fragments) {
      last.end = step.end;
      return;
    }
  }
  shape.steps.push_back(step);
}

// Inlined into write_row(): a step has a few values only, and a call each would be a tenth of the
// work.

[[gnu::always_inline]] inline char* FragmentFormatter::write_number(char* at, std::size_t field,
                                                                    const RowHead& head) const {
  switch (static_cast<BuiltinField>(field)) {
    case BuiltinField::kOffset:
      return write_decimal(at, head.offset);
    case BuiltinField::kTimestamp:
      return write_decimal(at, head.timestamp);
    case BuiltinField::kTimeNs:
      return write_decimal(at, head.time_ns);
    case BuiltinField::kAddress:
      return hex_addresses_ ? write_hex(at, head.address, kAddressDigits)
                            : write_decimal(at, head.address);
    default:
      return at;  // part of a fragment or a passage
  }
}

template <typename Number>
[[gnu::always_inline]] inline char* FragmentFormatter::write_columns_of(char* at,
                                                                        const Shape& shape,
                                                                        const Step& step,
                                                                        std::size_t row) const {
  // In registers: for all the compiler knows, the characters written could change the members.
  const char* const fragments = shape.fragments.data();
  const std::uint8_t* const* const cells = cells_.data();
  const Value* const end = shape.values.data() + step.end;
  const auto write_all = [=](char* to, const Value* value, const auto& copy) {
    for (; value != end; ++value) {
      to = copy(to, fragments + value->fragment_begin, value->fragment_size);
      to = write_decimal_of(to, load_cell<Number>(cells[value->field], row));
    }
    return to;
  };
  const Value* const first = shape.values.data() + step.first;
  switch (step.fragments) {
    case FragmentSize::kOneChar:
      return write_all(at, first, [](char* to, const char* fragment, std::size_t) {
        *to = *fragment;
        return to + 1;
      });
    case FragmentSize::kShort:
      return write_all(at, first, [](char* to, const char* fragment, std::size_t size) {
        std::memcpy(to, fragment, kCopyBytes);
        return to + size;
      });
    default:
      return write_all(at, first, copy_fragment);
  }
}

[[gnu::always_inline]] inline char* FragmentFormatter::write_columns(char* at, const Shape& shape,
                                                                     const Step& step,
                                                                     std::size_t row) const {
  switch (step.width) {
    case 1:  // most columns
      return write_columns_of<std::uint8_t>(at, shape, step, row);
    case 2:
      return write_columns_of<std::uint16_t>(at, shape, step, row);
    case 4:
      return write_columns_of<std::uint32_t>(at, shape, step, row);
    default:
      return write_columns_of<std::uint64_t>(at, shape, step, row);
  }
}

char* FragmentFormatter::write_row(char* at, const Line& line, const RowHead& head,
                                   std::size_t row) const {
  const Shape& shape = shapes_[line.shape];
  const char* passage = passages_.view().data() + line.text_begin;
  const std::uint32_t* size = passage_sizes_.data() + line.sizes_begin;
  for (const Step& step : shape.steps) {
    switch (step.kind) {
      case StepKind::kPassage:
        at = copy_text(at, {passage, *size});
        passage += *size++;
        break;
      case StepKind::kNumber: {
        const Value& value = shape.values[step.first];
        at = copy_fragment(at, shape.fragments.data() + value.fragment_begin, value.fragment_size);
        at = write_number(at, value.field, head);
        break;
      }
      case StepKind::kColumns:
        at = write_columns(at, shape, step, row);
        break;
    }
  }
  return copy_fragment(at, shape.fragments.data() + shape.close_begin, shape.close_size);
}

void FragmentFormatter::append(const RowBatch& rows, std::size_t capture, TextBuffer& out) {
  use_batch(rows, capture);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    const RowHead& head = rows.head(row);
    const Line& line = line_of(head);
    out.commit(write_row(out.reserve(line.max_bytes), line, head, row));
  }
}

}  // namespace qbt2
