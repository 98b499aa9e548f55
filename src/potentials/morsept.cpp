#include "potentials/morsept.hpp"

#include <cmath>
#include <string_view>

#include "common/fatal_error.hpp"
#include "common/list_output.hpp"
#include "potentials/family_contract.hpp"
#include "potentials/phosphorus_iron.hpp"

namespace pelix {

namespace {

constexpr int32_t kP = kPhosphorusZ, kFe = kIronZ;
constexpr int32_t kPP = kPhosphorusPair, kPFe = kPhosphorusIronPair;

// Well depth, equilibrium distance and Morse rate of a pair; the smoothing runs from r0 to
// 1.4 r0.
void set_morse(MorseptState& state, int32_t t, double e0, double r0, double alpha_times_r0) {
    const std::size_t s = MorseptState::slot(t);
    state.e0[s] = e0;
    state.r0[s] = r0;
    state.alpha[s] = alpha_times_r0 / r0;
    state.morsept_conrl[s] = r0;
    state.morsept_conrh[s] = 1.4 * r0;
    state.morsept_conrh2[s] = state.morsept_conrh[s] * state.morsept_conrh[s];
    state.smoothing_span[s] = state.morsept_conrl[s] - state.morsept_conrh[s];
}

void setup_pp_interpolation_prms(MorseptState& state) {
    const std::size_t s = MorseptState::slot(kPP);
    state.morsept_bridge[s].b = {18.463375,  -46.290417, 67.58019,
                                 -52.524806, 19.907106,  -2.9289798};
    state.morsept_cutin[s] = 1.85;
}

void setup_pp_zbl_prms(MorseptState& state) {
    const std::size_t s = MorseptState::slot(kPP);
    state.zbl_for_morsept[s] = zbl_terms(ScreeningRule::A, kP, kP);
    state.morsept_sr_cutoff[s] = 0.9;
}

void setup_pfe_interpolation_prms(MorseptState& state) {
    const std::size_t s = MorseptState::slot(kPFe);
    state.morsept_bridge[s].b = {3017.2963, -8433.2466, 9663.4483, -5587.2792, 1614.07, -185.37477};
    state.morsept_cutin[s] = 2.1;
}

void setup_pfe_zbl_prms(MorseptState& state) {
    const std::size_t s = MorseptState::slot(kPFe);
    state.zbl_for_morsept[s] = zbl_terms(ScreeningRule::A, kP, kFe);
    state.morsept_sr_cutoff[s] = 1.0;
}

void setup_pp_prms(MorseptState& state) {
    set_morse(state, kPP, 0.194, 3.35, 3.76);
    setup_pp_interpolation_prms(state);
    setup_pp_zbl_prms(state);
}

void setup_pfe_prms(MorseptState& state) {
    set_morse(state, kPFe, 0.848, 2.22, 3.76);
    setup_pfe_interpolation_prms(state);
    setup_pfe_zbl_prms(state);
}

// The family as the common evaluation sees it.
struct MorseptFamily {
    static constexpr std::string_view overflow_message = "MORSEPT_NEB: NEBTOT > INTERSIZE";
    static constexpr double bond_capacity = 20.0;
    static constexpr double safety_factor = 1.5;
    static constexpr bool counts_all_atoms = false;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = true;

    const MorseptState& state;

    int32_t idnum() const { return state.morsept_idnum; }
    bool selects(int32_t z) const { return morsept_selects(z); }
    int32_t mapij(int32_t za, int32_t zb) const { return morsept_mapij(za, zb); }
    double conrh2(int32_t t) const { return state.morsept_conrh2[MorseptState::slot(t)]; }
    void smoothing(int32_t t, double r, double& f, double& df) const {
        morsept_smoothing(state, t, r, f, df);
    }

