// SPDX-License-Identifier: Apache-2.0
//
// The families of formats of which FixtureFormats.cpp speaks, by the name behind their prefix.
#pragma once

#include "tests/cli/Fixture.h"

namespace fixture {

using Bytes = std::vector<uint8_t>;

/// Byte by byte, so that nothing reads what it wrote itself.
Bytes WriteTiff(const std::string& name, const Picture& picture);

/// Packed by libtiff.
Bytes WritePackedTiff(const std::string& name, const Picture& picture);

/// Without loss, by OpenJPEG's encoder; a bare codestream or a JP2 file.
Bytes WriteJpeg2000(const std::string& name, const Picture& picture, bool isBare);

}  // namespace fixture
