// SPDX-License-Identifier: Apache-2.0
//
// What a libstdc++ made for glibc expects of the C library beyond what musl has: five names, of
// which tests use four.
#include <link.h>
#include <locale.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

// "The process may have several threads": use atomic operations.
extern char __libc_single_threaded;
char __libc_single_threaded = 0;

// Where the unwinder finds the table of exception handlers of the code at an address.

struct dl_find_object {
    unsigned long long dlfo_flags;
    void* dlfo_map_start;
    void* dlfo_map_end;
    struct link_map* dlfo_link_map;
    void* dlfo_eh_frame;
    unsigned long long dlfo_reserved[7];
};

struct Wanted {
    uintptr_t address;
    struct dl_find_object* object;
};

static int IsItThisOne(struct dl_phdr_info* info, size_t size, void* data) {
    const struct Wanted* wanted = data;
    int isInside = 0;
    void* table = NULL;
    (void)size;
    for (int k = 0; k < info->dlpi_phnum; ++k) {
        const ElfW(Phdr)* part = &info->dlpi_phdr[k];
        const uintptr_t start = info->dlpi_addr + part->p_vaddr;
        if (part->p_type == PT_LOAD && wanted->address - start < part->p_memsz) {
            isInside = 1;
            wanted->object->dlfo_map_start = (void*)start;
            wanted->object->dlfo_map_end = (void*)(start + part->p_memsz);
        } else if (part->p_type == PT_GNU_EH_FRAME) {
            table = (void*)start;
        }
    }
    wanted->object->dlfo_eh_frame = table;
    return isInside && table != NULL;
}

int _dl_find_object(void* address, struct dl_find_object* object);
int _dl_find_object(void* address, struct dl_find_object* object) {
    struct Wanted wanted = {(uintptr_t)address, object};
    memset(object, 0, sizeof *object);
    return dl_iterate_phdr(IsItThisOne, &wanted) != 0 ? 0 : -1;
}

// libstdc++ looks into glibc's locale for the tables of character classes. The linker sends its
// calls of __newlocale here (--wrap): the C locale of musl with these tables where glibc has them.

struct GlibcLocale {
    void* categories[13];  // the tables behind it are at 104, 112 and 120
    const unsigned short* classes;
    const int32_t* toLower;
    const int32_t* toUpper;
};

const unsigned short** __ctype_b_loc(void);
const int32_t** __ctype_tolower_loc(void);
const int32_t** __ctype_toupper_loc(void);
locale_t __real___newlocale(int mask, const char* name, locale_t base);
locale_t __wrap___newlocale(int mask, const char* name, locale_t base);

locale_t __wrap___newlocale(int mask, const char* name, locale_t base) {
    static struct GlibcLocale classic;
    if (strcmp(name, "C") != 0) {
        return (locale_t)0;  // no other is known; base would be one of these
    }
    // musl's locale is six pointers.
    memcpy(&classic, __real___newlocale(mask, name, base), 6 * sizeof(void*));
    classic.classes = *__ctype_b_loc();
    classic.toLower = *__ctype_tolower_loc();
    classic.toUpper = *__ctype_toupper_loc();
    return (locale_t)&classic;
}

size_t __strftime_l(char* text, size_t size, const char* format, const struct tm* time, locale_t l);
size_t __strftime_l(char* text, size_t size, const char* format, const struct tm* time,
                    locale_t l) {
    return strftime_l(text, size, format, time, l);
}

// std::random_device: nothing here is random.
uint32_t arc4random(void);
uint32_t arc4random(void) {
    abort();
}
