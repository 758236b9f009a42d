// SPDX-License-Identifier: Apache-2.0
//
// A record, words little-endian:
//
//     0   8  key                          9  512  template, or zeros
//     8   1  1 a template, 0 none       521    8  hash of bytes 0..520
#include "tools/qorfp/eval/TemplateCache.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/qorfp/Stored.h"
#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr size_t kStateAt = 8;
constexpr size_t kTemplateAt = 9;
constexpr size_t kHashAt = kTemplateAt + kTemplateBytes;
constexpr size_t kRecordBytes = kHashAt + 8;
constexpr size_t kCountAt = 3;  // in the template, as the next
constexpr size_t kQualityAt = 369;
using Record = std::array<uint8_t, kRecordBytes>;

/// 64-bit FNV-1a: against accidents, not against malice.
class Hash {
  public:
    void Add(const void* bytes, size_t count) {
        const auto* byte = static_cast<const uint8_t*>(bytes);
        for (size_t i = 0; i < count; ++i) {
            value_ = (value_ ^ byte[i]) * 0x100000001B3ULL;
        }
    }
    uint64_t Value() const { return value_; }

  private:
    uint64_t value_ = 0xCBF29CE484222325ULL;
};

uint64_t ReadWord(const uint8_t* bytes) {
    uint64_t word = 0;
    for (size_t i = 8; i-- > 0;) {
        word = word << 8 | bytes[i];
    }
    return word;
}

void WriteWord(uint8_t* bytes, uint64_t word) {
    for (size_t i = 0; i < 8; ++i) {
        bytes[i] = static_cast<uint8_t>(word >> 8 * i & 0xFF);
    }
}

// Whoever can write the file can make any record with a correct hash.
bool IsUsable(const Extraction& extraction) {
    return !extraction.isDone ||
           (HasTemplateVersion(extraction.bytes) && extraction.bytes[kCountAt] <= kMaxMinutiae);
}

uint64_t HashOf(const Record& record) {
    Hash hash;
    hash.Add(record.data(), kHashAt);
    return hash.Value();
}

}  // namespace

TemplateCache::TemplateCache(const std::string& path)
    : path_(path), file_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    if (file_ < 0) {
        throw ToolError(path, std::strerror(errno));
    }
    ReadRecords();
}

TemplateCache::~TemplateCache() {
    close(file_);
}

void TemplateCache::ReadRecords() {
    Record record;
    off_t sound = 0;
    while (read(file_, record.data(), kRecordBytes) == static_cast<ssize_t>(kRecordBytes) &&
           ReadWord(record.data() + kHashAt) == HashOf(record)) {
        Extraction extraction;
        extraction.isDone = record[kStateAt] == 1;
        std::copy_n(record.begin() + kTemplateAt, kTemplateBytes, extraction.bytes.begin());
        extraction.quality = extraction.bytes[kQualityAt];
        if (!IsUsable(extraction)) {
            break;
        }
        known_[ReadWord(record.data())] = extraction;
        sound += static_cast<off_t>(kRecordBytes);
    }
    if (ftruncate(file_, sound) != 0 || lseek(file_, sound, SEEK_SET) != sound) {
        throw ToolError(path_, std::strerror(errno));
    }
}

uint64_t TemplateCache::KeyOf(const Bytes& file, const ImageOptions& options) {
    const std::string how = std::string(QORFP_TOOL_VERSION) + ", " + EngineVersion() + ", " +
                            (options.fit ? "fit, " : "") + std::to_string(options.dpi) + ", " +
                            std::to_string(file.size()) + ":";
    Hash hash;
    hash.Add(how.data(), how.size());
    hash.Add(file.data(), file.size());
    return hash.Value();
}

std::optional<Extraction> TemplateCache::Find(uint64_t key) const {
    const auto found = known_.find(key);
    return found != known_.end() ? std::optional<Extraction>(found->second) : std::nullopt;
}

void TemplateCache::Store(uint64_t key, const Extraction& extraction) {
    Record record = {};
    WriteWord(record.data(), key);
    record[kStateAt] = extraction.isDone ? 1 : 0;
    if (extraction.isDone) {
        std::copy(extraction.bytes.begin(), extraction.bytes.end(), record.begin() + kTemplateAt);
    }
    WriteWord(record.data() + kHashAt, HashOf(record));
    const std::lock_guard<std::mutex> lock(end_);
    // One call, so that a program that is killed leaves whole records.
    if (write(file_, record.data(), kRecordBytes) != static_cast<ssize_t>(kRecordBytes)) {
        throw ToolError(path_, errno != 0 ? std::strerror(errno) : "cannot be written");
    }
}

}  // namespace qorfp::cli
