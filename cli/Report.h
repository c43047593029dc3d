#pragma once

#include <string>
#include <string_view>

#include "cli/Answer.h"
#include "cli/Session.h"

namespace marlune::cli {

/// How a command ended: its answer, or a complaint and the exit status that goes with it.
struct Outcome {
  Answer answer;
  std::string complaint;
  int status = 0;
};

/// Writes text to a file descriptor, all of it and at once. Throws Failure when that is not possible; with an
/// empty text when the reader has gone.
void writeAll(int descriptor, std::string_view text);

/// A complaint in one line on standard error, with `json` as an object on standard output too.
void complain(bool json, const std::string& complaint);

/// Prints how a command ended, together with the news since the last one.
void report(Session& session, const Outcome& outcome);

/// News for people on standard error, when there is any. True when there was.
bool showNews(Session& session);

}  // namespace marlune::cli
