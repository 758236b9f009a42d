// SPDX-License-Identifier: Apache-2.0
//
// What the headers of a libstdc++ made for glibc expect of the C library's, beyond what musl has.
// Included before everything else.
#pragma once

#define __GLIBC_PREREQ(major, minor) 0

// Waiting by a clock of one's choice: std::condition_variable takes the other way without.
#include <bits/c++config.h>
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_USE_PTHREAD_MUTEX_CLOCKLOCK
#undef _GLIBCXX_USE_PTHREAD_RWLOCK_CLOCKLOCK

#include <locale.h>
typedef locale_t __locale_t;

// The bits of musl's own __ctype_b_loc(), which are glibc's on a little-endian machine.
enum : unsigned short {
    _ISupper = 0x100,
    _ISlower = 0x200,
    _ISalpha = 0x400,
    _ISdigit = 0x800,
    _ISxdigit = 0x1000,
    _ISspace = 0x2000,
    _ISprint = 0x4000,
    _ISgraph = 0x8000,
    _ISblank = 0x1,
    _IScntrl = 0x2,
    _ISpunct = 0x4,
    _ISalnum = 0x8
};
