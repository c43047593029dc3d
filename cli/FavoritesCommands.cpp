#include "cli/Fetching.h"

namespace marlune::cli {
namespace {

constexpr const char* kNotSaved = " (`favorites save`, in the same shell, or --save keeps that).";

FavoriteListManager& favorites(Context& context) {
  return context.session.favorites();
}

/// What a change says, after saving it where that is asked for.
Answer changed(Context& context, const Call& call, const std::string& what) {
  if (call.option("--save") == nullptr) return nothing(what + kNotSaved);
  favorites(context).SaveToDisk();
  return nothing(what + ".");
}

Answer list(Context& context, const Call&) {
  // The stored favourites come with the catalogue.
  context.session.provider().loadStationData();
  return answerOf(favorites(context).getFavorites());
}

Answer add(Context& context, const Call& call) {
  const auto station = stationOf(context.session, call.text(0));
  favorites(context).AddToFavorites(station);
  return station ? changed(context, call, "Added") : nothing("The station is unknown.");
}

Answer remove(Context& context, const Call& call) {
  const auto station = stationOf(context.session, call.text(0));
  favorites(context).RemoveFromFavorites(station);
  return station ? changed(context, call, "Removed") : nothing("The station is unknown.");
}

Answer is(Context& context, const Call& call) {
  return answerOf(std::optional(favorites(context).IsFavorite(stationOf(context.session, call.text(0)))));
}

Answer save(Context& context, const Call&) {
  context.session.provider().savePrefs();
  return nothing("Changes are saved.");
}

Answer load(Context& context, const Call&) {
  favorites(context).LoadFromDisk();
  return nothing("The stored favourites are loaded.");
}

Answer compareList(Context& context, const Call&) {
  auto stations = favorites(context).loadCompareChartsList();
  if (!stations) return nothing("No list is stored.");
  return answerOf(std::move(*stations));
}

Answer compareSave(Context& context, const Call& call) {
  std::vector<std::string> ids;
  for (std::size_t i = 0; call.has(i); ++i) ids.push_back(call.text(i));
  favorites(context).saveCompareChartsList(ids);
  return nothing(ids.empty() ? "An empty list is not written." : "The list is written.");
}

}  // namespace

std::vector<Command> favoritesCommands() {
  constexpr Argument id{"ID", Kind::station};
  const Option saveOption{"--save", "", Kind::text, "and save"};
  constexpr auto place = Place::mainThread;
  return {
      {"favorites list", {}, {}, "the favourite stations by name", place, list},
      {"favorites add", {id}, {saveOption}, "make a station a favourite", place, add},
      {"favorites remove", {id}, {saveOption}, "make a station no favourite any more", place, remove},
      {"favorites is", {id}, {}, "is a station a favourite?", place, is},
      {"favorites save", {}, {}, "write the favourites if they were changed in this process", place, save},
      {"favorites load", {}, {}, "add the stored favourites to those at hand", place, load},
      {"compare list", {}, {}, "the stations whose charts are compared", place, compareList},
      {"compare save",
       {{"ID", Kind::text, Argument::Presence::repeated}},
       {},
       "store the stations whose charts are compared",
       place,
       compareSave},
  };
}

}  // namespace marlune::cli
