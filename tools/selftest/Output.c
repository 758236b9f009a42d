// SPDX-License-Identifier: Apache-2.0
//
// Templates: those that go into calls, and room for those that come out.
#include <string.h>

#include "tools/selftest/Checks.h"
#include "tools/selftest/Report.h"

enum { kGuard = 0xA5 };

const uint8_t* PinnedTemplate(TemplateNumber number) {
    return number < kScenes ? kPinnedExtractions[number].bytes
                            : kPinnedEnrolments[number - kScenes].bytes;
}

void ClearOutput(struct Output* output) {
    memset(output, kGuard, sizeof *output);
}

void FillOutput(struct Output* output, const uint8_t* bytes) {
    ClearOutput(output);
    memcpy(output->bytes, bytes, sizeof output->bytes);
}

void ExpectIntactAround(const struct Output* output) {
    struct Output clear;
    ClearOutput(&clear);
    ExpectBytes("memory before the template", output->before, clear.before, sizeof clear.before);
    ExpectBytes("memory behind the template", output->after, clear.after, sizeof clear.after);
}
