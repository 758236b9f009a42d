// SPDX-License-Identifier: Apache-2.0
//
// Reading the folder; the order does not depend on the file system.
#include "tools/qorfp/eval/Captures.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

namespace fs = std::filesystem;

bool IsImageEnding(const std::string& ending) {
    constexpr const char* kEndings[] = {".pgm", ".png", ".bmp", ".tif", ".tiff", ".jp2", ".j2k"};
    return std::find(std::begin(kEndings), std::end(kEndings), ending) != std::end(kEndings);
}

bool ComesBefore(const Capture& a, const Capture& b) {
    if (a.finger != b.finger) {
        return IsBefore(a.finger, b.finger);
    }
    return a.impression != b.impression ? IsBefore(a.impression, b.impression) : a.name < b.name;
}

}  // namespace

CaptureFolder ListCaptures(const std::string& folder, const NamePattern& pattern) {
    CaptureFolder found;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        const std::optional<NameParts> parts = pattern.Match(path.stem().string());
        if (parts && IsImageEnding(EndingOf(path.string()))) {
            found.captures.push_back(
                {path.filename().string(), path.string(), parts->finger, parts->impression});
        } else {
            ++found.otherFiles;
        }
    }
    if (error) {
        throw ToolError(folder, error.message());
    }
    if (found.captures.empty()) {
        throw ToolError(folder,
                        "holds no .pgm, .png, .bmp, .tif, .tiff, .jp2 or .j2k file named \"" +
                            pattern.Text() + "\" (see --pattern)");
    }
    std::sort(found.captures.begin(), found.captures.end(), ComesBefore);
    for (size_t i = 1; i < found.captures.size(); ++i) {
        const Capture& a = found.captures[i - 1];
        const Capture& b = found.captures[i];
        if (a.finger == b.finger && a.impression == b.impression) {
            throw ToolError(folder, a.name + " and " + b.name + " are the same impression");
        }
    }
    return found;
}

std::vector<size_t> NumberFingers(const std::vector<Capture>& captures) {
    std::vector<size_t> numbers;
    for (size_t i = 0; i < captures.size(); ++i) {
        const bool isSame = i > 0 && captures[i].finger == captures[i - 1].finger;
        numbers.push_back(i == 0 ? 0 : numbers.back() + (isSame ? 0 : 1));
    }
    return numbers;
}

}  // namespace qorfp::cli
