/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Loaded before a program (LD_PRELOAD): lets one of the system calls with which it writes a file
 * fail, or ends the program in front of it. What counts is the n-th of the calls below, n from 1.
 *
 *   FAULT_AT=N       which one
 *   FAULT=kill       SIGKILL in front of it
 *   FAULT=terminate  SIGTERM in front of it, then the call
 *   FAULT=short      a write writes half of its bytes
 *   FAULT=NUMBER     the call does nothing and fails with this errno
 *   FAULT_MARK=FILE  is made when the fault has happened, and holds the name of the call
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

enum Fault { kNone, kError, kShort };

static void Mark(const char* call) {
    const char* mark = getenv("FAULT_MARK");
    if (mark != NULL) {
        const long number = syscall(SYS_openat, AT_FDCWD, mark, O_WRONLY | O_CREAT, 0600);
        syscall(SYS_write, number, call, strlen(call));
        syscall(SYS_close, number);
    }
}

/* What happens to this call; errno is set for kError. */
static enum Fault NextFault(const char* call) {
    static int calls = 0;
    const char* at = getenv("FAULT_AT");
    const char* fault = getenv("FAULT");
    ++calls;
    if (at == NULL || fault == NULL || calls != atoi(at)) {
        return kNone;
    }
    Mark(call);
    if (strcmp(fault, "kill") == 0) {
        raise(SIGKILL);
    }
    if (strcmp(fault, "terminate") == 0) {
        raise(SIGTERM);
        return kNone;
    }
    if (strcmp(fault, "short") == 0) {
        return strcmp(call, "write") == 0 ? kShort : kNone;
    }
    errno = atoi(fault);
    return kError;
}

static int OpenCreating(const char* path, int flags, mode_t mode) {
    if ((flags & O_CREAT) != 0 && NextFault("open") == kError) {
        return -1;
    }
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}

static mode_t ModeOf(int flags, va_list list) {
    return (flags & O_CREAT) != 0 ? (mode_t)va_arg(list, int) : 0;
}

int open(const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const mode_t mode = ModeOf(flags, list);
    va_end(list);
    return OpenCreating(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const mode_t mode = ModeOf(flags, list);
    va_end(list);
    return OpenCreating(path, flags | O_LARGEFILE, mode);
}

/* Standard output and error are not files that are written here. */
ssize_t write(int number, const void* bytes, size_t count) {
    const enum Fault fault = number > 2 ? NextFault("write") : kNone;
    if (fault == kError) {
        return -1;
    }
    return syscall(SYS_write, number, bytes, fault == kShort && count > 1 ? count / 2 : count);
}

int flock(int number, int operation) {
    return NextFault("flock") == kError ? -1 : (int)syscall(SYS_flock, number, operation);
}

int fchmod(int number, mode_t mode) {
    return NextFault("fchmod") == kError ? -1 : (int)syscall(SYS_fchmod, number, mode);
}

int fsync(int number) {
    return NextFault("fsync") == kError ? -1 : (int)syscall(SYS_fsync, number);
}

int rename(const char* from, const char* to) {
    return NextFault("rename") == kError
               ? -1
               : (int)syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0);
}
