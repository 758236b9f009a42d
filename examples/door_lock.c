// SPDX-License-Identifier: Apache-2.0
//
// door_lock GALLERY CAPTURE.pgm...
//
// The loop of a door lock: each capture is searched in a list of enrolled fingers (the file GALLERY:
// templates back to back, as enrol_and_verify.c writes it). After a match the door opens, and the
// enrolled template learns from the capture.
//
// Exit status: 0 the loop ran to its end, 2 the gallery cannot be used.
#include <QORFPApi.h>
#include <stdio.h>

#include "pgm.h"

enum {
    kMaxFingers = 100,
    kLevel = 4  // a door: rather once too often refused than once too often opened
};

// Reads the gallery into `fingers` and returns the number of entries, 0 after a complaint.
static uint32_t LoadGallery(const char* path, uint8_t* fingers) {
    uint32_t count = 0;
    FILE* file = fopen(path, "rb");
    if (file == NULL) {
        fprintf(stderr, "%s: cannot be opened\n", path);
        return 0;
    }
    while (count < kMaxFingers) {
        uint8_t* entry = fingers + count * QORFP_TEMPLATE_BYTES;
        int32_t isConverted = 0;
        if (fread(entry, QORFP_TEMPLATE_BYTES, 1, file) != 1) {
            break;
        }
        // One unusable entry makes QORFP_Search() refuse the whole list and would lock everybody
        // out. It is dropped; entries of the older version are upgraded on the way.
        if (QORFP_CheckFeature(entry, &isConverted) == QORFP_OK) {
            ++count;
        } else {
            fprintf(stderr, "%s: an entry is damaged; enrol that finger again\n", path);
        }
    }
    if (count == kMaxFingers && getc(file) != EOF) {
        fprintf(stderr, "%s: holds more than %d fingers\n", path, kMaxFingers);
        count = 0;  // storing the gallery would lose the others
    } else if (count == 0) {
        fprintf(stderr, "%s: holds no usable template\n", path);
    }
    fclose(file);
    return count;
}

// Writes a new file and renames it, so that a power cut leaves either the old gallery or the new
// one. (On a real device, fsync() the file before it is renamed.)
static int StoreGallery(const char* path, const uint8_t* fingers, uint32_t count) {
    char temporary[1024];
    const int length = snprintf(temporary, sizeof temporary, "%s.new", path);
    if (length < 0 || (size_t)length >= sizeof temporary) {
        return 0;
    }
    FILE* file = fopen(temporary, "wb");
    if (file == NULL) {
        return 0;
    }
    int isWritten = fwrite(fingers, QORFP_TEMPLATE_BYTES, count, file) == count;
    isWritten = fclose(file) == 0 && isWritten;
    if (!isWritten) {
        remove(temporary);
        return 0;
    }
    return rename(temporary, path) == 0;
}

// One turn of the loop: somebody put a finger on the sensor.
static void HandleCapture(const struct FingerImage* image, uint8_t* fingers, uint32_t count,
                          const char* galleryPath) {
    uint8_t probe[QORFP_TEMPLATE_BYTES];
    int32_t quality = 0;
    int32_t score = 0;
    uint32_t index = 0;
    if (QORFP_CheckFinger(image->pixels, (uint32_t)image->width, image->height) != QORFP_OK ||
        QORFP_Extract(image->pixels, image->width, image->height, probe, &quality) != QORFP_OK) {
        printf("please put your finger on the sensor again\n");
        return;
    }
    // The score that the search could give belongs to the entry it matched last, not to the one
    // found; so it is not asked for. QORFP_Verify() gives the right one, for the log.
    if (QORFP_Search(probe, fingers, count, kLevel, &index, NULL) != QORFP_OK) {
        printf("the door stays shut\n");
        return;
    }
    uint8_t* enrolled = fingers + (size_t)index * QORFP_TEMPLATE_BYTES;
    QORFP_Verify(probe, enrolled, kLevel, &score);
    printf("finger %u, score %d: the door opens\n", (unsigned)index, (int)score);

    // Fingers change; the enrolled template follows. Only a certain match (225 or more, whatever
    // the level) that makes the template better changes it.
    if (QORFP_Improve(probe, enrolled) == QORFP_OK) {
        printf("finger %u has learnt%s\n", (unsigned)index,
               StoreGallery(galleryPath, fingers, count) ? "" : ", but cannot be stored");
    }
}

int main(int argc, char** argv) {
    static uint8_t fingers[kMaxFingers * QORFP_TEMPLATE_BYTES];
    static struct FingerImage image;
    if (argc < 3) {
        fprintf(stderr, "door_lock GALLERY CAPTURE.pgm...\n");
        return 2;
    }
    QORFP_Initial(0);
    const uint32_t count = LoadGallery(argv[1], fingers);
    if (count == 0) {
        return 2;
    }
    printf("%u enrolled fingers\n", (unsigned)count);
    for (int i = 2; i < argc; ++i) {  // a real lock waits for the sensor here, for ever
        if (ReadPgm(argv[i], &image)) {
            HandleCapture(&image, fingers, count, argv[1]);
        }
    }
    return 0;
}
