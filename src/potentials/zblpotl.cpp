#include "potentials/zblpotl.hpp"

#include <cmath>
#include <numbers>
#include <string_view>

#include "common/fatal_error.hpp"
#include "potentials/family_contract.hpp"

namespace pelix {

namespace {

constexpr int32_t kHe = 2, kC = 6, kO = 8, kMg = 12, kAl = 13, kFe = 26, kNi = 28, kY = 39,
                  kAg = 47, kAu = 79;

struct PairEntry {
    int32_t za, zb, type;
};

// The supported unordered pairs with their pair types.
constexpr std::array<PairEntry, kZblpotlPairTypes> kPairs{{
    {kAg, kC, 1},
    {kFe, kC, 2},
    {kMg, kC, 3},
    {kO, kC, 4},
    {kAu, kC, 5},
    {kNi, kC, 6},
    {kAl, kC, 7},
    {kFe, kY, 8},
    {kFe, kO, 9},
    {kHe, kY, 10},
}};

// Radii and repulsion constants of pair type t between atomic numbers za and zb. The taper
// constants follow from the width of the smoothing zone.
void set_pair(ZblpotlState& state, int32_t t, int32_t za, int32_t zb, double conrl, double conrh,
              double conrh2) {
    const std::size_t s = ZblpotlState::slot(t);
    state.zblpotl_conrl[s] = conrl;
    state.zblpotl_conrh[s] = conrh;
    state.zblpotl_conrh2[s] = conrh2;
    const double width = conrh - conrl;
    state.zblpotl_confca[s] = std::numbers::pi / width;
    state.zblpotl_confc[s] = -std::numbers::pi / (2.0 * width);
    state.zblpotl_zbl[s] = zbl_terms(ScreeningRule::A, za, zb);
}

void setup_AgC_prms(ZblpotlState& state) {
    set_pair(state, 1, kAg, kC, 3.0, 4.0, 16.0);
}
void setup_FeC_prms(ZblpotlState& state) {
    set_pair(state, 2, kFe, kC, 3.3795, 3.59, 12.8881);
}
void setup_MgC_prms(ZblpotlState& state) {
    set_pair(state, 3, kMg, kC, 3.0, 4.0, 16.0);
}
void setup_OC_prms(ZblpotlState& state) {
    set_pair(state, 4, kO, kC, 3.0, 4.0, 16.0);
}
void setup_AuC_prms(ZblpotlState& state) {
    set_pair(state, 5, kAu, kC, 3.0, 4.0, 16.0);
}
void setup_NiC_prms(ZblpotlState& state) {
    set_pair(state, 6, kNi, kC, 3.0, 4.0, 16.0);
}
void setup_AlC_prms(ZblpotlState& state) {
    set_pair(state, 7, kAl, kC, 3.0, 4.0, 16.0);
}
void setup_FeO_prms(ZblpotlState& state) {
    set_pair(state, 9, kFe, kO, 3.0, 4.0, 16.0);
}
void setup_FeY_prms(ZblpotlState& state) {
    set_pair(state, 8, kFe, kY, 3.0, 4.0, 16.0);
}
void setup_HeY_prms(ZblpotlState& state) {
    set_pair(state, 10, kHe, kY, 3.0, 4.0, 16.0);
}

// The family as the common evaluation sees it.
struct ZblpotlFamily {
    static constexpr std::string_view overflow_message = "ZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE";
    static constexpr double bond_capacity = 20.0;
    static constexpr double safety_factor = 1.5;
    static constexpr bool counts_all_atoms = false;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = true;
    // Each pair is taken once, from its lower atom index.
    static constexpr bool reads_higher_neighbours_only = true;

    const ZblpotlState& state;

    int32_t idnum() const { return state.zblpotl_idnum; }
    bool selects(int32_t z) const { return zblpotl_selects(z); }
    int32_t mapij(int32_t za, int32_t zb) const { return zblpotl_mapij(za, zb); }
    double conrh2(int32_t t) const { return state.zblpotl_conrh2[ZblpotlState::slot(t)]; }
    void smoothing(int32_t t, double r, double& f, double& df) const {
        zblpotl_smoothing(state, t, r, f, df);
    }

