#include "cli/Report.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "cli/Errors.h"
#include "cli/Table.h"

namespace marlune::cli {
namespace {

std::string newsText(const News::Items& items) {
  std::string text;
  for (const auto& line : items.log) text += plainText(line) + "\n";
  for (const auto& notification : items.notifications) text += "* " + notificationText(notification) + "\n";
  return text;
}

std::string answerObject(const Answer& answer, const News::Items& items) {
  JsonWriter json;
  json.beginObject();
  json.key("result");
  if (answer.json) {
    answer.json(json);
  } else {
    json.null();
  }
  json.key("notifications");
  json.beginArray();
  for (const auto& notification : items.notifications) writeNotification(json, notification);
  json.endArray();
  json.key("log");
  json.beginArray();
  for (const auto& line : items.log) json.text(line);
  json.endArray();
  json.endObject();
  return json.take() + "\n";
}

}  // namespace

void writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EPIPE) {
      throw Failure("");
    } else if (errno != EINTR) {
      throw Failure("cannot write the answer: " + std::generic_category().message(errno));
    }
  }
}

void complain(bool json, const std::string& complaint) {
  if (complaint.empty()) return;
  try {
    writeAll(STDERR_FILENO, "marlune: " + plainText(complaint) + "\n");
  } catch (const Failure&) {
    // Whoever does not listen to complaints may still read the object.
  }
  if (!json) return;
  JsonWriter writer;
  writer.beginObject();
  writer.key("error");
  writer.text(complaint);
  writer.endObject();
  writeAll(STDOUT_FILENO, writer.take() + "\n");
}

void report(Session& session, const Outcome& outcome) {
  if (outcome.status != 0) {
    if (!session.json()) showNews(session);
    complain(session.json(), outcome.complaint);
  } else if (session.json()) {
    writeAll(STDOUT_FILENO, answerObject(outcome.answer, session.news().take()));
  } else {
    showNews(session);
    if (outcome.answer.people) writeAll(STDOUT_FILENO, outcome.answer.people());
  }
}

bool showNews(Session& session) {
  const auto items = session.news().take();
  if (items.empty()) return false;
  writeAll(STDERR_FILENO, newsText(items));
  return true;
}

}  // namespace marlune::cli
