#include "host/rows/row_batch.h"

#include <atomic>

#include "host/base/error.h"

namespace qbt2 {
namespace {

constexpr std::size_t kMaxColumns = 256;
constexpr std::size_t kCacheLineBytes = 64;
constexpr std::size_t kGapBytes = sizeof(std::uint64_t);  // what value() may read past a cell

// Names and descriptions of some hundred probes stay far below these limits; a decoder that writes
// a new text into every row reaches them with every batch.
constexpr std::size_t kKeptTexts = 16384;
constexpr std::size_t kKeptTextBytes = 4U << 20;

std::uint64_t next_generation() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

std::size_t round_up(std::size_t bytes, std::size_t unit) {
  return (bytes + unit - 1) / unit * unit;
}

}  // namespace

void check_catalogue(const ColumnCatalogue& catalogue) {
  if (catalogue.columns.size() > kMaxColumns) {
    throw Error(ErrorCode::kPlugin, "the decoder has more columns than position bytes: " +
                                        std::to_string(catalogue.columns.size()));
  }
  for (const ColumnDescription& column : catalogue.columns) {
    const unsigned size = column.size_bytes;
    if (size != 1 && size != 2 && size != 4 && size != 8) {
      throw Error(ErrorCode::kPlugin, "column " + column.key + " of the decoder has values of " +
                                          std::to_string(size) + " bytes");
    }
  }
}

TextPool::TextPool() : generation_(next_generation()) {}

std::uint32_t TextPool::intern(std::string_view text) {
  const auto known = ids_.find(text);
  if (known != ids_.end()) return known->second;
  auto copy = std::make_unique<char[]>(text.size());
  if (!text.empty()) std::memcpy(copy.get(), text.data(), text.size());
  const std::string_view kept(copy.get(), text.size());
  const auto id = static_cast<std::uint32_t>(texts_.size());
  storage_.push_back(std::move(copy));
  texts_.push_back(kept);
  ids_.emplace(kept, id);
  size_bytes_ += text.size();
  return id;
}

void TextPool::clear() {
  ids_.clear();
  texts_.clear();
  storage_.clear();
  size_bytes_ = 0;
  generation_ = next_generation();
}

RowBatch::RowBatch(const ColumnCatalogue& catalogue, std::size_t capacity)
    : catalogue_(&catalogue), capacity_(capacity) {
  check_catalogue(catalogue);
  heads_.resize(capacity);
  columns_.reserve(catalogue.columns.size());
  for (const ColumnDescription& column : catalogue.columns) {
    columns_.push_back({0, ~std::uint64_t{0} >> (64 - 8 * column.size_bytes), column.size_bytes});
  }
  allocate_cells();
}

void RowBatch::clear() {
  size_ = 0;
  if (texts_.size() > kKeptTexts || texts_.size_bytes() > kKeptTextBytes) texts_.clear();
}

void RowBatch::allocate_cells() {
  // The gap also keeps the columns of a batch whose capacity is a power of two from starting in the
  // same cache set, where the forty cells of one row would evict each other.
  std::size_t end = 0;
  for (Column& column : columns_) {
    column.begin = end;
    end = round_up(end + capacity_ * column.width + kGapBytes, kCacheLineBytes);
  }
  cells_.reset(new std::uint8_t[end]);
}

void RowBatch::grow() {
  const std::vector<Column> old_columns = columns_;
  const std::unique_ptr<std::uint8_t[]> old_cells = std::move(cells_);
  capacity_ = capacity_ == 0 ? 1 : capacity_ * 2;
  heads_.resize(capacity_);
  allocate_cells();
  for (std::size_t k = 0; k < columns_.size(); ++k) {
    std::memcpy(cells_.get() + columns_[k].begin, old_cells.get() + old_columns[k].begin,
                size_ * columns_[k].width);
  }
}

}  // namespace qbt2
