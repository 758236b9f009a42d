// SPDX-License-Identifier: Apache-2.0

#include "api/State.h"

int32_t g_isQrBio = 0;
pthread_mutex_t g_fp_mutex = PTHREAD_MUTEX_INITIALIZER;
alignas(8) uint8_t g_bFPEngineBuffer[qorfp::kWorkBytes];
