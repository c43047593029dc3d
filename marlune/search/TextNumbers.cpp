#include "marlune/search/TextNumbers.h"

#include <algorithm>
#include <functional>

namespace marlune {

std::string_view TextNumbers::text(std::uint32_t number) const {
  const std::size_t begin = number == 0 ? 0 : ends_[number - 1];
  return std::string_view(texts_).substr(begin, ends_[number] - begin);
}

std::size_t TextNumbers::slotOf(std::string_view text) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = std::hash<std::string_view>()(text) & mask;
  while (slots_[slot] != 0 && this->text(slots_[slot] - 1) != text) slot = (slot + 1) & mask;
  return slot;
}

void TextNumbers::grow() {
  slots_.assign(std::max<std::size_t>(64, 2 * slots_.size()), 0);
  for (std::uint32_t number = 0; number < ends_.size(); ++number) slots_[slotOf(text(number))] = number + 1;
}

std::uint32_t TextNumbers::numberOf(std::string_view text) {
  if (2 * ends_.size() >= slots_.size()) grow();
  std::uint32_t& slot = slots_[slotOf(text)];
  if (slot == 0) {
    texts_ += text;
    ends_.push_back(texts_.size());
    slot = static_cast<std::uint32_t>(ends_.size());
  }
  return slot - 1;
}

}  // namespace marlune
