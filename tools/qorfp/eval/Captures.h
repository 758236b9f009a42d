// SPDX-License-Identifier: Apache-2.0
//
// The finger images of a folder, by finger and impression.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/qorfp/eval/NamePattern.h"

namespace qorfp::cli {

struct Capture {
    std::string name;  // file name
    std::string path;
    std::string finger;
    std::string impression;
};

struct CaptureFolder {
    std::vector<Capture> captures;  // by finger, then impression; see IsBefore
    size_t otherFiles = 0;          // whose name or ending does not fit
};

/// Lists the .pgm, .png, .bmp, .tif, .tiff, .jp2 and .j2k files of `folder` whose names fit. Throws
/// ToolError when there are none, or when two show the same impression.
CaptureFolder ListCaptures(const std::string& folder, const NamePattern& pattern);

/// The finger of each capture as a number, counted from 0.
std::vector<size_t> NumberFingers(const std::vector<Capture>& captures);

}  // namespace qorfp::cli
