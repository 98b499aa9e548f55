#pragma once
// Settings and box of the multipole tree (component `coulomb_force_algorithm_selection`): the
// reader of "dpmta.IN" and the tree's set-up, the box that follows the charges, the tree's
// evaluation in the program's units, its release; and the reader of "fmmp.IN", the settings of
// the second multipole method, which no evaluation uses.
#include <array>
#include <cstdint>

#include "electrostatics/multipole/fpmta.hpp"

namespace pelix {

struct Engine;

// Box tracking: a face moves once a charged atom comes closer to it than this margin, and is
// then placed this overshoot beyond the outermost charged atom on that side.
inline constexpr double kDpmtaFaceMargin = 10.0;
inline constexpr double kDpmtaFaceOvershoot = 20.0;

// The records of "dpmta.IN" as the tree's initialisation takes them.
struct DpmtaRecords {
    // process count, tree levels, multipole terms, mp_lj, FFT switch, FFT block size,
    // periodic switch, macroscopic terms
    std::array<int32_t, 8> integers{};
    // theta, box vector 1 x/y/z, box vector 2 x/y/z, box vector 3 x/y/z, box centre x/y/z
    std::array<double, 13> reals{};
    int32_t id = 0;  // the tree's process identifier, returned by its initialisation
};

// Settings of "fmmp.IN" (`common_variables_for_fmmp`).
struct FmmpSettings {
    int32_t iws = 0, itr = 0, ipbc = 0, lbotx = 0, lboty = 0, lbotz = 0;
    std::array<double, 3> hx{}, hy{}, hz{};
};

// Working state of one box-tracking step, per axis x, y, z.
struct DpmtaTracking {
    std::array<std::array<bool, 3>, 2> dpmtachngflag{};  // [0] upper face moved, [1] lower
    std::array<double, 3> dpmtatempmax{}, dpmtatempmin{};
    std::array<double, 3> pos{};
};

struct MultipoleState {
    DpmtaRecords records;
    FmmpSettings fmmp;
    DpmtaTracking tracking;
    multipole::MultipoleTreeSlot tree;  // empty unless the tree is selected and set up
};

// Reads "dpmta.IN" when the tree is selected (flag 0); stops unless the flag is 0 or 1.
void read_multipole_in(Engine& engine);
// Reads the 22 lines of "dpmta.IN", stores the box state, starts the tree and gives it its box.
void read_dpmta_in(Engine& engine);
// Reads the 15 lines of "fmmp.IN".
void read_fmmp_in(Engine& engine);
// The tracked box restarts from the box of "dpmta.IN".
void setup_dpmtaresize(Engine& engine);
// Moves the faces that charged atoms have come near and hands the new box to the tree.
void main_dpmtaresize(Engine& engine);
// Runs the tree over the local atoms, replacing fx, fy, fz and pe with its results in eV/A and
// eV (per-atom potential, not yet halved).
void eval_multipole(Engine& engine);
// Releases the tree.
void finalise_multipole(Engine& engine);

}  // namespace pelix
