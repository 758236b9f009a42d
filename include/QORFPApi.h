/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file QORFPApi.h
 * @brief Fingerprint recognition for embedded Linux: the whole public interface.
 *
 * A host turns finger images into 512-byte templates with QORFP_Extract(), stores them where it
 * likes, and compares two of them with QORFP_Verify(). The library keeps no files, no database and
 * no pointer past a call.
 *
 * **Images** are 8-bit grey, row-major, no gap between rows, dark ridges on a light ground, about
 * 508 dots per inch. Width at most 256, height at most 360, both multiples of 4. An image of
 * exactly 152 x 200 pixels is taken for the small sensor of about 363 dots per inch and is scaled
 * to 212 x 279 before anything else.
 *
 * **Templates** are 512 bytes, the same on every machine; no part of them depends on byte order or
 * pointer size. Byte 3 is the number of minutiae (6 to 60 in a usable template), byte 369 the
 * quality. Treat the rest as opaque.
 *
 * **Scores** run from 0 to 2047. They are not probabilities; compare them with the threshold of a
 * security level (see QORFP_Verify()).
 *
 * **Ownership:** the caller owns every array it passes, for the whole call; outputs are written
 * before the call returns. Output arrays must not overlap inputs unless a call says so.
 *
 * **Threads:** calls may come from any thread. All algorithm work happens in one static buffer of
 * 204,800 bytes, so one mutex makes the calls run one at a time. QORFP_Initial(), QORFP_Version()
 * and QORFP_BuildTime() run without the mutex: call QORFP_Initial() once, before other threads use
 * the library.
 *
 * Every call returns one of the result codes below.
 */
#ifndef QORFP_API_H
#define QORFP_API_H

#include <stdint.h>

#if defined(__GNUC__)
#define QORFP_EXPORT __attribute__((visibility("default")))
#else
#define QORFP_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Size of a template in bytes. */
#define QORFP_TEMPLATE_BYTES 512

/** Largest image that QORFP_Extract() and QORFP_CheckFinger() take, in pixels. */
#define QORFP_MAX_WIDTH 256
/** See #QORFP_MAX_WIDTH. */
#define QORFP_MAX_HEIGHT 360

/** Bytes that QORFP_Version() writes, the final NUL included. */
#define QORFP_VERSION_BYTES 19
/** Bytes that QORFP_BuildTime() writes, the final NUL included. */
#define QORFP_BUILD_TIME_BYTES 20

/** Result codes. The numbers are fixed for good; 7 is not used. */
enum QORFP_Result {
    /** Success; for QORFP_Verify(): the fingers match; for QORFP_CheckFinger(): a finger. */
    QORFP_OK = 0,
    /** The operation ran and failed or found nothing: no usable template, or no match. */
    QORFP_FAILED = 1,
    /** The candidate arrays of a search could not be allocated. */
    QORFP_NO_MEMORY = 2,
    /** QORFP_Initial() has not been called. */
    QORFP_NOT_INITIALISED = 3,
    /** A null pointer for a text output. */
    QORFP_NULL_OUTPUT = 4,
    /** Invalid argument: null pointer, image size, or security level. */
    QORFP_BAD_ARGUMENT = 5,
    /** The image does not show a finger. */
    QORFP_NO_FINGER = 6,
    /** Invalid template: wrong version text, or too many minutiae. */
    QORFP_BAD_TEMPLATE = 8
};

/**
 * Makes the library ready. Call once, before any other thread uses the library; a second call is
 * harmless. Prints one line on standard output. Does not take the mutex.
 *
 * @param reserved not used; pass 0
 * @return #QORFP_OK
 */
QORFP_EXPORT uint32_t QORFP_Initial(int32_t reserved);

/**
 * Writes the version text, "MEL_FPR_AI3_V1.1.3" and a NUL: #QORFP_VERSION_BYTES bytes.
 * Needs no QORFP_Initial() and does not take the mutex.
 *
 * @param[out] dst at least #QORFP_VERSION_BYTES bytes
 * @return #QORFP_OK, or #QORFP_NULL_OUTPUT when `dst` is null
 */
