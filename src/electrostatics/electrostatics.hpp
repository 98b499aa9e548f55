#pragma once
// Coulomb method selection (component `electrostatics_interaction`): the set-up hook run by
// every interaction set-up and the dispatcher run first in every evaluation, on zeroed forces
// and energies. In this order: fewer than two charged atoms compute nothing; multipole flag 2
// runs the damped shifted-force estimate over the triangle layers; a box periodic in x runs
// Ewald summation; flag 0 runs the multipole tree; flag 1 (the second multipole method) and
// flags of 3 or more compute nothing.
#include <cstdint>

#include "electrostatics/dsf.hpp"
#include "electrostatics/multipole_settings.hpp"

namespace pelix {

struct Engine;

struct ElectrostaticsState {
    int32_t ncharged = 0;  // charged atoms, counted at the first evaluation after a set-up
    bool elecfirstcall = false;
    DsfState dsf;
    MultipoleState multipole;
};

void setup_prms_for_electrostatics(Engine& engine);
void electrostatics_call(Engine& engine);

// Whether the coming evaluation will run Ewald summation: periodic in x, not in triangle-layer
// mode and at least two charged atoms among the staged ones. The neighbour set-up asks this to
// make the list reach the Ewald real-space cut-off.
bool ewald_will_run(const Engine& engine);

}  // namespace pelix
