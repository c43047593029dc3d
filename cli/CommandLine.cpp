#include "cli/CommandLine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>

#include "cli/EventFile.h"
#include "cli/SampleFile.h"
#include "cli/Values.h"

namespace marlune::cli {
namespace {

struct GlobalOption {
  std::string_view name;
  std::string_view value;  ///< empty: a switch
  std::string_view help;
  std::optional<std::string> GlobalOptions::*text = nullptr;
  bool GlobalOptions::*flag = nullptr;
};

constexpr std::array<GlobalOption, 10> kGlobalOptions = {{
    {"--bundle", "DIR", "resource folder of the host application: region.plist and Info.plist",
     &GlobalOptions::bundle},
    {"--region", "NAME", "region word in place of the bundle's", &GlobalOptions::region},
    {"--data", "DIR", "folder for everything that persists (else: marlune in the user's data folder)",
     &GlobalOptions::data},
    {"--resources", "DIR", "the library's resources, in place of the installed ones",
     &GlobalOptions::resources},
    {"--services", "URL", "one base address in place of every remote host", &GlobalOptions::services},
    {"--local", "", "use local services inside this process: for planning, not for navigation", nullptr,
     &GlobalOptions::local},
    {"--settings", "FILE", "JSON object of deployment settings: hosts, keys, e-mail addresses",
     &GlobalOptions::settings},
    {"--now", "INSTANT", "the clock stands at this instant until `advance` moves it", &GlobalOptions::now},
    {"--device-timezone", "NAME", "the device's time zone (else: the system's)",
     &GlobalOptions::deviceTimeZone},
    {"--json", "", "print one JSON object a command, on one line", nullptr, &GlobalOptions::json},
}};

/// "-5" and "-.5" are arguments; "-" is one too.
bool looksLikeOption(std::string_view word) {
  if (word.size() < 2 || word[0] != '-') return false;
  const std::size_t first = word[1] == '.' ? 2 : 1;
  return first >= word.size() || word[first] < '0' || word[first] > '9';
}

std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0U : 1U)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

/// ", did you mean ...?" when a name is near.
std::string guess(std::string_view word, const std::vector<std::string_view>& names) {
  std::string_view best;
  std::size_t distance = 3;
  for (const auto name : names) {
    const std::size_t here = editDistance(word, name);
    if (here < distance && here < name.size()) {
      distance = here;
      best = name;
    }
  }
  return best.empty() ? "" : fmt::format(", did you mean {}?", best);
}

std::string_view firstWord(const Command& command) {
  return command.words.substr(0, command.words.find(' '));
}

std::string_view secondWord(const Command& command) {
  const auto blank = command.words.find(' ');
  return blank == std::string_view::npos ? "" : command.words.substr(blank + 1);
}

[[noreturn]] void rejectCommand(std::span<const std::string> words) {
  const bool isGroup = std::any_of(allCommands().begin(), allCommands().end(),
                                   [&](const Command& command) { return firstWord(command) == words[0]; });
  std::vector<std::string_view> names;
  for (const Command& command : allCommands()) {
    if (!isGroup) {
      names.push_back(firstWord(command));
    } else if (firstWord(command) == words[0]) {
      names.push_back(secondWord(command));
    }
  }
  if (!isGroup) {
    throw WrongCall(
        fmt::format("unknown command {}{} (marlune --help lists them)", words[0], guess(words[0], names)));
  }
  if (words.size() == 1) {
    throw WrongCall(fmt::format("{} needs a second word: {}", words[0], fmt::join(names, ", ")));
  }
  throw WrongCall(fmt::format("unknown command {} {}{} (marlune {} --help lists them)", words[0], words[1],
                              guess(words[1], names), words[0]));
}

/// The command that `words` begin with; takes its words off.
const Command& matchCommand(std::span<const std::string>& words) {
  for (const Command& command : allCommands()) {
    if (firstWord(command) != words[0]) continue;
    if (secondWord(command).empty()) {
      words = words.subspan(1);
      return command;
    }
    if (words.size() > 1 && secondWord(command) == words[1]) {
      words = words.subspan(2);
      return command;
    }
  }
  rejectCommand(words);
}

Call::Value valueOf(Kind kind, std::string_view name, const std::string& word) {
  const auto reject = [&](std::string_view wanted) -> WrongCall {
    return WrongCall(fmt::format("{} is not {}: \"{}\"", name, wanted, word));
  };
  const auto whole = [&](std::int64_t least, std::int64_t most, std::string_view wanted) {
    const auto number = parseInteger(word, least, most);
    if (!number) throw reject(wanted);
    return *number;
  };
  constexpr auto most = std::numeric_limits<std::int64_t>::max();
  switch (kind) {
    case Kind::text:
    case Kind::station:
      break;
    case Kind::number:
      if (const auto number = parseNumber(word)) return *number;
      throw reject("a decimal number like 36.95");
    case Kind::integer:
      return whole(std::numeric_limits<std::int64_t>::min(), most, "a whole number like 900");
    case Kind::count:
      return whole(0, most, "a whole number from 0 on");
    case Kind::days:
      return whole(1, 366, "a whole number from 1 to 366");
    case Kind::year:
      return whole(INT32_MIN, INT32_MAX, "a year like 2026");
    case Kind::month:
      return whole(INT32_MIN, INT32_MAX, "the number of a month, 1 to 12");
    case Kind::instant:
      if (const auto instant = parseInstant(word)) return *instant;
      throw reject("an instant like 2026-03-05T12:00:00Z, with its zone, or seconds since 1970");
    case Kind::truth:
      if (word == "true" || word == "false") return word == "true";
      throw reject("true or false");
    case Kind::zone:
      if (const auto zone = TimeZone::named(word)) return *zone;
      throw reject("a time zone like America/Los_Angeles");
    case Kind::events:
      return readEventSource(word);
    case Kind::samples:
      return readSamples(word);
  }
  return word;
}

/// Words sorted into what they are, before the command is known.
struct SortedWords {
  std::vector<std::string> positional;
  std::vector<std::pair<std::string, std::string>> commandOptions;
  bool help = false;
  bool version = false;
};

/// An option of any command by its name, or null. An option of one name takes a value everywhere or nowhere.
const Option* commandOption(std::string_view name) {
  for (const Command& command : allCommands()) {
    for (const Option& option : command.options) {
      if (option.name == name) return &option;
    }
  }
  return nullptr;
}

[[noreturn]] void rejectOption(std::string_view name) {
  std::vector<std::string_view> names = {"--help", "--version"};
  for (const auto& option : kGlobalOptions) names.push_back(option.name);
  for (const Command& command : allCommands()) {
    for (const Option& option : command.options) names.push_back(option.name);
  }
  throw WrongCall(
      fmt::format("unknown option {}{} (marlune --help lists them; -- before an argument that "
                  "begins with a dash)",
                  name, guess(name, names)));
}

/// Walks the words; `globals` is null where the options of the process are not accepted.
SortedWords sortWords(std::span<const std::string> words, GlobalOptions* globals) {
  SortedWords sorted;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (word == "--") {
      sorted.positional.insert(sorted.positional.end(), words.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                               words.end());
      break;
    }
    if (!looksLikeOption(word)) {
      sorted.positional.push_back(word);
      continue;
    }
    const auto equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const auto value = [&]() -> std::string {
      if (equals != std::string::npos) return word.substr(equals + 1);
      if (i + 1 == words.size()) throw WrongCall(fmt::format("{} needs a value after it", name));
      return words[++i];
    };
    const auto noValue = [&] {
      if (equals != std::string::npos) throw WrongCall(fmt::format("{} takes no value", name));
    };
    const auto global = std::find_if(kGlobalOptions.begin(), kGlobalOptions.end(),
                                     [&](const GlobalOption& option) { return option.name == name; });
    if (name == "--help" || name == "-h") {
      noValue();
      sorted.help = true;
    } else if (name == "--version" && globals != nullptr) {
      noValue();
      sorted.version = true;
    } else if (global != kGlobalOptions.end()) {
      if (globals == nullptr) {
        throw WrongCall(
            fmt::format("{} counts for the whole process: give it before the shell starts", name));
      }
      if (global->text != nullptr) {
        globals->*(global->text) = value();
      } else {
        noValue();
        globals->*(global->flag) = true;
      }
    } else if (const Option* option = commandOption(name)) {
      if (option->value.empty()) noValue();
      sorted.commandOptions.emplace_back(name, option->value.empty() ? "" : value());
    } else {
      rejectOption(name);
    }
  }
  return sorted;
}

