#include "potentials/ackland.hpp"

#include <cmath>
#include <string_view>
#include <vector>

#include "common/fatal_error.hpp"
#include "potentials/embedded_atom.hpp"
#include "potentials/family_contract.hpp"

namespace pelix {

namespace {

constexpr int32_t kFe = 26, kAg = 47, kAu = 79;
constexpr int32_t kFeFe = 1, kAgAg = 2, kAuAu = 3;

// Silver and gold keep the iron knots 7..13 with zero coefficients.
constexpr std::array<double, 7> kOuterKnots{2.8, 3.0, 3.3, 3.7, 4.2, 4.7, 5.3};

// The knots and coefficients of the six-knot pair terms of silver and gold.
void set_six_knot_pair_term(AcklandState& state, int32_t t, const std::array<double, 6>& rs,
                            const std::array<double, 6>& as) {
    const std::size_t s = AcklandState::slot(t);
    for (std::size_t k = 0; k < 6; ++k) {
        state.rs[s][k] = rs[k];
        state.as[s][k] = as[k];
    }
    for (std::size_t k = 0; k < kOuterKnots.size(); ++k) {
        state.rs[s][6 + k] = kOuterKnots[k];
        state.as[s][6 + k] = 0.0;
    }
}

void setup_fefe_interpolation_prms(AcklandState& state) {
    const std::size_t s = AcklandState::slot(kFeFe);
    state.ackland_bridge[s].b = {
        6.4265260576348, 1.7900488524286, -4.5108316729807, 1.0866199373306, 0.0, 0.0};
    state.pw_ackland_cutin[s] = 2.0;
}

void setup_fefe_zbl_prms(AcklandState& state) {
    const std::size_t s = AcklandState::slot(kFeFe);
    state.zbl_for_ackland[s] = zbl_terms(ScreeningRule::B, kFe, kFe);
    state.sr_cutoff_for_ackland[s] = 1.0;
}

void setup_fefe_prms(AcklandState& state) {
    const std::size_t s = AcklandState::slot(kFeFe);
    state.ackland_a00[s] = 2.8665;
    state.rs[s] = {2.2, 2.3, 2.4, 2.5, 2.6, 2.7, 2.8, 3.0, 3.3, 3.7, 4.2, 4.7, 5.3};
    state.as[s] = {-24.028204854115,   11.300691696477,  5.3144495820462,  -4.6659532856049,
                   5.9637758529194,    -1.7710262006061, 0.85913830768731, -2.1845362968261,
                   2.6424377007466,    -1.0358345370208, 0.33548264951582, -0.046448582149334,
                   -0.0070294963048689};
    state.ackland_rr[s] = kAcklandFeFeRr;
    state.ackland_ar[s] = kAcklandFeFeAr;
    state.ackland_conrh2[s] = 28.09;
    setup_fefe_interpolation_prms(state);
    setup_fefe_zbl_prms(state);
}

void setup_agag_interpolation_prms(AcklandState& state) {
    const std::size_t s = AcklandState::slot(kAgAg);
    state.ackland_bridge[s].b = {26.50908957845625,  -71.89319720965597, 106.8039720921333,
                                 -81.66202437618149, 29.97761144226333,  -4.215383521477594};
    state.pw_ackland_cutin[s] = 2.0;
}

void setup_agag_zbl_prms(AcklandState& state) {
    const std::size_t s = AcklandState::slot(kAgAg);
    state.zbl_for_ackland[s] = zbl_terms(ScreeningRule::A, kAg, kAg);
    state.sr_cutoff_for_ackland[s] = 0.9;
}

void setup_agag_prms(AcklandState& state) {
    const std::size_t s = AcklandState::slot(kAgAg);
    state.ackland_a00[s] = 4.086;
    set_six_knot_pair_term(
        state, kAgAg, {5.0043076614, 4.7181262644, 4.568174559, 4.086, 3.5385797844, 2.8892383848},
        {0.2985808249251565, -1.5005081976456136, 1.3825327044562032, -0.09117984691665308,
         0.45561521608663086, 2.5735442971795033});
    state.ackland_rr[s] = {5.0043076614, 4.086, 0.0};
    state.ackland_ar[s] = {0.021384005479695226, 0.6295543735087737, 0.0};
    state.ackland_rho_cutin[s] = -1.0;
    state.ackland_sr_rho[s] = 0.0;
    state.ackland_conrh2[s] = 25.043095169946742;
    setup_agag_interpolation_prms(state);
    setup_agag_zbl_prms(state);
}

void setup_auau_interpolation_prms(AcklandState& state) {
    const std::size_t s = AcklandState::slot(kAuAu);
    state.ackland_bridge[s].b = {29.76081612678622,  -81.91624860032177, 122.4741391789872,
                                 -93.75672270842048, 34.43018142028221,  -4.838507703843463};
    state.pw_ackland_cutin[s] = 2.0;
}

void setup_auau_zbl_prms(AcklandState& state) {
    const std::size_t s = AcklandState::slot(kAuAu);
    state.zbl_for_ackland[s] = zbl_terms(ScreeningRule::A, kAu, kAu);
    state.sr_cutoff_for_ackland[s] = 0.9;
}

void setup_auau_prms(AcklandState& state) {
    const std::size_t s = AcklandState::slot(kAuAu);
    state.ackland_a00[s] = 4.078;
    set_six_knot_pair_term(
        state, kAuAu, {4.9945097022, 4.7088886212, 4.559230507, 4.078, 3.5316515812, 2.8835815304},
        {0.428489305507891, -2.2582346651185667, 2.184964767549161, -0.327424126706177,
         1.072210988431265, 2.938220094607795});
    state.ackland_rr[s] = {4.559230507, 3.5316515812, 0.0};
    state.ackland_ar[s] = {0.32336978865567245, 4.202401788970492, 0.0};
    state.ackland_rho_cutin[s] = -1.0;
    state.ackland_sr_rho[s] = 0.0;
    state.ackland_conrh2[s] = 24.945127165369936;
    setup_auau_interpolation_prms(state);
    setup_auau_zbl_prms(state);
}

// The pair type, the pair term and the density of a bond, kept inside this file so that the
// evaluation loop can inline them (the exported functions below may be interposed in a shared
// library, which keeps the compiler from inlining them). Pair type of two atomic numbers; the
// refusals are ackland_mapij's.
inline int32_t pair_type(int32_t za, int32_t zb) {
    if (za == zb && za == kFe)
        return kFeFe;
    return ackland_mapij(za, zb);
}

inline PairValue bond_pair(const AcklandState& state, int32_t t, double r) {
    const std::size_t s = AcklandState::slot(t);
    PairValue out;
    switch (join_region(r, state.sr_cutoff_for_ackland[s], state.pw_ackland_cutin[s])) {
        case JoinRegion::Zbl:
            zbl_for_ackland(state, t, r, out.v, out.f);
            break;
        case JoinRegion::Bridge: {
            // The bridge joins in the exponent: V = exp(p(r)).
            const Quintic& bridge = state.ackland_bridge[s];
            out.v = std::exp(bridge.value(r));
            out.f = -bridge.derivative(r) * out.v;
            break;
        }
        case JoinRegion::Own: {
            double cubes = 0.0, squares = 0.0;
            cubic_knot_sums(state.rs[s], state.as[s], r, cubes, squares);
            out.v = cubes;
            out.f = 3.0 * squares;
            break;
        }
    }
    return out;
}

inline DensityValue bond_density(const AcklandState& state, int32_t t, double r) {
    const std::size_t s = AcklandState::slot(t);
    return knot_density(state.ackland_rr[s], state.ackland_ar[s], r);
}

// Calls run(t, from, to) for each run of bonds from..to-1 of one pair type t. Only like elements
// pair, so the bonds of an atom are one run, which a test without early exit finds quickly.
template <class Run>
void for_each_type_run(const int32_t* type, int32_t n, const Run& run) {
    if (n == 0)
        return;
    int32_t differ = 0;  // bits in which some type differs from the first (a vector reduction)
    for (int32_t k = 1; k < n; ++k)
        differ |= type[k] ^ type[0];
    if (differ == 0) {
        run(type[0], 0, n);
        return;
    }
    for (int32_t from = 0; from < n;) {
        int32_t to = from + 1;
        while (to < n && type[to] == type[from])
            ++to;
        run(type[from], from, to);
        from = to;
    }
}

// The pair terms of n bonds: the knot sums of a run of one type together, then the few bonds
// short enough for the join to ZBL one at a time.
void bond_pairs(const AcklandState& state, const int32_t* type, const double* r, int32_t n,
                double* v, double* f) {
    for_each_type_run(type, n, [&](int32_t t, int32_t from, int32_t to) {
        const std::size_t s = AcklandState::slot(t);
        cubic_knot_sums_many(state.rs[s].data(), state.as[s].data(), kAcklandPairKnots, r + from,
                             static_cast<std::size_t>(to - from), v + from, f + from);
        for (int32_t k = from; k < to; ++k) {
            f[k] = 3.0 * f[k];
            if (join_region(r[k], state.sr_cutoff_for_ackland[s], state.pw_ackland_cutin[s]) !=
                JoinRegion::Own) {
                const PairValue pair = bond_pair(state, t, r[k]);
                v[k] = pair.v;
                f[k] = pair.f;
            }
        }
    });
}

void bond_densities(const AcklandState& state, const int32_t* type, const double* r, int32_t n,
                    double* rho, double* drho) {
    for_each_type_run(type, n, [&](int32_t t, int32_t from, int32_t to) {
        const std::size_t s = AcklandState::slot(t);
        knot_densities(state.ackland_rr[s], state.ackland_ar[s], r + from, to - from, rho + from,
                       drho + from);
    });
}

// The family as the common evaluation sees it.
struct AcklandFamily {
    static constexpr std::string_view overflow_message = "ACKLAND_NEB: WHATs WRONG WITH INTERSIZE";
    static constexpr double bond_capacity = 200.0;
    static constexpr double safety_factor = 1.5;
    static constexpr bool counts_all_atoms = false;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;

