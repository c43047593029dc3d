#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "cli/Command.h"
#include "cli/CommandLine.h"

namespace marlune::cli {
namespace {

std::vector<Command> joinTables() {
  std::vector<Command> all;
  for (auto* table :
       {chartCommands, stationsCommands, globalCommands, favoritesCommands, tidesCommands, curveCommands,
        oceanCommands, monthsCommands, seriesCommands, archiveCommands, defaultsCommands, shellCommands}) {
    auto commands = table();
    std::move(commands.begin(), commands.end(), std::back_inserter(all));
  }
  return all;
}

std::string joined(std::span<const std::string> words) {
  return fmt::format("{}", fmt::join(words, " "));
}

std::string describe(const Command& command) {
  std::string text = fmt::format("  marlune {}\n      {}\n", usageOf(command), command.help);
  for (const Option& option : command.options) {
    text += fmt::format("      {:<16}{}\n", fmt::format("{} {}", option.name, option.value), option.help);
  }
  return text;
}

/// A longer usage has its help on the next line.
constexpr std::size_t kUsageWidth = 44;

constexpr std::string_view kOpening =
    "marlune: tide predictions from the command line\n\n"
    "  marlune [OPTIONS] COMMAND [ARGUMENTS]\n\n"
    "Try:  marlune --local chart 398997177        the tide of a station, drawn\n"
    "      marlune stations near 36.95 -122.02    stations close to a place\n"
    "      marlune --local stations search \"bay\"  stations all over the world, by name\n"
    "      marlune --local ocean swell 36.95 -122.02 2026-03-05T12:00:00Z America/Los_Angeles here\n"
    "      marlune stations --help                one group of commands\n";

constexpr std::string_view kClosing =
    "INSTANT, FROM, TO, BEGIN, END, AT and AFTER are ISO 8601 with a zone (2026-03-05T12:00:00Z,\n"
    "2026-03-05T23:00:00+11:00) or seconds since 1970. EVENTS is a file with a JSON array of event objects, "
    "or\n"
    "@ID,FROM,TO for what `tides fetch` gives; SAMPLES is a file with one of sample objects. ZONE is a time\n"
    "zone like America/Los_Angeles, LOCATION your own name for the place. An ID that begins with global_ is "
    "a worldwide point; in the "
    "shell,\n"
    "`global load` makes them known.\n\n"
    "Downloads that a command has queued are waited for, a minute at most, before the process ends; the "
    "shell\n"
    "ends at once (wait with `idle`).\n\n"
    "Exit status: 0 the command ran, also when there was nothing to find; 2 the call is wrong; 1 other "
    "failures.\n";

}  // namespace

bool Call::mayWaitForNetwork() const {
  if (command->place == Place::worker) return true;
  return std::any_of(values.begin(), values.end(), [](const Value& value) {
    const auto* source = std::get_if<EventSource>(&value);
    return source != nullptr && source->fetch;
  });
}

std::span<const Command> allCommands() {
  static const std::vector<Command> all = joinTables();
  return all;
}

std::string usageOf(const Command& command) {
  std::string usage(command.words);
  if (command.takesCommand) usage += " COMMAND ...";
  for (const Argument& argument : command.arguments) {
    switch (argument.presence) {
      case Argument::Presence::required:
        usage += fmt::format(" {}", argument.name);
        break;
      case Argument::Presence::optional:
        usage += fmt::format(" [{}]", argument.name);
        break;
      case Argument::Presence::repeated:
        usage += fmt::format(" [{}...]", argument.name);
        break;
    }
  }
  for (const Option& option : command.options) {
    usage += option.value.empty() ? fmt::format(" [{}]", option.name)
                                  : fmt::format(" [{} {}]", option.name, option.value);
  }
  return usage;
}

std::string helpText(std::span<const std::string> words) {
  if (words.empty()) {
    std::string text = fmt::format("{}\nOptions:\n{}\nCommands:\n", kOpening, globalOptionsHelp());
    for (const Command& command : allCommands()) {
      const std::string usage = usageOf(command);
      const bool fits = usage.size() <= kUsageWidth;
      text += fmt::format("  {:<{}}{}{}\n", usage, kUsageWidth,
                          fits ? "  " : "\n" + std::string(kUsageWidth + 4, ' '), command.help);
    }
    return text + "\n" + std::string(kClosing);
  }
  // As many words as name a command; what was given of its arguments does not matter.
  std::string text;
  const std::string& first = words[0];
  const std::string two = joined(words.first(std::min<std::size_t>(2, words.size())));
  for (const Command& command : allCommands()) {
    if (command.words == first || command.words == two) return describe(command);
    if (command.words.starts_with(first + " ")) text += describe(command);
  }
  if (text.empty()) {
    throw WrongCall(fmt::format("unknown command {} (marlune --help lists them)", joined(words)));
  }
  return text;
}

Answer helpAnswer(std::span<const std::string> words) {
  const auto text = std::make_shared<const std::string>(helpText(words));
  return {[text](JsonWriter& json) { json.text(*text); }, [text] { return *text; }};
}

}  // namespace marlune::cli
