#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

/// A growing array of characters for formatters: space is reserved once for a whole row and filled
/// through a plain pointer. clear() keeps the memory; it is never zeroed. One thread.
namespace qbt2 {

class TextBuffer {
 public:
  /// A pointer to at least `bytes` writable characters after the text so far; end the write with
  /// commit(). Invalidates earlier pointers and views.
  char* reserve(std::size_t bytes) {
    if (capacity_ - size_ < bytes) grow(bytes);
    return data_.get() + size_;
  }
  /// `end` points past the last character written since reserve().
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
    const std::size_t next = std::max(size_ + bytes, capacity_ + capacity_ / 2);
    // realloc, as it need not copy a large text, and leaves no holes of the sizes on the way.
    void* const bigger = std::realloc(data_.get(), next);
    if (bigger == nullptr) throw std::bad_alloc();
    static_cast<void>(data_.release());  // realloc has taken it
    data_.reset(static_cast<char*>(bigger));
    capacity_ = next;
  }

  struct Free {
    void operator()(char* data) const { std::free(data); }
  };

  std::unique_ptr<char, Free> data_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace qbt2
