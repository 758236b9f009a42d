// SPDX-License-Identifier: Apache-2.0
//
// Between the 512-byte template and a view of a finger minutiae record.
//
// Both describe a minutia alike: columns count from the left and rows from the top, and a direction
// points from an ending into its ridge, and from a bifurcation between its two branches. Angles differ
// in sense and unit: the template counts 240 steps to a turn from the x axis towards the y axis, which
// points down, so clockwise; a record counts 256 or 180 steps counter-clockwise. 256 steps keep each of
// the 240 apart, 180 do not.
//
// What a record has no field for (how the ridges run around each minutia, of which the matcher makes
// much use, the unrounded directions, negative coordinates) goes into an area of extended data of its
// own, by which the same template comes back. Other readers skip it. Big-endian:
//
//     0   5  "QORFP"
//     5   1  1: this layout
//     6   4  what was added to x and to y, signed, 2 bytes each
//    10  3n  a minutia: 16 bits as in the template (confidence, disorder, period); direction
#pragma once

#include <string>
#include <vector>

#include "tools/qorfp/MinutiaeRecord.h"
#include "tools/qorfp/TemplateView.h"

namespace qorfp::cli {

/// What to say about a conversion: one line each, without the name of the file.
using Losses = std::vector<std::string>;

/// `view` must be free of problems and its directions below 240. With `isPlain`, no extended data.
MinutiaeRecord RecordOfTemplate(const TemplateView& view, RecordFormat format, int finger,
                                bool isPlain, Losses& losses);

/// A view of the record as a template, at 508 dpi. Throws ToolError naming `path` when the minutiae
/// do not fit into one.
TemplateView TemplateOfRecord(const std::string& path, const MinutiaeRecord& record,
                              const RecordView& view, Losses& losses);

/// A direction of the template as an angle of a record, rounded to the nearest step, and back.
int AngleOfDirection(int direction, RecordFormat format);
int DirectionOfAngle(int angle, RecordFormat format);

}  // namespace qorfp::cli
