#include "potentials/morlist.hpp"

#include <string>
#include <string_view>

#include "common/fatal_error.hpp"
#include "common/spline.hpp"
#include "potentials/family_contract.hpp"
#include "potentials/pair_table.hpp"
#include "potentials/phosphorus_iron.hpp"

namespace pelix {

namespace {

constexpr int32_t kPP = kPhosphorusPair, kPFe = kPhosphorusIronPair;

// Both set-ups refuse an oversized table with the text that names the P-Fe routine.
constexpr PairTableLimit kTableLimit{kMorlistMaxNdata,
                                     "SETUP_PFE_MORLIST_PRMS: NDATA > MORLIST_MAXNDATA"};

// Reads the table of pair type t and builds its spline; the end slopes are minus the
// tabulated forces of the first and the last record. A file unchanged since its last read
// keeps its table.
void setup_morlist_table(MorlistState& state, int32_t t, const std::string& path) {
    const std::size_t s = MorlistState::slot(t);
    if (state.table_files[s].unchanged(path))
        return;
    state.table_files[s].clear();

    PairTable table = read_pair_table(path, kTableLimit);
    state.morlist_y2a[s] =
        spline(table.x, table.y, -table.first_force, -table.last_force, kNaturalSlopeAbove);
    state.morlist_cutin[s] = table.x.front();
    state.morlist_cutoff[s] = table.x.back();
    state.morlist_conrh2[s] = table.x.back() * table.x.back();
    state.morlist_xa[s] = std::move(table.x);
    state.morlist_ya[s] = std::move(table.y);
    state.table_files[s].record();
}

// The family as the common evaluation sees it.
struct MorlistFamily {
    static constexpr std::string_view overflow_message = "MORSNEB: NEBTOT > INTERSIZE";
    static constexpr double bond_capacity = 20.0;
    static constexpr double safety_factor = 1.5;
    static constexpr bool counts_all_atoms = false;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;

    const MorlistState& state;

    int32_t idnum() const { return state.morlist_idnum; }
    bool selects(int32_t z) const { return morlist_selects(z); }
    int32_t mapij(int32_t za, int32_t zb) const { return morlist_mapij(za, zb); }
    double conrh2(int32_t t) const { return state.morlist_conrh2[MorlistState::slot(t)]; }
    void smoothing(int32_t, double, double&, double&) const {}

    // Each pair once, from the atom with the smaller global identity number.
    void interact(Engine& engine, int32_t m, int32_t i) const {
        interact_pairs<PairOwner::LowerIdentity>(
            engine, m, i, [&](int32_t t, double r, int32_t) { return morlist_pair(state, t, r); });
    }
};

}  // namespace

void setup_pp_morlist_prms(MorlistState& state) {
    setup_morlist_table(state, kPP, "POTFOR-SPLINES/PP_pw_for_potfor_morlist.IN");
}

void setup_pfe_morlist_prms(MorlistState& state) {
    setup_morlist_table(state, kPFe, "POTFOR-SPLINES/PFe_pw_for_potfor_morlist.IN");
}

void setup_prms_for_morlist(Engine& engine, int32_t k) {
    MorlistState& state = engine.families.morlist;
    state.morlist_idnum = k;
    setup_pp_morlist_prms(state);
    setup_pfe_morlist_prms(state);
}

int32_t morlist_mapij(int32_t za, int32_t zb) {
    const int32_t t = phosphorus_iron_pair_type(za, zb);
    if (t == 0)
        nrerror("FUNCTION MORLIST_MAPIJ: Problems to set MORLIST_MAPIJ");
    return t;
}

bool morlist_selects(int32_t z) {
    return phosphorus_iron_selects(z);
}

double morlist_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    const int32_t t = morlist_mapij(za, zb);
    return engine.families.morlist.morlist_conrh2[MorlistState::slot(t)];
}

PairValue interaction_spline(const MorlistState& state, int32_t t, double r) {
    const std::size_t s = MorlistState::slot(t);
    return splint_equal_spacing(state.morlist_xa[s], state.morlist_ya[s], state.morlist_y2a[s], r,
                                "bad MORLIST_xa input in splint");
}

PairValue morlist_pair(const MorlistState& state, int32_t t, double r) {
    const std::size_t s = MorlistState::slot(t);
    if (r < state.morlist_cutin[s])
        nrerror("ACKL_INTERACT: RLIJ < 0.2");
    if (r <= state.morlist_cutoff[s])
        return interaction_spline(state, t, r);
    return PairValue{};
}

void morlist_call(Engine& engine) {
    MorlistFamily family{engine.families.morlist};
    evaluate_family(engine, family);
}

}  // namespace pelix
