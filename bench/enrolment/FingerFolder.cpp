// SPDX-License-Identifier: Apache-2.0

#include "bench/enrolment/FingerFolder.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>

#include "include/QORFPApi.h"
#include "tests/support/Pgm.h"

namespace enrolment {

Fingers ReadFingers(const std::string& folder) {
    Fingers all;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        int finger = 0;
        int impression = 0;
        if (entry.path().extension() != ".pgm" ||
            std::sscanf(entry.path().stem().c_str(), "%d_%d", &finger, &impression) != 2) {
            continue;
        }
        const support::PgmImage image = support::ReadPgm(entry.path().string());
        Template bytes;
        int32_t quality = 0;
        ++all.images;
        if (QORFP_Extract(image.pixels.data(), image.width, image.height, bytes.data(), &quality) ==
            QORFP_OK) {
            all.fingers[finger][impression] = bytes;
        } else {
            ++all.failedExtractions;
        }
    }
    if (all.images == 0) {
        throw std::runtime_error(folder + ": no images named <finger>_<impression>.pgm");
    }
    return all;
}

int32_t ScoreOf(const Template& enrolled, const Template& probe) {
    int32_t score = 0;
    QORFP_Verify(enrolled.data(), probe.data(), 1, &score);
    return score;
}

std::string Share(int count, int all) {
    char text[64];
    std::snprintf(text, sizeof(text), "%d of %d (%.2f %%)", count, all,
                  all > 0 ? 100.0 * count / all : 0.0);
    return text;
}

}  // namespace enrolment
