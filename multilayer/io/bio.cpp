// Single matrices, numbers as text, lists of names.
#include "multilayer/io/bio.h"

#include <algorithm>
#include <locale>
#include <sstream>
#include <utility>

#include <opencv2/core.hpp>

#include "multilayer/io/byte_stream.h"
#include "multilayer/io/container.h"
#include "multilayer/io/fail.h"
#include "multilayer/io/file.h"
#include "multilayer/io/metadata.h"
#include "pellix/pellix.h"

namespace multilayer::BIO {
namespace {

bool FailToOpen(const char* operation, const std::string& fullname) {
  Fail(0, "BIO::%s -- Failed to Open file. fullname = %s", operation, fullname.c_str());
  return false;
}

// The whole file, as it stands. Not through a file stream, which swallows a failed allocation.
bool ReadText(const char* operation, const std::string& fullname, std::string& text) {
  uint64_t length = 0;
  const File file = OpenForReading(fullname, length);
  if (file == nullptr) {
    return FailToOpen(operation, fullname);
  }
  text.resize(length);
  text.resize(std::fread(text.data(), 1, length, file.get()));
  return true;
}

// Fills the continuous `values` with the numbers of `text`, as far as they go; returns how many.
size_t Extract(std::string text, cv::Mat_<float>& values) {
  std::istringstream stream(std::move(text));
  stream.imbue(std::locale::classic());  // a point is a point, whatever the host's language
  stream.exceptions(std::ios::badbit);   // only a failed allocation is bad
  size_t count = 0;
  // A number that does not parse is stored too, as 0 or the largest float.
  for (float value = 0; count < values.total() && stream >> value; ++count) {
    values.ptr<float>()[count] = value;
  }
  return count;
}

}  // namespace

bool SaveMatToBin(const std::string& fullname, const cv::Mat& mat) {
  const File file = OpenForWriting(fullname);
  if (file == nullptr) {
    return FailToOpen("SaveMatToBin", fullname);
  }
  ByteWriter writer(file.get());
  WriteMark(writer);
  WriteMat(writer, mat);
  return true;
}

bool LoadBinToMat(const std::string& fullname, cv::Mat& mat) {
  uint64_t length = 0;
  const File file = OpenForReading(fullname, length);
  if (file == nullptr) {
    return FailToOpen("LoadBinToMat", fullname);
  }
  ByteReader reader(file.get(), length);
  if (!ReadMark(reader)) {
    return true;
  }
  cv::Mat read;
  ReadMat(reader, read);
  if (reader.refused()) {
    Fail(0, "BIO::LoadBinToMat -- Error data in file: a header that no valid file can carry.");
    return true;
  }
  if (reader.ended_early()) {
    PellixInfo("BIO::LoadBinToMat -- Data ends early, missing values are 0.");
  }
  mat = read;
  return true;
}

bool LoadTxtToMat(const std::string& fullname, cv::Size size, cv::Mat& mat) {
  std::string text;
  if (!ReadText("LoadTxtToMat", fullname, text)) {
    return false;
  }
  if (size.width < 0 || size.height < 0 || int64_t{size.width} * size.height > kMaxLeds) {
    Fail(0, "BIO::LoadTxtToMat--Error :: no matrix has the size %d x %d", size.width, size.height);
    return true;
  }
  cv::Mat_<float> values(size, 0.0F);
  const size_t count = Extract(std::move(text), values);
  if (count < values.total()) {
    PellixInfo("BIO::LoadTxtToMat -- %zu of %zu values read, the others are 0.", count,
               values.total());
  }
  mat = values;
  return true;
}

bool ReadFullNameListTxt(const std::string& fullname, std::vector<std::string>& list) {
  std::string text;
  if (!ReadText("ReadFullNameListTxt", fullname, text)) {
    return false;
  }
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    const bool carriage_return = end > begin && text[end - 1] == '\r';
    list.push_back(text.substr(begin, end - begin - (carriage_return ? 1 : 0)));
    begin = end + 1;
  }
  return true;
}

}  // namespace multilayer::BIO
