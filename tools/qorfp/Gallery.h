// SPDX-License-Identifier: Apache-2.0
//
// A list of enrolled templates to search: a file of templates back to back, or a folder with one
// .bin file each. Entries that cannot be searched are named and left out, so that one bad file does
// not lock everybody out.
#pragma once

#include <string>
#include <vector>

#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {

/// Two lists of the same length; never empty.
struct Gallery {
    std::vector<TemplateBytes> templates;  // usable in every call
    std::vector<std::string> names;        // for people: file name, or "entry N" from 0
};

/// Reads the gallery and tells on standard error what was left out or had to be upgraded (in memory
/// only). Throws ToolError when nothing remains, or, if `isStrict`, when anything is unusable.
Gallery LoadGallery(const std::string& path, bool isStrict);

/// The templates of a file that holds them back to back. Throws unless the size is right.
std::vector<TemplateBytes> SplitTemplates(const std::string& path, const Bytes& bytes);

}  // namespace qorfp::cli
