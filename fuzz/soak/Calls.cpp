// SPDX-License-Identifier: Apache-2.0
#include "fuzz/soak/Calls.h"

#include <algorithm>
#include <cstring>

#include "fuzz/support/Expect.h"
#include "include/QORFPApi.h"
#include "match/FPMatch.h"

namespace soak {
namespace {

constexpr uint64_t kDigestStart = 14695981039346656037U;  // FNV-1a
constexpr uint64_t kDigestFactor = 1099511628211U;
constexpr uint8_t kGuard = 0x5B;

/// An output array between guards. What a call leaves alone stays as it was before, which counts as
/// its output.
template <size_t kBytes>
struct Guarded {
    std::array<uint8_t, 64> before;
    std::array<uint8_t, kBytes> bytes;
    std::array<uint8_t, 64> behind;

    Guarded() {
        before.fill(kGuard);
        bytes.fill(0);
        behind.fill(kGuard);
    }
    uint8_t* Data() { return bytes.data(); }
    void Check() const {
        for (size_t i = 0; i < before.size(); ++i) {
            fuzz::Expect(before[i] == kGuard && behind[i] == kGuard, "a guard stays as it was");
        }
    }
};

using TemplateOut = Guarded<QORFP_TEMPLATE_BYTES>;

TemplateBytes BytesOf(const TemplateOut& out) {
    return TemplateBytes(out.bytes.begin(), out.bytes.end());
}

TemplateOut OutputOf(const TemplateBytes& bytes) {
    TemplateOut out;
    std::copy(bytes.begin(), bytes.end(), out.bytes.begin());
    return out;
}

template <class Value>
const Value* Unless(bool isNull, const Value* pointer) {
    return isNull ? nullptr : pointer;
}

template <class Value>
Value* Unless(bool isNull, Value* pointer) {
    return isNull ? nullptr : pointer;
}

}  // namespace

Calls::Calls(uint64_t seed) : pool_(seed), random_(seed + 1), digest_(kDigestStart) {}

void Calls::Next() {
    const int32_t choice = random_.Below(100);
    if (choice < 3) {
        Extract();
    } else if (choice < 12) {
        CheckFinger();
    } else if (choice < 48) {
        Verify();
    } else if (choice < 53) {
        Enroll();
    } else if (choice < 63) {
        Improve();
    } else if (choice < 75) {
        CheckFeature();
    } else if (choice < 87) {
        Search(choice % 2 == 0);
    } else if (choice < 95) {
        Sort(choice % 2 == 0);
    } else {
        Texts();
    }
}

void Calls::Extract() {
    const model::Grid& image = pool_.AnyImage(random_);
    int32_t width = image.width;
    int32_t height = image.height;
    if (random_.OneIn(20)) {  // other sizes with fewer pixels, or refused ones
        width = random_.OneIn(2) ? random_.Between(257, 5000) : 4 * random_.Between(-3, width / 4);
        height = random_.OneIn(2) ? height - 1 : height;
    }
    TemplateOut out;
    int32_t quality = -1;
    const uint32_t code = QORFP_Extract(Unless(IsNull(), image.cells.data()), width, height,
                                        Unless(IsNull(), out.Data()), Unless(IsNull(), &quality));
    AddResult("QORFP_Extract", code);
    out.Check();
    Add(out.bytes.data(), out.bytes.size());
    Add(&quality, sizeof(quality));
    if (code == QORFP_OK) {
        pool_.Put(BytesOf(out), random_);
    }
}

void Calls::CheckFinger() {
    const model::Grid& image = pool_.AnyImage(random_);
    const uint32_t width = static_cast<uint32_t>(image.width);
    const bool isOdd = random_.OneIn(20);
    AddResult("QORFP_CheckFinger",
              QORFP_CheckFinger(image.cells.data(), width, image.height - (isOdd ? 1 : 0)));
}

int32_t Calls::Level() {
    return random_.OneIn(50) ? random_.Between(-1, 7) : random_.Between(1, 5);
}

void Calls::Verify() {
    const bool isGenuine = random_.OneIn(3);
    const TemplateBytes first = isGenuine ? pool_.Capture(random_) : pool_.AnyTemplate(random_);
    const TemplateBytes second = isGenuine ? pool_.Capture(random_) : pool_.AnyTemplate(random_);
    int32_t score = -1;
    AddResult("QORFP_Verify",
              QORFP_Verify(Unless(IsNull(), first.data()), Unless(IsNull(), second.data()), Level(),
                           Unless(IsNull(), &score)));
    Add(&score, sizeof(score));
}

void Calls::Enroll() {
    constexpr int32_t kMost = 5;
    std::vector<uint8_t> joined;
    const int32_t count = random_.Between(1, kMost);
    for (int32_t i = 0; i < kMost; ++i) {
        const TemplateBytes capture = pool_.Capture(random_);
        joined.insert(joined.end(), capture.begin(), capture.end());
    }
    TemplateOut out;
    int32_t quality = -1;
    const uint32_t code =
        QORFP_Enroll(Unless(IsNull(), joined.data()), random_.OneIn(100) ? -count : count,
                     Unless(IsNull(), out.Data()), Unless(IsNull(), &quality));
    AddResult("QORFP_Enroll", code);
    out.Check();
    Add(out.bytes.data(), out.bytes.size());
    Add(&quality, sizeof(quality));
    if (code == QORFP_OK) {
        pool_.Put(BytesOf(out), random_);
    }
}

void Calls::Improve() {
    const TemplateBytes sample = pool_.Capture(random_);
    TemplateOut enrolled = OutputOf(pool_.Capture(random_));
    const uint32_t code =
        QORFP_Improve(Unless(IsNull(), sample.data()), Unless(IsNull(), enrolled.Data()));
    AddResult("QORFP_Improve", code);
    enrolled.Check();
    Add(enrolled.bytes.data(), enrolled.bytes.size());
    if (code == QORFP_OK) {
        pool_.Put(BytesOf(enrolled), random_);
    }
}

void Calls::CheckFeature() {
    TemplateBytes stored = pool_.AnyTemplate(random_);
    if (random_.OneIn(4)) {
        stored[2] = '0';
    }
    TemplateOut out = OutputOf(stored);
    int32_t converted = -1;
    const uint32_t code =
        QORFP_CheckFeature(Unless(IsNull(), out.Data()), Unless(IsNull(), &converted));
    AddResult("QORFP_CheckFeature", code);
    out.Check();
    Add(out.bytes.data(), out.bytes.size());
    Add(&converted, sizeof(converted));
    if (converted == 1) {
        pool_.Put(BytesOf(out), random_);
    }
}

// Long lists are rare, for the time that they take; most lists consist of valid entries.
void Calls::Search(bool byPointers) {
    const bool isClean = !random_.OneIn(8);
    const int32_t count = random_.OneIn(400) ? random_.Between(190, 260) : random_.Between(0, 14);
    const TemplateBytes probe = pool_.Capture(random_);
    std::vector<uint8_t> joined;
    for (int32_t i = 0; i < count; ++i) {
        TemplateBytes entry =
            random_.OneIn(3) ? pool_.Capture(random_) : pool_.AnyTemplate(random_);
        if (isClean) {
            std::memcpy(entry.data(), "301", 3);
            entry[3] = static_cast<uint8_t>(entry[3] % 61);
        }
        joined.insert(joined.end(), entry.begin(), entry.end());
    }
    std::vector<const uint8_t*> pointers;
    for (int32_t i = 0; i < count; ++i) {
        const bool isNull = !isClean && random_.OneIn(30);
        pointers.push_back(Unless(isNull, static_cast<const uint8_t*>(joined.data()) +
                                              static_cast<size_t>(i) * QORFP_TEMPLATE_BYTES));
    }
    const bool isTooLong = random_.OneIn(500);  // for any memory: refused before it is looked at
    const uint32_t listCount = isTooLong ? 0xFFFFFFFFU : static_cast<uint32_t>(count);
    const uint32_t level = static_cast<uint32_t>(Level());
    const uint8_t* const probeBytes = Unless(IsNull(), probe.data());
    uint32_t index = 0xFFFFFFFFU;
    int32_t score = -1;
    if (byPointers) {
        AddResult("QORFP_Identify", QORFP_Identify(probeBytes, Unless(IsNull(), pointers.data()),
                                                   listCount, level, &index, &score));
    } else {
        AddResult(
            "QORFP_Search",
            QORFP_Search(probeBytes, Unless(IsNull(), static_cast<const uint8_t*>(joined.data())),
                         listCount, level, Unless(IsNull(), &index), Unless(IsNull(), &score)));
    }
    Add(&index, sizeof(index));
    Add(&score, sizeof(score));
}

void Calls::Sort(bool hasValues) {
    const int32_t count = random_.Between(0, 300);
    const int32_t values = random_.OneIn(2) ? random_.Between(1, 8) : 1000000;
    std::vector<int32_t> keys;
    std::vector<int32_t> order;
    for (int32_t i = 0; i < count; ++i) {
        keys.push_back(random_.Below(values) - values / 2);
        order.push_back(i);
    }
    if (random_.OneIn(3)) {
        std::sort(keys.begin(), keys.end());
    }
    int32_t scratch[40] = {};
    const int32_t code = hasValues ? quickSortEx(keys.data(), order.data(), count, scratch)
                                   : quickSort(keys.data(), count, scratch);
    AddResult(hasValues ? "quickSortEx" : "quickSort", static_cast<uint32_t>(code));
    Add(keys.data(), keys.size() * sizeof(keys[0]));
    Add(order.data(), order.size() * sizeof(order[0]));
}

void Calls::Texts() {
    Guarded<QORFP_VERSION_BYTES> version;
    Guarded<QORFP_BUILD_TIME_BYTES> buildTime;
    const auto textOf = [](uint8_t* bytes) {
        return static_cast<char*>(static_cast<void*>(bytes));
    };
    AddResult("QORFP_Version", QORFP_Version(Unless(IsNull(), textOf(version.Data()))));
    AddResult("QORFP_BuildTime", QORFP_BuildTime(Unless(IsNull(), textOf(buildTime.Data()))));
    AddResult("QORFP_Initial", QORFP_Initial(random_.Between(-5, 5)));
    version.Check();
    buildTime.Check();
    Add(version.Data(), version.bytes.size());
    Add(buildTime.Data(), buildTime.bytes.size());
}

void Calls::Add(const void* data, size_t size) {
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    for (size_t i = 0; i < size; ++i) {
        digest_ = (digest_ ^ bytes[i]) * kDigestFactor;
    }
}

void Calls::AddResult(const char* call, uint32_t code) {
    Add(call, std::strlen(call));
    Add(&code, sizeof(code));
    ++results_[call][code];
}

}  // namespace soak
