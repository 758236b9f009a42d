// SPDX-License-Identifier: Apache-2.0
//
// Ready-made calls, see Operations.h.
#include "tests/api/Operations.h"

#include <utility>

#include "include/QORFPApi.h"
#include "tests/api/TestFingers.h"

namespace apitest {

namespace {

void Append(Bytes& bytes, uint32_t number) {
    for (uint32_t shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<uint8_t>(number >> shift & 255u));
    }
}

Operation ExtractOperation(const std::string& name, Grid image) {
    return {"extract " + name, [image = std::move(image)] {
                Bytes out(kTemplateBytes, 0);
                int32_t quality = -1;
                const uint32_t result = QORFP_Extract(image.cells.data(), image.width, image.height,
                                                      out.data(), &quality);
                if (result != QORFP_OK) {
                    out.clear();  // may be partly written
                }
                Append(out, result);
                Append(out, static_cast<uint32_t>(quality));
                return out;
            }};
}

Operation VerifyOperation(const std::string& name, Bytes first, Bytes second, int32_t level) {
    return {"verify " + name, [first = std::move(first), second = std::move(second), level] {
                int32_t score = -1;
                Bytes out;
                Append(out, QORFP_Verify(first.data(), second.data(), level, &score));
                Append(out, static_cast<uint32_t>(score));
                return out;
            }};
}

Operation EnrollOperation(const std::string& name, const std::vector<Bytes>& templates) {
    Bytes joined;
    for (const Bytes& bytes : templates) {
        joined.insert(joined.end(), bytes.begin(), bytes.end());
    }
    const int32_t count = static_cast<int32_t>(templates.size());
    return {"enrol " + name, [joined = std::move(joined), count] {
                Bytes out(kTemplateBytes, 0);
                int32_t quality = -1;
                const uint32_t result = QORFP_Enroll(joined.data(), count, out.data(), &quality);
                if (result != QORFP_OK) {
                    out.clear();  // may be partly written
                }
                Append(out, result);
                Append(out, static_cast<uint32_t>(quality));
                return out;
            }};
}

Operation ImproveOperation(const std::string& name, Bytes sample, Bytes enrolled) {
    return {"improve " + name, [sample = std::move(sample), enrolled = std::move(enrolled)] {
                Bytes out = enrolled;
                const uint32_t result = QORFP_Improve(sample.data(), out.data());
                Append(out, result);
                return out;
            }};
}

Operation CheckFeatureOperation(const std::string& name, Bytes bytes) {
    return {"check " + name, [bytes = std::move(bytes)] {
                Bytes out = bytes;
                int32_t converted = -1;
                const uint32_t result = QORFP_CheckFeature(out.data(), &converted);
                Append(out, result);
                Append(out, static_cast<uint32_t>(converted));
                return out;
            }};
}

// Both searches, over copies of the list back to back and over pointers into them.
Operation SearchOperation(const std::string& name, Bytes probe, const std::vector<Bytes>& list,
                          uint32_t level) {
    Bytes joined;
    for (const Bytes& bytes : list) {
        joined.insert(joined.end(), bytes.begin(), bytes.end());
    }
    return {"search " + name, [probe = std::move(probe), joined = std::move(joined), level] {
                std::vector<const uint8_t*> pointers;
                for (size_t at = 0; at < joined.size(); at += kTemplateBytes) {
                    pointers.push_back(joined.data() + at);
                }
                const uint32_t count = static_cast<uint32_t>(pointers.size());
                Bytes out;
                uint32_t index = 0xFFFFFFFFu;
                int32_t score = -1;
                Append(out,
                       QORFP_Search(probe.data(), joined.data(), count, level, &index, &score));
                Append(out, index);
                Append(out, static_cast<uint32_t>(score));
                Append(out,
                       QORFP_Identify(probe.data(), pointers.data(), count, level, &index, &score));
                Append(out, index);
                Append(out, static_cast<uint32_t>(score));
                return out;
            }};
}

Operation CheckFingerOperation(const std::string& name, Grid image) {
    return {"check finger " + name, [image = std::move(image)] {
                Bytes out;
                Append(out, QORFP_CheckFinger(image.cells.data(),
                                              static_cast<uint32_t>(image.width), image.height));
                return out;
            }};
}

Operation TextsOperation() {
    return {"texts", [] {
                char version[QORFP_VERSION_BYTES];
                char buildTime[QORFP_BUILD_TIME_BYTES];
                Bytes out;
                Append(out, QORFP_Version(version));
                Append(out, QORFP_BuildTime(buildTime));
                Append(out, QORFP_Version(nullptr));
                Append(out, QORFP_BuildTime(nullptr));
                out.insert(out.end(), version, version + sizeof(version));
                out.insert(out.end(), buildTime, buildTime + sizeof(buildTime));
                return out;
            }};
}

}  // namespace

