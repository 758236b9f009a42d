// SPDX-License-Identifier: Apache-2.0
//
// A C source file with tables of the self-test, being written.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace selftest {

class SourceFile {
  public:
    /// Throws std::runtime_error on failure, as the other functions do.
    explicit SourceFile(const std::string& path);

    /// A table with exactly `rows` rows, between Begin and End.
    void Begin(const std::string& declaration, int32_t rows);
    SourceFile& BeginRow();
    SourceFile& Number(int64_t value, const std::string& suffix = "");
    SourceFile& Numbers(const std::vector<int32_t>& values);
    SourceFile& Bytes(const std::vector<uint8_t>& values);
    void EndRow();
    void End();

    /// A single record.
    void BeginSingle(const std::string& declaration);
    void EndSingle();

  private:
    void Separate();

    std::string path_;
    std::ofstream file_;
    int32_t rowsLeft_ = 0;
    bool isRowStarted_ = false;
};

}  // namespace selftest