    // Each pair once, from the atom with the smaller global identity number; a repulsive
    // pair (F > 0) pushes i away from j.
    void interact(Engine& engine, int32_t m, int32_t i) const {
        const BondList& bonds = engine.ff.bonds;
        interact_pairs<PairOwner::LowerIdentity>(engine, m, i, [&](int32_t t, double r, int32_t b) {
            return morsept_bond(state, t, r, bonds.cutfcn[b], bonds.cutdrv[b]);
        });
    }
};

}  // namespace

void setup_prms_for_morsept(Engine& engine, int32_t k) {
    MorseptState& state = engine.families.morsept;
    state.morsept_idnum = k;
    setup_pp_prms(state);
    setup_pfe_prms(state);
}

int32_t morsept_mapij(int32_t za, int32_t zb) {
    const int32_t t = phosphorus_iron_pair_type(za, zb);
    if (t == 0)
        nrerror("FUNCTION MORSEPT_MAPIJ: Problems to set MORSEPT_MAPIJ");
    return t;
}

bool morsept_selects(int32_t z) {
    return phosphorus_iron_selects(z);
}

double morsept_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    const int32_t t = morsept_mapij(za, zb);
    return engine.families.morsept.morsept_conrh2[MorseptState::slot(t)];
}

void morsept_smoothing(const MorseptState& state, int32_t t, double r, double& cutfcn,
                       double& cutdrv) {
    const std::size_t s = MorseptState::slot(t);
    if (r < state.morsept_conrl[s]) {
        cutfcn = 1.0;
        cutdrv = 0.0;
        return;
    }
    const double span = state.smoothing_span[s];
    const double x = (r - state.morsept_conrh[s]) / span;
    const double x2 = x * x;
    cutfcn = (6.0 - 8.0 * x) * x2 + 3.0 * x2 * x2;
    cutdrv = 12.0 * x * (x - 1.0) * (x - 1.0) / span;
}

void zbl_for_morsept(const MorseptState& state, int32_t t, double r, double& v, double& f) {
    v = 0.0;
    f = 0.0;
    const PairValue value = zbl_evaluate(state.zbl_for_morsept[MorseptState::slot(t)], r);
    v = value.v;
    f = value.f;
}

void morsept_sr_interaction(const MorseptState& state, int32_t t, double r, double& v, double& f) {
    v = 0.0;
    f = 0.0;
    if (t != kPP && t != kPFe) {
        write_stdout_line((ListLine() << "MORSEPT_SR_INTERACTION: IJPOT is unknown").str());
        return;
    }
    zbl_for_morsept(state, t, r, v, f);
}

PairValue morsept_bond(const MorseptState& state, int32_t t, double r, double cutfcn,
                       double cutdrv) {
    const std::size_t s = MorseptState::slot(t);
    PairValue out;
    switch (join_region(r, state.morsept_sr_cutoff[s], state.morsept_cutin[s])) {
        case JoinRegion::Zbl:
            morsept_sr_interaction(state, t, r, out.v, out.f);
            break;
        case JoinRegion::Bridge: {
            // Phosphorus pairs bridge in the exponent, phosphorus-iron pairs in the energy.
            const Quintic& bridge = state.morsept_bridge[s];
            const double p = bridge.value(r);
            const double dp = bridge.derivative(r);
            if (t == kPP) {
                out.v = std::exp(p);
                out.f = -dp * out.v;
            } else {
                out.v = p;
                out.f = -dp;
            }
            break;
        }
        case JoinRegion::Own: {
            const double alpha = state.alpha[s];
            const double d = r - state.r0[s];
            const double e1 = std::exp(-alpha * d);
            const double e2 = std::exp(-2.0 * alpha * d);
            const double v0 = state.e0[s] * (e2 - 2.0 * e1);
            const double dv0 = state.e0[s] * alpha * (2.0 * e1 - 2.0 * e2);
            out.v = v0 * cutfcn;
            out.f = -(dv0 * cutfcn) - cutdrv * v0;
            break;
        }
    }
    return out;
}

PairValue morsept_pair(const MorseptState& state, int32_t t, double r) {
    if (!(r * r < state.morsept_conrh2[MorseptState::slot(t)]))
        return PairValue{};
    double cutfcn = 0.0, cutdrv = 0.0;
    morsept_smoothing(state, t, r, cutfcn, cutdrv);
    return morsept_bond(state, t, r, cutfcn, cutdrv);
}

void morsept_call(Engine& engine) {
    MorseptFamily family{engine.families.morsept};
    evaluate_family(engine, family);
}

}  // namespace pelix
