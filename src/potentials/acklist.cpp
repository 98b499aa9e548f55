#include "potentials/acklist.hpp"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/fatal_error.hpp"
#include "common/list_output.hpp"
#include "common/numerical.hpp"
#include "common/spline.hpp"
#include "potentials/embedded_atom.hpp"
#include "potentials/family_contract.hpp"
#include "potentials/knot_sums.hpp"
#include "potentials/pair_table.hpp"

namespace pelix {

namespace {

constexpr int32_t kFe = 26;
constexpr int32_t kFeFe = 1;

// The family as the common evaluation sees it.
struct AcklistFamily {
    static constexpr std::string_view overflow_message = "ACKLIST_NEB: WHATs WRONG WITH INTERSIZE";
    static constexpr double bond_capacity = 12.0;
    static constexpr double safety_factor = 1.5;
    static constexpr bool counts_all_atoms = false;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;

    const AcklistState& state;
    EmbeddingScratch scratch{};

    int32_t idnum() const { return state.acklist_idnum; }
    bool selects(int32_t z) const { return acklist_selects(z); }
    int32_t mapij(int32_t za, int32_t zb) const { return acklist_mapij(za, zb); }
    double conrh2(int32_t) const { return state.acklist_conrh2; }
    void smoothing(int32_t, double, double&, double&) const {}

    void interact(Engine& engine, int32_t m, int32_t i) {
        const auto pair = [this](int32_t t, double r) { return acklist_bond_pair(state, t, r); };
        sqrt_embedding_interact(
            engine, m, i, scratch, kAcklistEmbeddingGuard, bond_by_bond(pair),
            [this](const int32_t*, const double* r, int32_t n, double* rho, double* drho) {
                cubic_knot_densities_many(state.acklist_rr.data(), state.acklist_ar.data(),
                                          state.acklist_rr.size(), r, static_cast<std::size_t>(n),
                                          rho, drho);
            });
    }
};

}  // namespace

void setup_fefe_acklist_pw_prms(AcklistState& state) {
    PairTable table = read_pair_table(std::string(kAcklistTableFile));
    state.acklist_y2a =
        spline(table.x, table.y, -table.first_force, -table.last_force, kNaturalSlopeAbove);
    state.acklist_pw_cutin = table.x.front();
    state.acklist_pw_cutoff = table.x.back();
    state.acklist_xa = std::move(table.x);
    state.acklist_ya = std::move(table.y);
}

void setup_fefe_prms(AcklistState& state) {
    state.acklist_a00 = 2.8665;
    state.acklist_conrh *= state.acklist_a00;
    state.acklist_conrh2 = state.acklist_conrh * state.acklist_conrh;
    state.acklist_rr = knot_eam_rows::kFeDensityKnots;
    state.acklist_ar = knot_eam_rows::kFeDensityCoefs;
    setup_fefe_acklist_pw_prms(state);
}

void setup_prms_for_acklist(Engine& engine, int32_t k) {
    AcklistState& state = engine.families.acklist;
    state.acklist_idnum = k;
    setup_fefe_prms(state);
}

int32_t acklist_mapij(int32_t za, int32_t zb) {
    if (za == kFe && zb == kFe)
        return kFeFe;
    nrerror("ACKLIST_MAPIJ: Problems setting ACKLIST_MAPIJ");
}

bool acklist_selects(int32_t z) {
    return z == kFe;
}

double acklist_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    acklist_mapij(za, zb);
    return engine.families.acklist.acklist_conrh2;
}

void fefe_acklist_pw_interaction(const AcklistState& state, double r, double& v, double& f) {
    assert_eq3(state.acklist_xa.size(), state.acklist_ya.size(), state.acklist_y2a.size(),
               "ACKLIST_PW_INTERACTION");
    const PairValue value = splint_equal_spacing(
        state.acklist_xa, state.acklist_ya, state.acklist_y2a, r, "bad ACKLIST_xa input in splint");
    v = value.v;
    f = value.f;
}

void acklist_pw_interaction(const AcklistState& state, int32_t t, double r, double& v, double& f) {
    v = 0.0;
    f = 0.0;
    if (t != kFeFe) {
        write_stdout_line((ListLine() << "ACKLAND_ACKLIST_PW_INTERACTION: IJPOT is unknown").str());
        return;
    }
    fefe_acklist_pw_interaction(state, r, v, f);
}

PairValue acklist_bond_pair(const AcklistState& state, int32_t t, double r) {
    PairValue out;
    if (r < state.acklist_pw_cutin)
        nrerror(" ACKL_INTERACT: RLIJ < 0.2");
    if (r <= state.acklist_pw_cutoff)
        acklist_pw_interaction(state, t, r, out.v, out.f);
    return out;
}

DensityValue acklist_density(const AcklistState& state, int32_t, double r) {
    DensityValue out;
    cubic_knot_density(state.acklist_rr.data(), state.acklist_ar.data(), state.acklist_rr.size(), r,
                       out.rho, out.drho);
    return out;
}

void acklist_call(Engine& engine) {
    AcklistFamily family{engine.families.acklist};
    evaluate_family(engine, family);
}

}  // namespace pelix
