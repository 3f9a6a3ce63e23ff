// Drawing and checking pictures.
#include "tool/picture.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "tool/error.h"
#include "tool/files.h"

namespace multilayer::tool {
namespace {

constexpr double kRange = 0.15;     // of luminance / mean, to both sides
constexpr int kMargin = 16;         // pixels
constexpr int kLineHeight = 32;     // of a line of text
constexpr int kPictureWidth = 960;  // what a wall is scaled up to, about
constexpr int kGridWidth = 1920;    // and three side by side
constexpr int kGridColumns = 3;
constexpr int kMark = 10;  // of a border mark beside a map
const cv::Scalar kOutline(180);
const cv::Scalar kInk(40);  // of text on white paper

// Each LED a square: nothing is smoothed away.
cv::Mat Scaled(const cv::Mat& relative, int scale) {
  cv::Mat gray;
  relative.convertTo(gray, CV_8U, 127.5 / kRange, 127.5 - 127.5 / kRange);
  cv::resize(gray, gray, {}, scale, scale, cv::INTER_NEAREST);
  return gray;
}

void Write(cv::Mat& page, const std::string& text, cv::Point at, double size) {
  cv::putText(page, text, at, cv::FONT_HERSHEY_SIMPLEX, size, kInk, 1, cv::LINE_AA);
}

void DrawScale(cv::Mat& page, cv::Rect bar, const char* middle) {
  cv::Mat ramp(1, 256, CV_8U);
  for (int i = 0; i < 256; ++i) {
    ramp.at<uint8_t>(0, i) = static_cast<uint8_t>(i);
  }
  cv::Mat target = page(bar);
  cv::resize(ramp, target, bar.size(), 0, 0, cv::INTER_LINEAR);
  cv::rectangle(page, bar, kInk, 1);
  const int y = bar.y + bar.height + 18;
  const std::pair<const char*, double> marks[] = {{"-15 %", 0.0}, {middle, 0.5}, {"+15 %", 1.0}};
  for (const auto& [text, place] : marks) {
    int below = 0;
    const int width = cv::getTextSize(text, cv::FONT_HERSHEY_SIMPLEX, 0.45, 1, &below).width;
    Write(page, text, {bar.x + static_cast<int>(place * (bar.width - width)), y}, 0.45);
  }
}

// Where partitions meet, on all four sides of a map, and nothing over it.
void DrawMarks(cv::Mat& page, cv::Rect map, int scale, const GridPicture& picture) {
  for (const int border : picture.column_borders) {
    const int x = map.x + border * scale;
    cv::line(page, {x, map.y - kMark}, {x, map.y - 2}, kInk);
    cv::line(page, {x, map.y + map.height + 1}, {x, map.y + map.height + kMark - 1}, kInk);
  }
  for (const int border : picture.row_borders) {
    const int y = map.y + border * scale;
    cv::line(page, {map.x - kMark, y}, {map.x - 2, y}, kInk);
    cv::line(page, {map.x + map.width + 1, y}, {map.x + map.width + kMark - 1, y}, kInk);
  }
}

}  // namespace

cv::Mat Draw(const GridPicture& picture) {
  const int scale = std::max(1, kGridWidth / kGridColumns / picture.maps.front().relative.cols);
  const cv::Size map = picture.maps.front().relative.size() * scale;
  // A map with its marks under two lines of text.
  const cv::Size cell(std::max(360, map.width + 2 * kMark) + kMargin,
                      2 * kLineHeight + map.height + 2 * kMark);
  const int rows = static_cast<int>(picture.maps.size()) / kGridColumns;
  cv::Mat page(2 * kMargin + kLineHeight + rows * cell.height + kLineHeight + 44,
               std::max(720, kGridColumns * cell.width) + 2 * kMargin, CV_8UC1, cv::Scalar(255));
  Write(page, picture.title, {kMargin, kMargin + kLineHeight / 2 + 6}, 0.75);
  const cv::Point top(kMargin, kMargin + kLineHeight);
  for (int i = 0; i < static_cast<int>(picture.maps.size()); ++i) {
    const cv::Point at =
        top + cv::Point(i % kGridColumns * cell.width, i / kGridColumns * cell.height);
    const GridPicture::Map& content = picture.maps[static_cast<size_t>(i)];
    Write(page, content.name, at + cv::Point(0, kLineHeight - 9), 0.55);
    Write(page, content.figures, at + cv::Point(0, 2 * kLineHeight - 20), 0.4);
    const cv::Rect place(at + cv::Point(kMark, 2 * kLineHeight + kMark - 8), map);
    cv::Mat target = page(place);
    Scaled(content.relative, scale).copyTo(target);
    // Around the map: a white one would not be told from the paper.
    cv::rectangle(page, place.tl() - cv::Point(1, 1), place.br(), kOutline);
    DrawMarks(page, place, scale, picture);
  }
  const int y = top.y + rows * cell.height + kLineHeight / 2;
  DrawScale(page, {kMargin, y, 320, 16}, picture.middle.c_str());
  Write(page, picture.remark, {kMargin + 344, y + 13}, 0.45);
  return page;
}

cv::Mat Draw(const WallPicture& picture) {
  const int scale = std::max(1, kPictureWidth / picture.before.cols);
  const cv::Mat maps[] = {Scaled(picture.before, scale), Scaled(picture.after, scale)};
  const std::string* labels[] = {&picture.before_label, &picture.after_label};
  const int width = std::max(640, maps[0].cols) + 2 * kMargin;
  const int height = 2 * kMargin + kLineHeight + 2 * (kLineHeight + maps[0].rows + kMargin) + 44;
  cv::Mat page(height, width, CV_8UC1, cv::Scalar(255));
  int y = kMargin + kLineHeight / 2;
  Write(page, picture.title, {kMargin, y + 6}, 0.75);
  y += kLineHeight / 2;
  for (size_t i = 0; i < 2; ++i) {
    Write(page, *labels[i], {kMargin, y + kLineHeight - 9}, 0.55);
    y += kLineHeight;
    maps[i].copyTo(page(cv::Rect({kMargin, y}, maps[i].size())));
    y += maps[i].rows + kMargin;
  }
  DrawScale(page, {kMargin, y, 320, 16}, "mean");
  Write(page, "dead LEDs are black", {kMargin + 344, y + 13}, 0.45);
  return page;
}

void WritePng(const std::filesystem::path& path, const cv::Mat& image) {
  std::vector<uint8_t> bytes;
  if (!cv::imencode(".png", image, bytes)) {
    throw Failure(Exit::kRefused, path.string() + ": the picture cannot be encoded");
  }
  WriteText(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

uint64_t CheckPng(const std::filesystem::path& path, cv::Size size) {
  // Of a PNG that was cut short a decoder may still make a picture; its last chunk is missing.
  constexpr std::string_view kEnd("IEND\xae\x42\x60\x82", 8);
  std::string bytes = ReadText(path);
  const bool complete = std::string_view(bytes).ends_with(kEnd);
  if (!complete || cv::imdecode(cv::Mat(1, static_cast<int>(bytes.size()), CV_8U, bytes.data()),
                                cv::IMREAD_UNCHANGED)
                           .size() != size) {
    throw Failure(Exit::kFileAccess, path.string() + ": could not be written: is the disk full?");
  }
  return bytes.size();
}

}  // namespace multilayer::tool
