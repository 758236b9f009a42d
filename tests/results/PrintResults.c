// SPDX-License-Identifier: Apache-2.0
//
// print_results IMAGE.pgm...: what every exported call gives for the images, for windows and damaged
// copies of them and for damaged templates, as text. scripts/cross.sh compares the outputs of all
// machines; what the results should be is the other tests' matter.
#include <QORFPApi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "examples/pgm.h"

enum {
    kMostImages = 64,
    kSensorWidth = 152,  // the small sensor, whose images are scaled
    kSensorHeight = 200,
    kDamagedImages = 6,  // copies of each image
    kDamagedTemplates = 12,
    kVersionBytes = 3,  // at the start of a template, and not damaged
    kListCopies = 8,    // of all templates in the long list: more than are matched in full
    kMostEntries = kMostImages * kListCopies
};

// Exported without being declared.
int32_t quickSort(int32_t* keys, int32_t n, int32_t* scratch);
int32_t quickSortEx(int32_t* keys, int32_t* values, int32_t n, int32_t* scratch);

static int imageCount;
static struct FingerImage images[kMostImages];
static uint8_t templates[kMostEntries][QORFP_TEMPLATE_BYTES];

// The same numbers on every machine, 0..bound - 1.
static uint32_t Random(uint32_t bound) {
    static uint64_t state = 1;
    state = state * 6364136223846793005u + 1442695040888963407u;
    return (uint32_t)((state >> 33) % bound);
}

// Gives `hits` bytes at random places random values.
static void Damage(uint8_t* bytes, uint32_t count, uint32_t hits) {
    for (; hits > 0; --hits) {
        const uint32_t place = Random(count);
        bytes[place] = (uint8_t)Random(256);
    }
}

static void PrintHex(const uint8_t* bytes, size_t count) {
    for (size_t k = 0; k < count; ++k) {
        printf("%02x", bytes[k]);
    }
    printf("\n");
}

static void PrintTexts(void) {
    char version[QORFP_VERSION_BYTES];
    char time[QORFP_BUILD_TIME_BYTES];
    printf("%u", (unsigned)QORFP_Version(version));
    printf(" %s ", version);
    printf("%u", (unsigned)QORFP_BuildTime(time));
    printf(" %s\n", time);
}

static void PrintExtraction(const struct FingerImage* image, uint8_t* bytes) {
    int32_t quality = -1;
    memset(bytes, 0, QORFP_TEMPLATE_BYTES);
    const unsigned finger =
        (unsigned)QORFP_CheckFinger(image->pixels, (uint32_t)image->width, image->height);
    const unsigned result =
        (unsigned)QORFP_Extract(image->pixels, image->width, image->height, bytes, &quality);
    printf("%d x %d: finger %u, extract %u, quality %d ", (int)image->width, (int)image->height,
           finger, result, (int)quality);
    PrintHex(bytes, QORFP_TEMPLATE_BYTES);
}

// A part of an image, both sides multiples of 4 as the library wants them.
static void CutWindow(const struct FingerImage* from, int32_t width, int32_t height,
                      struct FingerImage* window) {
    window->width = width;
    window->height = height;
    const int32_t left = (int32_t)Random((uint32_t)(from->width - width + 1));
    const int32_t top = (int32_t)Random((uint32_t)(from->height - height + 1));
    for (int32_t y = 0; y < height; ++y) {
        memcpy(window->pixels + y * width, from->pixels + (top + y) * from->width + left,
               (size_t)width);
    }
}

static void PrintDamagedImages(const struct FingerImage* image) {
    static struct FingerImage copy;
    uint8_t bytes[QORFP_TEMPLATE_BYTES];
    if (image->width >= kSensorWidth && image->height >= kSensorHeight) {
        CutWindow(image, kSensorWidth, kSensorHeight, &copy);
        PrintExtraction(&copy, bytes);
    }
    for (int k = 0; k < kDamagedImages; ++k) {
        const int32_t width = 4 * (1 + (int32_t)Random((uint32_t)image->width / 4));
        const int32_t height = 4 * (1 + (int32_t)Random((uint32_t)image->height / 4));
        CutWindow(image, width, height, &copy);
        const uint32_t pixels = (uint32_t)(width * height);
        Damage(copy.pixels, pixels, Random(2) == 0 ? pixels / 50 : pixels / 3);
        PrintExtraction(&copy, bytes);
    }
}

static void PrintVerifications(void) {
    for (int a = 0; a < imageCount; ++a) {
        for (int b = 0; b < imageCount; ++b) {
            int32_t score = -1;
            const int32_t level = 1 + (a + b) % 5;
            const unsigned result =
                (unsigned)QORFP_Verify(templates[a], templates[b], level, &score);
            printf("verify %d %d: %u %d\n", a, b, result, (int)score);
        }
    }
}

