// SPDX-License-Identifier: Apache-2.0
//
// identify_pointers PROBE.pgm PERSON.pgm...
//
// Identification in an array of pointers, for hosts whose templates do not lie back to back (one in
// each record of a person, say). To show what such a host must know, the list first gets a null
// pointer and a damaged template: either makes the library refuse the whole list.
//
// Exit status: 0 found, 1 nobody, 2 a file cannot be used.
#include <QORFPApi.h>
#include <stdio.h>
#include <string.h>

#include "pgm.h"

enum { kMaxPersons = 50, kLevel = 3 };

// A host's own record; the template is one of its fields.
struct Person {
    const char* name;
    uint8_t finger[QORFP_TEMPLATE_BYTES];
    int isPresent;  // has a template
};

static int MakeTemplate(const char* path, uint8_t* finger) {
    static struct FingerImage image;
    int32_t quality = 0;
    if (!ReadPgm(path, &image)) {
        return 0;
    }
    if (QORFP_Extract(image.pixels, image.width, image.height, finger, &quality) != QORFP_OK) {
        fprintf(stderr, "%s: no template could be made\n", path);
        return 0;
    }
    return 1;
}

// What the careless host does: all records as they come. Refused when one of them is bad.
static void TryWholeList(const uint8_t* probe, const struct Person* persons, uint32_t count) {
    const uint8_t* list[kMaxPersons];
    for (uint32_t i = 0; i < count; ++i) {
        list[i] = persons[i].isPresent ? persons[i].finger : NULL;
    }
    const uint32_t result = QORFP_Identify(probe, list, count, kLevel, NULL, NULL);
    printf("the whole list: result %u%s\n", (unsigned)result,
           result == QORFP_BAD_ARGUMENT   ? " (an entry is null)"
           : result == QORFP_BAD_TEMPLATE ? " (an entry is not a valid template)"
                                          : "");
}

// What the careful host does: only records with a template that passes QORFP_CheckFeature(), which
// also upgrades templates of the older version (to be stored back when `isConverted` is set). It
// need not be done before each search: once, when the records are loaded, is enough.
static uint32_t CollectUsable(struct Person* persons, uint32_t count, const uint8_t** list,
                              uint32_t* owners) {
    uint32_t usable = 0;
    for (uint32_t i = 0; i < count; ++i) {
        int32_t isConverted = 0;
        if (!persons[i].isPresent) {
            printf("%s: left out, has no template\n", persons[i].name);
        } else if (QORFP_CheckFeature(persons[i].finger, &isConverted) != QORFP_OK) {
            printf("%s: left out, template is damaged\n", persons[i].name);
        } else {
            list[usable] = persons[i].finger;
            owners[usable] = i;  // positions of the list are not those of the records
            ++usable;
        }
    }
    return usable;
}

int main(int argc, char** argv) {
    static struct Person persons[kMaxPersons];
    static const uint8_t* list[kMaxPersons];
    static uint32_t owners[kMaxPersons];
    uint8_t probe[QORFP_TEMPLATE_BYTES];
    uint32_t count = 0;
    if (argc < 3 || argc - 2 > kMaxPersons - 2) {
        fprintf(stderr, "identify_pointers PROBE.pgm PERSON.pgm... (48 at most)\n");
        return 2;
    }
    QORFP_Initial(0);
    if (!MakeTemplate(argv[1], probe)) {
        return 2;
    }

    persons[count++].name = "(a record without template)";
    persons[count].name = "(a damaged record)";
    persons[count].isPresent = 1;
    memcpy(persons[count++].finger, "302", 3);  // no version of templates
    for (int i = 2; i < argc; ++i) {
        struct Person* person = &persons[count++];
        person->name = argv[i];
        person->isPresent = 1;
        if (!MakeTemplate(argv[i], person->finger)) {
            return 2;
        }
    }
    TryWholeList(probe, persons, count);          // stops at the null entry
    TryWholeList(probe, persons + 1, count - 1);  // stops at the damaged one, and prints a log line

    const uint32_t usable = CollectUsable(persons, count, list, owners);
    uint32_t index = 0;
    int32_t score = 0;
    if (QORFP_Identify(probe, list, usable, kLevel, &index, NULL) != QORFP_OK) {
        printf("nobody among %u\n", (unsigned)usable);
        return 1;
    }
    QORFP_Verify(probe, list[index], kLevel, &score);
    printf("%s, score %d\n", persons[owners[index]].name, (int)score);
    return 0;
}
