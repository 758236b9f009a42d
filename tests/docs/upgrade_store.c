// SPDX-License-Identifier: Apache-2.0
//
// Runs the function that docs/integration.md shows, which stands before this text when it is compiled.
#include <stdio.h>
#include <string.h>

#include "tools/selftest/Pinned.h"

static int failures;

static void Expect(const char* what, int condition) {
    if (!condition) {
        printf("%s\n", what);
        ++failures;
    }
}

int main(void) {
    uint8_t bytes[QORFP_TEMPLATE_BYTES];
    const uint8_t* const current = kPinnedExtractions[0].bytes;

    memcpy(bytes, current, sizeof bytes);
    Expect("a good template is not kept", UpgradeTemplate(bytes) == KEEP);
    Expect("a good template is changed", memcmp(bytes, current, sizeof bytes) == 0);

    memset(bytes + 370, 0, sizeof bytes - 370);
    Expect("one without keys is taken", UpgradeTemplate(bytes) == ENROL_AGAIN);
    memcpy(bytes, "300", 3);
    Expect("an old one is not upgraded", UpgradeTemplate(bytes) == STORE_BACK);
    Expect("an old one becomes another",
           memcmp(bytes, kPinnedUpgrade.bytes, sizeof bytes) == 0 && kPinnedUpgrade.source == 0);
    Expect("an upgraded one is not kept", UpgradeTemplate(bytes) == KEEP);

    // The first minutia only, six times: no key can be made of them.
    memcpy(bytes, "300", 3);
    bytes[3] = 6;
    for (size_t minutia = 1; minutia < 6; ++minutia) {
        memcpy(bytes + 4 + 6 * minutia, bytes + 4, 6);
    }
    Expect("an old one without keys is taken", UpgradeTemplate(bytes) == ENROL_AGAIN);

    memcpy(bytes, "299", 3);
    Expect("an unknown one is taken", UpgradeTemplate(bytes) == ENROL_AGAIN);
    return failures == 0 ? 0 : 1;
}
