// SPDX-License-Identifier: Apache-2.0
//
// Rewriting a file in place. WriteFile makes a new file with the ordinary permissions less the
// process's mask; a mask of everything that the old file does not allow keeps them, from the first
// byte written on.
#include "tools/qorfp/InPlace.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "tools/qorfp/ToolError.h"

namespace qorfp::cli {
namespace {

constexpr mode_t kAllPermissions = 0777;

class FileMask {
  public:
    explicit FileMask(mode_t mask) : saved_(umask(mask)) {}
    ~FileMask() { umask(saved_); }
    FileMask(const FileMask&) = delete;
    FileMask& operator=(const FileMask&) = delete;

  private:
    mode_t saved_;
};

}  // namespace

void RewriteFile(const std::string& path, const Bytes& bytes) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        throw ToolError(path, std::strerror(errno));
    }
    const FileMask mask(kAllPermissions & ~status.st_mode);
    WriteFile(path, bytes);
}

}  // namespace qorfp::cli
