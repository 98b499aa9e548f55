#pragma once
// Damped shifted-force electrostatics (component `dsf_electrostatics_interaction`): the bare
// Coulomb term screened by erfc(alpha r) and shifted so that both the pair energy and the
// pair force fall to zero at the cut-off Rc.
//
// With A = erfc(alpha Rc) / Rc and B = erfc(alpha Rc) / Rc^2 + (2 alpha / sqrt(pi))
// exp(-alpha^2 Rc^2) / Rc, a pair at distance r (0 < r <= Rc) gives each of its two atoms
//   E(r) = 1/2 efactor qi qj (erfc(alpha r) / r - A + (r - Rc) B)
// and the scalar force
//   F(r) = efactor qi qj (erfc(alpha r) / r^2 + (2 alpha / sqrt(pi)) exp(-alpha^2 r^2) / r - B),
// F u on the second atom and -F u on the first, u the unit vector from the first to the second.
//
// Two entries use the pair terms: the estimate over the atoms of the charged triangle layers
// (every listed pair once, straight differences, no periodic images), and a pass in the shape
// of a potential family over the oxygen and yttrium atoms of the neighbour list (with images).
#include <cstdint>

namespace pelix {

struct Engine;

// Coulomb constant in eV A per elementary charge squared (the single-precision 14.399645
// widened to double).
inline constexpr double kDsfEfactor = 14.39964485168457;

struct DsfState {
    double dsf_el_conrh = 15.0;    // cut-off Rc, A
    double dsf_el_conrh2 = 225.0;  // Rc^2
    double dsf_alpha = 0.15;       // damping, 1/A
    int32_t dsf_electrostatics_idnum = 0;
    bool exceed = false;  // the neighbour store of the potential-shaped pass overflowed
};

// The shift constants A and B of the current cut-off and damping, computed once per pass.
struct DsfShift {
    double rc, alpha, a, b;
};
DsfShift dsf_shift(const DsfState& state);

// Energy share E(r) booked on each of the two atoms, and the scalar force F(r).
struct DsfPairTerms {
    double energy_share;
    double force;
};
DsfPairTerms dsf_pair_terms(const DsfShift& shift, double qi, double qj, double r);

// The estimate over the listed atoms of the triangle layers (pairs with r^2 <= Rc^2).
void tla_estimate_electrostatics(Engine& engine);

// The potential-shaped pass, with the set-up, evaluation and cut-off query of a family.
void setup_prms_for_dsf_electrostatics(Engine& engine, int32_t idnum);
void dsf_electrostatics_call(Engine& engine);
double dsf_electrostatics_cutoff_squared(Engine& engine, int32_t zi, int32_t zj);
// Appends the oxygen and yttrium neighbours of atom i strictly within the cut-off to the
// shared bond list; an overflow of its capacity sets `exceed` and stops.
void dsf_electrostatics_neb(Engine& engine, int32_t i, bool& exceed);
// Adds the pair terms of atom i (the k-th collected atom) with each of its bonds to a
// higher-numbered atom.
void dsf_electrostatics_interact(Engine& engine, int32_t k, int32_t i);

}  // namespace pelix
