#include "cli/Jobs.h"

namespace marlune::cli {
namespace {

void requireShell(const Context& context, const Call& call) {
  if (context.inShell) return;
  throw WrongCall(std::string(call.command->words) + " works inside the shell only: marlune shell");
}

Answer start(Context& context, const Call& call) {
  requireShell(context, call);
  const Call& inner = call.inner.front();
  for (const std::string_view words : {"start", "finish", "idle", "shell", "quit"}) {
    if (inner.command->words == words) {
      throw WrongCall("start takes a command of the library, not " + std::string(words));
    }
  }
  return answerOfInteger(context.jobs.begin(inner));
}

Answer finish(Context& context, const Call& call) {
  requireShell(context, call);
  Outcome outcome = context.jobs.finish(call.integer(0));
  if (outcome.status == 2) throw WrongCall(outcome.complaint);
  if (outcome.status != 0) throw Failure(outcome.complaint);
  return std::move(outcome.answer);
}

Answer idle(Context& context, const Call& call) {
  const double seconds = call.has(0) ? call.number(0) : 30.0;
  return answerOf(std::optional(context.jobs.waitUntilIdle(std::chrono::duration<double>(seconds))));
}

Answer advance(Context& context, const Call& call) {
  ManualClock* clock = context.session.clock();
  if (clock == nullptr) throw WrongCall("advance moves the clock that --now has set: give --now INSTANT");
  clock->advance(std::chrono::duration<double>(call.number(0)));
  return nothing("The clock is moved.");
}

Answer shell(Context&, const Call&) {
  throw WrongCall("this is the shell already");
}

Answer help(Context&, const Call& call) {
  std::vector<std::string> words;
  for (std::size_t i = 0; call.has(i); ++i) words.push_back(call.text(i));
  return helpAnswer(words);
}

Answer quit(Context& context, const Call& call) {
  requireShell(context, call);
  context.quit = true;
  return {};
}

}  // namespace

std::vector<Command> shellCommands() {
  constexpr auto place = Place::mainThread;
  return {
      {"shell",
       {},
       {},
       "read commands from standard input, one a line, and run them in one process",
       place,
       shell},
      {"start",
       {},
       {},
       "in the shell: begin a command without waiting for it; gives its number",
       place,
       start,
       true},
      {"finish",
       {{"N", Kind::integer}},
       {},
       "in the shell: wait for a command begun with start; gives its answer",
       place,
       finish},
      {"idle",
       {{"SECONDS", Kind::number, Argument::Presence::optional}},
       {},
       "wait until nothing is queued, running or to be delivered (30 s)",
       place,
       idle},
      {"advance", {{"SECONDS", Kind::number}}, {}, "move the clock given with --now", place, advance},
      {"help",
       {{"COMMAND", Kind::text, Argument::Presence::optional},
        {"WORD", Kind::text, Argument::Presence::optional}},
       {},
       "what a command or a group of commands does",
       place,
       help},
      {"quit", {}, {}, "end the shell", place, quit},
  };
}

}  // namespace marlune::cli
