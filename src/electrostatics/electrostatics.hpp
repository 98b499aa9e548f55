#pragma once
// Coulomb method selection (component `electrostatics_interaction`): the set-up hook run by
// every interaction set-up, the dispatcher run first in every evaluation, and the tear-down.
#include <cstdint>

namespace pelix {

struct Engine;

struct ElectrostaticsState {
    int32_t ncharged = 0;
    bool elecfirstcall = false;
};

void setup_prms_for_electrostatics(Engine& engine);
void electrostatics_call(Engine& engine);
void finalise_multipole(Engine& engine);

}  // namespace pelix
