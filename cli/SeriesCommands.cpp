#include "cli/OceanRecords.h"
#include "cli/Session.h"

namespace marlune::cli {
namespace {

Answer load(Context& context, const Call& call) {
  const auto oldest = call.has(1) ? std::optional(call.number(1)) : std::nullopt;
  return answerOf(context.session.seriesFiles().load(call.text(0), oldest), TimeZone(),
                  "There is no such file, or it is older.");
}

Answer save(Context& context, const Call& call) {
  context.session.seriesFiles().save(call.samples(1), call.text(0));
  return nothing("The series is written, unless a line above says otherwise.");
}

}  // namespace

std::vector<Command> seriesCommands() {
  constexpr auto place = Place::mainThread;
  return {
      {"series load",
       {{"NAME"}, {"MAXAGE", Kind::number, Argument::Presence::optional}},
       {},
       "a file of the series cache, if it is at most MAXAGE seconds old",
       place,
       load},
      {"series save",
       {{"NAME"}, {"SAMPLES", Kind::samples}},
       {},
       "write a file of the series cache",
       place,
       save},
  };
}

}  // namespace marlune::cli
