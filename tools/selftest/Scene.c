// SPDX-License-Identifier: Apache-2.0
#include "tools/selftest/Scene.h"

enum {
    kRidge = 40,  // grey before the grain is added
    kGround = 190
};

const struct Scene kSceneList[kScenes] = {
    {"finger 1, capture 1", 160, 208, 1, {{0, 4, 4}}},
    {"finger 1, capture 2", 160, 208, 1, {{1, 4, 4}}},
    {"finger 1, capture 3", 160, 208, 1, {{2, 4, 4}}},
    // The size of the small sensor: this image is scaled.
    {"finger 2, small sensor", 152, 200, 1, {{3, 0, 0}}},
    {"finger 1, capture 1, part of it", 120, 160, 1, {{0, 0, 0}}},
    // More minutiae than a template holds.
    {"largest image", 256, 360, 4, {{0, 0, 0}, {3, 104, 160}, {1, 152, 0}, {2, -48, 200}}},
    // The finger check has a rule of its own for this size.
    {"256 x 288 image", 256, 288, 2, {{1, 0, 44}, {2, 152, 44}}},
    {"no finger", 96, 96, 0, {{0, 0, 0}}},
};

static int IsInside(int32_t position, int32_t size) {
    return position >= 0 && position < size;
}

static void PaintPart(const struct Scene* scene, const struct ScenePart* part, const uint8_t* bits,
                      uint8_t* image) {
    for (int32_t y = 0; y < kCaptureHeight; ++y) {
        for (int32_t x = 0; x < kCaptureWidth; ++x) {
            if (IsInside(part->left + x, scene->width) && IsInside(part->top + y, scene->height)) {
                const int32_t pixel = y * kCaptureWidth + x;
                const int isRidge = bits[pixel / 8] >> (7 - pixel % 8) & 1;
                image[(part->top + y) * scene->width + part->left + x] = isRidge ? kRidge : kGround;
            }
        }
    }
}

// Grain of 0 to 63 grey levels from a linear congruential generator.
static void AddGrain(const struct Scene* scene, uint8_t* image) {
    uint32_t state = 20240229;
    for (int32_t pixel = 0; pixel < scene->width * scene->height; ++pixel) {
        state = state * 1664525u + 1013904223u;
        image[pixel] = (uint8_t)(image[pixel] + (state >> 26));
    }
}

void PaintScene(const struct Scene* scene, const CaptureBits* captures, uint8_t* image) {
    for (int32_t pixel = 0; pixel < scene->width * scene->height; ++pixel) {
        image[pixel] = kGround;
    }
    for (int32_t part = 0; part < scene->partCount; ++part) {
        PaintPart(scene, &scene->parts[part], captures[scene->parts[part].capture], image);
    }
    AddGrain(scene, image);
}

uint32_t SumOfImage(const struct Scene* scene, const uint8_t* image) {
    uint32_t sum = 2166136261u;  // FNV-1a
    for (int32_t pixel = 0; pixel < scene->width * scene->height; ++pixel) {
        sum = (sum ^ image[pixel]) * 16777619u;
    }
    return sum;
}
