#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Decoded rows, column by column: what the row reader fills and the formatters read. A batch and
/// its text pool belong to one thread at a time.
namespace qbt2 {

/// One column of the decoder, as GetColumnInfo describes it.
struct ColumnDescription {
  std::string name;             ///< shown to people: "Route ID"
  std::string key;              ///< used by machines: "RouteID"
  std::string description;      ///< one line of help
  std::uint8_t size_bytes = 0;  ///< 1, 2, 4 or 8
};

/// The decoder's columns in catalogue order. The column at index k has the position byte
/// (first_id + k) & 0xFF in the record stream.
struct ColumnCatalogue {
  std::uint32_t first_id = 0;
  std::vector<ColumnDescription> columns;
};

enum class RowKind : std::uint8_t { kUnknown, kThroughput, kLatency, kTransaction };

/// Throws Error(kPlugin) when the catalogue has more columns than there are position bytes, or a
/// column whose values are not 1, 2, 4 or 8 bytes long.
void check_catalogue(const ColumnCatalogue& catalogue);

/// Texts that rows repeat (master names, descriptions), each stored once under a number.
class TextPool {
 public:
  TextPool();
  /// The number of this text, new or known.
  std::uint32_t intern(std::string_view text);
  std::string_view text(std::uint32_t id) const { return texts_[id]; }
  std::size_t size() const { return texts_.size(); }
  /// Bytes of all texts together.
  std::size_t size_bytes() const { return size_bytes_; }
  /// Drops all texts, so that a decoder that never repeats one cannot fill the memory. All numbers
  /// become invalid; caches see that by `generation`.
  void clear();
  /// Differs between any two pools of the process and changes with clear(). A cache that keeps it
  /// with a text's number needs no pointer to the pool.
  std::uint64_t generation() const { return generation_; }

 private:
  std::vector<std::string_view> texts_;
  std::vector<std::unique_ptr<char[]>> storage_;
  std::unordered_map<std::string_view, std::uint32_t> ids_;
  std::size_t size_bytes_ = 0;
  std::uint64_t generation_;
};

/// Which catalogue columns a row has: bit k for column k.
class ColumnMask {
 public:
  static ColumnMask all() {
    ColumnMask mask;
    mask.words_.fill(~std::uint64_t{0});
    return mask;
  }
  void set(std::size_t k) { words_[k / 64] |= std::uint64_t{1} << (k % 64); }
  bool test(std::size_t k) const { return (words_[k / 64] >> (k % 64) & 1) != 0; }
  const std::array<std::uint64_t, 4>& words() const { return words_; }
  ColumnMask& operator&=(const ColumnMask& other) {
    for (std::size_t n = 0; n < words_.size(); ++n) words_[n] &= other.words_[n];
    return *this;
  }
  /// Without a branch; for the defaulted one the compiler calls memcmp, once for every row.
  bool operator==(const ColumnMask& other) const {
    std::uint64_t difference = 0;
    for (std::size_t n = 0; n < words_.size(); ++n) difference |= words_[n] ^ other.words_[n];
    return difference == 0;
  }

 private:
  std::array<std::uint64_t, 4> words_{};  ///< as many columns as position bytes
};

/// Fields that rows have besides the catalogue's columns.
struct RowHead {
  std::uint64_t offset = 0;
  std::uint64_t timestamp = 0;
  std::uint64_t time_ns = 0;
  std::uint64_t address = 0;
  std::uint32_t master_text = 0;       ///< TextPool number, valid when has_master
  std::uint32_t type_text = 0;         ///< valid when has_type
  std::uint32_t description_text = 0;  ///< valid when has_description
  std::uint16_t stp_master = 0;        ///< full id, before it was cut to the probe id
  std::uint8_t probe = 0;
  RowKind kind = RowKind::kUnknown;
  bool has_timestamp : 1 = false;
  bool has_time_ns : 1 = false;
  bool has_probe : 1 = false;
  bool has_master : 1 = false;
  bool has_type : 1 = false;
  bool has_description : 1 = false;
  bool has_address : 1 = false;
  ColumnMask columns;  ///< which catalogue columns hold a value
};

inline constexpr std::size_t kDefaultBatchRows = 4096;

/// At most `capacity` rows. Numbers are stored column by column, little-endian in the column's own
/// width. A cell is undefined where its row has no value (see RowHead::columns).
class RowBatch {
  struct Column {
    std::size_t begin = 0;   ///< first byte in cells_
    std::uint64_t mask = 0;  ///< the bits that a value has
    std::size_t width = 0;
  };

 public:
  /// The catalogue must outlive the batch. Throws what check_catalogue throws.
  explicit RowBatch(const ColumnCatalogue& catalogue, std::size_t capacity = kDefaultBatchRows);

  const ColumnCatalogue& catalogue() const { return *catalogue_; }
  std::size_t capacity() const { return capacity_; }
  std::size_t size() const { return size_; }
  bool full() const { return size_ == capacity_; }
  /// Drops the rows and keeps the memory. Texts are kept too unless the pool has grown too large.
  void clear();

  /// The head of row `row`; the row being filled is row size().
  RowHead& head(std::size_t row) { return heads_[row]; }
  const RowHead& head(std::size_t row) const { return heads_[row]; }
  /// The cell of catalogue column k in row `row`: size_bytes bytes.
  std::uint8_t* cell(std::size_t k, std::size_t row) {
    return cells_.get() + columns_[k].begin + row * columns_[k].width;
  }
  const std::uint8_t* cell(std::size_t k, std::size_t row) const {
    return cells_.get() + columns_[k].begin + row * columns_[k].width;
  }
  std::uint64_t value(std::size_t k, std::size_t row) const {
    // Always loads eight bytes and masks the column's own: the gap after each column makes that
    // safe, and a copy of constant size is one load where one of variable size is a call.
    std::uint64_t v;
    std::memcpy(&v, cells_.get() + columns_[k].begin + row * columns_[k].width, sizeof v);
    return v & columns_[k].mask;
  }
  /// The cells of one row. Copies what it needs, so that in a loop that stores into cells nothing
  /// is loaded again. Valid until the batch grows.
  class RowCells {
   public:
    /// The cell of catalogue column k, whose width is `kBytes`.
    template <std::size_t kBytes>
    std::uint8_t* cell(std::size_t k) const {
      return cells_ + columns_[k].begin + row_ * kBytes;
    }

   private:
    friend class RowBatch;
    RowCells(RowBatch& rows, std::size_t row)
        : cells_(rows.cells_.get()), columns_(rows.columns_.data()), row_(row) {}
    std::uint8_t* cells_;
    const Column* columns_;
    std::size_t row_;
  };
  RowCells row_cells(std::size_t row) { return {*this, row}; }
  /// Adds the row that was being filled.
  void commit_row() { ++size_; }
  /// Keeps only the first `rows` rows.
  void truncate(std::size_t rows) { size_ = rows < size_ ? rows : size_; }
  /// Doubles the capacity and keeps the rows: for a record stream that holds more rows than fit.
  void grow();

  TextPool& texts() { return texts_; }
  const TextPool& texts() const { return texts_; }

 private:
  void allocate_cells();

  const ColumnCatalogue* catalogue_;
  std::size_t capacity_;
  std::size_t size_ = 0;
  std::vector<RowHead> heads_;
  std::vector<Column> columns_;
  std::unique_ptr<std::uint8_t[]> cells_;
  TextPool texts_;
};

}  // namespace qbt2
