// SPDX-License-Identifier: Apache-2.0
//
// verify_pair A.pgm B.pgm: do two images show the same finger?
// Exit status: 0 they match, 1 they do not, 2 an image cannot be used.
#include <QORFPApi.h>
#include <stdio.h>

// Reads a binary PGM file without comments ("P5 WIDTH HEIGHT 255" and the pixels).
static int MakeTemplate(const char* path, uint8_t* finger) {
    static uint8_t image[QORFP_MAX_WIDTH * QORFP_MAX_HEIGHT];
    int32_t width = 0, height = 0, white = 0, quality = 0;
    size_t bytes = 0;
    FILE* file = fopen(path, "rb");
    if (file != NULL) {
        if (fscanf(file, "P5 %3d %3d %3d", &width, &height, &white) == 3 && getc(file) != EOF) {
            bytes = fread(image, 1, sizeof image, file);
        }
        fclose(file);
    }
    return white == 255 && bytes == (size_t)width * (size_t)height &&
           QORFP_Extract(image, width, height, finger, &quality) == QORFP_OK;
}

int main(int argc, char** argv) {
    uint8_t a[QORFP_TEMPLATE_BYTES], b[QORFP_TEMPLATE_BYTES];
    int32_t score = 0;
    QORFP_Initial(0);
    if (argc != 3 || !MakeTemplate(argv[1], a) || !MakeTemplate(argv[2], b)) {
        fprintf(stderr, "verify_pair: needs two finger images, binary PGM, 256 x 360 at most\n");
        return 2;
    }
    uint32_t result = QORFP_Verify(a, b, 3, &score);
    printf("score %d: %s\n", score, result == QORFP_OK ? "match" : "no match");
    return result == QORFP_OK ? 0 : 1;
}
