// SPDX-License-Identifier: Apache-2.0
//
// From images to templates: every scene, and wrong arguments.
#include <stddef.h>

#include "tools/selftest/Checks.h"
#include "tools/selftest/Report.h"

static uint8_t paintedImage[QORFP_MAX_WIDTH * QORFP_MAX_HEIGHT];

static void ExpectImage(const struct Scene* scene, uint32_t expected) {
    ExpectNumber("checksum of the image", SumOfImage(scene, paintedImage), expected);
}

static void CheckFingerOf(const struct Scene* scene, const struct PinnedExtraction* pinned) {
    BeginCall("QORFP_CheckFinger", scene->name);
    const uint32_t result = QORFP_CheckFinger(paintedImage, (uint32_t)scene->width, scene->height);
    EndCall();
    ExpectResult(result, pinned->fingerResult);
    ExpectImage(scene, pinned->imageSum);
}

static void CheckExtract(const struct Scene* scene, const struct PinnedExtraction* pinned) {
    struct Output output;
    int32_t quality = -1;

    ClearOutput(&output);
    BeginCall("QORFP_Extract", scene->name);
    const uint32_t result =
        QORFP_Extract(paintedImage, scene->width, scene->height, output.bytes, &quality);
    EndCall();
    ExpectResult(result, pinned->result);
    if (pinned->result == QORFP_OK) {
        ExpectNumber("quality", quality, pinned->quality);
        ExpectBytes("template", output.bytes, pinned->bytes, sizeof output.bytes);
    } else {
        ExpectNumber("quality, which must stay,", quality, -1);
    }
    ExpectIntactAround(&output);
    ExpectImage(scene, pinned->imageSum);
}

static void CheckScene(int32_t number) {
    const struct Scene* scene = &kSceneList[number];
    const struct PinnedExtraction* pinned = &kPinnedExtractions[number];
    PaintScene(scene, kPinnedCaptures, paintedImage);
    CheckFingerOf(scene, pinned);
    CheckExtract(scene, pinned);
}

static void CheckRefusedExtract(const char* subject, const uint8_t* image, int32_t width,
                                int32_t height, uint8_t* bytes, int32_t* quality,
                                uint32_t expected) {
    BeginCall("QORFP_Extract", subject);
    const uint32_t result = QORFP_Extract(image, width, height, bytes, quality);
    EndCall();
    ExpectResult(result, expected);
}

static void CheckRefusedFinger(const char* subject, const uint8_t* image, uint32_t width,
                               int32_t height, uint32_t expected) {
    BeginCall("QORFP_CheckFinger", subject);
    const uint32_t result = QORFP_CheckFinger(image, width, height);
    EndCall();
    ExpectResult(result, expected);
}

static void CheckArguments(void) {
    const uint8_t* image = paintedImage;
    struct Output output;
    int32_t quality = 0;
    uint8_t* const bytes = output.bytes;
    const uint32_t bad = QORFP_BAD_ARGUMENT;

    ClearOutput(&output);
    CheckRefusedExtract("null image", NULL, 64, 64, bytes, &quality, bad);
    CheckRefusedExtract("null template", image, 64, 64, NULL, &quality, bad);
    CheckRefusedExtract("null quality", image, 64, 64, bytes, NULL, bad);
    CheckRefusedExtract("width 260", image, 260, 64, bytes, &quality, bad);
    CheckRefusedExtract("height 364", image, 64, 364, bytes, &quality, bad);
    CheckRefusedExtract("width 62", image, 62, 64, bytes, &quality, bad);
    CheckRefusedExtract("height 62", image, 64, 62, bytes, &quality, bad);
    CheckRefusedExtract("size 0 x 0", image, 0, 0, bytes, &quality, QORFP_FAILED);
    ExpectIntactAround(&output);

    CheckRefusedFinger("null image", NULL, 64, 64, bad);
    CheckRefusedFinger("width 260", image, 260, 64, bad);
    CheckRefusedFinger("height 364", image, 64, 364, bad);
    CheckRefusedFinger("width 62", image, 62, 64, bad);
    CheckRefusedFinger("height 62", image, 64, 62, bad);
    CheckRefusedFinger("size 32 x 32", image, 32, 32, QORFP_NO_FINGER);
}

void CheckExtraction(void) {
    for (int32_t scene = 0; scene < kScenes && !HasFailed(); ++scene) {
        CheckScene(scene);
    }
    CheckArguments();
}
