// SPDX-License-Identifier: Apache-2.0
//
// What is true before QORFP_Initial, the call itself, and the texts.
#include <string.h>

#include "tools/selftest/Checks.h"
#include "tools/selftest/Report.h"

typedef uint32_t TextCall(char* dst);

static void CheckNotReady(void) {
    static const uint8_t image[64 * 64];
    struct Output output;
    int32_t quality = 0;
    uint32_t result;

    ClearOutput(&output);
    BeginCall("QORFP_Extract", "before QORFP_Initial");
    result = QORFP_Extract(image, 64, 64, output.bytes, &quality);
    EndCall();
    ExpectResult(result, QORFP_NOT_INITIALISED);

    BeginCall("QORFP_Enroll", "before QORFP_Initial");
    result = QORFP_Enroll(PinnedTemplate(0), 2, output.bytes, &quality);
    EndCall();
    ExpectResult(result, QORFP_NOT_INITIALISED);
}

static void CheckInitial(void) {
    BeginCall("QORFP_Initial", "");
    const uint32_t result = QORFP_Initial(0);
    EndCall();
    ExpectResult(result, QORFP_OK);
    ExpectLog("[QOR_FPR]:QORFP_Initial_431_QORFP_Initial SUCC\n ");
}

static void CheckText(const char* name, TextCall* call, const char* expected) {
    char text[32];
    uint32_t result;

    memset(text, '#', sizeof text);
    text[sizeof text - 1] = '\0';
    BeginCall(name, "");
    result = call(text);
    EndCall();
    ExpectResult(result, QORFP_OK);
    ExpectText("text", text, expected);
    ExpectNumber("byte behind the text", text[strlen(expected) + 1], '#');

    BeginCall(name, "null pointer");
    result = call(NULL);
    EndCall();
    ExpectResult(result, QORFP_NULL_OUTPUT);
}

void CheckStart(void) {
    CheckText("QORFP_Version", QORFP_Version, "MEL_FPR_AI3_V1.1.3");
    CheckText("QORFP_BuildTime", QORFP_BuildTime, "2020-08-20 15:23:14");
    CheckNotReady();
    CheckInitial();
}
