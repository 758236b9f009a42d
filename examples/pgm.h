// SPDX-License-Identifier: Apache-2.0
//
// A small reader of finger images for the examples: binary PGM files ("P5", 8 bits a pixel), as
// scanners and image programs write them. A host with a sensor has the pixels in memory already.
#ifndef QORFP_EXAMPLES_PGM_H
#define QORFP_EXAMPLES_PGM_H

#include <QORFPApi.h>
#include <ctype.h>
#include <stdio.h>

struct FingerImage {
    int32_t width;
    int32_t height;
    uint8_t pixels[QORFP_MAX_WIDTH * QORFP_MAX_HEIGHT];  // row by row, no gaps
};

// The next number of the header, behind blanks and comments; -1 when there is none.
static int ReadPgmNumber(FILE* file) {
    int value = -1;
    int letter = getc(file);
    while (isspace(letter) || letter == '#') {
        if (letter == '#') {
            while (letter != '\n' && letter != EOF) {
                letter = getc(file);
            }
        } else {
            letter = getc(file);
        }
    }
    while (isdigit(letter) && value <= 10000) {
        value = (value < 0 ? 0 : 10 * value) + (letter - '0');
        letter = getc(file);
    }
    return value;  // the one blank behind the number is read
}

// Reads `path` into `image`. Returns 1; or 0 after one line on stderr that says what is wrong.
// Sizes are left to QORFP_Extract(), but for what the array holds.
static int ReadPgm(const char* path, struct FingerImage* image) {
    const char* reason = "cannot be opened";
    FILE* file = fopen(path, "rb");
    if (file != NULL) {
        reason = "is not a binary PGM file of 8 bits, 256 x 360 pixels at most";
        if (getc(file) == 'P' && getc(file) == '5') {
            image->width = ReadPgmNumber(file);
            image->height = ReadPgmNumber(file);
            const int white = ReadPgmNumber(file);
            if (image->width > 0 && image->width <= QORFP_MAX_WIDTH && image->height > 0 &&
                image->height <= QORFP_MAX_HEIGHT && white == 255) {
                const size_t size = (size_t)image->width * (size_t)image->height;
                reason = fread(image->pixels, 1, size, file) == size ? NULL : "is truncated";
            }
        }
        fclose(file);
    }
    if (reason != NULL) {
        fprintf(stderr, "%s: %s\n", path, reason);
    }
    return reason == NULL;
}

#endif
