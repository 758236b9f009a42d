// SPDX-License-Identifier: Apache-2.0
//
// Templates from an input's bytes: hostile ones, and plausible ones that get beyond the version text,
// further impressions of earlier ones among them, so that scores become high.
#pragma once

#include <cstdint>
#include <vector>

#include "fuzz/support/ByteReader.h"
#include "tests/model/ModelTemplate.h"

namespace fuzz {

using model::TemplateBytes;

/// What the first byte of a template's description, modulo 8, says of the bytes that follow.
enum TemplateKind : uint8_t {
    kBytes,           ///< 512 bytes
    kBytesOf301,      ///< 509 bytes behind the text "301"
    kMinutiae,        ///< count, version, 6 bytes a minutia
    kRandomMinutiae,  ///< layout, count, seed
    kImpression,      ///< earlier template, seed: another capture of it
    kEdited,          ///< earlier template, number of edits, places and values
    kCopy,            ///< earlier template
    kOtherKeys,       ///< earlier template, 140 bytes of index area
    kTemplateKinds
};

/// All templates are 512 bytes.
class TemplateMaker {
  public:
    TemplateBytes Next(ByteReader& reader);
    std::vector<TemplateBytes> List(ByteReader& reader, int32_t count);

  private:
    TemplateBytes Make(ByteReader& reader);
    TemplateBytes Earlier(ByteReader& reader) const;

    std::vector<TemplateBytes> made_;
};

/// Templates back to back.
std::vector<uint8_t> Joined(const std::vector<TemplateBytes>& templates);

}  // namespace fuzz
