// SPDX-License-Identifier: Apache-2.0
//
// Tables of expected results over the images of the repository, computed by the naive models
// alone. Their columns are those that the comparisons of tests/vectors read.
#pragma once

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "tests/model/ModelTemplate.h"
#include "tests/model/ModelTypes.h"

namespace pinned {

using model::TemplateBytes;

struct NamedImage {
    std::string name;
    model::Grid image;
};

struct NamedTemplate {
    std::string image;
    int32_t result = 1;
    int32_t quality = 0;  // 0 where there is no template, like its bytes
    TemplateBytes bytes;
};

/// A table being written: one field after the other, rows ended by EndRow.
class TableFile {
  public:
    /// Writes the comment and the column names. Throws std::runtime_error on failure.
    TableFile(const std::string& folder, const std::string& name,
              const std::vector<std::string>& columns);

    TableFile& Add(const std::string& field);
    TableFile& Add(int64_t field);
    TableFile& AddHex(const TemplateBytes& bytes);
    TableFile& AddCrc(const model::Grid& grid);
    void EndRow();

  private:
    std::ofstream file_;
    bool isRowStarted_ = false;
};

/// Extraction: stages.tsv, templates.tsv, scaled.tsv. Returns the templates.
std::vector<NamedTemplate> WriteExtractionTables(const std::string& folder,
                                                 const std::vector<NamedImage>& images);

/// The finger check: finger.tsv.
void WriteFingerTable(const std::string& folder, const std::vector<NamedImage>& images);

/// Everything that works on templates: scores.tsv, enroll.tsv, improve.tsv, search.tsv.
void WriteMatchingTables(const std::string& folder, const std::vector<NamedTemplate>& templates);

}  // namespace pinned
