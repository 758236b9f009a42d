// SPDX-License-Identifier: Apache-2.0
//
// The checks by group; each runs until something differs. Result codes of wrong arguments stand
// where they are checked, as the public header has them; everything computed is pinned (Pinned.h).
#ifndef QORFP_SELFTEST_CHECKS_H
#define QORFP_SELFTEST_CHECKS_H

#include "tools/selftest/Pinned.h"

/// Before and with QORFP_Initial: readiness, texts.
void CheckStart(void);

/// QORFP_CheckFinger and QORFP_Extract.
void CheckExtraction(void);

/// QORFP_Enroll, QORFP_Improve and QORFP_CheckFeature.
void CheckTemplates(void);

/// QORFP_Verify, QORFP_Identify and QORFP_Search.
void CheckMatching(void);

/// The 512 bytes that stand behind a number.
const uint8_t* PinnedTemplate(TemplateNumber number);

/// An output of the library with bytes around it that must stay.
struct Output {
    uint8_t before[16];
    uint8_t bytes[QORFP_TEMPLATE_BYTES];
    uint8_t after[16];
};

void ClearOutput(struct Output* output);

/// As ClearOutput, with a template in it.
void FillOutput(struct Output* output, const uint8_t* bytes);

void ExpectIntactAround(const struct Output* output);

#endif
