// SPDX-License-Identifier: Apache-2.0
//
// Whole-file reading and atomic writing over plain file descriptors, for the system's own wording
// of what went wrong.
#include "tools/qorfp/FileIo.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr off_t kMaxFileBytes = off_t{256} * 1024 * 1024;
constexpr size_t kChunkBytes = 65536;
constexpr int kMaxNameTries = 100;
constexpr size_t kMostOfName =
    200;                           // of a file name in that of its temporary file; 255 is the limit
constexpr int kPatienceMs = 3000;  // with a pipe that has nobody at its other end
constexpr int kRetryMs = 50;
constexpr mode_t kOrdinaryMode = 0666;  // less the process's mask
constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kAllPermissions = 0777;

[[noreturn]] void FailWithErrno(const std::string& path) {
    throw ToolError(path, std::generic_category().message(errno));
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

/// While it lives, the signals that ask a program to end wait, so that none leaves a temporary file.
class EndingHeld {
  public:
    EndingHeld() {
        sigset_t ending;
        sigemptyset(&ending);
        for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
            sigaddset(&ending, number);
        }
        pthread_sigmask(SIG_BLOCK, &ending, &before_);
    }
    ~EndingHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    EndingHeld(const EndingHeld&) = delete;
    EndingHeld& operator=(const EndingHeld&) = delete;

  private:
    sigset_t before_;
};

// A symbolic link keeps pointing where it points: the file behind it is replaced, not the link.
std::string BehindLinks(const std::string& path) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

std::string TemporaryName(const std::string& path, int attempt) {
    const std::filesystem::path target(path);
    const std::string name = "." + target.filename().string().substr(0, kMostOfName) + "." +
                             std::to_string(attempt) + ".tmp";
    return (target.parent_path() / name).string();
}

// Whether `path` is the very file that is open as `number`.
bool IsStill(const std::string& path, int number) {
    struct stat named = {};
    struct stat open = {};
    return lstat(path.c_str(), &named) == 0 && fstat(number, &open) == 0 &&
           named.st_dev == open.st_dev && named.st_ino == open.st_ino;
}

// Removes a temporary file that a killed process has left. One that is being written is locked: only
// who holds the lock may remove or rename it.
void RemoveLeftover(const std::string& temporary) {
    const Descriptor file(open(temporary.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file.IsOpen() && flock(file.Number(), LOCK_EX | LOCK_NB) == 0 &&
        IsStill(temporary, file.Number())) {
        unlink(temporary.c_str());
    }
}

// Opens a new file of this name and locks it; -1 and errno when that cannot be.
int OpenTemporary(const std::string& temporary, mode_t mode) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    int number = open(temporary.c_str(), kFlags, mode);
    if (number < 0 && errno == EEXIST) {
        RemoveLeftover(temporary);
        number = open(temporary.c_str(), kFlags, mode);
    }
    if (number < 0) {
        return -1;
    }
    // Between opening and locking, another process may have taken it for a leftover. A file system
    // without locks has no such process.
    const bool isTaken = flock(number, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (isTaken || !IsStill(temporary, number)) {
        close(number);
        errno = EEXIST;
        return -1;
    }
    return number;
}

// `replaced` tells of the file that stands there now, or is null.
void WriteBeside(const std::string& path, const struct stat* replaced, const Bytes& bytes) {
    const EndingHeld held;
    // Never open to anyone who could not open the old file, from the first byte written on.
    const mode_t mode = replaced != nullptr ? kOwnerOnly : kOrdinaryMode;
    int number = -1;
    std::string temporary;
    for (int attempt = 0; attempt < kMaxNameTries && number < 0; ++attempt) {
        temporary = TemporaryName(path, attempt);
        number = OpenTemporary(temporary, mode);
        if (number < 0 && errno != EEXIST) {
            FailWithErrno(path);
        }
    }
    const Descriptor file(number);  // locked until the file has its name
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
        if (fsync(file.Number()) != 0 || std::rename(temporary.c_str(), path.c_str()) != 0) {
            FailWithErrno(path);
        }
    } catch (...) {
        unlink(temporary.c_str());
        throw;
    }
}

// Waits until the descriptor can be read or its other end is gone. False when the time is over.
bool WaitForInput(const Descriptor& file, int milliseconds) {
    pollfd waited = {file.Number(), POLLIN, 0};
    for (;;) {
        const int count = poll(&waited, 1, milliseconds);
        if (count >= 0 || errno != EINTR) {
            return count != 0;
        }
    }
}

// Up to `room` bytes; 0 at the end. A pipe may have its writer still to come, but not for long.
size_t ReadSome(const Descriptor& file, const std::string& path, uint8_t* target, size_t room,
                bool isFreshPipe) {
    for (;;) {
        const ssize_t count = read(file.Number(), target, room);
        if (count == 0 && isFreshPipe) {
            if (!WaitForInput(file, kPatienceMs)) {
                throw ToolError(path, "is a pipe that nobody writes to");
            }
            isFreshPipe = false;
        } else if (count >= 0) {
            return static_cast<size_t>(count);
        } else if (errno == EAGAIN) {
            WaitForInput(file, -1);
        } else if (errno != EINTR) {
            FailWithErrno(path);
        }
    }
}

// For writing to a device or a pipe, whose reader may still have to come, but not for long.
int OpenDevice(const std::string& path, bool isPipe) {
    for (int waited = 0;; waited += kRetryMs) {
        const int number = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
        if (number >= 0) {
            const int flags = fcntl(number, F_GETFL);
            fcntl(number, F_SETFL, flags & ~O_NONBLOCK);
            return number;
        }
        if (!isPipe || errno != ENXIO) {
            FailWithErrno(path);
        }
        if (waited >= kPatienceMs) {
            throw ToolError(path, "is a pipe that nobody reads from");
        }
        poll(nullptr, 0, kRetryMs);
    }
}

bool IsLink(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

}  // namespace

Bytes ReadFile(const std::string& path) {
    // Without O_NONBLOCK, a pipe that nobody writes to would hold the program for ever.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Number(), &status) != 0) {
        FailWithErrno(path);
    }
    if (S_ISDIR(status.st_mode)) {
        throw ToolError(path, "is a directory");
    }
    const bool isPipe = S_ISFIFO(status.st_mode);
    Bytes bytes;
    size_t used = 0;
    for (off_t expected = status.st_size;; expected = static_cast<off_t>(used)) {
        if (expected > kMaxFileBytes) {
            throw ToolError(path, "is larger than 256 MiB");
        }
        // Of a file of this size, all at once, and then nothing more.
        bytes.resize(std::max(used, static_cast<size_t>(expected)) + kChunkBytes);
        const size_t count =
            ReadSome(file, path, bytes.data() + used, bytes.size() - used, isPipe && used == 0);
        used += count;
        if (count == 0) {
            break;
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
    if (!exists && IsLink(path)) {
        throw ToolError(path, "is a link that leads nowhere");
    }
    if (!exists || S_ISREG(status.st_mode)) {
        WriteBeside(exists ? BehindLinks(path) : path, exists ? &status : nullptr, bytes);
        return;
    }
    Descriptor file(OpenDevice(path, S_ISFIFO(status.st_mode)));
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

std::string EndingOf(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    for (char& letter : ending) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return ending;
}

}  // namespace qorfp::cli
