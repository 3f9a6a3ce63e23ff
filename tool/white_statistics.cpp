// Chromaticities of LEDs, of neighbours and of modules.
#include "tool/white_statistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "simulation/colour.h"
#include "tool/statistics.h"

namespace multilayer::tool {
namespace {

using Chroma = cv::Point2d;

Chroma ChromaOf(const cv::Vec3d& xyz) {
  const auto [u, v] = simulation::UvPrime(xyz[0], xyz[1], xyz[2]);
  return {u, v};
}

double Distance(const Chroma& a, const Chroma& b) { return std::hypot(a.x - b.x, a.y - b.y); }

double Mean(const std::vector<double>& values) {
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

bool Counts(const cv::Vec3d& xyz) { return xyz[1] > 0; }

std::vector<double> FromTarget(const cv::Mat& xyz, const Chroma& target) {
  std::vector<double> distances;
  for (int row = 0; row < xyz.rows; ++row) {
    for (int col = 0; col < xyz.cols; ++col) {
      if (const auto& led = xyz.at<cv::Vec3d>(row, col); Counts(led)) {
        distances.push_back(Distance(ChromaOf(led), target));
      }
    }
  }
  return distances;
}

std::vector<double> FromNeighbours(const cv::Mat& xyz) {
  std::vector<double> distances;
  for (int row = 0; row < xyz.rows; ++row) {
    for (int col = 0; col < xyz.cols; ++col) {
      const auto& led = xyz.at<cv::Vec3d>(row, col);
      for (const cv::Point next : {cv::Point(col + 1, row), cv::Point(col, row + 1)}) {
        if (Counts(led) && next.x < xyz.cols && next.y < xyz.rows &&
            Counts(xyz.at<cv::Vec3d>(next))) {
          distances.push_back(Distance(ChromaOf(led), ChromaOf(xyz.at<cv::Vec3d>(next))));
        }
      }
    }
  }
  return distances;
}

// Of the light of all LEDs of each module together. The screen's edges may cut modules.
std::vector<Chroma> Modules(const cv::Mat& xyz, cv::Size module) {
  std::vector<Chroma> chromas;
  for (int y = 0; y < xyz.rows; y += module.height) {
    for (int x = 0; x < xyz.cols; x += module.width) {
      const cv::Rect whole(x, y, module.width, module.height);
      const cv::Scalar sum = cv::sum(xyz(whole & cv::Rect({}, xyz.size())));
      if (sum[1] > 0) {
        chromas.push_back(ChromaOf({sum[0], sum[1], sum[2]}));
      }
    }
  }
  return chromas;
}

// The two points that are farthest apart are corners of the hull: walls have thousands of modules.
double Diameter(const std::vector<Chroma>& points) {
  const std::vector<cv::Point2f> narrow(points.begin(), points.end());
  std::vector<cv::Point2f> hull;
  cv::convexHull(narrow, hull);
  double widest = 0;
  for (const cv::Point2f& a : hull) {
    for (const cv::Point2f& b : hull) {
      widest = std::max(widest, Distance(a, b));
    }
  }
  return widest;
}

}  // namespace

WhiteEvenness MeasureWhite(const cv::Mat& xyz, cv::Size module,
                           const std::array<double, 3>& target) {
  const Chroma wanted = ChromaOf({target[0], target[1], target[2]});
  WhiteEvenness result;
  std::vector<double> distances = FromTarget(xyz, wanted);
  result.mean = Mean(distances);
  result.p95 = Percentile(distances, 0.95);
  result.worst = *std::max_element(distances.begin(), distances.end());
  if (std::vector<double> steps = FromNeighbours(xyz); !steps.empty()) {
    result.neighbour_mean = Mean(steps);
    result.neighbour_p95 = Percentile(steps, 0.95);
  }
  const std::vector<Chroma> modules = Modules(xyz, module);
  for (const Chroma& chroma : modules) {
    result.module_to_target = std::max(result.module_to_target, Distance(chroma, wanted));
  }
  result.module_to_module = Diameter(modules);
  cv::Mat luminance;
  cv::extractChannel(xyz, luminance, 1);
  cv::Scalar mean;
  cv::Scalar deviation;
  cv::meanStdDev(luminance, mean, deviation, luminance > 0);
  result.luminance = mean[0];
  result.variation = deviation[0] / mean[0];
  return result;
}

}  // namespace multilayer::tool
