// SPDX-License-Identifier: Apache-2.0
//
// Makes the library ready once, before the first test runs.
#include <gtest/gtest.h>

#include "include/QORFPApi.h"

namespace {

class ApiEnvironment : public ::testing::Environment {
  public:
    void SetUp() override { ASSERT_EQ(QORFP_Initial(0), QORFP_OK); }
};

const ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(new ApiEnvironment);

}  // namespace