    const AcklandState& state;
    EmbeddingScratch scratch{};

    int32_t idnum() const { return state.ackland_idnum; }
    bool selects(int32_t z) const { return ackland_selects(z); }
    int32_t mapij(int32_t za, int32_t zb) const { return pair_type(za, zb); }
    double conrh2(int32_t t) const { return state.ackland_conrh2[AcklandState::slot(t)]; }
    void smoothing(int32_t, double, double&, double&) const {}

    // Flattened: the pair and density functions are inlined into the loop over the bonds.
    [[gnu::flatten]] void interact(Engine& engine, int32_t m, int32_t i) {
        sqrt_embedding_interact(
            engine, m, i, scratch, kAcklandEmbeddingGuard,
            [this](const int32_t* type, const double* r, int32_t n, double* v, double* f) {
                bond_pairs(state, type, r, n, v, f);
            },
            [this](const int32_t* type, const double* r, int32_t n, double* rho, double* drho) {
                bond_densities(state, type, r, n, rho, drho);
            });
    }
};

}  // namespace

void setup_prms_for_ackland(Engine& engine, int32_t k) {
    AcklandState& state = engine.families.ackland;
    state.ackland_idnum = k;
    setup_fefe_prms(state);
    setup_agag_prms(state);
    setup_auau_prms(state);
}

int32_t ackland_mapij(int32_t za, int32_t zb) {
    if (za == zb) {
        switch (za) {
            case kFe:
                return kFeFe;
            case kAg:
                return kAgAg;
            case kAu:
                return kAuAu;
            default:
                break;
        }
    }
    auto is_pair = [za, zb](int32_t a, int32_t b) {
        return (za == a && zb == b) || (za == b && zb == a);
    };
    if (is_pair(kFe, kAg))
        nrerror(
            "ACKLAND_MAPIJ: Ackland interaction betweenFe and Ag has not been implemented yet.");
    if (is_pair(kFe, kAu))
        nrerror(
            "ACKLAND_MAPIJ: Ackland interaction betweenFe and Au has not been implemented yet.");
    if (is_pair(kAg, kAu))
        nrerror(
            "ACKLAND_MAPIJ: Ackland interaction betweenAg and Au has not been implemented yet.");
    nrerror("ACKLAND_MAPIJ: Problems setting ACKLAND_MAPIJ");
}

bool ackland_selects(int32_t z) {
    return z == kFe || z == kAg || z == kAu;
}

double ackland_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    const int32_t t = ackland_mapij(za, zb);
    return engine.families.ackland.ackland_conrh2[AcklandState::slot(t)];
}

void zbl_for_ackland(const AcklandState& state, int32_t t, double r, double& v, double& f) {
    v = 0.0;
    f = 0.0;
    const PairValue value = zbl_evaluate(state.zbl_for_ackland[AcklandState::slot(t)], r);
    v = value.v;
    f = value.f;
}

PairValue ackland_bond_pair(const AcklandState& state, int32_t t, double r) {
    return bond_pair(state, t, r);
}

PairValue ackland_pair(const AcklandState& state, int32_t t, double r) {
    if (!(r * r < state.ackland_conrh2[AcklandState::slot(t)]))
        return PairValue{};
    return ackland_bond_pair(state, t, r);
}

DensityValue ackland_density(const AcklandState& state, int32_t t, double r) {
    return bond_density(state, t, r);
}

void ackland_call(Engine& engine) {
    AcklandFamily family{engine.families.ackland};
    evaluate_family(engine, family);
}

}  // namespace pelix
