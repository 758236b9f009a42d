// SPDX-License-Identifier: Apache-2.0
//
// The inputs of the measurements: images from folders, and the templates that the library makes of
// them. Read and made when first asked for.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/Minutia.h"
#include "engine/Work.h"
#include "tests/support/Pgm.h"

namespace measure {

using Image = support::PgmImage;
using Template = std::array<uint8_t, 512>;

/// A work buffer as the engine functions take it.
class WorkBuffer {
  public:
    static constexpr size_t kBytes = qorfp::kWorkBytes;

    uint8_t* Bytes() { return bytes_; }
    const uint8_t* Bytes() const { return bytes_; }

  private:
    alignas(qorfp::kWorkAlignment) uint8_t bytes_[kBytes] = {};
};

/// An impression and what the library makes of it.
struct Impression {
    int finger;
    int number;
    Image image;
    Template bytes;
    int32_t minutiae;
};

/// The images <finger>_<impression>.pgm of a folder in that order, without those that give no
/// template. Throws std::runtime_error when none is left.
std::vector<Impression> ReadImpressions(const std::string& folder, int mostFingers);

/// What to measure on.
struct InputOptions {
    std::string fingers;               ///< folder with 256x360/ and 152x200/
    std::vector<std::string> folders;  ///< further folders of images, for extraction alone
    int mostFingers = 1000000;         ///< of each folder
    int listDivisor = 1;               ///< lists of templates are shorter by this factor
};

class Inputs {
  public:
    explicit Inputs(InputOptions options) : options_(std::move(options)) {}

    const InputOptions& Options() const { return options_; }

    /// Impressions of 256 x 360 pixels.
    const std::vector<Impression>& Ordinary() { return In(options_.fingers + "/256x360"); }

    /// Impressions of the small sensor.
    const std::vector<Impression>& Sensor() { return In(options_.fingers + "/152x200"); }

    /// Impressions of a folder.
    const std::vector<Impression>& In(const std::string& folder);

    /// Impressions of 256 x 360 pixels by finger.
    std::map<int, std::vector<const Impression*>> OrdinaryByFinger();

    /// The length that stands for a list of `length` templates.
    int32_t ListLength(int32_t length) const;

  private:
    InputOptions options_;
    std::map<std::string, std::vector<Impression>> read_;
};

/// The decoded minutiae of a template.
MinutiaSet DecodedSet(const Template& bytes);

/// A finished template (index keys, quality, checksum) of a set.
Template FinishedTemplate(MinutiaSet set);

}  // namespace measure
