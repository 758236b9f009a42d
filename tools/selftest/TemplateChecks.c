// SPDX-License-Identifier: Apache-2.0
//
// What makes templates of templates: enrolment, improvement, check and upgrade.
#include <stdio.h>
#include <string.h>

#include "tools/selftest/Checks.h"
#include "tools/selftest/Report.h"

enum {
    kCountByte = 3,
    kKeyCountByte = 370,
    kHeadBytes = 370  // what an older template fills
};

static void CheckEnrolment(int32_t number) {
    const struct PinnedEnrolment* pinned = &kPinnedEnrolments[number];
    uint8_t inputs[3 * QORFP_TEMPLATE_BYTES];
    struct Output output;
    int32_t quality = -1;
    char subject[64];

    for (int32_t i = 0; i < pinned->count; ++i) {
        memcpy(inputs + i * QORFP_TEMPLATE_BYTES, PinnedTemplate(pinned->inputs[i]),
               QORFP_TEMPLATE_BYTES);
    }
    ClearOutput(&output);
    snprintf(subject, sizeof subject, "row %d, of %d templates", (int)number, (int)pinned->count);
    BeginCall("QORFP_Enroll", subject);
    const uint32_t result = QORFP_Enroll(inputs, pinned->count, output.bytes, &quality);
    EndCall();
    ExpectResult(result, pinned->result);
    if (pinned->result == QORFP_OK) {
        ExpectNumber("quality", quality, pinned->quality);
        ExpectBytes("template", output.bytes, pinned->bytes, sizeof output.bytes);
    }
    ExpectIntactAround(&output);
}

static void CheckImprovement(int32_t number) {
    const struct PinnedImprovement* pinned = &kPinnedImprovements[number];
    struct Output output;
    char subject[64];

    FillOutput(&output, PinnedTemplate(pinned->enrolled));
    snprintf(subject, sizeof subject, "row %d, template %d by template %d", (int)number,
             (int)pinned->enrolled, (int)pinned->sample);
    BeginCall("QORFP_Improve", subject);
    const uint32_t result = QORFP_Improve(PinnedTemplate(pinned->sample), output.bytes);
    EndCall();
    ExpectResult(result, pinned->result);
    ExpectBytes("enrolled template", output.bytes, pinned->bytes, sizeof output.bytes);
    ExpectIntactAround(&output);
}

// The call on `output`, which it leaves as `expected`.
static void CheckFeature(const char* subject, struct Output* output, const uint8_t* expected,
                         uint32_t expectedResult, int32_t expectedConverted) {
    int32_t isConverted = -1;
    BeginCall("QORFP_CheckFeature", subject);
    const uint32_t result = QORFP_CheckFeature(output->bytes, &isConverted);
    EndCall();
    ExpectResult(result, expectedResult);
    ExpectNumber("*converted", isConverted, expectedConverted);
    ExpectBytes("template", output->bytes, expected, sizeof output->bytes);
    ExpectIntactAround(output);
}

static void CheckScenesFeatures(void) {
    struct Output output;
    for (int32_t scene = 0; scene < kScenes && !HasFailed(); ++scene) {
        const struct PinnedExtraction* pinned = &kPinnedExtractions[scene];
        if (pinned->result == QORFP_OK) {
            FillOutput(&output, pinned->bytes);
            CheckFeature(kSceneList[scene].name, &output, pinned->bytes, pinned->featureResult, 0);
        }
    }
}

static void CheckUpgrade(void) {
    struct Output output;
    ClearOutput(&output);
    memcpy(output.bytes, PinnedTemplate(kPinnedUpgrade.source), kHeadBytes);
    memset(output.bytes + kHeadBytes, 0, sizeof output.bytes - kHeadBytes);
    memcpy(output.bytes, "300", 3);
    CheckFeature("upgrade of an older template", &output, kPinnedUpgrade.bytes, QORFP_OK, 1);
}

// A template with one wrong byte.
static void CheckDamagedFeature(const char* subject, int32_t byte, uint8_t value) {
    struct Output output;
    uint8_t damaged[QORFP_TEMPLATE_BYTES];
    memcpy(damaged, PinnedTemplate(0), sizeof damaged);
    damaged[byte] = value;
    FillOutput(&output, damaged);
    CheckFeature(subject, &output, damaged, QORFP_BAD_TEMPLATE, 0);
}

static void CheckCodes(void) {
    struct Output output;
    uint8_t unknown[QORFP_TEMPLATE_BYTES];
    int32_t value = 0;
    uint32_t result;

    memcpy(unknown, PinnedTemplate(0), sizeof unknown);
    unknown[2] = '9';
    FillOutput(&output, PinnedTemplate(1));

    BeginCall("QORFP_Enroll", "null templates");
    result = QORFP_Enroll(NULL, 2, output.bytes, &value);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);
    BeginCall("QORFP_Enroll", "null output");
    result = QORFP_Enroll(PinnedTemplate(0), 2, NULL, &value);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);
    BeginCall("QORFP_Enroll", "null quality");
    result = QORFP_Enroll(PinnedTemplate(0), 2, output.bytes, NULL);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);
    BeginCall("QORFP_Enroll", "one template");
    result = QORFP_Enroll(PinnedTemplate(0), 1, output.bytes, &value);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);

    BeginCall("QORFP_Improve", "null sample");
    result = QORFP_Improve(NULL, output.bytes);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);
    BeginCall("QORFP_Improve", "null template");
    result = QORFP_Improve(PinnedTemplate(0), NULL);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);
    BeginCall("QORFP_Improve", "sample of unknown version");
    result = QORFP_Improve(unknown, output.bytes);
    EndCall();
    ExpectResult(result, QORFP_BAD_TEMPLATE);

    BeginCall("QORFP_CheckFeature", "null template");
    result = QORFP_CheckFeature(NULL, &value);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);
    BeginCall("QORFP_CheckFeature", "null output");
    result = QORFP_CheckFeature(output.bytes, NULL);
    EndCall();
    ExpectResult(result, QORFP_BAD_ARGUMENT);

    ExpectBytes("untouched template", output.bytes, PinnedTemplate(1), sizeof output.bytes);
    ExpectIntactAround(&output);
}

void CheckTemplates(void) {
    for (int32_t row = 0; row < kEnrolments && !HasFailed(); ++row) {
        CheckEnrolment(row);
    }
    for (int32_t row = 0; row < kImprovements && !HasFailed(); ++row) {
        CheckImprovement(row);
    }
    CheckScenesFeatures();
    CheckUpgrade();
    CheckDamagedFeature("unknown version", 2, '9');
    CheckDamagedFeature("61 minutiae", kCountByte, 61);
    CheckDamagedFeature("no index keys", kKeyCountByte, 0);
    CheckDamagedFeature("20 index keys", kKeyCountByte, 20);
    CheckCodes();
}
