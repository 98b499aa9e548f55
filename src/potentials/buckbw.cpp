#include "potentials/buckbw.hpp"

#include <cmath>
#include <numbers>
#include <string_view>

#include "common/fatal_error.hpp"
#include "potentials/family_contract.hpp"

namespace pelix {

namespace {

constexpr int32_t kO = 8, kTi = 22, kFe = 26, kY = 39;

// One row of the parameter table.
struct BuckinghamRow {
    double a, rho, c, r, d, r1, r2, de;
};

// Writes pair type t: its Buckingham row, polynomial, screened repulsion for the atomic numbers
// z1, z2, cut-off radius R + D, and the constants the pair function takes from them.
void set_pair(BuckbwState& state, int32_t t, int32_t z1, int32_t z2, const BuckinghamRow& row,
              const std::array<double, 6>& s) {
    const std::size_t k = BuckbwState::slot(t);
    state.buckbw_a[k] = row.a;
    state.buckbw_rho[k] = row.rho;
    state.buckbw_c[k] = row.c;
    state.buckbw_r[k] = row.r;
    state.buckbw_d[k] = row.d;
    state.buckbw_r1[k] = row.r1;
    state.buckbw_r2[k] = row.r2;
    state.buckbw_de[k] = row.de;
    state.buckbw_s[k].b = s;
    state.buckbw_zbl[k] = zbl_terms(ScreeningRule::A, z1, z2);
    state.buckbw_conrh[k] = row.r + row.d;
    state.buckbw_conrh2[k] = state.buckbw_conrh[k] * state.buckbw_conrh[k];

    state.inverse_rho[k] = 1.0 / row.rho;
    state.a_over_rho[k] = row.a / row.rho;
    state.six_c[k] = 6.0 * row.c;
    state.taper_start[k] = row.r - row.d;
    state.taper_rate[k] = std::numbers::pi / (2.0 * row.d);
}

void setup_fefe_prms(BuckbwState& state) {
    set_pair(state, 1, kFe, kFe, {14335.0, 0.26511, 447.55, 3.35, 0.55, 0.97, 1.8, 0.0},
             {2297.149, -4959.48, 4071.872, -1500.4187, 208.6644, 0.0});
}

void setup_titi_prms(BuckbwState& state) {
    set_pair(state, 2, kTi, kTi, {9546.5, 0.35981, 2236.28, 4.5, 0.65, 1.53, 2.48, 0.0},
             {466.9173, -745.6197, 456.5066, -126.2589, 13.2291, 0.0});
}

void setup_y_y__prms(BuckbwState& state) {
    set_pair(state, 3, kY, kY, {7957.7, 0.42301, 4893.73, 4.85, 0.8, 1.8, 3.0, 0.75},
             {834.6322, -1419.8765, 981.5659, -342.11238, 59.79284, -4.17854});
}

void setup_fey__prms(BuckbwState& state) {
    set_pair(state, 4, kFe, kY, {9401.8, 0.34022, 1423.061, 4.85, 0.6, 1.5, 2.25, -0.5},
             {936.8254, -1582.699, 1021.0264, -296.5362, 32.5686, 0.0});
}

void setup_feti_prms(BuckbwState& state) {
    set_pair(state, 5, kFe, kTi, {9881.6, 0.31675, 1035.0, 3.95, 0.6, 1.37, 2.3, 0.0},
             {743.674, -1259.367, 810.7806, -234.6237, 25.67417, 0.0});
}

void setup_tiy__prms(BuckbwState& state) {
    set_pair(state, 6, kTi, kY, {7451.6, 0.38063, 2343.22, 5.25, 0.7, 1.92, 2.8, 0.0},
             {232.161, -299.4052, 147.57, -32.9296, 2.798349, 0.0});
}

void setup_feo__prms(BuckbwState& state) {
    set_pair(state, 7, kFe, kO, {29698.0, 0.20246, 182.87, 3.5, 0.4, 0.75, 1.35, 0.0},
             {3469.799, -12272.182, 18121.859, -13741.085, 5287.9223, -820.12171});
}

void setup_tio__prms(BuckbwState& state) {
    set_pair(state, 8, kTi, kO, {44227.0, 0.20378, 269.31, 3.5, 0.5, 0.6, 1.3, 25.0},
             {4606.763, -18497.43, 31076.23, -26502.91, 11303.79, -1917.132});
}

void setup_y_o__prms(BuckbwState& state) {
    set_pair(state, 9, kY, kO, {34922.0, 0.24493, 744.81, 3.5, 0.5, 0.85, 1.65, 5.0},
             {3128.3293, -9527.2471, 11938.943, -7575.9774, 2411.3817, -306.48509});
}

void setup_o_o__prms(BuckbwState& state) {
    set_pair(state, 10, kO, kO, {24.0, 0.94415, 0.0, 3.5, 0.75, 1.2, 1.75, 0.0},
             {286.7024, -553.7201, 403.8193, -128.9657, 14.98538, 0.0});
}

// The pair-type mapping and the region functions, kept inside this file so that the evaluation
// loop can inline them (the exported functions below may be interposed in a shared library,
// which keeps the compiler from inlining them).
inline int32_t pair_type(int32_t za, int32_t zb) {
    // Pair types by (element, element), elements in the order Fe, Ti, Y, O.
    constexpr int32_t kTypes[4][4] = {
        {1, 5, 4, 7},
        {5, 2, 6, 8},
        {4, 6, 3, 9},
        {7, 8, 9, 10},
    };
    auto element = [](int32_t z) {
        switch (z) {
            case kFe:
                return 0;
            case kTi:
                return 1;
            case kY:
                return 2;
            case kO:
                return 3;
            default:
                return -1;
        }
    };
    const int ea = element(za), eb = element(zb);
    if (ea < 0 || eb < 0)
        nrerror("BUCKBW_MAPIJ: Problems setting BUCKBW_MAPIJ");
    return kTypes[ea][eb];
}

inline void zbl_region(const BuckbwState& state, int32_t t, double r, double& v, double& g) {
    const std::size_t k = BuckbwState::slot(t);
    const PairValue bare = zbl_evaluate(state.buckbw_zbl[k], r);
    // V = S/r + de and G = S'/r - V/r: the slope of the bare repulsion, -F, less de/r.
    const double de = state.buckbw_de[k];
    v = bare.v + de;
    g = -bare.f - de / r;
}

inline void polynomial_region(const BuckbwState& state, int32_t t, double r, double& v, double& g) {
    const Quintic& s = state.buckbw_s[BuckbwState::slot(t)];
    v = s.value(r);
    g = s.derivative(r);
}

inline void buckingham_region(const BuckbwState& state, int32_t t, double r, double& v, double& g) {
    const std::size_t k = BuckbwState::slot(t);
    const double centre = state.buckbw_r[k];
    const bool untapered = r <= state.taper_start[k];
    if (!untapered && !(std::abs(r - centre) < state.buckbw_d[k])) {
        v = 0.0;
        g = 0.0;
        return;
    }
    const double repulsion = std::exp(-r * state.inverse_rho[k]);
    const double inverse_r2 = 1.0 / (r * r);
    const double inverse_r6 = inverse_r2 * inverse_r2 * inverse_r2;
    const double b = state.buckbw_a[k] * repulsion - state.buckbw_c[k] * inverse_r6;
    const double db = -state.a_over_rho[k] * repulsion + state.six_c[k] * inverse_r6 / r;
    if (untapered) {
        v = b;
        g = db;
        return;
    }
    const double rate = state.taper_rate[k];
    const double theta = rate * (r - centre);
    const double taper = 0.5 - 0.5 * std::sin(theta);
    v = taper * b;
    g = taper * db - b * 0.5 * std::cos(theta) * rate;
}

// Energy V and G = dV/dr of a bond of type t and length r (a bond: r below R + D).
inline void bond_regions(const BuckbwState& state, int32_t t, double r, double& v, double& g) {
    const std::size_t k = BuckbwState::slot(t);
    if (r <= state.buckbw_r1[k])
        zbl_region(state, t, r, v, g);
    else if (r < state.buckbw_r2[k])
        polynomial_region(state, t, r, v, g);
    else
        buckingham_region(state, t, r, v, g);
}

// The family as the common evaluation sees it.
struct BuckbwFamily {
    static constexpr std::string_view overflow_message = "BUCKBW_NEB: WHATs WRONG WITH INTERSIZE";
    static constexpr double bond_capacity = 185.0;
    static constexpr double safety_factor = 1.5;
    static constexpr bool counts_all_atoms = false;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;
    // Each pair is taken once, from its lower atom index.
    static constexpr bool reads_higher_neighbours_only = true;

