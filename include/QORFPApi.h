/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file QORFPApi.h
 * @brief Fingerprint recognition for embedded Linux: the whole public interface.
 *
 * A host turns finger images into 512-byte templates with QORFP_Extract(), stores them where it
 * likes, and compares two of them with QORFP_Verify(), or one with a list of them with
 * QORFP_Search(). QORFP_Enroll() fuses several captures of one finger into a better template, and
 * QORFP_Improve() keeps that template up to date. The library keeps no files, no database and no
 * pointer past a call.
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
    /** Invalid argument: null pointer, image size, security level, too few templates, no list. */
    QORFP_BAD_ARGUMENT = 5,
    /** The image does not show a finger. */
    QORFP_NO_FINGER = 6,
    /** Invalid template: wrong version text, too many minutiae, or an unusable index area. */
    QORFP_BAD_TEMPLATE = 8
};

/**
 * Makes the library ready. Call once, before any other thread uses the library; a second call is
 * harmless. Prints one line on standard output, with a blank behind its newline (as all log lines
 * of the library have). Does not take the mutex.
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
 * @return #QORFP_OK; #QORFP_FAILED when no usable template could be made (fewer than 6 minutiae, as
 *         images without a finger mostly have, or an image too small, also a size of 0 or below);
 *         #QORFP_NOT_INITIALISED; #QORFP_BAD_ARGUMENT for a null pointer or a size out of range
 *
 * A template with few minutiae may hold no index keys: QORFP_CheckFeature() then refuses it, and a
 * search ranks it last. Check a template before it goes into a list.
 */
QORFP_EXPORT uint32_t QORFP_Extract(const uint8_t* image, int32_t width, int32_t height,
                                    uint8_t* templateOut, int32_t* quality);

/**
 * Fuses two or three templates of one finger into an enrolment template: minutiae on which the
 * captures agree are averaged, and the covered area becomes that of all.
 *
 * Every capture must match at least one common base capture well (a score of 210 or more), so three
 * good captures with different parts of the finger in the middle are better than three equal ones.
 *
 * @param[in] templates `n` templates of #QORFP_TEMPLATE_BYTES bytes, back to back
 * @param n 2 or more; of more than three only the first three are used; of two, the first counts
 *        twice
 * @param[out] templateOut #QORFP_TEMPLATE_BYTES bytes; may be one of the inputs; may be partly
 *             written when the call fails
 * @param[out] quality the mean of the inputs' qualities, 0 to 100 for templates that the library
 *             made (an input with quality byte 0, also one that `templateOut` overwrites, counts by
 *             its number of minutiae); written only on success
 * @return #QORFP_OK; #QORFP_FAILED when the captures do not match each other well enough, one is
 *         unusable, or the result would have fewer than 10 minutiae; #QORFP_NOT_INITIALISED;
 *         #QORFP_BAD_ARGUMENT for a null pointer or n below 2
 */
QORFP_EXPORT uint32_t QORFP_Enroll(const uint8_t* templates, int32_t n, uint8_t* templateOut,
                                   int32_t* quality);

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
 * @param[out] score 0 to 2047; written whenever the matching ran (result 0 or 1). 0 when a
 *             template holds fewer than 6 or more than 60 minutiae or one of an unknown type, or
 *             its minutiae lie too far apart to be compared. Other damage goes unnoticed: the
 *             checksum is not verified.
 * @return #QORFP_OK when `*score` reaches the level's threshold; #QORFP_FAILED when it does not;
 *         #QORFP_BAD_ARGUMENT for a null pointer or a level outside 1 to 5; #QORFP_BAD_TEMPLATE
 *         when either version text is unknown
 */
QORFP_EXPORT uint32_t QORFP_Verify(const uint8_t* t1, const uint8_t* t2, int32_t level,
                                   int32_t* score);

