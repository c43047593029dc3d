#pragma once

#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace marlune {

/// Starts a thread of the library's own; nothing when the system has none to give. The host's signals are
/// never delivered to it, and people see it under `name` (15 bytes of it).
std::optional<std::thread> startThread(const std::string& name, std::function<void()> body);

}  // namespace marlune