    const BuckbwState& state;

    int32_t idnum() const { return state.buckbw_idnum; }
    bool selects(int32_t z) const { return buckbw_selects(z); }
    int32_t mapij(int32_t za, int32_t zb) const { return pair_type(za, zb); }
    double conrh2(int32_t t) const { return state.buckbw_conrh2[BuckbwState::slot(t)]; }
    void smoothing(int32_t, double, double&, double&) const {}

    // Each pair once, from the atom with the smaller index; the force dV/dr along the unit
    // vector from i to j goes to i, its opposite to j, so a repulsive pair (dV/dr < 0) pushes
    // the two apart.
    // Flattened: the region functions are inlined into the loop over the bonds.
    [[gnu::flatten]] void interact(Engine& engine, int32_t m, int32_t i) const {
        const BondList& bonds = engine.ff.bonds;
        const BondView bond(bonds);
        const PairTermSink sink(engine);
        for (int32_t b = bonds.datum[m], end = bonds.datum[m + 1]; b < end; ++b) {
            const int32_t j = bond.neb[b];
            if (!(j > i))
                continue;
            double v = 0.0, g = 0.0;
            bond_regions(state, bond.type[b], bond.length[b], v, g);
            sink.add(i, j, v, g, bond.ux[b], bond.uy[b], bond.uz[b]);
        }
    }
};

}  // namespace

void setup_prms_for_buckbw(Engine& engine, int32_t k) {
    BuckbwState& state = engine.families.buckbw;
    state.buckbw_idnum = k;
    setup_fefe_prms(state);
    setup_titi_prms(state);
    setup_y_y__prms(state);
    setup_fey__prms(state);
    setup_feti_prms(state);
    setup_tiy__prms(state);
    setup_feo__prms(state);
    setup_tio__prms(state);
    setup_y_o__prms(state);
    setup_o_o__prms(state);
}

int32_t buckbw_mapij(int32_t za, int32_t zb) {
    return pair_type(za, zb);
}

bool buckbw_selects(int32_t z) {
    return z == kO || z == kTi || z == kFe || z == kY;
}

double buckbw_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    const int32_t t = buckbw_mapij(za, zb);
    return engine.families.buckbw.buckbw_conrh2[BuckbwState::slot(t)];
}

void buckbw_zbl_interaction(const BuckbwState& state, int32_t t, double r, double& v, double& g) {
    zbl_region(state, t, r, v, g);
}

void buckbw_spline_interaction(const BuckbwState& state, int32_t t, double r, double& v,
                               double& g) {
    polynomial_region(state, t, r, v, g);
}

void buckbw_buckingham_interaction(const BuckbwState& state, int32_t t, double r, double& v,
                                   double& g) {
    buckingham_region(state, t, r, v, g);
}

PairValue buckbw_pair(const BuckbwState& state, int32_t t, double r) {
    if (!(r * r < state.buckbw_conrh2[BuckbwState::slot(t)]))
        return PairValue{};
    double v = 0.0, g = 0.0;
    bond_regions(state, t, r, v, g);
    return PairValue{v, -g};
}

void buckbw_call(Engine& engine) {
    BuckbwFamily family{engine.families.buckbw};
    evaluate_family(engine, family);
}

}  // namespace pelix
