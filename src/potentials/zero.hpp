#pragma once
// "ZERO": no interaction. Set-up and evaluation do nothing and the cut-off is 0.0 for every
// pair, so its pairs never enter the neighbour list.
#include <cstdint>

namespace pelix {

struct Engine;

struct ZeroState {
    int32_t zero_idnum = 0;
};

void setup_prms_for_zero(Engine& engine, int32_t k);
double zero_potl_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void zero_call(Engine& engine);

}  // namespace pelix
