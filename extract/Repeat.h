// SPDX-License-Identifier: Apache-2.0
//
// QORFP_REPEAT_n(entry, i): entry(i), entry(i + 1), ... n times, the initialiser of a table that
// follows a rule. A plain array needs its entries spelled out: only so does it keep its C name and
// type and need no start-up code.
#pragma once

#define QORFP_REPEAT_1(entry, i) entry(i)
#define QORFP_REPEAT_2(entry, i) QORFP_REPEAT_1(entry, i), QORFP_REPEAT_1(entry, (i) + 1)
#define QORFP_REPEAT_4(entry, i) QORFP_REPEAT_2(entry, i), QORFP_REPEAT_2(entry, (i) + 2)
#define QORFP_REPEAT_8(entry, i) QORFP_REPEAT_4(entry, i), QORFP_REPEAT_4(entry, (i) + 4)
#define QORFP_REPEAT_16(entry, i) QORFP_REPEAT_8(entry, i), QORFP_REPEAT_8(entry, (i) + 8)
#define QORFP_REPEAT_32(entry, i) QORFP_REPEAT_16(entry, i), QORFP_REPEAT_16(entry, (i) + 16)
#define QORFP_REPEAT_64(entry, i) QORFP_REPEAT_32(entry, i), QORFP_REPEAT_32(entry, (i) + 32)
#define QORFP_REPEAT_128(entry, i) QORFP_REPEAT_64(entry, i), QORFP_REPEAT_64(entry, (i) + 64)
#define QORFP_REPEAT_256(entry, i) QORFP_REPEAT_128(entry, i), QORFP_REPEAT_128(entry, (i) + 128)
#define QORFP_REPEAT_512(entry, i) QORFP_REPEAT_256(entry, i), QORFP_REPEAT_256(entry, (i) + 256)
#define QORFP_REPEAT_1024(entry, i) QORFP_REPEAT_512(entry, i), QORFP_REPEAT_512(entry, (i) + 512)
#define QORFP_REPEAT_2048(entry, i) \
    QORFP_REPEAT_1024(entry, i), QORFP_REPEAT_1024(entry, (i) + 1024)
#define QORFP_REPEAT_4096(entry, i) \
    QORFP_REPEAT_2048(entry, i), QORFP_REPEAT_2048(entry, (i) + 2048)
#define QORFP_REPEAT_8192(entry, i) \
    QORFP_REPEAT_4096(entry, i), QORFP_REPEAT_4096(entry, (i) + 4096)
#define QORFP_REPEAT_16384(entry, i) \
    QORFP_REPEAT_8192(entry, i), QORFP_REPEAT_8192(entry, (i) + 8192)
