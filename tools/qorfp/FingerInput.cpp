// SPDX-License-Identifier: Apache-2.0
//
// From a path to a legal finger image or a template, with the refusals in the user's terms.
#include "tools/qorfp/FingerInput.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "tools/qorfp/Diagnosis.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/FitWindow.h"
#include "tools/qorfp/ImageFile.h"
#include "tools/qorfp/Resample.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr int kMinDpi = 50;
constexpr int kMaxDpi = 5080;

std::string SizeText(const GreyImage& image) {
    return std::to_string(image.width) + " x " + std::to_string(image.height) + " pixels";
}

[[noreturn]] void RefuseSize(const std::string& path, const GreyImage& image, bool isResampled) {
    throw ToolError(path, SizeText(image) + (isResampled ? " at 508 dpi" : "") +
                              ": the engine takes at most 256 x 360, both sides multiples of 4; "
                              "--fit cuts the image to size around the finger");
}

GreyImage FitFinger(const std::string& path, GreyImage image, const ImageOptions& options) {
    const bool isResampled = options.dpi != kEngineDpi;
    const bool isSensorByChance = isResampled && IsSensorSize(image.width, image.height);
    if (IsEngineSize(image.width, image.height) && !isSensorByChance) {
        return image;
    }
    if (!options.fit && isSensorByChance) {
        throw ToolError(path, SizeText(image) +
                                  " at 508 dpi: the engine would take this size for a raw sensor "
                                  "image and enlarge it again; --fit avoids that size");
    }
    if (!options.fit) {
        RefuseSize(path, image, isResampled);
    }
    if (image.width < kSizeStep || image.height < kSizeStep) {
        throw ToolError(path, SizeText(image) + ": too small to hold a finger");
    }
    return Crop(image, FindFingerWindow(image));
}

GreyImage PrepareFinger(const std::string& path, const Bytes& bytes, const ImageOptions& options) {
    GreyImage image = DecodeImage(path, bytes);
    if (options.dpi != kEngineDpi) {
        image = ResampleToEngineDpi(image, options.dpi);
    }
    return FitFinger(path, std::move(image), options);
}

}  // namespace

void AddImageOptions(CLI::App& command, ImageOptions& options) {
    command.add_flag("--fit", options.fit,
                     "Cut an image that is too large, or not a multiple of 4, to size around the "
                     "finger");
    command
        .add_option("--dpi", options.dpi,
                    "Resolution of the image; it is resampled to 508 first (usually with --fit)")
        ->check(CLI::Range(kMinDpi, kMaxDpi))
        ->capture_default_str();
}

GreyImage LoadFinger(const std::string& path, const ImageOptions& options) {
    const Bytes bytes = ReadFile(path);
    if (LooksLikeTemplate(bytes)) {
        throw ToolError(path, "is a template; an image is needed here");
    }
    return PrepareFinger(path, bytes, options);
}

TemplateBytes LoadTemplate(const std::string& path) {
    return CheckTemplate(path, ReadFile(path));
}

FingerOrTemplate LoadAnyFingerOrTemplate(const std::string& path, const ImageOptions& options) {
    const Bytes bytes = ReadFile(path);
    if (LooksLikeTemplate(bytes)) {
        return {std::nullopt, true, CheckTemplate(path, bytes)};
    }
    const GreyImage finger = PrepareFinger(path, bytes, options);
    const Extraction extraction = Extract(finger);
    return {finger, extraction.isDone, extraction.bytes};
}

void RequireTemplate(const std::string& path, const FingerOrTemplate& input,
                     const ImageOptions& options) {
    if (!input.hasTemplate) {
        throw ToolError(path, NoTemplateText(MeasureFinger(*input.finger, options.dpi)));
    }
}

FingerOrTemplate LoadFingerOrTemplate(const std::string& path, const ImageOptions& options) {
    FingerOrTemplate input = LoadAnyFingerOrTemplate(path, options);
    RequireTemplate(path, input, options);
    return input;
}

TemplateBytes LoadOrExtractTemplate(const std::string& path, const ImageOptions& options) {
    return LoadFingerOrTemplate(path, options).bytes;
}

}  // namespace qorfp::cli
