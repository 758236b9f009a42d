// SPDX-License-Identifier: Apache-2.0
//
// Naive model of the checks on stored templates and of the upgrade from the older form.
#pragma once

#include <cstdint>

#include "tests/model/ModelTemplate.h"

namespace model {

/// "300" or "301" stands at the start.
bool HasKnownVersion(const TemplateBytes& bytes);

/// 0 for a "301" template of at most 60 minutiae, else 8.
int32_t CheckValidity(const TemplateBytes& bytes);

/// Upgrades in place; 0, or 1 where no index can be built (nothing changes then).
int32_t UpgradeTemplate(TemplateBytes& bytes);

/// The check of a stored template: 0 or 8; upgrades in place where it is due.
int32_t CheckFeature(TemplateBytes& bytes, int32_t& converted);

}  // namespace model