std::vector<Operation> MakeOperations(uint64_t seed) {
    const Grid finger = FingerOf(seed, 160, 160);
    const Grid other = FingerOf(seed + 1, 200, 200);
    const Minutiae minutiae = Scatter(seed, 25, 200);
    const Bytes first = WriteTemplate(minutiae);
    const Bytes turned = WriteTemplate(Turned(minutiae, 9));
    const Bytes stranger = WriteTemplate(Scatter(seed + 1000, 40, 200), "300");
    Bytes undecodable = first;
    undecodable[kCountByte] = 61;
    Bytes unknown = first;
    unknown[2] = '9';
    const Bytes moved = WriteTemplate(Shifted(minutiae, 12, -7));
    const Bytes old = WriteTemplate(minutiae, "300");
    Bytes withoutKeys = first;
    withoutKeys[kKeyCountByte] = 0;
    std::vector<Bytes> list;
    for (uint64_t k = 1; k <= 8; ++k) {
        list.push_back(WriteTemplate(Scatter(seed + 2000 + k, 25, 200)));
    }
    std::vector<Bytes> listWithTurned = list;
    listWithTurned.insert(listWithTurned.begin() + 5, turned);
    return {
        ExtractOperation("a finger", finger),
        ExtractOperation("another finger", other),
        ExtractOperation("a small sensor's finger", FingerOf(seed, 152, 200)),
        ExtractOperation("nothing", Grid(160, 160, 255)),
        ExtractOperation("a wrong size", Grid(258, 8, 255)),
        VerifyOperation("itself", first, first, 3),
        VerifyOperation("a turned copy", first, turned, 5),
        VerifyOperation("a turned copy, the other way round", turned, first, 5),
        VerifyOperation("a stranger", first, stranger, 1),
        VerifyOperation("an undecodable one", undecodable, first, 1),
        VerifyOperation("an unknown version", first, unknown, 1),
        VerifyOperation("a wrong level", first, first, 6),
        EnrollOperation("three", {first, turned, moved}),
        EnrollOperation("two", {moved, first}),
        EnrollOperation("strangers", {first, stranger, moved}),
        EnrollOperation("one", {first}),
        ImproveOperation("with a shifted copy", moved, first),
        ImproveOperation("with a stranger", WriteTemplate(Scatter(seed + 1000, 40, 200)), first),
        ImproveOperation("with an unknown version", unknown, first),
        CheckFeatureOperation("an old one", old),
        CheckFeatureOperation("one without keys", withoutKeys),
        SearchOperation("with success", first, listWithTurned, 3),
        SearchOperation("without success", first, list, 1),
        SearchOperation("at a wrong level", first, list, 0),
        CheckFingerOperation("a finger", finger),
        CheckFingerOperation("nothing", Grid(160, 160, 255)),
        CheckFingerOperation("a wrong size", Grid(160, 162, 255)),
        TextsOperation(),
    };
}

std::vector<Bytes> RunEach(const std::vector<Operation>& operations) {
    std::vector<Bytes> results;
    for (const Operation& operation : operations) {
        results.push_back(operation.run());
    }
    return results;
}

}  // namespace apitest