/**
 * Finds a template of a list that matches a probe: the first of the ranked ones that leaves no
 * doubt (225 or more), else the best of those that were matched. The whole list is ranked by a fast index
 * score first; then the best-ranked entries are matched in full: all of a list of fewer than 200,
 * else count / 20 + 200 of them, and none after the first that scores 225 or more.
 *
 * Needs no QORFP_Initial(). Allocates 8 bytes an entry for the length of the call. An entry without
 * index keys ranks last: check a large list with QORFP_CheckFeature().
 *
 * @param[in] probe a "301" template
 * @param[in] list `count` pointers to "301" templates. One invalid entry makes the whole call fail;
 *            older ones must have been upgraded with QORFP_CheckFeature().
 * @param count number of entries, at least 1
 * @param level security level 1 to 5, see QORFP_Verify()
 * @param[out] index position in the list of the best match; written only on success; may be null
 * @param[out] score score of the entry that was matched last, which need not be the one at `*index`
 *             (call QORFP_Verify() for that one's score); written only on success; may be null
 * @return #QORFP_OK when an entry reached the level's threshold; #QORFP_FAILED when none did;
 *         #QORFP_NO_MEMORY; #QORFP_BAD_ARGUMENT for a null `probe`, `list` or entry, a level
 *         outside 1 to 5 or an empty list; #QORFP_BAD_TEMPLATE when the probe or an entry is not
 *         "301" or has a minutia count above 60 (a line on standard output names it)
 */
QORFP_EXPORT uint32_t QORFP_Identify(const uint8_t* probe, const uint8_t* const* list,
                                     uint32_t count, uint32_t level, uint32_t* index,
                                     int32_t* score);

/**
 * QORFP_Identify() for a list of templates back to back.
 *
 * @param[in] probe a "301" template
 * @param[in] list `count` templates of #QORFP_TEMPLATE_BYTES bytes, back to back
 * @param count number of entries, at least 1
 * @param level security level 1 to 5, see QORFP_Verify()
 * @param[out] index see QORFP_Identify()
 * @param[out] score see QORFP_Identify()
 * @return see QORFP_Identify()
 */
QORFP_EXPORT uint32_t QORFP_Search(const uint8_t* probe, const uint8_t* list, uint32_t count,
                                   uint32_t level, uint32_t* index, int32_t* score);

/**
 * Tests a stored template, and upgrades one of the older form ("300", without index area) in place.
 * Run it once over a stored gallery before using it with QORFP_Identify() or QORFP_Search().
 * Needs no QORFP_Initial().
 *
 * @param[in,out] templateInOut #QORFP_TEMPLATE_BYTES bytes; changed only by a successful upgrade
 * @param[out] converted 1 when the template was upgraded (store it back), else 0
 * @return #QORFP_OK when a "301" template has 1 to 60 minutiae and a well-formed index area (1 to
 *         19 keys), or when the template was upgraded; #QORFP_BAD_ARGUMENT for a null pointer;
 *         #QORFP_BAD_TEMPLATE for an unknown version, more than 60 minutiae, any other key count,
 *         or an old template that cannot be upgraded. An upgraded template whose minutiae yield no
 *         key is refused by the next check. Neither the minutiae of a "301" template nor the
 *         checksum are verified.
 */
QORFP_EXPORT uint32_t QORFP_CheckFeature(uint8_t* templateInOut, int32_t* converted);

/**
 * Updates an enrolled template from a fresh one that matches it without doubt (a score of 225 or
 * more), when that makes it better. Call it after an accepted match with the template just matched,
 * and store the enrolled template when the result is #QORFP_OK. Needs no QORFP_Initial().
 *
 * @param[in] sample a fresh "301" template of the same finger
 * @param[in,out] enrolled the enrolled template, #QORFP_TEMPLATE_BYTES bytes, which is not tested;
 *                its quality stays, its checksum is not rewritten
 * @return #QORFP_OK when `enrolled` was updated; #QORFP_FAILED when it was not (no certain match,
 *         or nothing to learn); #QORFP_BAD_ARGUMENT for a null pointer; #QORFP_BAD_TEMPLATE when
 *         the sample is not "301" or has a minutia count above 60
 */
QORFP_EXPORT uint32_t QORFP_Improve(const uint8_t* sample, uint8_t* enrolled);

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