QORFP_EXPORT uint32_t QORFP_Version(char* dst);

/**
 * Writes the build-time text, "2020-08-20 15:23:14" and a NUL: #QORFP_BUILD_TIME_BYTES bytes. The
 * text names the algorithm's freeze, not the compilation, so that builds are reproducible.
 * Needs no QORFP_Initial() and does not take the mutex.
 *
 * @param[out] dst at least #QORFP_BUILD_TIME_BYTES bytes
 * @return #QORFP_OK, or #QORFP_NULL_OUTPUT when `dst` is null
 */
QORFP_EXPORT uint32_t QORFP_BuildTime(char* dst);

/**
 * Makes a template from a grey finger image.
 *
 * @param[in] image width x height bytes, see "Images" above; not changed
 * @param width in pixels, at most #QORFP_MAX_WIDTH, a multiple of 4
 * @param height in pixels, at most #QORFP_MAX_HEIGHT, a multiple of 4
 * @param[out] templateOut #QORFP_TEMPLATE_BYTES bytes; may be partly written when the call fails
 * @param[out] quality 0 to 100, the coherence of the ridges in the usable area; written only on
 *             success. 50 and more is usual for a clean finger.
 * @return #QORFP_OK; #QORFP_FAILED when no usable template could be made (fewer than 6 minutiae,
 *         no finger, an image too small, also a size of 0 or below); #QORFP_NOT_INITIALISED;
 *         #QORFP_BAD_ARGUMENT for a null pointer or a size out of range
 */
QORFP_EXPORT uint32_t QORFP_Extract(const uint8_t* image, int32_t width, int32_t height,
                                    uint8_t* templateOut, int32_t* quality);

/**
 * Compares two templates. The score is not exactly symmetric: keep the order (for example: the
 * fresh template first, the stored one second) the same throughout a system.
 *
 * | level     | 1   | 2   | 3   | 4   | 5   |
 * |-----------|-----|-----|-----|-----|-----|
 * | threshold | 150 | 165 | 180 | 195 | 210 |
 *
 * Needs no QORFP_Initial().
 *
 * @param[in] t1 a template
 * @param[in] t2 a template
 * @param level security level 1 (most tolerant) to 5 (strictest)
 * @param[out] score 0 to 2047; written whenever the matching ran (result 0 or 1). A template with
 *             a correct version text that is damaged otherwise gives 0.
 * @return #QORFP_OK when `*score` reaches the level's threshold; #QORFP_FAILED when it does not;
 *         #QORFP_BAD_ARGUMENT for a null pointer or a level outside 1 to 5; #QORFP_BAD_TEMPLATE
 *         when either version text is unknown
 */
QORFP_EXPORT uint32_t QORFP_Verify(const uint8_t* t1, const uint8_t* t2, int32_t level,
                                   int32_t* score);

/**
 * Decides from the raw image alone, by the contrast of its 8 x 8 pixel blocks, whether a finger
 * lies on the sensor. Much cheaper than QORFP_Extract(). Needs no QORFP_Initial().
 *
 * @param[in] image width x height bytes
 * @param width in pixels, at most #QORFP_MAX_WIDTH, a multiple of 4
 * @param height in pixels, at most #QORFP_MAX_HEIGHT, a multiple of 4
 * @return #QORFP_OK when a finger is present; #QORFP_NO_FINGER; #QORFP_BAD_ARGUMENT for a size out
 *         of range, or a null image that would have to be read. A width or height below 36 holds
 *         no block to look at: #QORFP_NO_FINGER.
 */
QORFP_EXPORT uint32_t QORFP_CheckFinger(const uint8_t* image, uint32_t width, int32_t height);

#ifdef __cplusplus
}
#endif

#endif /* QORFP_API_H */
