#pragma once
// Single-point evaluation (the force call's) and the force update of the stand-alone drivers
// (which keeps the neighbour list while atoms have moved less than the skin).
#include <cstdint>
#include <vector>

#include "atoms/atom_store.hpp"

namespace pelix {

struct Engine;

struct UpdateForceState {
    int32_t num_force_evals = 0;
    bool NEBFLG = true;
    bool UPDATE_FORCE_FIRSTRUN = true;
    std::vector<double> RXOLD, RYOLD, RZOLD;
    int32_t SIZE_RXOLD = 0;
    int32_t SIZE_PE = 0;
    double INBOXXMIN = 0, INBOXXMAX = 0, INBOXYMIN = 0, INBOXYMAX = 0, INBOXZMIN = 0, INBOXZMAX = 0;
    double NEWYPOS = 0;
};

// Stages the atoms, builds the neighbour list, clears forces and energies, runs the
// electrostatics and every potential in potential-number order, and writes the folded
// positions back into the records. Forces and energies stay in ff.fx/fy/fz and atoms.pe.
void single_point_evaluation(Engine& engine, std::vector<AtomRecord>& atoms);

// The stand-alone drivers' evaluation: rebuilds the list only when the two largest
// displacements since the last build add up to more than the skin.
void update_force(Engine& engine, std::vector<AtomRecord>& atoms);

// Runs the evaluation routine of every potential in use, in potential-number order.
void calculate_interaction(Engine& engine);

}  // namespace pelix
