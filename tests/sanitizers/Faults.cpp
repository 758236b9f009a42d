// SPDX-License-Identifier: Apache-2.0
//
// sanitizer_faults FAULT: does what no stage may do, compiled like the library. A sanitizer that keeps
// silent about it would keep silent about the library too. `none` does only what is allowed.
#include <stdio.h>
#include <string.h>

#include "engine/StageMemory.h"
#include "extract/FixedMath.h"

namespace {

using namespace qorfp;

constexpr int32_t kImageBytes = 120;
constexpr int32_t kScratchAt = 160;

struct Record {
    uint8_t bytes[40];
};

alignas(kWorkAlignment) uint8_t g_buffer[kWorkBytes];

// The compiler must not know what comes out of it.
int32_t Unknown(int32_t value) {
    volatile int32_t hidden = value;
    return hidden;
}

// The last byte of each part, and scratch after it has been written.
int32_t KeepRules() {
    {
        const StageMemory memory(g_buffer, {Held(0, kImageBytes), ScratchOf<Record>(kScratchAt)});
        memset(WorkAt<Record>(g_buffer + kScratchAt), 0, sizeof(Record));
        g_buffer[Unknown(kImageBytes - 1)] = 3;
        if (g_buffer[Unknown(kScratchAt + 39)] != 0) {
            return 1;
        }
    }
    g_buffer[Unknown(kScratchAt + 40)] = 1;
    const bool wraps = WrapAdd32(Unknown(INT32_MAX), 1) == INT32_MIN &&
                       WrapSub32(Unknown(INT32_MIN), 1) == INT32_MAX &&
                       WrapMul32(Unknown(0x10000), 0x18000) == INT32_MIN &&
                       WrapSub32(static_cast<uint32_t>(Unknown(0)), 1u) == UINT32_MAX &&
                       WrapShift32(static_cast<uint32_t>(Unknown(-1)), 4) == 0xFFFFFFF0 &&
                       WithoutLowestBit(static_cast<uint32_t>(Unknown(0))) == 0;
    return wraps ? 0 : 1;
}

int32_t WriteBehindScratch() {
    const StageMemory memory(g_buffer, {Held(0, kImageBytes), ScratchOf<Record>(kScratchAt)});
    g_buffer[Unknown(kScratchAt + 40)] = 1;
    return 0;
}

int32_t ReadBehindImage() {
    const StageMemory memory(g_buffer, {Held(0, kImageBytes), ScratchOf<Record>(kScratchAt)});
    return g_buffer[Unknown(kImageBytes)];
}

int32_t WriteAtBuffersEnd() {
    const StageMemory memory(g_buffer, {Held(0, kImageBytes), ScratchOf<Record>(kScratchAt)});
    g_buffer[Unknown(kWorkBytes - 1)] = 1;
    return 0;
}

// What the stage before has left.
int32_t DecideByLeftovers() {
    {
        const StageMemory memory(g_buffer, {ScratchOf<Record>(kScratchAt)});
        memset(g_buffer + kScratchAt, 7, sizeof(Record));
    }
    const StageMemory memory(g_buffer, {ScratchOf<Record>(kScratchAt)});
    if (g_buffer[Unknown(kScratchAt + 39)] == 7) {
        puts("decided");
    }
    return 0;
}

int32_t WrapUnsigned() {
    const uint32_t highest = static_cast<uint32_t>(Unknown(-1));
    return Unknown(static_cast<int32_t>((highest + 1) & 1));
}

int32_t LoseBits() {
    uint8_t byte = static_cast<uint8_t>(Unknown(255));
    ++byte;
    return Unknown(byte);
}

struct Fault {
    const char* name;
    int32_t (*commit)();
};

constexpr Fault kFaults[] = {
    {"none", KeepRules},
    {"behind_scratch", WriteBehindScratch},
    {"behind_image", ReadBehindImage},
    {"buffers_end", WriteAtBuffersEnd},
    {"leftovers", DecideByLeftovers},
    {"unsigned_wrap", WrapUnsigned},
    {"lost_bits", LoseBits},
};

}  // namespace

int main(int argc, char** argv) {
    for (const Fault& fault : kFaults) {
        if (argc == 2 && strcmp(argv[1], fault.name) == 0) {
            return fault.commit();
        }
    }
    fprintf(stderr, "sanitizer_faults: unknown fault\n");
    return 2;
}