    // Each pair once, from the atom with the smaller index, and only below the fixed limit.
    // The force F along the unit vector from i to j pushes j away and i back when F > 0.
    void interact(Engine& engine, int32_t m, int32_t i) const {
        const BondList& bonds = engine.ff.bonds;
        interact_pairs<PairOwner::LowerIndex>(engine, m, i, [&](int32_t t, double r, int32_t b) {
            if (!(r < kZblpotlInteractionLimit))
                return PairValue{};
            return zblpotl_tapered(state, t, r, bonds.cutfcn[b], bonds.cutdrv[b]);
        });
    }
};

}  // namespace

void setup_prms_for_zblpotl(Engine& engine, int32_t k) {
    ZblpotlState& state = engine.families.zblpotl;
    state.zblpotl_idnum = k;
    setup_AgC_prms(state);
    setup_FeC_prms(state);
    setup_MgC_prms(state);
    setup_OC_prms(state);
    setup_AuC_prms(state);
    setup_NiC_prms(state);
    setup_AlC_prms(state);
    setup_FeO_prms(state);
    setup_FeY_prms(state);
    setup_HeY_prms(state);
}

int32_t zblpotl_mapij(int32_t za, int32_t zb) {
    // The refused pairs have messages of their own; iron with silver names the order asked.
    if (za == kFe && zb == kAg)
        nrerror("ZBLPOTL_MAPIJ: Fe-Ag interaction is not implemented");
    if (za == kAg && zb == kFe)
        nrerror("ZBLPOTL_MAPIJ: Ag-Fe interaction is not implemented");
    if (za == kAg && zb == kAg)
        nrerror("ZBLPOTL_MAPIJ: Ag-Ag interaction is not implemented");
    if (za == kC && zb == kC)
        nrerror("ZBLPOTL_MAPIJ: C-C interaction is not implemented");
    for (const PairEntry& pair : kPairs) {
        if ((za == pair.za && zb == pair.zb) || (za == pair.zb && zb == pair.za))
            return pair.type;
    }
    nrerror("ZBLPOTL_MAPIJ: Problems to set ZBLPOTL_MAPIJ");
}

bool zblpotl_selects(int32_t z) {
    for (const PairEntry& pair : kPairs) {
        if (z == pair.za || z == pair.zb)
            return true;
    }
    return false;
}

double zblpotl_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    const int32_t t = zblpotl_mapij(za, zb);
    return engine.families.zblpotl.zblpotl_conrh2[ZblpotlState::slot(t)];
}

void zblpotl_smoothing(const ZblpotlState& state, int32_t t, double r, double& cutfcn,
                       double& cutdrv) {
    const std::size_t s = ZblpotlState::slot(t);
    const double conrl = state.zblpotl_conrl[s];
    if (r < conrl) {
        cutfcn = 1.0;
        cutdrv = 0.0;
        return;
    }
    const double theta = state.zblpotl_confca[s] * (r - conrl);
    cutfcn = (std::cos(theta) + 1.0) * 0.5;
    cutdrv = state.zblpotl_confc[s] * std::sin(theta);
}

PairValue zblpotl_tapered(const ZblpotlState& state, int32_t t, double r, double cutfcn,
                          double cutdrv) {
    const PairValue bare = zbl_evaluate(state.zblpotl_zbl[ZblpotlState::slot(t)], r);
    return PairValue{bare.v * cutfcn, bare.f * cutfcn - cutdrv * bare.v};
}

PairValue zblpotl_pair(const ZblpotlState& state, int32_t t, double r) {
    if (!(r * r < state.zblpotl_conrh2[ZblpotlState::slot(t)]) || !(r < kZblpotlInteractionLimit))
        return PairValue{};
    double cutfcn = 0.0, cutdrv = 0.0;
    zblpotl_smoothing(state, t, r, cutfcn, cutdrv);
    return zblpotl_tapered(state, t, r, cutfcn, cutdrv);
}

void zblpotl_call(Engine& engine) {
    ZblpotlFamily family{engine.families.zblpotl};
    evaluate_family(engine, family);
}

}  // namespace pelix
