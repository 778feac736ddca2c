#include "host/format/fragment_formatter.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "host/base/number_text.h"

namespace qbt2 {
namespace {

// More combinations of fields than a decoder has kinds of rows; beyond them the oldest is replaced.
constexpr std::size_t kMaxShapes = 16;
constexpr std::size_t kCopyBytes = 16;  // most fragments are a key of at most this length

enum PresenceFlag : std::uint8_t {
  kHasTimestamp = 1,
  kHasTimeNs = 2,
  kHasProbe = 4,
  kHasMaster = 8,
  kHasType = 16,
  kHasDescription = 32,
  kHasAddress = 64,
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

/// Fragments hold the number of the capture.
void FragmentFormatter::use_capture(std::size_t capture) {
  if (capture == capture_) return;
  capture_ = capture;
  shapes_.clear();
}

const FragmentFormatter::Shape& FragmentFormatter::shape_of(const RowHead& head) {
  const Presence presence = presence_of(head);
  if (last_shape_ < shapes_.size() && shapes_[last_shape_].presence == presence) {
    return shapes_[last_shape_];
  }
  const auto known = std::find_if(shapes_.begin(), shapes_.end(),
                                  [&](const Shape& shape) { return shape.presence == presence; });
  last_shape_ = static_cast<std::size_t>(known - shapes_.begin());
  if (known == shapes_.end()) {
    if (shapes_.size() == kMaxShapes) shapes_.erase(shapes_.begin());
    shapes_.push_back(make_shape(presence));
    last_shape_ = shapes_.size() - 1;
  }
  return shapes_[last_shape_];
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
    Step step{from, size, fields_[n], 0, 0};
    if (fields_[n] >= kBuiltinFieldCount) {
      step.column = static_cast<std::uint16_t>(fields_[n] - kBuiltinFieldCount);
      step.value_bytes = catalogue_->columns[step.column].size_bytes;
    }
    shape.steps.push_back(step);
  }
  // A record of one empty cell would be an empty line, which readers of CSV skip.
  if (shape.steps.empty() && text.empty()) text += rendered(style_.render, "");
  text += style_.close;
  std::tie(shape.close_begin, shape.close_size) = end_fragment();
  shape.max_bytes = text.size() + shape.steps.size() * kMaxNumberChars + kCopyBytes;
  text.append(kCopyBytes, '\0');
  return shape;
}

/// The length of the row's texts. Renders them, so that writing the row cannot move them.
std::size_t FragmentFormatter::text_bytes(const RowHead& head) {
  return (head.has_master ? texts_.get(head.master_text).size() : 0) +
         (head.has_type ? texts_.get(head.type_text).size() : 0) +
         (head.has_description ? texts_.get(head.description_text).size() : 0);
}

char* FragmentFormatter::write_value(char* at, FieldIndex field, const RowHead& head) {
  switch (static_cast<BuiltinField>(field)) {
    case BuiltinField::kOffset:
      return write_decimal(at, head.offset);
    case BuiltinField::kTimestamp:
      return write_decimal(at, head.timestamp);
    case BuiltinField::kTimeNs:
      return write_decimal(at, head.time_ns);
    case BuiltinField::kProbe:
      return write_decimal(at, head.probe);
    case BuiltinField::kStpMaster:
      return write_decimal(at, head.stp_master);
    case BuiltinField::kMaster:
      return copy_text(at, texts_.get(head.master_text));
    case BuiltinField::kType:
      return copy_text(at, texts_.get(head.type_text));
    case BuiltinField::kCapture:
    case BuiltinField::kKind:
      return at;  // part of the fragments
    case BuiltinField::kDescription:
      return copy_text(at, texts_.get(head.description_text));
    case BuiltinField::kAddress:
      return hex_addresses_ ? write_hex(at, head.address, kAddressDigits)
                            : write_decimal(at, head.address);
  }
  return at;
}

char* FragmentFormatter::write_row(char* at, const Shape& shape, const RowHead& head,
                                   std::size_t row) {
  const char* const fragments = shape.fragments.data();
  for (const Step& step : shape.steps) {
    at = copy_fragment(at, fragments + step.fragment_begin, step.fragment_size);
    switch (step.value_bytes) {
      case 0:
        at = write_value(at, step.field, head);
        break;
      case 1:  // most columns
        at = write_decimal(at, cells_[step.column][row]);
        break;
      case 2:
        at = write_decimal(at, load_cell<std::uint16_t>(cells_[step.column], row));
        break;
      case 4:
        at = write_decimal(at, load_cell<std::uint32_t>(cells_[step.column], row));
        break;
      default:
        at = write_decimal(at, load_cell<std::uint64_t>(cells_[step.column], row));
    }
  }
  return copy_fragment(at, fragments + shape.close_begin, shape.close_size);
}

void FragmentFormatter::append(const RowBatch& rows, std::size_t capture, TextBuffer& out) {
  use_capture(capture);
  texts_.use(rows.texts());
  cells_.clear();
  for (std::size_t k = 0; k < catalogue_->columns.size(); ++k) cells_.push_back(rows.cell(k, 0));
  for (std::size_t row = 0; row < rows.size(); ++row) {
    const RowHead& head = rows.head(row);
    const Shape& shape = shape_of(head);
    out.commit(write_row(out.reserve(shape.max_bytes + text_bytes(head)), shape, head, row));
  }
}

}  // namespace qbt2
