// SPDX-License-Identifier: Apache-2.0
//
// The constant tables: sample rows as numbers, and every entry by its slow rule.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "extract/FPTable.h"
#include "tests/model/ModelMaths.h"
#include "tests/model/ModelRidgeDensity.h"
#include "tests/model/ModelRidgeSmoothing.h"
#include "tests/model/ModelThinning.h"

namespace {

TEST(AngleTables, SampleRows) {
    const int32_t rowOfB[10] = {60, 30, 18, 12, 9, 8, 6, 5, 5, 4};
    const int32_t rowOfA[10] = {30, 15, 9, 6, 5, 4, 3, 3, 2, 2};
    for (int32_t column = 0; column < 10; ++column) {
        EXPECT_EQ(gnAtanB[128 + column], rowOfB[column]) << "column " << column;
        EXPECT_EQ(gnAtanA[50 + column], rowOfA[column]) << "column " << column;
    }
    EXPECT_EQ(gnAtanB[0], 60);
    EXPECT_EQ(gnAtanA[0], 30);
    for (int32_t column = 1; column < 128; ++column) {
        EXPECT_EQ(gnAtanB[column], 0) << "column " << column;
    }
    for (int32_t column = 1; column < 50; ++column) {
        EXPECT_EQ(gnAtanA[column], 0) << "column " << column;
    }
    for (int32_t row = 0; row < 128; ++row) {
        EXPECT_EQ(gnAtanB[row * 128], 60) << "row " << row;
    }
    EXPECT_EQ(gnAtanB[127 * 128 + 127], 30);
    EXPECT_EQ(gnAtanA[49 * 50 + 49], 15);
}

TEST(AngleTables, EveryEntryByRule) {
    for (int32_t row = 0; row < 128; ++row) {
        for (int32_t column = 0; column < 128; ++column) {
            ASSERT_EQ(gnAtanB[row * 128 + column], model::AtanBEntry(row, column))
                << "row " << row << ", column " << column;
        }
    }
    for (int32_t row = 0; row < 50; ++row) {
        for (int32_t column = 0; column < 50; ++column) {
            ASSERT_EQ(gnAtanA[row * 50 + column], model::AtanAEntry(row, column))
                << "row " << row << ", column " << column;
        }
    }
}

TEST(SineTables, SampleSteps) {
    const int32_t sines[8] = {0, 429, 857, 1285, 1713, 2139, 2563, 2986};
    const int32_t cosines[5] = {16384, 16378, 16362, 16333, 16294};
    for (int32_t step = 0; step < 8; ++step) {
        EXPECT_EQ(gnSin[step], sines[step]) << "step " << step;
    }
    for (int32_t step = 0; step < 5; ++step) {
        EXPECT_EQ(gnCos[step], cosines[step]) << "step " << step;
    }
    EXPECT_EQ(gnSin[60], 16384);
    EXPECT_EQ(gnSin[180], -16384);
    EXPECT_EQ(gnSin[120], 0);
    EXPECT_EQ(gnCos[60], 0);
    EXPECT_EQ(gnCos[120], -16384);
    EXPECT_EQ(gnCos[180], 0);
    EXPECT_EQ(gnSin[20], 8192);  // 30 degrees
    EXPECT_EQ(gnCos[160], -8192);
}

TEST(SineTables, EveryEntryByRule) {
    for (int32_t step = 0; step < 240; ++step) {
        EXPECT_EQ(gnSin[step], model::SinEntry(step)) << "step " << step;
        EXPECT_EQ(gnCos[step], model::CosEntry(step)) << "step " << step;
    }
}

TEST(RootTables, EveryEntryByRule) {
    for (int32_t element = 0; element < 976; ++element) {
        EXPECT_EQ(gnSqrt[element], model::SqrtEntry(element)) << "element " << element;
    }
    for (int32_t k = 0; k < 256; ++k) {
        EXPECT_EQ(gnSqr[k], k * k);
    }
}

TEST(RootTables, SegmentEnds) {
    EXPECT_EQ(gnSqrt[255], 16);   // root of 255
    EXPECT_EQ(gnSqrt[256], 16);   // root of 256
    EXPECT_EQ(gnSqrt[303], 32);   // root of 1008, 31.7
    EXPECT_EQ(gnSqrt[304], 32);   // root of 1024
    EXPECT_EQ(gnSqrt[399], 64);   // root of 4064, 63.7
    EXPECT_EQ(gnSqrt[400], 64);   // root of 4096
    EXPECT_EQ(gnSqrt[591], 128);  // root of 16320, 127.7
    EXPECT_EQ(gnSqrt[592], 128);  // root of 16384
    EXPECT_EQ(gnSqrt[974], 255);  // root of 65280, 255.4998
    EXPECT_EQ(gnSqrt[975], 255);  // root of 65408, 255.7, held at 255
}

TEST(DivisionTables, EveryEntryByRule) {
    for (int32_t k = 0; k < 1536; ++k) {
        EXPECT_EQ(gbDiv6[k], k / 6) << k;
    }
    for (int32_t k = 0; k < 2304; ++k) {
        EXPECT_EQ(gbDiv9[k], k / 9) << k;
    }
    for (int32_t k = 0; k < 240; ++k) {
        EXPECT_EQ(gbDiv20[k], k / 20) << k;
    }
    EXPECT_EQ(gbDiv6[1535], 255);
    EXPECT_EQ(gbDiv9[2303], 255);
    EXPECT_EQ(gbDiv20[239], 11);
}

// One row as text, in the order of the samples.
std::string RowText(int32_t orientation) {
    std::string text = std::to_string(gnCW[orientation]) + ":";
    for (int32_t k = 0; k < 7; ++k) {
        const int32_t entry = orientation * 7 + k;
        text += " " + std::to_string(gnDX[entry]) + "," + std::to_string(gnDY[entry]) + "*" +
                std::to_string(gnPW[entry]);
    }
    return text;
}

TEST(FilterTables, SampleRows) {
    EXPECT_EQ(RowText(0), "26: 1,0*23 2,0*23 3,0*23 4,0*23 5,0*23 0,0*0 0,0*0");
    EXPECT_EQ(RowText(60), "26: 0,1*23 0,2*23 0,3*23 0,4*23 0,5*23 0,0*0 0,0*0");
    EXPECT_EQ(RowText(8), "22: 1,0*24 2,0*14 3,0*9 2,1*10 3,1*15 4,1*24 5,1*21");
    EXPECT_EQ(RowText(112), "22: -1,0*24 -2,0*14 -3,0*9 -2,1*10 -3,1*15 -4,1*24 -5,1*21");
    EXPECT_EQ(RowText(30), "28: 1,1*34 2,2*34 3,3*27 4,3*6 3,4*6 4,4*7 0,0*0");
    EXPECT_EQ(RowText(90), "28: -1,1*34 -2,2*34 -3,3*27 -4,3*6 -3,4*6 -4,4*7 0,0*0");
}

TEST(FilterTables, EveryRowSumsTo256AndIsZeroBeyondItsCount) {
    for (int32_t orientation = 0; orientation < 120; ++orientation) {
        SCOPED_TRACE("orientation " + std::to_string(orientation));
        const int32_t count = gnPC[orientation];
        ASSERT_TRUE(count >= 5 && count <= 7) << count;
        int32_t sum = gnCW[orientation];
        for (int32_t k = 0; k < 7; ++k) {
            const int32_t entry = orientation * 7 + k;
            if (k < count) {
                sum += 2 * gnPW[entry];
                EXPECT_GT(gnPW[entry], 0);
                EXPECT_TRUE(gnDX[entry] >= -5 && gnDX[entry] <= 5);
                EXPECT_TRUE(gnDY[entry] >= 0 && gnDY[entry] <= 5);
            } else {
                EXPECT_EQ(gnPW[entry], 0);
                EXPECT_EQ(gnDX[entry], 0);
                EXPECT_EQ(gnDY[entry], 0);
            }
        }
        EXPECT_EQ(sum, 256);
    }
}

TEST(FilterTables, EveryRowBySymmetry) {
    for (int32_t orientation = 0; orientation < 120; ++orientation) {
        SCOPED_TRACE("orientation " + std::to_string(orientation));
        const model::OrientedFilter filter = model::FilterOf(orientation);
        EXPECT_EQ(gnCW[orientation], filter.centreWeight);
        ASSERT_EQ(gnPC[orientation], static_cast<int32_t>(filter.samples.size()));
        // The order within a row has no meaning: each expected sample must occur just once.
        for (const model::FilterSample& sample : filter.samples) {
            int32_t found = 0;
            for (int32_t k = 0; k < gnPC[orientation]; ++k) {
                const int32_t entry = orientation * 7 + k;
                if (gnDX[entry] == sample.dx && gnDY[entry] == sample.dy &&
                    gnPW[entry] == sample.weight) {
                    ++found;
                }
            }
            EXPECT_EQ(found, 1) << "(" << sample.dx << ", " << sample.dy << ") " << sample.weight;
        }
    }
}

TEST(RayTables, ClassOfEveryOrientation) {
    for (int32_t orientation = 0; orientation < 120; ++orientation) {
        EXPECT_EQ(gnDC[orientation], model::ProfileClass(orientation)) << orientation;
    }
    EXPECT_EQ(gnDC[0], 0);
    EXPECT_EQ(gnDC[3], 0);  // 0.4
    EXPECT_EQ(gnDC[4], 1);  // 0.533
    EXPECT_EQ(gnDC[60], 8);
    EXPECT_EQ(gnDC[116], 15);  // 15.47
    EXPECT_EQ(gnDC[117], 0);   // 15.6 rounds to 16, which is class 0
    EXPECT_EQ(gnDC[119], 0);
}

TEST(RayTables, EveryPointDecodes) {
    for (int32_t rayClass = 0; rayClass < 16; ++rayClass) {
        const std::vector<model::RayPoint> ray = model::ProfileRay(rayClass);
        for (int32_t k = 0; k < 10; ++k) {
            const model::RayPoint& point = ray.at(static_cast<size_t>(k));
            EXPECT_EQ(gnRP[rayClass * 10 + k], point.dy * 256 + point.dx)
                << "class " << rayClass << ", point " << k + 1;
        }
        EXPECT_EQ(gnRL[rayClass], model::ProfileStep(rayClass)) << "class " << rayClass;
    }
    const int32_t lengths[16] = {32, 33, 34, 39, 45, 39, 34, 33, 32, 33, 34, 39, 45, 39, 34, 33};
    for (int32_t rayClass = 0; rayClass < 16; ++rayClass) {
        EXPECT_EQ(gnRL[rayClass], lengths[rayClass]) << "class " << rayClass;
    }
}

TEST(ThinningTables, DeletionCodes) {
    int32_t deletedFirst = 0;
    int32_t deletedSecond = 0;
    for (int32_t code = 0; code < 256; ++code) {
        EXPECT_EQ(gbThin[code], model::IsDeleted(1, code) ? 1 : 0) << "first, code " << code;
        EXPECT_EQ(gbThin[256 + code], model::IsDeleted(2, code) ? 1 : 0) << "second, code " << code;
        deletedFirst += gbThin[code];
        deletedSecond += gbThin[256 + code];
    }
    EXPECT_EQ(deletedFirst, 34);
    EXPECT_EQ(deletedSecond, 34);
    // Full surroundings, a lone pixel, and the pixels of a straight line with its ends stay.
    for (const int32_t code : {0, 255, 63, 127, 191, 243, 247, 251}) {
        EXPECT_EQ(gbThin[code], 0) << code;
        EXPECT_EQ(gbThin[256 + code], 0) << code;
    }
}

}  // namespace
