#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "host/base/text_buffer.h"
#include "host/rows/row_batch.h"

/// The texts of a batch as a format writes them (quoted, escaped), each rendered once and then
/// copied, since rows repeat a few names. One thread.
namespace qbt2 {

/// Appends `text` to `out` as a format writes it.
using TextRenderer = void (*)(std::string_view text, TextBuffer& out);

class RenderedTexts {
 public:
  explicit RenderedTexts(TextRenderer render) : render_(render) {}

  /// Call it before get() for each batch; drops the texts of another pool. Borrows the pool until
  /// the next use().
  void use(const TextPool& pool);
  /// Text `id` of the pool in use; valid until the next call.
  std::string_view get(std::uint32_t id);

 private:
  struct Place {
    std::size_t begin = 0;
    std::size_t size = 0;
    bool rendered = false;
  };
  TextRenderer render_;
  const TextPool* pool_ = nullptr;
  std::uint64_t generation_ = 0;
  std::vector<Place> places_;
  TextBuffer storage_;
};

}  // namespace qbt2
