#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marlune {

/// Gives texts numbers, from 0 up, equal ones the same. Compact: the texts lie in one block. One thread at a
/// time.
class TextNumbers {
 public:
  std::uint32_t numberOf(std::string_view text);
  std::size_t size() const { return ends_.size(); }

 private:
  std::string_view text(std::uint32_t number) const;
  /// The slot that holds the number of `text`, or the free one where it belongs.
  std::size_t slotOf(std::string_view text) const;
  void grow();

  std::string texts_;
  std::vector<std::size_t> ends_;
  std::vector<std::uint32_t> slots_;  // number + 1, or 0; at most half of them in use
};

}  // namespace marlune
