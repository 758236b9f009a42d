// SPDX-License-Identifier: Apache-2.0
//
// Numbers are rounded to what they are worth.
#include "tools/qorfp/FiguresJson.h"

#include <cmath>
#include <cstdio>

namespace qorfp::cli {
namespace {

Json Rounded(const std::optional<double>& number) {
    constexpr double kSteps = 10;
    return number ? Json(std::round(*number * kSteps) / kSteps) : Json();
}

}  // namespace

Json FiguresJson(const FingerFigures& figures) {
    Json json;
    json["minutiae"] = figures.minutiae;
    json["quality"] = figures.quality;
    json["squareMillimetres"] = Rounded(figures.squareMillimetres);
    json["ridgePeriod"] = Rounded(figures.ridgePeriod);
    json["nominalDpi"] = figures.nominalDpi;
    json["estimatedDpi"] = figures.estimatedDpi ? Json(*figures.estimatedDpi) : Json();
    return json;
}

void PrintJson(const Json& root) {
    constexpr int kIndent = 2;
    std::printf("%s\n", root.dump(kIndent, ' ', false, Json::error_handler_t::replace).c_str());
}

}  // namespace qorfp::cli
