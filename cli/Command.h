#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "cli/Answer.h"
#include "cli/Errors.h"
#include "marlune/ocean/records/TimeSeriesData.h"
#include "marlune/tides/TideEvent.h"
#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

namespace marlune::cli {

struct Context;
struct Call;

/// What a word of a call must be.
enum class Kind {
  text,
  station,  ///< the id of a station that the command looks up
  number,   ///< a finite decimal number
  integer,  ///< a 64-bit whole number
  count,    ///< a whole number from 0 on
  days,     ///< a whole number from 1 to 366
  year,     ///< a 32-bit whole number, as is a month: the library says what is one
  month,
  instant,
  truth,    ///< true or false
  zone,     ///< the name of a time zone
  events,   ///< a file of event objects, or @ID,FROM,TO
  samples,  ///< a file of sample objects
};

struct Argument {
  /// Repeated: any number of words, none included; for the last argument.
  enum class Presence { required, optional, repeated };
  std::string_view name;
  Kind kind = Kind::text;
  Presence presence = Presence::required;
};

struct Option {
  std::string_view name;   ///< "--limit"
  std::string_view value;  ///< name of its value in help texts; empty: a switch
  Kind kind = Kind::text;
  std::string_view help;
};

/// Where a command's operation runs: those that may wait for the network must leave the main thread free.
enum class Place { mainThread, worker };

/// One command: a row of the table that parsing, help and running go by.
struct Command {
  std::string_view words;  ///< "tides fetch"
  std::vector<Argument> arguments;
  std::vector<Option> options;
  std::string_view help;
  Place place = Place::mainThread;
  /// Called on the thread of `place`. Throws WrongCall or Failure.
  Answer (*run)(Context& context, const Call& call) = nullptr;
  /// Followed by another command.
  bool takesCommand = false;
};

/// Events that a call names: read already, or to be fetched.
struct EventSource {
  struct Fetch {
    std::string stationId;
    Date from;
    Date to;
  };
  std::vector<TideEvent> events;
  std::optional<Fetch> fetch;
};

/// A call that has been checked against its command: as many values as it gave arguments, each of its kind.
struct Call {
  using Value =
      std::variant<std::string, double, std::int64_t, Date, bool, TimeZone, EventSource, TimeSeries>;

  const Command* command = nullptr;
  std::vector<Value> values;
  std::map<std::string, Value, std::less<>> options;  ///< by name; a switch that was given is true
  std::vector<Call> inner;                            ///< the one command that follows, where it takes one

  bool has(std::size_t index) const { return index < values.size(); }
  const std::string& text(std::size_t index) const { return std::get<std::string>(values[index]); }
  double number(std::size_t index) const { return std::get<double>(values[index]); }
  std::int64_t integer(std::size_t index) const { return std::get<std::int64_t>(values[index]); }
  int month(std::size_t index) const { return static_cast<int>(integer(index)); }
  Date instant(std::size_t index) const { return std::get<Date>(values[index]); }
  bool truth(std::size_t index) const { return std::get<bool>(values[index]); }
  const TimeZone& zone(std::size_t index) const { return std::get<TimeZone>(values[index]); }
  const TimeSeries& samples(std::size_t index) const { return std::get<TimeSeries>(values[index]); }
  const EventSource& events(std::size_t index) const { return std::get<EventSource>(values[index]); }

  /// The value of an option, or null.
  const Value* option(std::string_view name) const {
    const auto found = options.find(name);
    return found == options.end() ? nullptr : &found->second;
  }

  /// Must it run off the main thread?
  bool mayWaitForNetwork() const;
};

/// Every command, grouped by first word in the order of the help.
std::span<const Command> allCommands();

/// The commands of each file.
std::vector<Command> stationsCommands();
std::vector<Command> globalCommands();
std::vector<Command> favoritesCommands();
std::vector<Command> tidesCommands();
std::vector<Command> curveCommands();
std::vector<Command> monthsCommands();
std::vector<Command> archiveCommands();
std::vector<Command> oceanCommands();
std::vector<Command> seriesCommands();
std::vector<Command> defaultsCommands();
std::vector<Command> chartCommands();
std::vector<Command> shellCommands();

/// What a person reads for `--help`: of everything, of a group ("tides") or of one command. Throws WrongCall
/// for words that are none of these.
std::string helpText(std::span<const std::string> words);
Answer helpAnswer(std::span<const std::string> words);

/// "tides fetch ID FROM TO"
std::string usageOf(const Command& command);

}  // namespace marlune::cli
