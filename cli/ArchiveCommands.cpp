#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "cli/Errors.h"
#include "cli/EventFile.h"
#include "cli/Session.h"
#include "marlune/providers/TideDataArchiver.h"

namespace marlune::cli {
namespace {

std::string absolute(const std::string& path) {
  std::error_code failure;
  const auto whole = std::filesystem::absolute(path, failure);
  return failure ? path : whole.string();
}

/// Each cause of failure has a text of its own, which says how to mend it.
Bytes packed(const std::string& name) {
  const std::string document = readFile(name);
  if (document.size() > TideDataArchiver::maximumSize) {
    throw Failure(name + " cannot be packed: it is larger than 16 MiB; pack one port and year at a time");
  }
  auto archive = TideDataArchiver::archive(document);
  if (!archive) {
    throw Failure(name + " cannot be packed: it does not begin as XML does; give the forecast as it is");
  }
  return std::move(*archive);
}

Answer pack(Context& context, const Call& call) {
  const Bytes archive = packed(call.text(0));
  const std::filesystem::path path = absolute(call.text(1));
  const std::string folder = path.parent_path().string();
  const auto fail = [&](const std::string& why) {
    return Failure("cannot write " + call.text(1) + ": " + why);
  };
  std::error_code none;
  if (!std::filesystem::is_directory(folder, none))
    throw fail("there is no folder " + folder + "; make it first");
  if (std::filesystem::is_directory(path, none)) throw fail("it is a folder; name a file in it");
  const auto& files = context.session.host().files;
  if (!files->write(folder, path.string(), archive, FileSystem::Durability::userData)) {
    throw fail("make its folder writable, with room left");
  }
  return nothing("Packed.");
}

Answer unpack(Context& context, const Call& call) {
  const auto& files = context.session.host().files;
  const std::string path = absolute(call.text(0));
  const Data document = TideDataArchiver(files).unarchiveFile(path);
  if (!document) {
    return nothing(files->exists(path) ? "There is no XML document in that archive, or it is damaged."
                                       : "There is no file of that name.");
  }
  // As it is, so that it can be sent to a file.
  return {[document](JsonWriter& json) { json.text(*document); }, [document] { return *document; }};
}

}  // namespace

std::vector<Command> archiveCommands() {
  return {
      {"archive pack", {{"XML"}, {"ARCHIVE"}}, {}, "pack a year's forecast", Place::worker, pack},
      {"archive unpack", {{"ARCHIVE"}}, {}, "the forecast in a year's archive", Place::worker, unpack},
  };
}

}  // namespace marlune::cli
