// SPDX-License-Identifier: Apache-2.0
// Grey images as binary PGM (P5) files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qorfp::synth {

/// The file's bytes: a header "P5\n<width> <height>\n255\n" and the pixels row by row.
std::string EncodePgm(const std::vector<uint8_t>& pixels, int width, int height);

/// Writes a file anew. Throws std::runtime_error with one line that names the file and the reason.
void WriteFile(const std::string& path, const std::string& bytes);

}  // namespace qorfp::synth
