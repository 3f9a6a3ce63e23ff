// What verify says of a balanced wall: a table, JSON, and a verdict.
#include <cmath>

#include "tool/error.h"
#include "tool/table.h"
#include "tool/white_inspection.h"

namespace multilayer::tool {
namespace {

std::vector<std::string> Cells(const WhiteEvenness& white, double target) {
  constexpr int kDecimals = 5;
  std::vector<std::string> cells;
  for (const double value : {white.mean, white.p95, white.worst, white.neighbour_mean,
                             white.neighbour_p95, white.module_to_target, white.module_to_module}) {
    cells.push_back(Fixed(value, kDecimals));
  }
  cells.push_back(Percent(white.variation, 2));
  cells.push_back(Percent(white.luminance / target - 1, 2, true));
  return cells;
}

nlohmann::ordered_json ToJson(const WhiteEvenness& white, double target) {
  return {{"to_target", {{"mean", white.mean}, {"p95", white.p95}, {"worst", white.worst}}},
          {"neighbours", {{"mean", white.neighbour_mean}, {"p95", white.neighbour_p95}}},
          {"modules", {{"to_target", white.module_to_target}, {"apart", white.module_to_module}}},
          {"luminance",
           {{"cv", white.variation},
            {"mean", white.luminance},
            {"mean_over_target", white.luminance / target}}}};
}

}  // namespace

std::string TextOf(const WhiteInspection& inspection) {
  Table table({"gray", "kind", "wall", "LEDs: mean", "p95", "worst", "neighbours: mean", "p95",
               "modules: to target", "apart", "CV of Y", "Y to target", "verdict"},
              3);
  for (const WhiteLevel& level : inspection.levels) {
    const auto add = [&](const char* wall, const WhiteEvenness& white, const char* verdict) {
      std::vector<std::string> row = {std::to_string(level.level),
                                      level.captured ? "captured" : "other", wall};
      const std::vector<std::string> cells = Cells(white, level.target);
      row.insert(row.end(), cells.begin(), cells.end());
      row.emplace_back(verdict);
      table.Add(row);
    };
    add("before", level.before, "");
    add("after", level.after,
        !level.captured            ? "not judged"
        : inspection.Passes(level) ? "good"
                                   : "OUT");
  }
  return "White: delta u'v' of the LEDs to the target, of neighbouring LEDs, of modules' "
         "means\n\n" +
         table.Text() + "\nLimits at captured levels: p95 " + Fixed(inspection.p95_limit, 5) +
         ", modules " + Fixed(inspection.module_limit, 5) +
         "\nNoise of one photograph: " + Percent(inspection.noise, 3) + " in X, Y and Z; of the " +
         std::to_string(inspection.shots) +
         " averaged here: " + Percent(inspection.noise / std::sqrt(inspection.shots), 3) +
         "\nLEDs: " + std::to_string(inspection.leds) +
         "; with a dead primary and left out: " + std::to_string(inspection.dead) + "\n";
}

nlohmann::ordered_json ToJson(const WhiteInspection& inspection) {
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  bool passed = true;
  for (const WhiteLevel& level : inspection.levels) {
    nlohmann::ordered_json row = {{"level", level.level},
                                  {"color", "white"},
                                  {"captured", level.captured},
                                  {"target", level.target},
                                  {"before", ToJson(level.before, level.target)},
                                  {"after", ToJson(level.after, level.target)},
                                  {"judged", level.captured}};
    if (level.captured) {
      row["passed"] = inspection.Passes(level);
      passed = passed && inspection.Passes(level);
    }
    rows.push_back(row);
  }
  return {{"mode", "white"},
          {"leds", inspection.leds},
          {"dead", inspection.dead},
          {"shots", inspection.shots},
          {"noise", inspection.noise},
          {"limits", {{"p95", inspection.p95_limit}, {"modules", inspection.module_limit}}},
          {"passed", passed},
          {"rows", rows}};
}

void Judge(const WhiteInspection& inspection) {
  std::string places;
  for (const WhiteLevel& level : inspection.levels) {
    if (!inspection.Passes(level)) {
      places += (places.empty() ? "gray " : ", gray ") + std::to_string(level.level) + " (p95 " +
                Fixed(level.after.p95, 5) + ", modules " +
                Fixed(std::max(level.after.module_to_target, level.after.module_to_module), 5) +
                ")";
    }
  }
  if (!places.empty()) {
    throw Failure(Exit::kOutOfTolerance, "the white of the corrected wall is out of tolerance at " +
                                             places + ", limits " + Fixed(inspection.p95_limit, 5) +
                                             " and " + Fixed(inspection.module_limit, 5));
  }
}

}  // namespace multilayer::tool
