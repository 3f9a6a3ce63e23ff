// `multilayer assemble`: the sets of partitions as one set of the screen, and its picture.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "tool/commands.h"
#include "tool/error.h"
#include "tool/files.h"
#include "tool/job.h"
#include "tool/picture.h"
#include "tool/scan.h"
#include "tool/sets.h"
#include "tool/statistics.h"
#include "tool/table.h"

namespace multilayer::tool {
namespace {

struct AssembleOptions {
  std::vector<std::string> files;
  std::string output;
  std::string picture;
};

std::array<cv::Mat, 3> PlanesOf(const LumCoeff& set) {
  return {set.coef_r, set.coef_g, set.coef_b};
}
const std::array<cv::Mat, 9>& PlanesOf(const ChromaCoeff& set) { return set.coef; }

// The middle of the finite values: the mean would follow the seams, whose factors may be many times
// those of the rest.
double MedianOf(const cv::Mat& plane) {
  std::vector<double> finite;
  for (int row = 0; row < plane.rows; ++row) {
    const auto* values = plane.ptr<float>(row);
    std::copy_if(values, values + plane.cols, std::back_inserter(finite),
                 [](float value) { return std::isfinite(value); });
  }
  return finite.empty() ? 0 : Percentile(finite, 0.5);
}

// 1 at the median; `unit` is what 100 % is. 0, and so black, where there is no number.
cv::Mat Relative(const cv::Mat& plane, double median, double unit) {
  cv::Mat relative(plane.size(), CV_32FC1);
  std::transform(plane.begin<float>(), plane.end<float>(), relative.begin<float>(),
                 [=](float value) {
                   const double shade = 1 + (static_cast<double>(value) - median) / unit;
                   return std::isfinite(value) ? static_cast<float>(shade) : 0.0F;
                 });
  return relative;
}

std::string Figures(const MatrixReport& plane, double median) {
  std::string text =
      Fixed(plane.min, 4) + " to " + Fixed(plane.max, 4) + ", median " + Fixed(median, 4);
  return plane.non_finite == 0 ? text
                               : text + ", " + std::to_string(plane.non_finite) + " not finite";
}

// Where partitions begin and end inside the whole.
std::vector<int> Borders(const std::set<int>& edges, int length) {
  std::vector<int> borders;
  std::copy_if(edges.begin(), edges.end(), std::back_inserter(borders),
               [length](int edge) { return edge > 0 && edge < length; });
  return borders;
}

template <class Set>
GridPicture PictureOf(const Set& whole, const std::vector<Set>& sets, const FileReport& report) {
  GridPicture picture;
  picture.title = std::to_string(sets.size()) + " partitions: " + TextOf(whole.part);
  picture.middle = "median";
  picture.remark = "ticks: borders of partitions; no finite value: black";
  const auto& planes = PlanesOf(whole);
  const size_t kinds = planes.size() / kColours.size();  // 1, or 3 shares a corrected primary
  for (size_t i = 0; i < planes.size(); ++i) {
    const double median = MedianOf(planes[i]);
    // Shares of the other primaries are small: against the own one, they show as they weigh.
    const double own = std::abs(MedianOf(planes[i / kinds * kinds + i / kinds % kinds]));
    picture.maps.push_back({report.matrices[i].name, Figures(report.matrices[i], median),
                            Relative(planes[i], median, own > 0 ? own : 1)});
  }
  std::set<int> columns;
  std::set<int> rows;
  for (const Set& set : sets) {
    columns.insert({set.part.x - whole.part.x, set.part.x + set.part.w - whole.part.x});
    rows.insert({set.part.y - whole.part.y, set.part.y + set.part.h - whole.part.y});
  }
  picture.column_borders = Borders(columns, whole.part.w);
  picture.row_borders = Borders(rows, whole.part.h);
  return picture;
}

template <class Set>
void Assemble(const AssembleOptions& options) {
  std::vector<Set> sets = LoadSets<Set>(options.files);
  Set whole;
  RequireDone(Set::Assemble(Pointers(sets), whole), options.output);
  SaveSet(options.output, whole);
  const FileReport report = RequireSound(options.output);
  if (!options.picture.empty()) {
    WritePng(options.picture, Draw(PictureOf(whole, sets, report)));
  }
  PrintOut(options.output + ": " + std::to_string(sets.size()) + " sets, " + TextOf(whole.part) +
           "\n\n" + PlaneTable(report));
}

void RunAssemble(const AssembleOptions& options) {
  RequireSameType(options.output, options.files.front());
  ForSetOf(options.output,
           [&](const auto& set) { Assemble<std::decay_t<decltype(set)>>(options); });
}

}  // namespace

void AddAssemble(CommandLine& line) {
  auto options = std::make_shared<AssembleOptions>();
  const Subcommand assemble =
      line.Add("assemble", "Place the sets of partitions into one of the whole screen",
               [options] { RunAssemble(*options); });
  assemble.Add("files", options->files, "Sets of one type; later ones overwrite earlier ones")
      .Required()
      .EndsWith({kLum, kChroma})
      .Named("FILE");
  assemble.Add("--output", options->output, "Where the set of the screen goes")
      .Required()
      .EndsWith({kLum, kChroma})
      .Named("OUT");
  assemble.Add("--picture", options->picture, "Also draw every plane, to look for seams")
      .EndsWith({".png"})
      .Named("OUT.png");
  assemble.Footer(
      "LEDs that no set covers are not corrected. The picture shows every LED against the median "
      "of\nits plane, 15 % to both sides; ticks outside a plane show where partitions meet.\n\n"
      "Example:\n"
      "  multilayer assemble p*.lumcoeff --output wall.lumcoeff --picture wall.png");
}

}  // namespace multilayer::tool
