// SPDX-License-Identifier: Apache-2.0
//
// The library's whole mutable state: three variables, static, zero at load, never torn down.
#pragma once

#include <pthread.h>
#include <stdint.h>

#include "engine/Work.h"

extern "C" {

/// Ready flag: 0 before QORFP_Initial, 1 after it.
extern int32_t g_isQrBio;

/// Serialises the exported calls that use the work buffer. The only lock, so there is no order.
extern pthread_mutex_t g_fp_mutex;

/// The work buffer of the public calls.
alignas(8) extern uint8_t g_bFPEngineBuffer[qorfp::kWorkBytes];

}  // extern "C"

namespace qorfp {

/// Holds g_fp_mutex for the length of a block.
class EngineLock {
  public:
    EngineLock() { pthread_mutex_lock(&g_fp_mutex); }
    ~EngineLock() { pthread_mutex_unlock(&g_fp_mutex); }
    EngineLock(const EngineLock&) = delete;
    EngineLock& operator=(const EngineLock&) = delete;
};

}  // namespace qorfp
