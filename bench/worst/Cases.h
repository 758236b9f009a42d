// SPDX-License-Identifier: Apache-2.0
//
// Ordinary and adversarial inputs of every call, to find how much longer the worst one takes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/model/ModelTypes.h"
#include "tests/support/TestMinutiae.h"

namespace worst {

using testsupport::TemplateBytes;

/// A call that is ready to be made.
struct Prepared {
    std::function<void()> run;
    /// Before each `run`, and not measured: puts back what the call changes.
    std::function<void()> restore = [] {};
};

/// One input of a call. It is made when it is asked for, since there are many.
struct Input {
    std::string name;
    bool isOrdinary;
    std::function<Prepared()> prepare;
};

/// A call on inputs of one size.
struct Call {
    std::string name;
    /// No input may take longer than an ordinary one times this: the greatest ratio that was found,
    /// and room for another compiler and another machine. The tests check it. 0: they leave the call
    /// out, since it has the inputs of another.
    double bound;
    std::vector<Input> inputs;
};

/// Three captures of each of four synthetic fingers, images and templates.
struct Captures {
    explicit Captures(const std::string& folder);

    std::vector<model::Grid> images;
    std::vector<TemplateBytes> templates;
};

constexpr size_t kCapturesOfFinger = 3;

struct NamedSet {
    std::string name;
    model::MinutiaSet set;
};

/// Sets of 60 minutiae: heaps, lines, circles, lattices, coincident ones.
std::vector<NamedSet> AdversarialSets();

/// Sets of 60 minutiae as they lie on a finger.
std::vector<NamedSet> SpreadSets();

std::vector<Call> ImageCalls(const Captures& captures);
std::vector<Call> TemplateCalls(const Captures& captures);
std::vector<Call> SearchCalls(const Captures& captures);
std::vector<Call> SortCalls();

}  // namespace worst
