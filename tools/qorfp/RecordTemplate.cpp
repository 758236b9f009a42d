// SPDX-License-Identifier: Apache-2.0
//
// The conversions between templates and views of records.
#include "tools/qorfp/RecordTemplate.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "tools/qorfp/FitWindow.h"
#include "tools/qorfp/MinutiaBox.h"
#include "tools/qorfp/Notice.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr int kDirections = 240;
constexpr int kPerCentimetre = 200;  // 508 dpi

// Confidence 0..15 as a quality of 1..100, which leaves out 0, "not told".
constexpr int kMaxConfidence = 15;
constexpr int kUntoldConfidence = 8;  // of a single capture

// Both bytes of an area's type are non-zero where it is the maker's own.
constexpr int kOwnAreaType = 0x5146;
constexpr char kOwnAreaName[] = {'Q', 'O', 'R', 'F', 'P', 1};
constexpr size_t kShiftAt = sizeof kOwnAreaName;
constexpr size_t kOwnMinutiaeAt = kShiftAt + 4;
constexpr size_t kOwnMinutiaBytes = 3;

// What most minutiae have, near enough, for records that do not tell: the medians of synthetic fingers
// are 42 and 7. Equal values on both sides cost no score.
constexpr int kUsualPeriod = 42;
constexpr int kUsualDisorder = 7;

int DivideRounded(int dividend, int divisor) {
    return (2 * dividend + divisor) / (2 * divisor);
}

int QualityOfConfidence(int confidence) {
    return 1 + DivideRounded(confidence * (kMaxRecordQuality - 1), kMaxConfidence);
}

// 0 also where the record says why it does not tell.
int ToldQuality(int quality) {
    return quality > kMaxRecordQuality ? 0 : quality;
}

int ConfidenceOfQuality(int quality) {
    return quality == 0 ? kUntoldConfidence
                        : DivideRounded((quality - 1) * kMaxConfidence, kMaxRecordQuality - 1);
}

std::string MinutiaeText(size_t count) {
    return std::to_string(count) + (count == 1 ? " minutia" : " minutiae");
}

void AppendWord(Bytes& bytes, int word) {
    bytes.push_back(static_cast<uint8_t>(word >> 8 & 0xFF));
    bytes.push_back(static_cast<uint8_t>(word & 0xFF));
}

int WordAt(const Bytes& bytes, size_t at) {
    return bytes[at] << 8 | bytes[at + 1];
}

int SignedWordAt(const Bytes& bytes, size_t at) {
    return static_cast<int16_t>(WordAt(bytes, at));
}

RecordArea OwnArea(const TemplateView& view, int shiftX, int shiftY) {
    RecordArea area;
    area.type = kOwnAreaType;
    area.content.assign(std::begin(kOwnAreaName), std::end(kOwnAreaName));
    AppendWord(area.content, shiftX);
    AppendWord(area.content, shiftY);
    for (const MinutiaView& minutia : view.minutiae) {
        AppendWord(area.content,
                   minutia.ridgePeriod << 10 | minutia.disorder << 4 | minutia.confidence);
        area.content.push_back(static_cast<uint8_t>(minutia.direction));
    }
    return area;
}

bool IsOwnArea(const RecordArea& area) {
    return area.type == kOwnAreaType && area.content.size() >= kOwnMinutiaeAt &&
           std::memcmp(area.content.data(), kOwnAreaName, sizeof kOwnAreaName) == 0;
}

// Someone may have edited the minutiae and kept the area: it counts only where both agree.
std::optional<MinutiaView> RestoreMinutia(const RecordMinutia& minutia, RecordFormat format,
                                          const Bytes& area, size_t index) {
    const size_t at = kOwnMinutiaeAt + kOwnMinutiaBytes * index;
    const int word = WordAt(area, at);
    MinutiaView restored;
    restored.x = minutia.x - SignedWordAt(area, kShiftAt);
    restored.y = minutia.y - SignedWordAt(area, kShiftAt + 2);
    restored.type = static_cast<uint8_t>(minutia.type);
    restored.direction = area[at + 2];
    restored.confidence = word & kMaxConfidence;
    restored.disorder = word >> 4 & 63;
    restored.ridgePeriod = word >> 10;
    const bool isFit = minutia.type != kRecordOther && IsStorable(restored) &&
                       restored.direction < kDirections &&
                       AngleOfDirection(restored.direction, format) == minutia.angle &&
                       QualityOfConfidence(restored.confidence) == minutia.quality;
    return isFit ? std::optional<MinutiaView>(restored) : std::nullopt;
}

std::vector<MinutiaView> RestoreMinutiae(const MinutiaeRecord& record, const RecordView& view,
                                         const Bytes& area) {
    std::vector<MinutiaView> minutiae;
    const bool isFit = view.minutiae.size() <= kMaxMinutiae &&
                       area.size() == kOwnMinutiaeAt + kOwnMinutiaBytes * view.minutiae.size() &&
                       record.xPerCentimetre == kPerCentimetre &&
                       record.yPerCentimetre == kPerCentimetre;
    for (size_t i = 0; isFit && i < view.minutiae.size(); ++i) {
        const auto minutia = RestoreMinutia(view.minutiae[i], record.format, area, i);
        if (!minutia) {
            return {};
        }
        minutiae.push_back(*minutia);
    }
    return minutiae;
}

