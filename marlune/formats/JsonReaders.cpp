#include "marlune/formats/JsonReaders.h"

#include <cstddef>
#include <utility>

#include "marlune/formats/JsonReader.h"

namespace marlune {

JsonReaders::JsonReaders() = default;
JsonReaders::~JsonReaders() = default;

JsonReaders::Lease JsonReaders::take() {
  std::unique_ptr<JsonReader> reader;
  {
    const std::lock_guard lock(mutex_);
    if (!idle_.empty()) {
      reader = std::move(idle_.back());
      idle_.pop_back();
    }
  }
  if (!reader) reader = std::make_unique<JsonReader>();
  return {reader.release(), GiveBack{this}};
}

void JsonReaders::GiveBack::operator()(JsonReader* reader) const {
  std::unique_ptr<JsonReader> owned(reader);
  // Room is about 15 bytes for a byte of document: it is not kept for a rare large one.
  constexpr std::size_t largestKept = std::size_t{4} << 20;
  constexpr std::size_t mostKept = 2;
  const std::lock_guard lock(readers->mutex_);
  if (owned->capacity() <= largestKept && readers->idle_.size() < mostKept) {
    readers->idle_.push_back(std::move(owned));
  }
}

}  // namespace marlune
