// SPDX-License-Identifier: Apache-2.0
//
// measure_accuracy FOLDER: error rates on a folder of images named <finger>_<impression>.pgm.

#include <cstdio>
#include <exception>

#include "bench/accuracy/FingerFolder.h"
#include "include/QORFPApi.h"

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: measure_accuracy FOLDER\n");
        return 2;
    }
    QORFP_Initial(0);
    std::printf("\n");
    try {
        const accuracy::Fingers fingers = accuracy::ReadFingers(arguments[1]);
        std::printf("extraction: %zu fingers, failures %s\n", fingers.fingers.size(),
                    accuracy::Share(fingers.failedExtractions, fingers.images).c_str());
        accuracy::MeasureVerification(fingers);
        accuracy::MeasureEnrolment(fingers);
        accuracy::MeasureSearch(fingers);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "measure_accuracy: %s\n", error.what());
        return 2;
    }
    return 0;
}
