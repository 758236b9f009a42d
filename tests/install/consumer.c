// SPDX-License-Identifier: Apache-2.0
//
// consumer A.pgm B.pgm, from C: the score of two images, and the version text. What a project sees
// that has only the installed files.
#include <QORFPApi.h>
#include <stdio.h>

static uint32_t ReadTemplate(const char* path, uint8_t* finger) {
    static uint8_t image[QORFP_MAX_WIDTH * QORFP_MAX_HEIGHT];
    int32_t width = 0, height = 0, quality = 0;
    FILE* file = fopen(path, "rb");
    if (file == NULL) {
        return QORFP_FAILED;
    }
    if (fscanf(file, "P5 %3d %3d 255", &width, &height) != 2 || getc(file) != '\n' ||
        fread(image, 1, sizeof image, file) != (size_t)width * (size_t)height) {
        fclose(file);
        return QORFP_FAILED;
    }
    fclose(file);
    return QORFP_Extract(image, width, height, finger, &quality);
}

int main(int argc, char** argv) {
    uint8_t fresh[QORFP_TEMPLATE_BYTES], stored[QORFP_TEMPLATE_BYTES];
    char version[QORFP_VERSION_BYTES];
    int32_t score = 0;
    QORFP_Initial(0);
    if (argc != 3 || ReadTemplate(argv[1], fresh) != QORFP_OK ||
        ReadTemplate(argv[2], stored) != QORFP_OK || QORFP_Version(version) != QORFP_OK ||
        QORFP_Verify(fresh, stored, 3, &score) != QORFP_OK) {
        return 1;
    }
    printf("%s score %d\n", version, (int)score);
    return 0;
}
