// Matrices that are computed anew.
#pragma once

#include <opencv2/core.hpp>

namespace multilayer {

// Whether Renew would keep the matrix that is there.
bool IsRenewable(const cv::Mat& plane, cv::Size size, int type);

// Makes `plane` a continuous matrix to be filled: the one that is there if it fits and nobody else
// holds its elements, so that the pages of memory it has need not be fetched anew.
void Renew(cv::Mat& plane, cv::Size size, int type);

// Before `plane` is worked on in place: if somebody else may hold its elements (another matrix, a copy
// of an object, a host), gives it a copy of its own.
void Unshare(cv::Mat& plane);

}  // namespace multilayer
