// SPDX-License-Identifier: Apache-2.0
//
// compare_vectors VECTORS IMAGES: compares the library with tables of expected results.

#include <exception>
#include <iostream>

#include "include/QORFPApi.h"
#include "tests/vectors/Table.h"

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::cerr << "usage: compare_vectors VECTORS IMAGES\n";
        return 2;
    }
    const vectors::Folders folders = {arguments[1], arguments[2]};
    QORFP_Initial(0);
    bool allAgree = true;
    try {
        allAgree &= vectors::CompareStages(folders);
        allAgree &= vectors::CompareCandidates(folders);
        allAgree &= vectors::CompareTemplates(folders);
        allAgree &= vectors::CompareScaled(folders);
        allAgree &= vectors::CompareScores(folders);
        allAgree &= vectors::CompareFinger(folders);
        allAgree &= vectors::CompareEnrolments(folders);
        allAgree &= vectors::CompareImprovements(folders);
        allAgree &= vectors::CompareSearches(folders);
        allAgree &= vectors::CompareHostile(folders);
    } catch (const std::exception& error) {
        std::cerr << "compare_vectors: " << error.what() << "\n";
        return 2;
    }
    return allAgree ? 0 : 1;
}
