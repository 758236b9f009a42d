// SPDX-License-Identifier: Apache-2.0
//
// Whole-file reading and atomic writing over plain file descriptors, for the system's own wording
// of what went wrong.
#include "tools/qorfp/FileIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr size_t kMaxFileBytes = size_t{256} * 1024 * 1024;
constexpr size_t kChunkBytes = 65536;
constexpr int kMaxNameTries = 100;
constexpr mode_t kOrdinaryMode = 0666;  // less the process's mask
constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kAllPermissions = 0777;

[[noreturn]] void FailWithErrno(const std::string& path) {
    throw ToolError(path, std::strerror(errno));
}

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Number() const { return number_; }
    bool IsOpen() const { return number_ >= 0; }
    /// False when the system reports a write error only now.
    bool Close() {
        const int number = number_;
        number_ = -1;
        return number < 0 || close(number) == 0;
    }

  private:
    int number_;
};

void WriteAll(const Descriptor& file, const std::string& path, const Bytes& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = write(file.Number(), bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            FailWithErrno(path);
        }
        done += static_cast<size_t>(count);
    }
}

// A symbolic link keeps pointing where it points: the file behind it is replaced, not the link.
std::string BehindLinks(const std::string& path) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

std::string TemporaryName(const std::string& path, int attempt) {
    const std::filesystem::path target(path);
    const std::string name = "." + target.filename().string() + "." + std::to_string(getpid()) +
                             "." + std::to_string(attempt) + ".tmp";
    return (target.parent_path() / name).string();
}

// `replaced` tells of the file that stands there now, or is null.
void WriteBeside(const std::string& path, const struct stat* replaced, const Bytes& bytes) {
    // Never open to anyone who could not open the old file, from the first byte written on.
    const mode_t mode = replaced != nullptr ? kOwnerOnly : kOrdinaryMode;
    int number = -1;
    std::string temporary;
    for (int attempt = 0; attempt < kMaxNameTries && number < 0; ++attempt) {
        temporary = TemporaryName(path, attempt);
        number = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (number < 0 && errno != EEXIST) {
            FailWithErrno(path);
        }
    }
    Descriptor file(number);
    if (!file.IsOpen()) {
        FailWithErrno(path);
    }
    try {
        WriteAll(file, path, bytes);
        if (replaced != nullptr &&
            fchmod(file.Number(), replaced->st_mode & kAllPermissions) != 0) {
            FailWithErrno(path);
        }
        // On the disk before the name: a power cut leaves the old file or the new one.
        if (fsync(file.Number()) != 0 || !file.Close() ||
            std::rename(temporary.c_str(), path.c_str()) != 0) {
            FailWithErrno(path);
        }
    } catch (...) {
        unlink(temporary.c_str());
        throw;
    }
}

}  // namespace

Bytes ReadFile(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Number(), &status) != 0) {
        FailWithErrno(path);
    }
    if (S_ISDIR(status.st_mode)) {
        throw ToolError(path, "is a directory");
    }
    Bytes bytes;
    size_t used = 0;
    for (;;) {
        bytes.resize(used + kChunkBytes);
        const ssize_t count = read(file.Number(), bytes.data() + used, kChunkBytes);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            FailWithErrno(path);
        }
        used += static_cast<size_t>(count);
        if (count == 0) {
            break;
        }
        if (used > kMaxFileBytes) {
            throw ToolError(path, "is larger than 256 MiB");
        }
    }
    bytes.resize(used);
    if (bytes.empty()) {
        throw ToolError(path, "is empty");
    }
    return bytes;
}

void WriteFile(const std::string& path, const Bytes& bytes) {
    struct stat status = {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        throw ToolError(path, "is a directory");
    }
    if (!exists || S_ISREG(status.st_mode)) {
        WriteBeside(exists ? BehindLinks(path) : path, exists ? &status : nullptr, bytes);
        return;
    }
    Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
        FailWithErrno(path);
    }
    WriteAll(file, path, bytes);
    if (!file.Close()) {
        FailWithErrno(path);
    }
}

void RefuseToReplace(const std::string& input, const std::string& output) {
    std::error_code unreadable;
    if (std::filesystem::equivalent(input, output, unreadable)) {
        throw ToolError(output, "is the input; name another output");
    }
}

void MakeDirectory(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) {
        throw ToolError(path, error.message());
    }
    if (!std::filesystem::is_directory(path, error)) {
        throw ToolError(path, "is not a directory");
    }
}

std::string BaseName(const std::string& path) {
    const std::string name = std::filesystem::path(path).filename().string();
    return name.empty() ? path : name;
}

}  // namespace qorfp::cli
