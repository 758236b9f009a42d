// SPDX-License-Identifier: Apache-2.0
//
// The library's calls with one fault each, chosen by the environment variable FAULT. The linker puts
// them between the self-test and the library; without FAULT nothing is changed.
#define _POSIX_C_SOURCE 200809L

#include <QORFPApi.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

uint32_t __real_QORFP_Initial(int32_t reserved);
uint32_t __real_QORFP_Version(char* dst);
uint32_t __real_QORFP_BuildTime(char* dst);
uint32_t __real_QORFP_Extract(const uint8_t* image, int32_t width, int32_t height,
                              uint8_t* templateOut, int32_t* quality);
uint32_t __real_QORFP_Enroll(const uint8_t* templates, int32_t n, uint8_t* templateOut,
                             int32_t* quality);
uint32_t __real_QORFP_Verify(const uint8_t* t1, const uint8_t* t2, int32_t level, int32_t* score);
uint32_t __real_QORFP_Identify(const uint8_t* probe, const uint8_t* const* list, uint32_t count,
                               uint32_t level, uint32_t* index, int32_t* score);
uint32_t __real_QORFP_Search(const uint8_t* probe, const uint8_t* list, uint32_t count,
                             uint32_t level, uint32_t* index, int32_t* score);
uint32_t __real_QORFP_CheckFeature(uint8_t* templateInOut, int32_t* converted);
uint32_t __real_QORFP_Improve(const uint8_t* sample, uint8_t* enrolled);
uint32_t __real_QORFP_CheckFinger(const uint8_t* image, uint32_t width, int32_t height);

static int HasFault(const char* name) {
    const char* fault = getenv("FAULT");
    return fault != NULL && strcmp(fault, name) == 0;
}

uint32_t __wrap_QORFP_Initial(int32_t reserved) {
    if (HasFault("initial-silent")) {
        return QORFP_OK;
    }
    return __real_QORFP_Initial(reserved);
}

uint32_t __wrap_QORFP_Version(char* dst) {
    const uint32_t result = __real_QORFP_Version(dst);
    if (dst != NULL && HasFault("version-text")) {
        dst[17] = '2';
    }
    if (dst == NULL && HasFault("version-null")) {
        return QORFP_OK;
    }
    return result;
}

uint32_t __wrap_QORFP_BuildTime(char* dst) {
    const uint32_t result = __real_QORFP_BuildTime(dst);
    if (dst != NULL && HasFault("build-time-longer")) {
        dst[QORFP_BUILD_TIME_BYTES] = '\0';
    }
    return result;
}

uint32_t __wrap_QORFP_Extract(const uint8_t* image, int32_t width, int32_t height,
                              uint8_t* templateOut, int32_t* quality) {
    const uint32_t result = __real_QORFP_Extract(image, width, height, templateOut, quality);
    if (result == QORFP_NOT_INITIALISED && HasFault("extract-unready")) {
        return QORFP_OK;
    }
    if (result == QORFP_OK && width == 256 && height == 360) {
        if (HasFault("extract-template")) {
            templateOut[200] ^= 1;
        }
        if (HasFault("extract-quality")) {
            ++*quality;
        }
        if (HasFault("extract-overrun")) {
            templateOut[QORFP_TEMPLATE_BYTES] = 0;
        }
        if (HasFault("extract-image")) {
            ((uint8_t*)(uintptr_t)image)[1000] ^= 1;
        }
        if (HasFault("extract-crash")) {
            raise(SIGILL);
        }
        if (HasFault("extract-result")) {
            return QORFP_FAILED;
        }
    }
    return result;
}

uint32_t __wrap_QORFP_Enroll(const uint8_t* templates, int32_t n, uint8_t* templateOut,
                             int32_t* quality) {
    const uint32_t result = __real_QORFP_Enroll(templates, n, templateOut, quality);
    if (result == QORFP_OK && HasFault("enroll-template")) {
        templateOut[511] ^= 128;
    }
    return result;
}

uint32_t __wrap_QORFP_Verify(const uint8_t* t1, const uint8_t* t2, int32_t level, int32_t* score) {
    const uint32_t result = __real_QORFP_Verify(t1, t2, level, score);
    if (result == QORFP_FAILED && HasFault("verify-score")) {
        ++*score;
    }
    return result;
}

uint32_t __wrap_QORFP_Identify(const uint8_t* probe, const uint8_t* const* list, uint32_t count,
                               uint32_t level, uint32_t* index, int32_t* score) {
    const uint32_t result = __real_QORFP_Identify(probe, list, count, level, index, score);
    if (result == QORFP_OK && index != NULL && HasFault("identify-index")) {
        ++*index;
    }
    return result;
}

uint32_t __wrap_QORFP_Search(const uint8_t* probe, const uint8_t* list, uint32_t count,
                             uint32_t level, uint32_t* index, int32_t* score) {
    if (level == 6 && HasFault("search-noise")) {
        printf("noise\n");
    }
    const uint32_t result = __real_QORFP_Search(probe, list, count, level, index, score);
    if (result == QORFP_FAILED && HasFault("search-output")) {
        *score = 0;
    }
    return result;
}

uint32_t __wrap_QORFP_CheckFeature(uint8_t* templateInOut, int32_t* converted) {
    const uint32_t result = __real_QORFP_CheckFeature(templateInOut, converted);
    if (result == QORFP_OK && *converted == 1 && HasFault("check-upgrade")) {
        templateInOut[400] ^= 16;
    }
    return result;
}

uint32_t __wrap_QORFP_Improve(const uint8_t* sample, uint8_t* enrolled) {
    const uint32_t result = __real_QORFP_Improve(sample, enrolled);
    if (result == QORFP_FAILED && HasFault("improve-refused")) {
        enrolled[10] ^= 1;
    }
    return result;
}

uint32_t __wrap_QORFP_CheckFinger(const uint8_t* image, uint32_t width, int32_t height) {
    const uint32_t result = __real_QORFP_CheckFinger(image, width, height);
    return result == QORFP_NO_FINGER && HasFault("finger") ? QORFP_OK : result;
}