// Fusions of two and three that lie together, of one finger or of two; and improvement of the first
// by all that follow.
static void PrintGrowth(void) {
    for (int first = 0; first + 3 <= imageCount; ++first) {
        for (int32_t n = 2; n <= 3; ++n) {
            uint8_t fused[QORFP_TEMPLATE_BYTES] = {0};
            int32_t quality = -1;
            const unsigned result = (unsigned)QORFP_Enroll(templates[first], n, fused, &quality);
            printf("enroll %d of %d: %u %d ", (int)n, first, result, (int)quality);
            PrintHex(fused, sizeof fused);
        }
        uint8_t enrolled[QORFP_TEMPLATE_BYTES];
        memcpy(enrolled, templates[first], sizeof enrolled);
        for (int sample = first + 1; sample < imageCount; ++sample) {
            const unsigned result = (unsigned)QORFP_Improve(templates[sample], enrolled);
            printf("improve %d by %d: %u ", first, sample, result);
            PrintHex(enrolled, sizeof enrolled);
        }
    }
}

static void PrintSearches(void) {
    const uint8_t* pointers[kMostEntries];
    const int entryCount = imageCount * kListCopies;
    for (int k = 0; k < entryCount; ++k) {
        if (k >= imageCount) {
            memcpy(templates[k], templates[k - imageCount], QORFP_TEMPLATE_BYTES);
        }
        pointers[k] = templates[entryCount - 1 - k];
    }
    for (int probe = 0; probe < imageCount; ++probe) {
        for (uint32_t level = 1; level <= 5; level += 2) {
            // Once without the probe itself, once with it and all its copies.
            const int first = probe + 1;
            const uint32_t fewer = (uint32_t)(imageCount - 1);
            uint32_t index = 0xFFFF;
            int32_t score = -1;
            unsigned result = (unsigned)QORFP_Search(templates[probe], templates[first], fewer,
                                                     level, &index, &score);
            printf("search %d: %u %u %d", probe, result, (unsigned)index, (int)score);
            index = 0xFFFF;
            score = -1;
            result = (unsigned)QORFP_Identify(templates[probe], pointers, (uint32_t)entryCount,
                                              level, &index, &score);
            printf(", identify: %u %u %d\n", result, (unsigned)index, (int)score);
        }
    }
}

static void PrintDamagedTemplates(void) {
    for (int k = 0; k < imageCount; ++k) {
        for (int copy = 0; copy < kDamagedTemplates; ++copy) {
            uint8_t bytes[QORFP_TEMPLATE_BYTES];
            memcpy(bytes, templates[k], sizeof bytes);
            Damage(bytes + kVersionBytes, sizeof bytes - kVersionBytes,
                   1 + Random(1u << Random(7)));
            int32_t before = -1;
            int32_t after = -1;
            int32_t converted = -1;
            const int other = (k + copy) % imageCount;
            const unsigned asFirst = (unsigned)QORFP_Verify(bytes, templates[other], 3, &before);
            const unsigned asSecond = (unsigned)QORFP_Verify(templates[other], bytes, 3, &after);
            const unsigned check = (unsigned)QORFP_CheckFeature(bytes, &converted);
            printf("damaged %d %d: %u %d, %u %d, check %u %d ", k, copy, asFirst, (int)before,
                   asSecond, (int)after, check, (int)converted);
            PrintHex(bytes, sizeof bytes);
        }
    }
}

static void PrintSorts(void) {
    enum { kCount = 304, kScratch = 40 };
    for (uint32_t kinds = 2; kinds <= 512; kinds *= 4) {
        int32_t keys[kCount];
        int32_t copy[kCount];
        int32_t places[kCount];
        int32_t scratch[kScratch];
        for (int32_t k = 0; k < kCount; ++k) {
            keys[k] = copy[k] = (int32_t)Random(kinds) - 100;
            places[k] = k;
        }
        const int result = (int)quickSort(copy, kCount, scratch);
        printf("sorted: %d %d\n", result, (int)quickSortEx(keys, places, kCount, scratch));
        for (int32_t k = 0; k < kCount; ++k) {
            printf("%d %d %d%c", (int)copy[k], (int)keys[k], (int)places[k],
                   k % 8 == 7 ? '\n' : ' ');
        }
    }
}

int main(int argc, char** argv) {
    imageCount = argc - 1;
    if (imageCount < 3 || imageCount > kMostImages) {
        fprintf(stderr, "print_results IMAGE.pgm... (3 to %d)\n", (int)kMostImages);
        return 2;
    }
    QORFP_Initial(0);
    PrintTexts();
    for (int k = 0; k < imageCount; ++k) {
        if (!ReadPgm(argv[1 + k], &images[k])) {
            return 2;
        }
        PrintExtraction(&images[k], templates[k]);
    }
    for (int k = 0; k < imageCount; ++k) {
        PrintDamagedImages(&images[k]);
    }
    PrintVerifications();
    PrintGrowth();
    PrintSearches();
    PrintDamagedTemplates();
    PrintSorts();
    return fflush(stdout) == 0 ? 0 : 2;
}
