// SPDX-License-Identifier: Apache-2.0
//
// The limits below are such that of 240 synthetic fingers of ordinary quality three are
// called poor; docs/getting-started.md says what the estimate of the resolution is worth.
#include "tools/qorfp/Diagnosis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/qorfp/Engine.h"
#include "tools/qorfp/FitWindow.h"
#include "tools/qorfp/MinutiaBox.h"
#include "tools/qorfp/Resample.h"
#include "tools/qorfp/StageRun.h"

namespace qorfp::cli {
namespace {

constexpr uint8_t kBackgroundBit = 0x80;
constexpr double kPeriodSteps = 4;  // of the period map to a pixel
constexpr double kPeriodOrigin = 4;
constexpr double kPeriodStepsOfMinutia = 8;
constexpr double kSquareMillimetresOfBlock = 4 * 4 / 400.0;  // 20 pixels a millimetre at 508 dpi
constexpr int kSensorDpi = 363;  // of the small sensor, which the engine enlarges

/// The ridge period that fingers of adults have on average, in pixels at 508 dpi (0.46 mm).
constexpr double kUsualRidgePeriod = 9.2;

// Of an estimate, each from an image at the scale that the last one suggests.
constexpr int kMaxRounds = 5;
constexpr double kSettled = 0.02;  // relative change

constexpr int kFewMinutiae = 12;
constexpr double kLittleFinger = 60;  // square millimetres
constexpr int kLowQuality = 60;
constexpr int kLeastTrustedQuality = 50;    // of a ridge period; noise has up to 41
constexpr double kLowestResolution = 0.67;  // estimated, to nominal: beyond what fingers differ by
constexpr double kHighestResolution = 1.26;
constexpr double kDifferentResolutions = 1.3;
constexpr double kSmallOverlap = 0.5;
constexpr int kTrustedScore = 60;  // strangers, aligned anyhow, seldom score that

struct Maps {
    GreyImage directions;
    GreyImage periods;
    int quality = 0;
    int minutiae = 0;
};

Maps MapsOf(const GreyImage& finger) {
    Maps maps;
    for (Stage& stage : RunStages(finger)) {
        if (stage.view == StageView::kPeriod) {
            maps.directions = std::move(stage.directions);
            maps.periods = std::move(stage.periods);
        }
        maps.quality = std::max(maps.quality, stage.quality);
        maps.minutiae = static_cast<int>(stage.marks.size());  // the last stage's count
    }
    return maps;
}

size_t ForegroundBlocks(const GreyImage& directions) {
    return static_cast<size_t>(
        std::count_if(directions.pixels.begin(), directions.pixels.end(),
                      [](uint8_t block) { return (block & kBackgroundBit) == 0; }));
}

double Foreground(const GreyImage& directions) {
    return static_cast<double>(ForegroundBlocks(directions)) /
           static_cast<double>(std::max<size_t>(1, directions.pixels.size()));
}

std::optional<double> MeanPeriod(const GreyImage& periods) {
    double sum = 0;
    int count = 0;
    for (const uint8_t period : periods.pixels) {
        sum += period;
        count += period > 0 ? 1 : 0;
    }
    if (count == 0) {
        return std::nullopt;
    }
    return kPeriodOrigin + sum / count / kPeriodSteps;
}

GreyImage Scaled(const GreyImage& finger, double factor) {
    const auto side = [factor](int32_t pixels) {
        const auto scaled = static_cast<int32_t>(std::lround(pixels * factor));
        return std::max(kSizeStep, scaled / kSizeStep * kSizeStep);
    };
    GreyImage scaled = Resample(finger, side(finger.width), side(finger.height));
    if (IsEngineSize(scaled.width, scaled.height) && !IsSensorSize(scaled.width, scaled.height)) {
        return scaled;
    }
    return Crop(scaled, FindFingerWindow(scaled));
}

struct Estimate {
    double period = 0;      // in pixels of the image; 0: no ridges
    double foreground = 0;  // of the image at the scale where it is the usual one
};

// The map tells periods of 5 to 13 pixels, and best the usual one: so the image is brought to the scale
// where the period found so far would be usual, until that changes nothing.
Estimate EstimatePeriod(const GreyImage& finger, double factor) {
    Estimate estimate;
    for (int round = 0; round < kMaxRounds; ++round) {
        const Maps maps = MapsOf(Scaled(finger, factor));
        const std::optional<double> period = MeanPeriod(maps.periods);
        if (!period) {
            return {};
        }
        const double better = *period / factor;
        const bool isSettled = std::fabs(better - estimate.period) < kSettled * better;
        estimate = {better, Foreground(maps.directions)};
        if (isSettled) {
            break;
        }
        factor = kUsualRidgePeriod / better;
    }
    return estimate;
}

// Ridges that lie far apart fall into two at full size, each taken for one; at half the size they do
// not. Ridges that lie close vanish at half the size, and with them the foreground.
std::optional<double> RidgePeriod(const GreyImage& finger) {
    constexpr double kHalf = 0.5;
    constexpr double kVanished = 0.5;  // of the foreground
    const Estimate whole = EstimatePeriod(finger, 1);
    if (whole.period == 0) {
        return std::nullopt;
    }
    const Estimate half = EstimatePeriod(finger, kHalf);
    return half.foreground < kVanished * whole.foreground ? whole.period : half.period;
}

void SetPeriod(FingerFigures& figures, std::optional<double> period) {
    figures.ridgePeriod = period;
    if (period) {
        figures.estimatedDpi =
            static_cast<int>(std::lround(figures.nominalDpi * *period / kUsualRidgePeriod));
    }
}

std::string Text(double number, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", digits, number);
    return text;
}

int CountIn(const Box& box, const std::vector<MinutiaView>& minutiae) {
    return static_cast<int>(
        std::count_if(minutiae.begin(), minutiae.end(), [&](const MinutiaView& minutia) {
            return minutia.x >= box.left && minutia.x <= box.right && minutia.y >= box.top &&
                   minutia.y <= box.bottom;
        }));
}

}  // namespace

FingerFigures MeasureFinger(const GreyImage& finger, int dpi) {
    const Maps maps = MapsOf(finger);
    FingerFigures figures;
    figures.minutiae = maps.minutiae;
    figures.quality = maps.quality;
    figures.nominalDpi = IsSensorSize(finger.width, finger.height) ? kSensorDpi : dpi;
    figures.squareMillimetres =
        static_cast<double>(ForegroundBlocks(maps.directions)) * kSquareMillimetresOfBlock;
    if (figures.quality >= kLeastTrustedQuality) {
        SetPeriod(figures, RidgePeriod(AsTheEngineSeesIt(finger)));
    }
    return figures;
}

FingerFigures MeasureTemplate(const TemplateView& view) {
    FingerFigures figures;
    figures.minutiae = view.count;
    figures.quality = view.quality;
    const bool isCoherent = view.quality == 0 || view.quality >= kLeastTrustedQuality;
    if (isCoherent && !view.minutiae.empty()) {
        double sum = 0;
        for (const MinutiaView& minutia : view.minutiae) {
            sum += minutia.ridgePeriod;
        }
        SetPeriod(figures, kPeriodOrigin + sum / kPeriodStepsOfMinutia /
                                               static_cast<double>(view.minutiae.size()));
    }
    return figures;
}

Reasons ReasonsOf(const FingerFigures& figures) {
    Reasons reasons;
    if (figures.squareMillimetres && *figures.squareMillimetres == 0) {
        return {"no ridges found"};
    }
    bool isOtherScale = false;
    if (figures.ridgePeriod) {
        const double ratio = *figures.ridgePeriod / kUsualRidgePeriod;
        isOtherScale = ratio < kLowestResolution || ratio > kHighestResolution;
        if (isOtherScale) {
            reasons.push_back("ridges " + Text(*figures.ridgePeriod, 1) +
                              " pixels apart instead of about 9: not " +
                              std::to_string(figures.nominalDpi) + " dpi but about " +
                              std::to_string(*figures.estimatedDpi) + "?");
        }
    }
    if (figures.minutiae < kFewMinutiae && figures.minutiae >= kMinMinutiae) {
        reasons.push_back("few minutiae: " + std::to_string(figures.minutiae));
    }
    // At another scale the millimetres are none.
    if (!isOtherScale && figures.squareMillimetres && *figures.squareMillimetres < kLittleFinger) {
        reasons.push_back("little of the finger: " + Text(*figures.squareMillimetres, 0) +
                          " square millimetres");
    }
    if (figures.quality > 0 && figures.quality < kLowQuality) {
        reasons.push_back("low coherence of the ridges: quality " +
                          std::to_string(figures.quality));
    }
    return reasons;
}

Overlap OverlapOf(const TemplateView& first, const MatchedPairs& match) {
    if (first.minutiae.empty() || match.aligned.empty()) {
        return {};
    }
    const Box a = BoxAround(first.minutiae);
    const Box b = BoxAround(match.aligned);
    const Box common = {std::max(a.left, b.left), std::max(a.top, b.top),
                        std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
    return {common.Area() / std::min(a.Area(), b.Area()),
            std::min(CountIn(common, first.minutiae), CountIn(common, match.aligned))};
}

Reasons ReasonsOfPair(const FingerFigures& first, const FingerFigures& second,
                      const MatchedPairs& match, const Overlap& overlap) {
    Reasons reasons;
    for (const std::string& reason : ReasonsOf(first)) {
        reasons.push_back("A: " + reason);
    }
    for (const std::string& reason : ReasonsOf(second)) {
        reasons.push_back("B: " + reason);
    }
    if (first.ridgePeriod && second.ridgePeriod) {
        const double ratio = *first.ridgePeriod / *second.ridgePeriod;
        if (ratio > kDifferentResolutions || ratio < 1 / kDifferentResolutions) {
            reasons.push_back("ridges " + Text(*first.ridgePeriod, 1) + " and " +
                              Text(*second.ridgePeriod, 1) +
                              " pixels apart: different resolutions?");
        }
    }
    if (match.score >= kTrustedScore && overlap.part < kSmallOverlap) {
        reasons.push_back("small overlap: " + Text(100 * overlap.part, 0) + " % as aligned");
    }
    return reasons;
}

std::string Joined(const Reasons& reasons) {
    std::string text;
    for (const std::string& reason : reasons) {
        text += (text.empty() ? "" : "; ") + reason;
    }
    return text;
}

std::string NoTemplateText(const FingerFigures& figures) {
    const std::string reasons = Joined(ReasonsOf(figures));
    return kNoTemplateReason + (reasons.empty() ? "" : " (" + reasons + ")");
}

}  // namespace qorfp::cli
