// SPDX-License-Identifier: Apache-2.0
//
// The outcomes of earlier extractions, so that an evaluation that was broken off, or is run again
// with more captures, does not make its templates anew. A file of records of fixed length, added one
// by one as they come; a record that is cut off or damaged ends what is used of it. It holds
// templates: keep it like them.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "tools/qorfp/Engine.h"
#include "tools/qorfp/FingerInput.h"

namespace qorfp::cli {

class TemplateCache {
  public:
    /// Opens or makes the file. Throws ToolError.
    explicit TemplateCache(const std::string& path);
    ~TemplateCache();
    TemplateCache(const TemplateCache&) = delete;
    TemplateCache& operator=(const TemplateCache&) = delete;

    /// Names an extraction: by the content of the image file, how it is brought to size, and the
    /// versions of library and tool.
    static uint64_t KeyOf(const Bytes& file, const ImageOptions& options);

    /// What was known of it when the file was opened. May be called from several threads, as Store.
    std::optional<Extraction> Find(uint64_t key) const;
    void Store(uint64_t key, const Extraction& extraction);

  private:
    void ReadRecords();

    std::string path_;
    int file_ = -1;
    std::mutex end_;  // guards the end of the file
    std::map<uint64_t, Extraction> known_;
};

}  // namespace qorfp::cli