// At most 60, those of the best quality, in the order of the record.
std::vector<RecordMinutia> ChooseMinutiae(const RecordView& view, Losses& losses) {
    std::vector<RecordMinutia> chosen = view.minutiae;
    if (chosen.size() <= kMaxMinutiae) {
        return chosen;
    }
    std::vector<size_t> ranks(chosen.size());
    for (size_t i = 0; i < ranks.size(); ++i) {
        ranks[i] = i;
    }
    std::stable_sort(ranks.begin(), ranks.end(), [&](size_t a, size_t b) {
        return ToldQuality(view.minutiae[a].quality) > ToldQuality(view.minutiae[b].quality);
    });
    ranks.resize(kMaxMinutiae);
    std::sort(ranks.begin(), ranks.end());
    losses.push_back(MinutiaeText(chosen.size() - kMaxMinutiae) +
                     " of the lowest quality left out: a template holds 60");
    chosen.clear();
    for (const size_t rank : ranks) {
        chosen.push_back(view.minutiae[rank]);
    }
    return chosen;
}

// The matcher finds shifts of up to 255 pixels, so minutiae of a larger image go to the middle of the
// largest that the engine takes.
void MoveIntoFrame(const std::string& path, std::vector<MinutiaView>& minutiae, Losses& losses) {
    const Box box = BoxAround(minutiae);
    if (box.right < kMaxEngineWidth && box.bottom < kMaxEngineHeight) {
        return;
    }
    const int moveX = (kMaxEngineWidth - 1 - box.left - box.right) / 2;
    const int moveY = (kMaxEngineHeight - 1 - box.top - box.bottom) / 2;
    for (MinutiaView& minutia : minutiae) {
        minutia.x += moveX;
        minutia.y += moveY;
        if (!IsStorable(minutia)) {
            throw ToolError(path, "the minutiae lie too far apart for a template: " +
                                      std::to_string(box.right - box.left) + " x " +
                                      std::to_string(box.bottom - box.top) + " pixels at 508 dpi");
        }
    }
    losses.push_back("the minutiae reach beyond 256 x 360 pixels and were moved by " +
                     std::to_string(moveX) + ", " + std::to_string(moveY));
}

bool IsBetweenDirections(int angle, RecordFormat format) {
    return angle * kDirections % AngleSteps(format) != 0;
}

// 0 is not told, so that there is nothing to lose.
bool IsBetweenConfidences(int quality) {
    return quality > 0 && QualityOfConfidence(ConfidenceOfQuality(quality)) != quality;
}

// What the header and the head of the view tell beyond the finger position.
void TellOfHeads(const MinutiaeRecord& record, const RecordView& view, Losses& losses) {
    std::string told;
    const auto tell = [&told](const char* what, uint32_t number) {
        if (number != 0) {
            told += (told.empty() ? "" : ", ") + std::string(what) + " " + std::to_string(number);
        }
    };
    constexpr unsigned kTypeBits = 16;
    tell("product owner", record.product >> kTypeBits);
    tell("product type", record.product & 0xFFFFU);
    tell("capture equipment", static_cast<uint32_t>(record.equipment));
    tell("view number", static_cast<uint32_t>(view.number));
    tell("impression type", static_cast<uint32_t>(view.impression));
    if (!told.empty()) {
        losses.push_back("left out: " + told);
    }
}

std::vector<MinutiaView> ConvertMinutiae(const std::string& path, const MinutiaeRecord& record,
                                         const RecordView& view, Losses& losses) {
    std::vector<MinutiaView> minutiae;
    size_t others = 0;
    size_t roundedAngles = 0;
    size_t roundedQualities = 0;
    size_t untoldQualities = 0;
    for (const RecordMinutia& from : ChooseMinutiae(view, losses)) {
        MinutiaView minutia;
        minutia.x = DivideRounded(from.x * kPerCentimetre, record.xPerCentimetre);
        minutia.y = DivideRounded(from.y * kPerCentimetre, record.yPerCentimetre);
        minutia.type = from.type == kRecordBifurcation ? kBifurcation : kEnding;
        others += from.type == kRecordOther ? 1U : 0U;
        roundedAngles += IsBetweenDirections(from.angle, record.format) ? 1U : 0U;
        const int quality = ToldQuality(from.quality);
        roundedQualities += IsBetweenConfidences(quality) ? 1U : 0U;
        untoldQualities += quality != from.quality ? 1U : 0U;
        minutia.direction = DirectionOfAngle(from.angle, record.format);
        minutia.confidence = ConfidenceOfQuality(quality);
        minutia.ridgePeriod = kUsualPeriod;
        minutia.disorder = kUsualDisorder;
        minutiae.push_back(minutia);
    }
    if (others > 0) {
        losses.push_back(MinutiaeText(others) + " of the type \"other\" taken for endings");
    }
    if (record.xPerCentimetre != kPerCentimetre || record.yPerCentimetre != kPerCentimetre) {
        losses.push_back("coordinates scaled from " + std::to_string(record.xPerCentimetre) +
                         " x " + std::to_string(record.yPerCentimetre) +
                         " pixels a centimetre to 200");
    }
    if (roundedAngles > 0) {
        losses.push_back(CountText(roundedAngles, "angle") + " rounded to steps of 1.5 degrees");
    }
    if (roundedQualities > 0) {
        losses.push_back("the quality of " + MinutiaeText(roundedQualities) +
                         " rounded to one of 16 confidences");
    }
    if (untoldQualities > 0) {
        losses.push_back("the quality of " + MinutiaeText(untoldQualities) +
                         ", 254 or 255, taken as not told");
    }
    MoveIntoFrame(path, minutiae, losses);
    losses.push_back(
        "the record does not tell how the ridges run around the minutiae; usual values stand in "
        "the template, and its scores are not those of templates made from images");
    return minutiae;
}

}  // namespace

