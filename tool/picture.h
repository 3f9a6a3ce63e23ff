// Pictures of a wall, and PNG files that are known to be whole.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

namespace multilayer::tool {

// One primary of the wall at one level, before and after the correction: luminance / mean
// (CV_32FC1, screen height x width), 0 where no LED was measured.
struct WallPicture {
  std::string title;
  cv::Mat before;
  cv::Mat after;
  std::string before_label;
  std::string after_label;
};

// Both maps one above the other, in gray from 15 % below the mean (black) to 15 % above (white),
// each LED a square, with labels and the scale.
cv::Mat Draw(const WallPicture& picture);

// Maps in rows of three, for red, green and blue, and where the partitions of the wall meet.
struct GridPicture {
  struct Map {
    std::string name;
    std::string figures;
    cv::Mat relative;  // CV_32FC1, all of one size: 1 is middle gray
  };
  std::string title;
  std::vector<Map> maps;
  std::string middle;               // what 1 is, for the scale
  std::string remark;               // beside the scale
  std::vector<int> column_borders;  // LEDs from the map's left edge; marked outside the maps
  std::vector<int> row_borders;
};
cv::Mat Draw(const GridPicture& picture);

// Throws kFileAccess.
void WritePng(const std::filesystem::path& path, const cv::Mat& image);

// Reads a PNG back: it must decode to `size` and be complete. Returns its length in bytes. Throws
// kFileAccess.
uint64_t CheckPng(const std::filesystem::path& path, cv::Size size);

}  // namespace multilayer::tool
