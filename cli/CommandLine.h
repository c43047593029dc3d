#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "cli/Command.h"

namespace marlune::cli {

/// What stands before or after the command and counts for the whole process.
struct GlobalOptions {
  std::optional<std::string> bundle;
  std::optional<std::string> region;
  std::optional<std::string> data;
  std::optional<std::string> resources;
  std::optional<std::string> services;
  std::optional<std::string> settings;
  std::optional<std::string> now;
  std::optional<std::string> deviceTimeZone;
  bool local = false;
  bool json = false;
};

/// A command line taken apart.
struct ParsedLine {
  GlobalOptions options;
  bool version = false;
  bool help = false;
  std::vector<std::string> helpWords;  ///< what help is asked about
  std::optional<Call> call;            ///< unless version or help is asked for
};

/// Takes the words of the program's own command line apart, without its name. Options may stand before and
/// after the command; "--" ends them; a negative number is an argument. `options` is filled as far as it was
/// read even when WrongCall is thrown, so that the complaint can take the form that was asked for.
void parseLine(std::span<const std::string> words, ParsedLine& line);

/// The same for a line of the shell, where the options of the process are no longer accepted.
ParsedLine parseShellLine(std::span<const std::string> words);

/// The global options for help texts.
std::string globalOptionsHelp();

}  // namespace marlune::cli
