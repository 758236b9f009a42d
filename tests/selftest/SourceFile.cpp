// SPDX-License-Identifier: Apache-2.0
#include "tests/selftest/SourceFile.h"

#include <stdexcept>

namespace selftest {

SourceFile::SourceFile(const std::string& path) : path_(path), file_(path) {
    file_ << "// SPDX-License-Identifier: Apache-2.0\n"
             "//\n"
             "// Written by make_selftest_tables (`ninja selftest_tables`), see Pinned.h.\n"
             "#include \"tools/selftest/Pinned.h\"\n"
             "\n"
             "// clang-format off\n";
}

void SourceFile::Begin(const std::string& declaration, int32_t rows) {
    file_ << declaration << " = {\n";
    rowsLeft_ = rows;
}

SourceFile& SourceFile::BeginRow() {
    file_ << "{";
    isRowStarted_ = true;
    return *this;
}

void SourceFile::Separate() {
    if (!isRowStarted_) {
        file_ << ", ";
    }
    isRowStarted_ = false;
}

SourceFile& SourceFile::Number(int64_t value, const std::string& suffix) {
    Separate();
    file_ << value << suffix;
    return *this;
}

SourceFile& SourceFile::Numbers(const std::vector<int32_t>& values) {
    Separate();
    file_ << "{";
    isRowStarted_ = true;
    for (const int32_t value : values) {
        Number(value);
    }
    file_ << "}";
    return *this;
}

SourceFile& SourceFile::Bytes(const std::vector<uint8_t>& values) {
    constexpr size_t kBytesPerLine = 24;
    const bool isNested = !isRowStarted_;  // else the row is nothing but the bytes
    Separate();
    file_ << (isNested ? "{" : "");
    for (size_t k = 0; k < values.size(); ++k) {
        file_ << (k % kBytesPerLine == 0 ? "\n" : "") << static_cast<int32_t>(values[k]) << ",";
    }
    file_ << (isNested ? "}" : "");
    return *this;
}

void SourceFile::EndRow() {
    file_ << "},\n";
    --rowsLeft_;
}

void SourceFile::End() {
    file_ << "};\n";
    if (rowsLeft_ != 0 || !file_.flush()) {
        throw std::runtime_error(path_ + ": cannot be written, or a table of the wrong length");
    }
}

void SourceFile::BeginSingle(const std::string& declaration) {
    Begin(declaration, 0);
    isRowStarted_ = true;
}

void SourceFile::EndSingle() {
    file_ << "\n";
    End();
}

}  // namespace selftest
