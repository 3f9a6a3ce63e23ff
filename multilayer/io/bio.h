// Single matrices to and from files of their own, and lists of file names.
#pragma once

#include <string>
#include <vector>

#include <opencv2/core/mat.hpp>

namespace multilayer::BIO {

// Each returns false, after one log line with the name, if the file cannot be opened, and true
// otherwise: what is wrong inside a file is not a failure of these four.

// Writes the mark and the matrix record of `mat` to `fullname`, replacing an earlier file. A write
// that fails later (disk full) is not reported: compare the file's length.
bool SaveMatToBin(const std::string& fullname, const cv::Mat& mat);

// Reads what SaveMatToBin wrote. `mat` stays as it was when the file does not begin with the mark,
// or, after one log line, when its header is one that no valid file can carry. Elements that the
// file lacks are 0; an information line says so. Only regular files are opened.
bool LoadBinToMat(const std::string& fullname, cv::Mat& mat);

// Reads size.height rows of size.width numbers, row after row, separated by any white space, into a
// new CV_32FC1 matrix. From the first value on that is missing or is no number, all are 0; an
// information line says so. The decimal sign is a point, whatever the host's locale. A size that no
// partition has (negative, or more than kMaxLeds values) leaves `mat` as it was, after one log
// line.
bool LoadTxtToMat(const std::string& fullname, cv::Size size, cv::Mat& mat);

// Appends the lines of a text file to `list`, one name each, without their line feed and a carriage
// return before it. Empty lines count, but not what follows the last line feed if it is empty.
bool ReadFullNameListTxt(const std::string& fullname, std::vector<std::string>& list);

}  // namespace multilayer::BIO
