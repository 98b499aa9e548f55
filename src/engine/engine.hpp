#pragma once
// The one object that holds all engine state. The Python module keeps exactly one Engine for
// the life of the process; C++ tests create as many as they like.
#include <cstdint>
#include <vector>

#include "atoms/atom_store.hpp"
#include "atoms/force_field_state.hpp"
#include "config/lattice.hpp"
#include "config/run_config.hpp"
#include "electrostatics/electrostatics.hpp"
#include "interaction/cells.hpp"
#include "interaction/evaluation.hpp"
#include "interaction/neighbour_list.hpp"
#include "interaction/registry.hpp"
#include "potentials/catalogue.hpp"
#include "potentials/family_states.hpp"

namespace pelix {

// Atoms of the charged triangle layers ("Y_" and "O_"), gathered by the force call when the
// run is in triangle-layer mode; 0-based staged positions.
struct TriangleLayer {
    std::vector<int32_t> tlayttriaatoms;
    int32_t tlayttriacnt = 0;
};

struct Engine {
    RunConfig config;
    SpatialDecomposition sd;
    bool interface_pelixinflag = false;
    LatticeConstraints lattice;
    AtomStore atoms;
    ForceFieldState ff;
    PotentialRegistry registry;
    CellGrid cells;
    NeighbourSettings neighbours;
    UpdateForceState update;
    ElectrostaticsState electrostatics;
    FamilyStates families;
    TriangleLayer triangle_layer;
    // The keyword catalogue the registry and the evaluation dispatch through: the built-in
    // table, replaceable by tests that need recording families.
    std::span<const KeywordRow> catalogue = keyword_table();
};

}  // namespace pelix
