#pragma once

#include <memory>
#include <string>
#include <utility>

namespace marlune {

/// A run of bytes, owned.
using Bytes = std::string;

/// Bytes shared read-only between whoever holds them; an empty pointer is "no bytes", which differs from
/// bytes of length zero. The pointer is the identity of the bytes: the same pointer is the same content.
using Data = std::shared_ptr<const Bytes>;

inline Data makeData(Bytes bytes) {
  return std::make_shared<const Bytes>(std::move(bytes));
}

}  // namespace marlune
