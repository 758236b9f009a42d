// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the template checks, see ModelTemplateCheck.h.
#include "tests/model/ModelTemplateCheck.h"

#include <algorithm>
#include <string>

#include "tests/model/ModelIndexKeys.h"

namespace model {
namespace {

std::string VersionOf(const TemplateBytes& bytes) {
    return {static_cast<char>(bytes.at(0)), static_cast<char>(bytes.at(1)),
            static_cast<char>(bytes.at(2))};
}

}  // namespace

bool HasKnownVersion(const TemplateBytes& bytes) {
    return VersionOf(bytes) == "300" || VersionOf(bytes) == "301";
}

int32_t CheckValidity(const TemplateBytes& bytes) {
    return VersionOf(bytes) == "301" && bytes.at(3) <= 60 ? 0 : 8;
}

int32_t UpgradeTemplate(TemplateBytes& bytes) {
    TemplateBytes copy(512, 0);
    std::copy(bytes.begin(), bytes.begin() + 370, copy.begin());
    copy.at(0) = '3';
    copy.at(1) = '0';
    copy.at(2) = '1';
    std::vector<uint8_t> area(140, 0);
    if (CreateIndexArea(copy, area) != 0) {
        return 1;
    }
    std::copy(area.begin(), area.end(), copy.begin() + 370);
    WriteChecksum(copy);
    bytes = copy;
    return 0;
}

int32_t CheckFeature(TemplateBytes& bytes, int32_t& converted) {
    converted = 0;
    const bool isOld = VersionOf(bytes) == "300";
    const bool isCurrent = VersionOf(bytes) == "301";
    if (!isOld && !isCurrent) {
        return 8;
    }
    if (isCurrent && bytes.at(3) > 60) {
        return 8;
    }
    if (isCurrent && bytes.at(3) > 0) {
        return bytes.at(370) >= 1 && bytes.at(370) <= 19 && bytes.at(371) == 0 ? 0 : 8;
    }
    if (UpgradeTemplate(bytes) != 0) {
        return 8;
    }
    converted = 1;
    return 0;
}

}  // namespace model
