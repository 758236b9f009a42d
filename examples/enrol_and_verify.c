// SPDX-License-Identifier: Apache-2.0
//
// enrol_and_verify GALLERY A.pgm B.pgm C.pgm FRESH.pgm...
//
// Three captures of one finger become an enrolled template, which is added to the file GALLERY (a
// list of templates back to back, see door_lock.c) and then compared with fresh captures.
//
// Exit status: 0 done, 1 the finger could not be enrolled, 2 a file cannot be used.
#include <QORFPApi.h>
#include <stdio.h>

#include "pgm.h"

enum {
    kCaptures = 3,
    kLevel = 3  // 1 most tolerant .. 5 strictest
};

// A template of the image at `path`. Returns 1; or 0 after a line that says why not.
static int MakeTemplate(const char* path, uint8_t* finger) {
    static struct FingerImage image;  // 92 KB: too much for the stack of a small device
    int32_t quality = 0;
    if (!ReadPgm(path, &image)) {
        return 0;
    }
    // Cheap, and tells an empty sensor from a finger that was read badly.
    if (QORFP_CheckFinger(image.pixels, (uint32_t)image.width, image.height) == QORFP_NO_FINGER) {
        fprintf(stderr, "%s: shows no finger\n", path);
        return 0;
    }
    const uint32_t result =
        QORFP_Extract(image.pixels, image.width, image.height, finger, &quality);
    if (result != QORFP_OK) {
        fprintf(stderr, "%s: no template could be made (code %u)\n", path, (unsigned)result);
        return 0;
    }
    printf("%s: %d minutiae, quality %d\n", path, finger[3], (int)quality);
    return 1;
}

// Adds one template to the end of the gallery file. (Where the power may fail, write a new file and
// rename it, as door_lock.c does.)
static int AppendTemplate(const char* path, const uint8_t* finger) {
    FILE* file = fopen(path, "ab");
    int isWritten = 0;
    if (file != NULL) {
        isWritten = fwrite(finger, QORFP_TEMPLATE_BYTES, 1, file) == 1;
        isWritten = fclose(file) == 0 && isWritten;
    }
    if (!isWritten) {
        fprintf(stderr, "%s: cannot be written\n", path);
    }
    return isWritten;
}

int main(int argc, char** argv) {
    uint8_t captures[kCaptures * QORFP_TEMPLATE_BYTES];  // back to back
    uint8_t enrolled[QORFP_TEMPLATE_BYTES];
    int32_t quality = 0;
    if (argc < 2 + kCaptures + 1) {
        fprintf(stderr, "enrol_and_verify GALLERY A.pgm B.pgm C.pgm FRESH.pgm...\n");
        return 2;
    }
    // Once, before any other thread uses the library. Prints a line on standard output.
    QORFP_Initial(0);

    for (int i = 0; i < kCaptures; ++i) {
        if (!MakeTemplate(argv[2 + i], captures + i * QORFP_TEMPLATE_BYTES)) {
            return 2;
        }
    }
    // Fails when the captures do not agree, for example when they show different fingers. A host
    // asks for the finger again then; it never stores a template that came out of a failed call.
    if (QORFP_Enroll(captures, kCaptures, enrolled, &quality) != QORFP_OK) {
        printf("not enrolled: the captures do not match each other well enough\n");
        return 1;
    }
    printf("enrolled: %d minutiae, quality %d\n", enrolled[3], (int)quality);
    if (!AppendTemplate(argv[1], enrolled)) {
        return 2;
    }

    for (int i = 2 + kCaptures; i < argc; ++i) {
        uint8_t fresh[QORFP_TEMPLATE_BYTES];
        int32_t score = 0;
        if (!MakeTemplate(argv[i], fresh)) {
            return 2;
        }
        // The fresh template first, the stored one second, everywhere: scores are not symmetric.
        const uint32_t result = QORFP_Verify(fresh, enrolled, kLevel, &score);
        printf("%s: score %d, %s\n", argv[i], (int)score,
               result == QORFP_OK ? "the enrolled finger" : "another finger");
    }
    return 0;
}
