#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/Command.h"
#include "marlune/tides/TideEvent.h"

namespace marlune::cli {

/// What an EVENTS argument stands for: "@ID,FROM,TO", else the events of a file. Throws WrongCall for a file
/// that cannot be read or is no array of event objects.
EventSource readEventSource(const std::string& word);

/// The events of a JSON array of event objects; absent members are 0 and false. Throws WrongCall; `name` is
/// what the text then calls the file.
std::vector<TideEvent> parseEvents(std::string_view json, std::string_view name);

/// What becomes of a file of more than 64 MiB.
enum class AtLimit { fail, cut };

/// The bytes of a file. Throws Failure, with the system's reason, when it cannot be read.
std::string readFile(const std::string& path, AtLimit atLimit = AtLimit::fail);

}  // namespace marlune::cli
