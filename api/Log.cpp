// SPDX-License-Identifier: Apache-2.0
//
// Log lines. The text of each line is fixed; hosts read it.

#include "api/Log.h"

#include <stdarg.h>
#include <stdio.h>

namespace {

constexpr char kTag[] = "QOR_FPR";
constexpr int32_t kLineBytes = 1024;
constexpr int32_t kDumpBytesPerLine = 16;

void PrintLine(const char* text) {
    printf("[%s]:%s\n ", kTag, text);
}

}  // namespace

int32_t LOGEE(int32_t level, const char* format, ...) {
    if (level == 0) {
        return 0;
    }
    char text[kLineBytes] = {};
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    PrintLine(text);
    return 0;
}

int32_t LOGHEX(int32_t level, const char* title, const uint8_t* data, int32_t length) {
    if (level == 0) {
        return 0;
    }
    PrintLine(title);
    for (int32_t i = 0; i < length; ++i) {
        if (i > 0 && i % kDumpBytesPerLine == 0) {
            printf("\n ");
        }
        printf("%02x.", data[i]);
    }
    printf("\n ");
    return 0;
}
