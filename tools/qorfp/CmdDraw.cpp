// SPDX-License-Identifier: Apache-2.0
//
// qorfp draw: the finger enlarged, with its minutiae and a legend.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "tools/qorfp/Canvas.h"
#include "tools/qorfp/Commands.h"
#include "tools/qorfp/Diagnosis.h"
#include "tools/qorfp/Engine.h"
#include "tools/qorfp/ExitStatus.h"
#include "tools/qorfp/FileIo.h"
#include "tools/qorfp/FingerInput.h"
#include "tools/qorfp/MinutiaMarks.h"
#include "tools/qorfp/PngWriter.h"
#include "tools/qorfp/Resample.h"

namespace qorfp::cli {
namespace {

constexpr int kMaxScale = 8;
constexpr double kFade = 0.25;        // ridges a little lighter, so that the marks stand out
constexpr double kMarkSize = 2.3;     // radius in finger pixels: about half a ridge
constexpr int kMinCanvasWidth = 470;  // room for the legend
constexpr double kTextSize = 15;
constexpr int kLegendHeight = 62;
constexpr double kMargin = 14;

struct DrawOptions {
    std::string image;
    std::string output;
    int scale = 3;
    ImageOptions imageOptions;
};

void DrawLegend(Canvas& canvas, double top, const TemplateView& view, const std::string& caption) {
    canvas.SetColour(Rgb(0xF1F3F5));
    canvas.FillRectangle(0, top, canvas.Width(), kLegendHeight);
    const double firstLine = top + 25;
    double x = kMargin;
    x += DrawMinutiaKey(canvas, x, firstLine, kEnding, view.CountOfType(kEnding), kTextSize) + 26;
    DrawMinutiaKey(canvas, x, firstLine, kBifurcation, view.CountOfType(kBifurcation), kTextSize);
    canvas.SetColour(kInk);
    const std::string quality = "quality " + std::to_string(view.quality);
    canvas.DrawText(quality, canvas.Width() - kMargin - canvas.TextWidth(quality, kTextSize),
                    firstLine, kTextSize);
    const double secondLine = top + 48;
    const std::string tick = "Ticks point into the ridge or fork.";
    const double small = kTextSize * 0.85;
    canvas.SetColour(kFaintInk);
    const double room =
        canvas.Width() - 3 * kMargin - canvas.DrawText(tick, kMargin, secondLine, small);
    const std::string shown = canvas.Shorten(caption, room, small);
    canvas.DrawText(shown, canvas.Width() - kMargin - canvas.TextWidth(shown, small), secondLine,
                    small);
}

Bytes DrawFinger(const GreyImage& finger, const TemplateView& view, int scale,
                 const std::string& caption) {
    const int fingerWidth = finger.width * scale;
    const int fingerHeight = finger.height * scale;
    Canvas canvas(std::max(fingerWidth, kMinCanvasWidth), fingerHeight + kLegendHeight);
    const int left = (canvas.Width() - fingerWidth) / 2;
    canvas.DrawImage(finger, left, 0, scale, true, kFade);
    for (const MinutiaView& minutia : view.minutiae) {
        // A coordinate names a pixel; its middle lies half a pixel further.
        DrawMinutia(canvas,
                    {left + (minutia.x + 0.5) * scale, (minutia.y + 0.5) * scale, minutia.type,
                     minutia.direction},
                    kMarkSize * scale);
    }
    DrawLegend(canvas, fingerHeight, view, caption);
    return canvas.ToPng();
}

int RunDraw(const DrawOptions& options) {
    RefuseToReplace(options.image, options.output);
    RequirePngName(options.output);
    const GreyImage finger = LoadFinger(options.image, options.imageOptions);
    StartEngine();
    const Extraction extraction = Extract(finger);
    if (!extraction.isDone) {
        std::printf("%s: %s\n", options.image.c_str(),
                    NoTemplateText(MeasureFinger(finger, options.imageOptions.dpi)).c_str());
        return kExitNo;
    }
    const TemplateView view = ReadTemplate(extraction.bytes);
    WriteFile(options.output,
              DrawFinger(AsTheEngineSeesIt(finger), view, options.scale, BaseName(options.image)));
    std::printf("%s: %d minutiae (%d endings, %d bifurcations)\n", options.output.c_str(),
                view.count, view.CountOfType(kEnding), view.CountOfType(kBifurcation));
    return kExitYes;
}

}  // namespace

void AddDraw(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<DrawOptions>();
    CLI::App* command = program.add_subcommand("draw", "Draw a finger with its minutiae");
    command->add_option("IMAGE", options->image, "Finger image (PGM, PNG, BMP, TIFF or JPEG 2000)")
        ->required();
    command->add_option("-o,--output", options->output, "PNG file to write")->required();
    command->add_option("--scale", options->scale, "Picture pixels a finger pixel")
        ->check(CLI::Range(1, kMaxScale))
        ->capture_default_str();
    AddImageOptions(*command, options->imageOptions);
    command->footer(
        "Endings are orange circles, bifurcations blue squares; ticks point into the ridge.\n"
        "Exit status: 0 picture written, 1 no template could be made, 2 error.\n"
        "Example: qorfp draw finger.png -o minutiae.png");
    command->callback([options, &exitStatus] { exitStatus = RunDraw(*options); });
}

}  // namespace qorfp::cli
