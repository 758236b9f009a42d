// SPDX-License-Identifier: Apache-2.0
//
// A shared object with everything that the library must not have: an export of its own, a call of it
// that another library can take over, the C++ run-time library, a start-up constructor, floating
// point, an address in the code. Linked with an executable stack, without RELRO and BIND_NOW, and
// under its own name. check_library.sh has to find each of them.
#include <cstdint>
#include <cstdlib>

extern "C" {
int* QORFP_NotInTheList(int value);
double FloatingPoint(double value, int64_t whole);
int ReadStarted();
}

// An address that the loader has to write into the code.
__asm__(".pushsection .text\n\t.balign 8\n\t.dc.a ReadStarted\n\t.popsection");

namespace {
int started = std::rand();
}  // namespace

int* QORFP_NotInTheList(int value) {
    return new int(value + ReadStarted());
}

__attribute__((noinline)) int ReadStarted() {
    return started;
}

double FloatingPoint(double value, int64_t whole) {
#ifdef __SIZEOF_INT128__
    // Where the processor has floating point, converting 128 bits still takes a helper function.
    __extension__ typedef __int128 WideInt;
    return value * 0.5 + static_cast<double>(static_cast<WideInt>(whole) * whole);
#else
    return value * 0.5 + static_cast<double>(whole);
#endif
}
