#include "host/rows/rendered_texts.h"

namespace qbt2 {

void RenderedTexts::use(const TextPool& pool) {
  if (pool.generation() != generation_) {
    places_.clear();
    storage_.clear();
  }
  pool_ = &pool;
  generation_ = pool.generation();
  places_.resize(pool.size());
}

std::string_view RenderedTexts::get(std::uint32_t id) {
  Place& place = places_[id];
  if (!place.rendered) {
    place.begin = storage_.size();
    render_(pool_->text(id), storage_);
    place.size = storage_.size() - place.begin;
    place.rendered = true;
  }
  return storage_.view().substr(place.begin, place.size);
}

}  // namespace qbt2
