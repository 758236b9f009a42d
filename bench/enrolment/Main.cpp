// SPDX-License-Identifier: Apache-2.0
//
// measure_enrolment FOLDER: what fusion and improvement are worth, on a folder of images named
// <finger>_<impression>.pgm.

#include <cstdio>
#include <exception>

#include "bench/enrolment/FingerFolder.h"
#include "include/QORFPApi.h"

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: measure_enrolment FOLDER\n");
        return 2;
    }
    QORFP_Initial(0);
    std::printf("\n");
    try {
        const enrolment::Fingers fingers = enrolment::ReadFingers(arguments[1]);
        std::printf("extraction: %zu fingers, failures %s\n", fingers.fingers.size(),
                    enrolment::Share(fingers.failedExtractions, fingers.images).c_str());
        enrolment::MeasureEnrolment(fingers);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "measure_enrolment: %s\n", error.what());
        return 2;
    }
    return 0;
}
