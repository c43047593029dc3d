#include <filesystem>
#include <memory>
#include <system_error>

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

Answer pack(Context& context, const Call& call) {
  const auto archive = TideDataArchiver::archive(readFile(call.text(0)));
  if (!archive) {
    throw Failure(call.text(0) + " cannot be packed: it must be an XML document of at most 16 MiB");
  }
  const std::string path = absolute(call.text(1));
  const std::string folder = std::filesystem::path(path).parent_path().string();
  const auto& files = context.session.host().files;
  if (!files->exists(folder) || !files->write(folder, path, *archive, FileSystem::Durability::userData)) {
    throw Failure(call.text(1) + " could not be written: is its folder writable, with room left?");
  }
  return nothing("Packed.");
}

Answer unpack(Context& context, const Call& call) {
  const TideDataArchiver archiver(context.session.host().files);
  const Data document = archiver.unarchiveFile(absolute(call.text(0)));
  if (!document) return nothing("There is no archive of that name with an XML document in it.");
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
