#include "cli/Session.h"

namespace marlune::cli {
namespace {

Answer read(Context& context, const Call& call) {
  return answerOf(context.session.host().userDefaults->boolean(call.text(0)), "No truth value is stored.");
}

Answer write(Context& context, const Call& call) {
  if (!context.session.host().userDefaults->setBoolean(call.text(0), call.truth(1))) {
    throw Failure("the user defaults could not be written: is the data folder writable, with room left?");
  }
  return nothing("Stored.");
}

}  // namespace

std::vector<Command> defaultsCommands() {
  return {
      {"defaults read", {{"KEY"}}, {}, "a truth value of the user defaults", Place::mainThread, read},
      {"defaults write",
       {{"KEY"}, {"true|false", Kind::truth}},
       {},
       "store a truth value in the user defaults",
       Place::mainThread,
       write},
  };
}

}  // namespace marlune::cli
