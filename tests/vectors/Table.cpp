// SPDX-License-Identifier: Apache-2.0

#include "tests/vectors/Table.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "engine/Work.h"
#include "tests/support/Crc32.h"

namespace vectors {

namespace {

constexpr int kPrintedDifferences = 5;

std::vector<std::string> SplitAtTabs(const std::string& line) {
    std::vector<std::string> fields(1);
    for (const char c : line) {
        if (c == '\t') {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

std::string ToHex(const Bytes& bytes) {
    std::string text;
    char pair[3];
    for (const uint8_t byte : bytes) {
        std::snprintf(pair, sizeof(pair), "%02x", byte);
        text += pair;
    }
    return text;
}

}  // namespace

const std::string& Row::Text(const std::string& column) const {
    const auto found = std::find(names_->begin(), names_->end(), column);
    if (found == names_->end()) {
        throw std::runtime_error("no column " + column);
    }
    return values_.at(static_cast<size_t>(found - names_->begin()));
}

int32_t Row::Number(const std::string& column) const {
    return std::stoi(Text(column));
}

Bytes Row::Hex(const std::string& column) const {
    const std::string& text = Text(column);
    Bytes bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::vector<Row> ReadTable(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    int number = 0;
    do {  // lines of comment stand before the column names
        if (!std::getline(file, line)) {
            throw std::runtime_error(path + ": cannot be read");
        }
        ++number;
    } while (!line.empty() && line[0] == '#');
    const auto names = std::make_shared<const std::vector<std::string>>(SplitAtTabs(line));
    std::vector<Row> rows;
    while (std::getline(file, line)) {
        ++number;
        std::vector<std::string> values = SplitAtTabs(line);
        if (values.size() != names->size()) {
            throw std::runtime_error(path + ": wrong number of columns in line " +
                                     std::to_string(number));
        }
        rows.emplace_back(names, std::move(values), number);
    }
    return rows;
}

Templates ReadTemplates(const Folders& folders) {
    Templates templates;
    for (const Row& row : ReadTable(folders.TablePath("templates.tsv"))) {
        templates[row.Text("image")] = row.Hex("template");
    }
    return templates;
}

void Comparison::Begin(const Row& row) {
    line_ = row.Line();
    ++rows_;
}

void Comparison::Expect(const std::string& column, const std::string& expected,
                        const std::string& actual) {
    if (expected == actual) {
        return;
    }
    if (lastDifferingLine_ != line_) {
        lastDifferingLine_ = line_;
        ++differingRows_;
    }
    if (differingRows_ <= kPrintedDifferences) {
        std::cout << name_ << " line " << line_ << " " << column << ": expected " << expected
                  << ", got " << actual << "\n";
    }
}

void Comparison::Expect(const std::string& column, int32_t expected, int32_t actual) {
    Expect(column, std::to_string(expected), std::to_string(actual));
}

void Comparison::Expect(const std::string& column, const Bytes& expected, const Bytes& actual) {
    Expect(column, ToHex(expected), ToHex(actual));
}

bool Comparison::Finish() const {
    std::cout << name_ << ": " << rows_ - differingRows_ << " of " << rows_ << " rows agree\n";
    return rows_ > 0 && differingRows_ == 0;
}

std::string Crc(const uint8_t* bytes, size_t count) {
    char text[9];
    std::snprintf(text, sizeof(text), "%08" PRIx32, support::Crc32(bytes, count));
    return text;
}

Work::Work() : words_(qorfp::kWorkBytes / sizeof(uint64_t), 0xA5A5A5A5A5A5A5A5u) {}

Bytes Window(const support::PgmImage& image, int32_t left, int32_t top, int32_t width,
             int32_t height) {
    Bytes window;
    for (int32_t y = top; y < top + height; ++y) {
        const auto row = image.pixels.begin() + y * image.width + left;
        window.insert(window.end(), row, row + width);
    }
    return window;
}

}  // namespace vectors
