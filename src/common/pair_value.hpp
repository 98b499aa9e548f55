#pragma once
// The result of a pair function at one distance: energy V and force F = -dV/dr.

namespace pelix {

struct PairValue {
    double v = 0.0;
    double f = 0.0;
};

}  // namespace pelix
