// SPDX-License-Identifier: Apache-2.0
//
// Tab-separated tables of expected results, and the outcome of a comparison with them.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Pgm.h"

namespace vectors {

using Bytes = std::vector<uint8_t>;

/// A row by its column names.
class Row {
  public:
    using Names = std::shared_ptr<const std::vector<std::string>>;

    Row(Names names, std::vector<std::string> values, int line)
        : names_(std::move(names)), values_(std::move(values)), line_(line) {}

    /// Throws std::runtime_error where there is no such column.
    const std::string& Text(const std::string& column) const;
    int32_t Number(const std::string& column) const;
    Bytes Hex(const std::string& column) const;
    int Line() const { return line_; }

  private:
    Names names_;
    std::vector<std::string> values_;
    int line_;
};

/// The rows of a table; lines that start with # before the column names are comment. Throws
/// std::runtime_error when the file is missing or a row has the wrong number of columns.
std::vector<Row> ReadTable(const std::string& path);

/// Where tables and images lie.
struct Folders {
    std::string vectors;
    std::string images;

    std::string TablePath(const std::string& file) const { return vectors + "/" + file; }
    support::PgmImage Image(const std::string& name) const {
        return support::ReadPgm(images + "/" + name);
    }
};

/// The templates of templates.tsv by image.
using Templates = std::map<std::string, Bytes>;
Templates ReadTemplates(const Folders& folders);

/// Counts the comparisons of a table and prints the first differences.
class Comparison {
  public:
    explicit Comparison(std::string name) : name_(std::move(name)) {}

    /// Starts a row; it agrees unless a difference is reported.
    void Begin(const Row& row);
    void Expect(const std::string& column, const std::string& expected, const std::string& actual);
    void Expect(const std::string& column, int32_t expected, int32_t actual);
    void Expect(const std::string& column, const Bytes& expected, const Bytes& actual);

    /// Prints the summary; true when every row agrees and there was at least one.
    bool Finish() const;

  private:
    std::string name_;
    int line_ = 0;
    int rows_ = 0;
    int differingRows_ = 0;
    int lastDifferingLine_ = 0;
};

/// CRC-32 (IEEE) in lower-case hex, as the tables have it.
std::string Crc(const uint8_t* bytes, size_t count);

/// An engine work buffer, filled with a pattern that no result may depend on.
class Work {
  public:
    Work();
    uint8_t* Bytes() { return reinterpret_cast<uint8_t*>(words_.data()); }

  private:
    std::vector<uint64_t> words_;
};

/// A window of an image, without gaps between its rows.
Bytes Window(const support::PgmImage& image, int32_t left, int32_t top, int32_t width,
             int32_t height);

/// Comparisons of one table each; true when every row agrees.
bool CompareStages(const Folders& folders);
bool CompareCandidates(const Folders& folders);
bool CompareTemplates(const Folders& folders);
bool CompareScaled(const Folders& folders);
bool CompareScores(const Folders& folders);
bool CompareFinger(const Folders& folders);
bool CompareEnrolments(const Folders& folders);
bool CompareImprovements(const Folders& folders);
bool CompareSearches(const Folders& folders);
bool CompareHostile(const Folders& folders);

}  // namespace vectors