int AngleOfDirection(int direction, RecordFormat format) {
    const int steps = AngleSteps(format);
    return DivideRounded((kDirections - direction) % kDirections * steps, kDirections) % steps;
}

int DirectionOfAngle(int angle, RecordFormat format) {
    const int turn = DivideRounded(angle * kDirections, AngleSteps(format)) % kDirections;
    return (kDirections - turn) % kDirections;
}

MinutiaeRecord RecordOfTemplate(const TemplateView& view, RecordFormat format, int finger,
                                bool isPlain, Losses& losses) {
    const Box box = BoxAround(view.minutiae);
    const int shiftX = std::max(0, -box.left);
    const int shiftY = std::max(0, -box.top);
    MinutiaeRecord record;
    record.format = format;
    record.width = std::max(kMaxEngineWidth, box.right + shiftX + 1);
    record.height = std::max(kMaxEngineHeight, box.bottom + shiftY + 1);
    record.xPerCentimetre = kPerCentimetre;
    record.yPerCentimetre = kPerCentimetre;
    RecordView recordView;
    recordView.finger = finger;
    recordView.quality = std::min(view.quality, kMaxRecordQuality);
    size_t rounded = 0;
    for (const MinutiaView& minutia : view.minutiae) {
        RecordMinutia converted;
        converted.type = minutia.type;
        converted.x = minutia.x + shiftX;
        converted.y = minutia.y + shiftY;
        converted.angle = AngleOfDirection(minutia.direction, format);
        converted.quality = QualityOfConfidence(minutia.confidence);
        rounded += minutia.direction * AngleSteps(format) % kDirections != 0 ? 1U : 0U;
        recordView.minutiae.push_back(converted);
    }
    if (shiftX != 0 || shiftY != 0) {
        losses.push_back("the minutiae were moved by " + std::to_string(shiftX) + ", " +
                         std::to_string(shiftY) + ": a record has no negative coordinates");
    }
    if (view.quality == 0) {
        losses.push_back("the template tells no quality; the record's is 0");
    }
    if (!isPlain) {
        recordView.areas.push_back(OwnArea(view, shiftX, shiftY));
    } else {
        losses.push_back(
            "without extended data the ridge period and disorder around the minutiae "
            "are lost");
        if (rounded > 0 && format == RecordFormat::kAnsi378) {
            losses.push_back(CountText(rounded, "direction") + " rounded to steps of 2 degrees");
        }
    }
    record.views.push_back(recordView);
    return record;
}

TemplateView TemplateOfRecord(const std::string& path, const MinutiaeRecord& record,
                              const RecordView& view, Losses& losses) {
    TemplateView result;
    result.quality = ToldQuality(view.quality);
    if (result.quality != view.quality) {
        losses.push_back("the finger quality " + std::to_string(view.quality) +
                         " taken as not told");
    }
    size_t strangeBytes = 0;
    for (const RecordArea& area : view.areas) {
        if (!IsOwnArea(area)) {
            strangeBytes += area.content.size();
        } else if (result.minutiae.empty()) {
            result.minutiae = RestoreMinutiae(record, view, area.content);
            if (result.minutiae.empty()) {
                losses.push_back(
                    "the extended data of this tool do not fit the minutiae and were not used");
            }
        }
    }
    if (view.finger != 0) {
        losses.push_back("the finger position " + std::to_string(view.finger) +
                         " has no place in a template");
    }
    TellOfHeads(record, view, losses);
    if (strangeBytes > 0) {
        losses.push_back(CountText(strangeBytes, "byte") + " of extended data left out");
    }
    if (result.minutiae.empty()) {
        result.minutiae = ConvertMinutiae(path, record, view, losses);
    }
    result.count = static_cast<int>(result.minutiae.size());
    return result;
}

}  // namespace qorfp::cli
