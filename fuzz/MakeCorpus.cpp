// SPDX-License-Identifier: Apache-2.0
//
// make_fuzz_corpus IMAGES CORPUS: writes the first inputs of the fuzz targets, from the repository's
// synthetic fingers and with the naive models only. Inputs that fuzzing has found lie beside them
// under other names and stay.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/support/ImageMaker.h"
#include "fuzz/support/PngMaker.h"
#include "fuzz/support/TemplateMaker.h"
#include "fuzz/support/TiffMaker.h"
#include "tests/model/ModelExtraction.h"
#include "tests/support/Pgm.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

class Corpus {
  public:
    explicit Corpus(const fs::path& folder) : folder_(folder) {}

    void Add(const std::string& target, const std::string& name, const Bytes& bytes) const {
        fs::create_directories(folder_ / target);
        const fs::path path = folder_ / target / ("seed-" + name);
        std::ofstream file(path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        if (!file.flush()) {
            throw std::runtime_error(path.string() + ": cannot be written");
        }
    }

  private:
    fs::path folder_;
};

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

model::Grid ReadGrid(const fs::path& path) {
    const support::PgmImage file = support::ReadPgm(path);
    model::Grid image(file.width, file.height);
    image.cells = file.pixels;
    return image;
}

// 48 x 48 pixels around the middle.
constexpr int32_t kWindow = 48;

Bytes MiddleOf(const model::Grid& image) {
    Bytes pixels;
    for (int32_t y = 0; y < kWindow; ++y) {
        for (int32_t x = 0; x < kWindow; ++x) {
            pixels.push_back(
                image.At((image.width - kWindow) / 2 + x, (image.height - kWindow) / 2 + y));
        }
    }
    return pixels;
}

// What ReadLegalSize makes kWindow x kWindow of.
const Bytes kWindowSize = {kWindow / 4 - 1, kWindow / 4 - 1};

// Kind and seed of a drawn finger.
const Bytes kDrawnFinger = {8, 1, 0};

void AddImages(const Corpus& corpus, const model::Grid& finger) {
    const Bytes window = kWindowSize + Bytes{fuzz::kPixelsOfInput} + MiddleOf(finger);
    for (const char* const target : {"extract", "check_finger"}) {
        corpus.Add(target, "window", Bytes{0} + window);
        corpus.Add(target, "size", {255, 0, 1, 0, 0, 0, 1, 0, 0});
        corpus.Add(target, "finger", Bytes{0, 27, 30} + kDrawnFinger);
    }
    corpus.Add("check_finger", "sensor", Bytes{0, 254} + kDrawnFinger);
    corpus.Add("extract", "sensor", Bytes{0, 255} + kDrawnFinger);
    corpus.Add("extract", "large", Bytes{0, 254} + kDrawnFinger);
    corpus.Add("extract", "stripes", {0, 31, 27, 5, 60, 20, 10, 240});
    corpus.Add("stages", "all-window", Bytes{97} + window);
    corpus.Add("stages", "all-finger", Bytes{97, 26, 26} + kDrawnFinger);
    corpus.Add("stages", "detection", Bytes{99, 26, 26, 0, 0, 0, 0, 2, 7, 0, 5} + kDrawnFinger);
    for (uint8_t stage = 0; stage < 17; ++stage) {
        const Bytes chosen = {stage, 3, 2, 0};
        const Bytes maps = {2, 9, 0, 5};
        corpus.Add("stages", "stage-" + std::to_string(stage),
                   Bytes{164, 2, 0, 40} + chosen + maps + kDrawnFinger);
    }
}

// A template as it stands, and what the maker makes of it.
Bytes Whole(const fuzz::TemplateBytes& bytes) {
    return Bytes{fuzz::kBytes} + bytes;
}

const Bytes kAnotherCapture = {fuzz::kImpression, 0, 3, 0};
const Bytes kOneByteOther = {fuzz::kEdited, 0, 1, 20, 0, 77};
const Bytes kFirstAgain = {fuzz::kCopy, 0};
const Bytes kSecondAgain = {fuzz::kCopy, 1};
const Bytes kRandomOne = {fuzz::kRandomMinutiae, 0, 30, 1, 0};

void AddTemplates(const Corpus& corpus, const std::vector<fuzz::TemplateBytes>& fingers) {
    const Bytes first = Whole(fingers.at(0));
    const Bytes pair = first + Whole(fingers.at(1));
    const Bytes three = pair + Whole(fingers.at(2));
    corpus.Add("verify", "finger", Bytes{10} + pair + kAnotherCapture);
    corpus.Add("verify", "random", Bytes{12} + kRandomOne + kAnotherCapture + kOneByteOther);
    corpus.Add("enroll", "finger", Bytes{1} + three + Bytes{0});
    corpus.Add("enroll", "two", Bytes{2} + kRandomOne + kAnotherCapture + Bytes{1});
    corpus.Add("enroll", "five", Bytes{8} + first + kAnotherCapture + kAnotherCapture + kRandomOne);
    corpus.Add("enroll", "none", {255, 1, 0, 0, 0});
    corpus.Add("improve", "finger", first + Bytes{2} + Whole(fingers.at(1)) + Whole(fingers.at(2)));
    corpus.Add("improve", "random", kRandomOne + Bytes{3} + kAnotherCapture + kAnotherCapture);
    // The same capture again: it matches, and the template gains too little.
    corpus.Add(
        "improve", "again",
        kRandomOne + Bytes{3} + kAnotherCapture + kSecondAgain + kSecondAgain + kSecondAgain);
    fuzz::TemplateBytes old = fingers.at(0);
    old[2] = '0';
    corpus.Add("check_feature", "finger", first);
    corpus.Add("check_feature", "old", Whole(old));
    corpus.Add("check_feature", "edited", kRandomOne + kOneByteOther);
    corpus.Add("cli_template", "finger", Bytes{0} + first + kOneByteOther);
    corpus.Add("cli_template", "file", Bytes{1} + fingers.at(0) + old);
    corpus.Add("codec", "finger", Bytes{0} + fingers.at(0));
    corpus.Add("index", "finger", Bytes{3} + pair + kAnotherCapture + kOneByteOther);
    const Bytes entries = kRandomOne + kAnotherCapture + kOneByteOther + kFirstAgain;
    corpus.Add("search", "finger", Bytes{10, 5, 0} + first + Whole(fingers.at(1)) + entries);
    corpus.Add("search", "null", Bytes{10, 4, 2} + kRandomOne + entries + Bytes{2});
    corpus.Add("search", "long", Bytes{11, 4, 252} + kRandomOne + entries + Bytes{9});
}

void AddOthers(const Corpus& corpus, const model::Grid& finger) {
    Bytes set = {1, 20, 1};
    for (uint8_t i = 0; i < 20; ++i) {
        set = set + Bytes{i, 3, static_cast<uint8_t>(7 * i), 4, 1, i, 200, 5, 8};
    }
    corpus.Add("codec", "set", set);
    corpus.Add("sort", "bytes", {0, 5, 3, 9, 3, 255, 0, 128, 3});
    corpus.Add("sort", "runs", {2, 0, 200, 7, 1, 2, 90, 200, 3, 4, 60, 7, 0, 6, 250, 1, 5});
    corpus.Add("sort", "medians", {251, 255, 0, 4, 100, 0, 2});
    const Bytes pixels = MiddleOf(finger);
    const std::string header = "P5 48 48 255\n";
    corpus.Add("cli_image", "pgm", Bytes{0} + Bytes(header.begin(), header.end()) + pixels);
    corpus.Add("cli_image", "png", Bytes{0} + fuzz::PngOf(kWindow, kWindow, pixels));
    corpus.Add("cli_image", "tiff", Bytes{0} + fuzz::TiffOf(kWindow, kWindow, pixels));
    corpus.Add("cli_image", "tiff-pieces",
               {255, 1, 16, 3, 1, 1, 3, 0, 3, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8});
    corpus.Add("cli_image", "tiff-tiles",
               Bytes{255, 1, 12, 9, 1, 1, 3, 0, 16, 1, 0, 0} + Bytes(256, 200));
    corpus.Add("cli_image", "pgm-pieces", {1, 2, 0, 4, 0, 3, 1, 255, 1, 9, 8, 7, 6, 5, 4, 3, 2, 1});
    corpus.Add("cli_image", "bmp-pieces", {2, 1, 200, 9, 9, 4, 0, 0, 0, 1, 2, 3});
    corpus.Add("cli_image", "png-pieces", {3, 1, 5, 5, 3, 2, 0, 30, 0, 0, 1, 2, 3});
    corpus.Add("cli_image", "round-trip", {4, 6, 5, 1, 2, 3, 4, 5, 6, 7, 8});
}

// One view of six minutiae, the last with the bits before it as type; and extended data.
const Bytes kRecordView = {2,    0,   72, 6,                                          //
                           0x40, 10,  0,  20,   0,  54,  0x80, 100, 0, 200, 128, 54,  //
                           0x40, 55,  1,  0x2C, 63, 54,  0x80, 128, 0, 64,  0,   21,  //
                           0x40, 255, 1,  0x67, 64, 100, 0x00, 0,   0, 0,   1,   1};

void AddRecords(const Corpus& corpus, const fuzz::TemplateBytes& finger) {
    const Bytes start = {'F', 'M', 'R', 0, ' ', '2', '0', 0};
    const Bytes image = {0, 0, 1, 0, 1, 0x68, 0, 200, 0, 200, 1, 0};
    const Bytes areas = {0, 7, 0, 1, 0, 7, 1, 2, 3};
    corpus.Add("cli_record", "iso",
               Bytes{0} + start + Bytes{0, 0, 0, 73} + image + kRecordView + areas);
    corpus.Add("cli_record", "ansi",
               Bytes{0} + start + Bytes{0, 75, 0, 0, 0, 0} + image + kRecordView + areas);
    corpus.Add("cli_record", "iso-views", Bytes{1} + kRecordView + Bytes{0, 0});
    corpus.Add("cli_record", "ansi-views", Bytes{2} + kRecordView + areas);
    corpus.Add("cli_record", "own-area",
               Bytes{1} + kRecordView + Bytes{0, 32, 0x51, 0x46, 0, 32} +
                   Bytes{'Q', 'O', 'R', 'F', 'P', 1, 0, 0, 0, 0} + Bytes(18, 0x88));
    corpus.Add("cli_record", "finger", Bytes{3} + Whole(finger));
    corpus.Add("cli_record", "random", Bytes{3} + kRandomOne);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: make_fuzz_corpus IMAGES CORPUS\n");
        return 2;
    }
    try {
        const fs::path images = argv[1];
        const Corpus corpus{fs::path(argv[2])};
        std::vector<fuzz::TemplateBytes> fingers;
        for (const char* const name : {"1_1.pgm", "1_2.pgm", "1_3.pgm"}) {
            fingers.push_back(model::ExtractTemplate(ReadGrid(images / name)).bytes);
        }
        const model::Grid finger = ReadGrid(images / "1_1.pgm");
        AddImages(corpus, finger);
        AddTemplates(corpus, fingers);
        AddOthers(corpus, finger);
        AddRecords(corpus, fingers.at(0));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
