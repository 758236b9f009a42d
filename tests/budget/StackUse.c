// SPDX-License-Identifier: Apache-2.0
//
// stack_use: how much stack the calls take when they run, the C library's part included. Each call
// runs in a thread of its own, with the smallest stack that there is, after the unused part of it has
// been filled with a pattern; the deepest byte that has changed tells. Prints a line "BYTES CALL" for
// each on standard error, because the library has lines for standard output.
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include "tools/selftest/Pinned.h"

enum { kStackBytes = 16 * 1024, kPattern = 0x5A, kMargin = 128, kListCount = 220 };

typedef void Call(void);

static uint8_t image[QORFP_MAX_WIDTH * QORFP_MAX_HEIGHT];
static uint8_t bytes[3 * QORFP_TEMPLATE_BYTES];
static const uint8_t* list[kListCount];
static int32_t number;
static uint32_t position;
static size_t used;

static const uint8_t* SceneTemplate(int32_t scene) {
    return kPinnedExtractions[scene].bytes;
}

static void Initial(void) {
    QORFP_Initial(0);
}

static void Version(void) {
    QORFP_Version((char*)bytes);
}

static void BuildTime(void) {
    QORFP_BuildTime((char*)bytes);
}

static void ExtractScene(int32_t scene) {
    PaintScene(&kSceneList[scene], kPinnedCaptures, image);
    QORFP_Extract(image, kSceneList[scene].width, kSceneList[scene].height, bytes, &number);
}

static void ExtractLargest(void) {
    ExtractScene(5);
}

static void ExtractSmallSensor(void) {
    ExtractScene(3);
}

static void CheckFinger(void) {
    QORFP_CheckFinger(image, QORFP_MAX_WIDTH, QORFP_MAX_HEIGHT);
}

static void Enroll(void) {
    for (size_t scene = 0; scene < 3; ++scene) {
        memcpy(bytes + scene * QORFP_TEMPLATE_BYTES, SceneTemplate((int32_t)scene),
               QORFP_TEMPLATE_BYTES);
    }
    QORFP_Enroll(bytes, 3, bytes, &number);
}

static void Improve(void) {
    memcpy(bytes, SceneTemplate(0), QORFP_TEMPLATE_BYTES);
    QORFP_Improve(SceneTemplate(1), bytes);
}

static void CheckFeature(void) {
    memcpy(bytes, SceneTemplate(5), QORFP_TEMPLATE_BYTES);
    bytes[2] = '0';
    QORFP_CheckFeature(bytes, &number);
}

static void Verify(void) {
    QORFP_Verify(SceneTemplate(6), SceneTemplate(5), 3, &number);
}

static void Identify(void) {
    QORFP_Identify(SceneTemplate(6), list, kListCount, 5, &position, &number);
}

// One entry that is refused, and named in a log line.
static void IdentifyRefused(void) {
    list[kListCount - 1] = image;
    QORFP_Identify(SceneTemplate(6), list, kListCount, 5, &position, &number);
}

static void Search(void) {
    QORFP_Search(SceneTemplate(6), kPinnedExtractions[5].bytes, 1, 5, &position, &number);
}

static void SearchRefused(void) {
    QORFP_Search(SceneTemplate(6), image, 1, 5, &position, &number);
}

static uint8_t stack[kStackBytes] __attribute__((aligned(4096)));

// Runs a call above a patterned stack, and returns how far down the pattern has changed.
static void* RunCall(void* call) {
    uint8_t* const top = __builtin_frame_address(0);
    size_t left = 0;
    // Not memset(): it would have a frame on the stack that it fills.
    for (volatile uint8_t* byte = stack; byte < top - kMargin; ++byte) {
        *byte = kPattern;
    }
    (*(Call**)call)();
    while (((const volatile uint8_t*)stack)[left] == kPattern) {
        ++left;
    }
    used = (size_t)(top - stack) - left;
    return NULL;
}

// The bytes of stack that a call takes; 0 after a failure.
static size_t Measure(Call* call) {
    pthread_attr_t attributes;
    pthread_t thread;
    used = 0;
    if (pthread_attr_init(&attributes) != 0 ||
        pthread_attr_setstack(&attributes, stack, sizeof stack) != 0 ||
        pthread_create(&thread, &attributes, RunCall, (void*)&call) != 0 ||
        pthread_join(thread, NULL) != 0) {
        return 0;
    }
    pthread_attr_destroy(&attributes);
    return used;
}

int main(void) {
    static const struct {
        const char* name;
        Call* call;
    } kCalls[] = {
        {"QORFP_Initial", Initial},
        {"QORFP_Version", Version},
        {"QORFP_BuildTime", BuildTime},
        {"QORFP_Extract", ExtractLargest},
        {"QORFP_Extract", ExtractSmallSensor},
        {"QORFP_CheckFinger", CheckFinger},
        {"QORFP_Enroll", Enroll},
        {"QORFP_Improve", Improve},
        {"QORFP_CheckFeature", CheckFeature},
        {"QORFP_Verify", Verify},
        {"QORFP_Identify", Identify},
        {"QORFP_Identify", IdentifyRefused},
        {"QORFP_Search", Search},
        {"QORFP_Search", SearchRefused},
    };
    for (size_t i = 0; i < kListCount; ++i) {
        list[i] = SceneTemplate((int32_t)i % 7);
    }
    for (size_t i = 0; i < sizeof kCalls / sizeof kCalls[0]; ++i) {
        const size_t bytesUsed = Measure(kCalls[i].call);
        if (bytesUsed == 0) {
            fprintf(stderr, "stack_use: no thread can be made\n");
            return 1;
        }
        fprintf(stderr, "%lu %s\n", (unsigned long)bytesUsed, kCalls[i].name);
    }
    return 0;
}
