#include "tools/qbt2/commands/fact_lines.h"

#include <algorithm>

#include "host/base/text_parts.h"
#include "host/base/utf8.h"

namespace qbt2::tool {
namespace {

constexpr std::size_t kLabelWidth = 12;
constexpr std::size_t kTableGap = 2;
constexpr std::size_t kLeastNameWidth = 12;
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

std::size_t width_of(std::string_view text) {
  return measure_text(text, text.size()).characters;
}

std::string padded_left(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, width_of(text)), ' ') + text;
}

/// At most `width` characters, an ellipsis in place of the middle.
std::string cut_in_middle(const std::string& text, std::size_t width) {
  const std::size_t characters = width_of(text);
  if (characters <= width) return text;
  const std::size_t at_end = (width - 1) / 2;
  const std::size_t head_bytes = measure_text(text, width - 1 - at_end).bytes;
  const std::size_t tail_start = measure_text(text, characters - at_end).bytes;
  return text.substr(0, head_bytes).append(kEllipsis).append(text, tail_start);
}

}  // namespace

void FactLines::begin(std::string_view label) {
  text_.append(label).append(kLabelWidth - label.size(), ' ');
}

void FactLines::fact(std::string_view label, std::string_view value) {
  begin(label);
  text_.append(value).append("\n");
}

void FactLines::items(std::string_view label, const std::vector<std::string>& items) {
  begin(label);
  std::size_t at = kLabelWidth;
  for (std::size_t i = 0; i < items.size(); ++i) {
    append_piece(items[i] + (i + 1 < items.size() ? "," : ""), kLabelWidth, at);
  }
  text_ += '\n';
}

void FactLines::wrapped(std::string_view label, std::string_view value) {
  begin(label);
  append_words(value, kLabelWidth);
}

void FactLines::remark(std::string_view text) {
  gap();
  append_words(text, 0);
}

void FactLines::append_words(std::string_view text, std::size_t line_start) {
  std::size_t at = line_start;
  for_each_part(text, ' ', [&](std::string_view word) { append_piece(word, line_start, at); });
  text_ += '\n';
}

void FactLines::append_piece(std::string_view piece, std::size_t line_start, std::size_t& at) {
  const std::size_t width = width_of(piece);
  if (at != line_start && at + 1 + width > columns_) {
    text_.append("\n").append(line_start, ' ');
    at = line_start;
  }
  if (at != line_start) {
    text_ += ' ';
    ++at;
  }
  text_ += piece;
  at += width;
}

void FactLines::table(const std::vector<std::vector<std::string>>& rows) {
  const std::size_t aligned = rows.front().size() - 1;
  std::vector<std::size_t> widths(aligned);
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < aligned; ++i) widths[i] = std::max(widths[i], width_of(row[i]));
  }
  std::size_t used = 0;
  for (const std::size_t width : widths) used += width + kTableGap;
  const std::size_t name_width = std::max(kLeastNameWidth, columns_ - std::min(columns_, used));
  gap();
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < aligned; ++i) {
      text_.append(padded_left(row[i], widths[i])).append(kTableGap, ' ');
    }
    text_.append(cut_in_middle(row.back(), name_width)).append("\n");
  }
}

}  // namespace qbt2::tool
