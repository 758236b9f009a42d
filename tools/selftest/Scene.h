// SPDX-License-Identifier: Apache-2.0
//
// The images of the self-test. Four small captures are stored with one bit a pixel; a scene lays
// parts of them on a light ground of its own size and adds grain, so that all kinds of image come
// out of a few kilobytes.
#ifndef QORFP_SELFTEST_SCENE_H
#define QORFP_SELFTEST_SCENE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    kCaptures = 4,  // three of one finger, one of another
    kCaptureWidth = 152,
    kCaptureHeight = 200,
    kCaptureBytes = kCaptureWidth * kCaptureHeight / 8,

    kScenes = 8,
    kMaxParts = 4
};

// Row by row, no gaps; the leftmost of eight pixels is the highest bit. 1 is a ridge.
typedef uint8_t CaptureBits[kCaptureBytes];

struct ScenePart {
    int32_t capture;
    int32_t left;  // of the capture's corner in the image; what lies outside the image is cut off
    int32_t top;
};

struct Scene {
    const char* name;
    int32_t width;
    int32_t height;
    int32_t partCount;
    struct ScenePart parts[kMaxParts];  // a later one hides what lies beneath
};

extern const struct Scene kSceneList[kScenes];

/// Paints a scene into width x height bytes.
void PaintScene(const struct Scene* scene, const CaptureBits* captures, uint8_t* image);

/// A checksum of a painted image, by which a painting fault is told from one of the library.
uint32_t SumOfImage(const struct Scene* scene, const uint8_t* image);

#ifdef __cplusplus
}
#endif

#endif
