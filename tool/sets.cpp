// Loading sets that belong together, and describing them.
#include "tool/sets.h"

#include <filesystem>

#include "tool/error.h"
#include "tool/scan.h"
#include "tool/table.h"

namespace multilayer::tool {

void RequireSameType(const std::string& file, const std::string& first) {
  const std::filesystem::path due = std::filesystem::path(first).extension();
  if (std::filesystem::path(file).extension() != due) {
    throw Failure(Exit::kWrongCall,
                  file + " must end with " + due.string() + ", as " + first + " does");
  }
}

template <class Set>
std::vector<Set> LoadSets(const std::vector<std::string>& files) {
  for (const std::string& file : files) {
    RequireSameType(file, files.front());
  }
  std::vector<Set> sets;
  for (const std::string& file : files) {
    sets.push_back(LoadSet<Set>(file));
    const PartRecord& part = sets.back().part;
    const PartRecord& first = sets.front().part;
    if (part.screen_w != first.screen_w || part.screen_h != first.screen_h) {
      throw Failure(Exit::kRefused, file + ": the screen is " + std::to_string(part.screen_w) +
                                        "x" + std::to_string(part.screen_h) + ": must be " +
                                        std::to_string(first.screen_w) + "x" +
                                        std::to_string(first.screen_h) + ", as in " +
                                        files.front());
    }
  }
  return sets;
}

template std::vector<LumCoeff> LoadSets(const std::vector<std::string>&);
template std::vector<ChromaCoeff> LoadSets(const std::vector<std::string>&);

std::string PlaneTable(const FileReport& report) {
  Table table({"plane", "min", "mean", "max", "non-finite"}, 1);
  for (const MatrixReport& plane : report.matrices) {
    table.Add({plane.name, Fixed(plane.min, 4), Fixed(plane.mean, 4), Fixed(plane.max, 4),
               std::to_string(plane.non_finite)});
  }
  return table.Text();
}

std::string TextOf(const PartRecord& part) {
  return std::to_string(part.w) + "x" + std::to_string(part.h) + " LEDs at (" +
         std::to_string(part.x) + ", " + std::to_string(part.y) + ")";
}

}  // namespace multilayer::tool
