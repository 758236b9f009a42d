// SPDX-License-Identifier: Apache-2.0
//
// Whether the engine's mutex is held.
#pragma once

#include <pthread.h>

#include "api/State.h"

namespace searchtest {

/// True when nobody holds the engine's mutex.
inline bool IsEngineFree() {
    if (pthread_mutex_trylock(&g_fp_mutex) != 0) {
        return false;
    }
    pthread_mutex_unlock(&g_fp_mutex);
    return true;
}

}  // namespace searchtest