Call callOf(std::span<const std::string> words,
            const std::vector<std::pair<std::string, std::string>>& options);

void takeArguments(Call& call, std::span<const std::string> words) {
  const Command& command = *call.command;
  const auto required = static_cast<std::size_t>(std::count_if(
      command.arguments.begin(), command.arguments.end(),
      [](const Argument& argument) { return argument.presence == Argument::Presence::required; }));
  if (words.size() < required) {
    throw WrongCall(
        fmt::format("{} is missing: marlune {}", command.arguments[words.size()].name, usageOf(command)));
  }
  const bool repeats =
      !command.arguments.empty() && command.arguments.back().presence == Argument::Presence::repeated;
  if (words.size() > command.arguments.size() && !repeats) {
    throw WrongCall(fmt::format("\"{}\" is one word too many: marlune {} (quote what holds blanks)",
                                words[command.arguments.size()], usageOf(command)));
  }
  for (std::size_t i = 0; i < words.size(); ++i) {
    const Argument& argument = command.arguments[std::min(i, command.arguments.size() - 1)];
    call.values.push_back(valueOf(argument.kind, argument.name, words[i]));
  }
}

Call callOf(std::span<const std::string> words,
            const std::vector<std::pair<std::string, std::string>>& options) {
  Call call;
  call.command = &matchCommand(words);
  if (call.command->takesCommand) {
    if (words.empty()) {
      throw WrongCall(fmt::format("a command must follow: marlune {}", usageOf(*call.command)));
    }
    call.inner.push_back(callOf(words, options));
    return call;
  }
  for (const auto& [name, value] : options) {
    const auto& known = call.command->options;
    const auto option =
        std::find_if(known.begin(), known.end(), [&, n = name](const Option& o) { return o.name == n; });
    if (option == known.end()) {
      throw WrongCall(fmt::format("{} is no option of {}: marlune {}", name, call.command->words,
                                  usageOf(*call.command)));
    }
    call.options[name] = option->value.empty() ? Call::Value(true) : valueOf(option->kind, name, value);
  }
  takeArguments(call, words);
  return call;
}

void parse(std::span<const std::string> words, ParsedLine& line, GlobalOptions* globals) {
  const SortedWords sorted = sortWords(words, globals);
  line.help = sorted.help;
  line.version = sorted.version;
  if (line.help || line.version) {
    line.helpWords = sorted.positional;
    return;
  }
  if (sorted.positional.empty()) throw WrongCall("a command is missing (marlune --help lists them)");
  line.call = callOf(sorted.positional, sorted.commandOptions);
}

}  // namespace

void parseLine(std::span<const std::string> words, ParsedLine& line) {
  // A complaint about one of the words must come in the form asked for by a later one.
  const auto end = std::find(words.begin(), words.end(), "--");
  line.options.json = std::find(words.begin(), end, "--json") != end;
  parse(words, line, &line.options);
}

ParsedLine parseShellLine(std::span<const std::string> words) {
  ParsedLine line;
  parse(words, line, nullptr);
  return line;
}

std::string globalOptionsHelp() {
  std::string text;
  for (const auto& option : kGlobalOptions) {
    text += fmt::format("  {:<24}{}\n", fmt::format("{} {}", option.name, option.value), option.help);
  }
  return text;
}

}  // namespace marlune::cli
