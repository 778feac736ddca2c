#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

/// A growing run of characters that formatters write into: room is asked for once for a whole row,
/// then filled through a plain pointer. Memory is kept by clear() and never zeroed. One thread.
namespace qbt2 {

class TextBuffer {
 public:
  /// A pointer to at least `bytes` writable characters behind what is there; end the write with
  /// commit(). Earlier pointers become invalid.
  char* reserve(std::size_t bytes) {
    if (capacity_ - size_ < bytes) grow(bytes);
    return data_.get() + size_;
  }
  /// `end` points behind the last character written since reserve().
  void commit(const char* end) { size_ = static_cast<std::size_t>(end - data_.get()); }
  void append(std::string_view text) {
    char* at = reserve(text.size());
    if (!text.empty()) std::memcpy(at, text.data(), text.size());
    commit(at + text.size());
  }
  void clear() { size_ = 0; }
  std::size_t size() const { return size_; }
  std::string_view view() const { return {data_.get(), size_}; }

 private:
  void grow(std::size_t bytes) {
    const std::size_t wanted = size_ + bytes;
    const std::size_t doubled = capacity_ * 2;
    const std::size_t next = wanted > doubled ? wanted : doubled;
    std::unique_ptr<char[]> bigger(new char[next]);
    if (size_ != 0) std::memcpy(bigger.get(), data_.get(), size_);
    data_ = std::move(bigger);
    capacity_ = next;
  }

  std::unique_ptr<char[]> data_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace qbt2
