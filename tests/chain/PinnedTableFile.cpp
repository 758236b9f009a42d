// SPDX-License-Identifier: Apache-2.0
//
// The form of the pinned tables, see Pinned.h.
#include <cinttypes>
#include <cstdio>
#include <stdexcept>

#include "tests/chain/Pinned.h"
#include "tests/support/Crc32.h"

namespace pinned {

TableFile::TableFile(const std::string& folder, const std::string& name,
                     const std::vector<std::string>& columns)
    : file_(folder + "/" + name) {
    if (!file_) {
        throw std::runtime_error(folder + "/" + name + ": cannot be written");
    }
    file_ << "# Pins today's output for the images of examples/data. Computed by the naive models "
             "alone (make_pinned); the library agreed when it was made.\n";
    for (const std::string& column : columns) {
        Add(column);
    }
    EndRow();
}

TableFile& TableFile::Add(const std::string& field) {
    file_ << (isRowStarted_ ? "\t" : "") << field;
    isRowStarted_ = true;
    return *this;
}

TableFile& TableFile::Add(int64_t field) {
    return Add(std::to_string(field));
}

TableFile& TableFile::AddHex(const TemplateBytes& bytes) {
    std::string text;
    char pair[3];
    for (const uint8_t byte : bytes) {
        std::snprintf(pair, sizeof(pair), "%02x", byte);
        text += pair;
    }
    return Add(text);
}

TableFile& TableFile::AddCrc(const model::Grid& grid) {
    char text[9];
    std::snprintf(text, sizeof(text), "%08" PRIx32,
                  support::Crc32(grid.cells.data(), grid.cells.size()));
    return Add(text);
}

void TableFile::EndRow() {
    file_ << "\n";
    isRowStarted_ = false;
    if (!file_) {
        throw std::runtime_error("a table cannot be written");
    }
}

}  // namespace pinned
