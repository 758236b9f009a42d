// SPDX-License-Identifier: Apache-2.0
// The flows of the six pattern classes.
#include "tools/synth/Flow.h"

namespace qorfp::synth {
namespace {

Point Mirrored(Point point) {
    return {-point.x, point.y};
}

// A loop whose ridges leave to the left: core near the middle, delta low on the right.
Flow LeftLoopFlow(Random& random) {
    Flow flow;
    const Point core = {random.Uniform(-12.0, 12.0), random.Uniform(5.0, 40.0)};
    flow.cores.push_back(core);
    flow.deltas.push_back(
        {core.x + random.Uniform(62.0, 100.0), core.y - random.Uniform(75.0, 120.0)});
    flow.archAngle = random.Uniform(0.20, 0.40);
    flow.stretch = random.Uniform(1.05, 1.22);
    flow.coreStraightness = random.Uniform(0.6, 0.9);
    return flow;
}

Flow MirroredFlow(Flow flow) {
    for (Point& core : flow.cores) {
        core = Mirrored(core);
    }
    for (Point& delta : flow.deltas) {
        delta = Mirrored(delta);
    }
    return flow;
}

// No singular point: the arching alone, narrow and steep in the middle, wide at the tip.
Flow ArchFlow(Random& random) {
    Flow flow;
    flow.archAngle = random.Uniform(0.70, 1.00);
    flow.archReach = random.Uniform(50.0, 75.0);
    flow.archBottom = random.Uniform(-190.0, -150.0);
    flow.archTop = random.Uniform(-20.0, 20.0);
    flow.archSpread = random.Uniform(0.2, 0.35);
    return flow;
}

// Core and delta on one upright line: the ridges between them stand like tent poles.
Flow TentedArchFlow(Random& random) {
    Flow flow;
    const Point core = {random.Uniform(-8.0, 8.0), random.Uniform(-10.0, 20.0)};
    flow.cores.push_back(core);
    flow.deltas.push_back(
        {core.x + random.Uniform(-8.0, 8.0), core.y - random.Uniform(50.0, 95.0)});
    flow.archAngle = random.Uniform(0.30, 0.50);
    flow.stretch = random.Uniform(1.00, 1.15);
    flow.coreStraightness = random.Uniform(0.3, 0.6);
    flow.coreReach = 30.0;
    return flow;
}

// Two cores around the middle, two deltas low at the sides. `aside` moves the cores apart sideways,
// both it and the twist to a side drawn at random.
Flow TwoCoreFlow(Random& random, double gap, double aside, double twist, double twistReach,
                 double coreStraightness) {
    Flow flow;
    const double side = random.Below(2) == 0 ? 1.0 : -1.0;
    flow.middle.x = random.Uniform(-10.0, 10.0);
    flow.middle.y = random.Uniform(0.0, 30.0);
    flow.cores.push_back({flow.middle.x + side * aside * 0.5, flow.middle.y + gap * 0.5});
    flow.cores.push_back({flow.middle.x - side * aside * 0.5, flow.middle.y - gap * 0.5});
    for (const double direction : {-1.0, 1.0}) {
        const double distance = random.Uniform(78.0, 112.0);
        const double drop = random.Uniform(85.0, 130.0);
        flow.deltas.push_back({flow.middle.x + direction * distance, flow.middle.y - drop});
    }
    flow.twist = side * twist;
    flow.coreStraightness = coreStraightness;
    flow.twistReach = twistReach;
    flow.coreReach = 22.0;
    flow.archAngle = random.Uniform(0.10, 0.25);
    flow.stretch = random.Uniform(1.15, 1.40);
    return flow;
}

}  // namespace

Flow DrawFlow(FingerClass fingerClass, Random& random) {
    switch (fingerClass) {
        case FingerClass::kArch:
            return ArchFlow(random);
        case FingerClass::kTentedArch:
            return TentedArchFlow(random);
        case FingerClass::kLeftLoop:
            return LeftLoopFlow(random);
        case FingerClass::kRightLoop:
            return MirroredFlow(LeftLoopFlow(random));
        case FingerClass::kWhorl: {
            const double gap = random.Uniform(12.0, 42.0);
            const double aside = random.Uniform(0.0, 12.0);
            const double twist = random.Uniform(-0.4, 0.4);
            return TwoCoreFlow(random, gap, aside, twist, 55.0, 0.0);
        }
        case FingerClass::kDoubleLoop: {
            const double gap = random.Uniform(40.0, 65.0);
            const double aside = random.Uniform(16.0, 36.0);
            const double twist = random.Uniform(0.9, 1.3);
            return TwoCoreFlow(random, gap, aside, twist, 0.8 * gap, 0.6);
        }
    }
    return {};
}

}  // namespace qorfp::synth
