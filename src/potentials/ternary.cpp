#include "potentials/ternary.hpp"

#include <algorithm>
#include <string_view>

#include "common/fatal_error.hpp"
#include "common/list_directed.hpp"
#include "potentials/family_contract.hpp"

namespace pelix {

namespace {

constexpr int32_t kFe = 26, kNi = 28, kCr = 24;
constexpr int32_t kFeFe = 1, kNiNi = 2, kCrCr = 3, kFeNi = 4, kFeCr = 5, kNiCr = 6;
constexpr std::size_t kFeSlot = 0, kNiSlot = 1, kCrSlot = 2;

// Every table is clamped with zero slopes at both ends; natural ends would need slopes above
// the single-precision 9.9e31.
const double kTernaryNaturalAbove = static_cast<double>(9.9e31f);

// All six pair types share one cut-off radius of 5.18 A.
constexpr double kTernaryCutoff = 5.18;

void set_cutoff(TernaryState& state, int32_t t) {
    state.ternary_conrh2[TernaryState::slot(t)] = kTernaryCutoff * kTernaryCutoff;
}

// Pair function, density and embedding function of one element.
void setup_element(TernaryState& state, int32_t t, std::size_t element, const char* pair_file,
                   const char* rho_file, const char* embedding_file) {
    setup_ternary_table(state, state.pair[TernaryState::slot(t)], pair_file);
    setup_ternary_table(state, state.rho[element], rho_file);
    setup_ternary_table(state, state.embedding[element], embedding_file);
    set_cutoff(state, t);
}

void setup_fefe_prms(TernaryState& state) {
    setup_element(state, kFeFe, kFeSlot, "pFeFe.IN", "rhoFe.IN", "F_Fe.IN");
}
void setup_nini_prms(TernaryState& state) {
    setup_element(state, kNiNi, kNiSlot, "pNiNi.IN", "rhoNi.IN", "F_Ni.IN");
}
void setup_crcr_prms(TernaryState& state) {
    setup_element(state, kCrCr, kCrSlot, "pCrCr.IN", "rhoCr.IN", "F_Cr.IN");
}

void setup_mixed_prms(TernaryState& state, int32_t t, const char* pair_file) {
    setup_ternary_table(state, state.pair[TernaryState::slot(t)], pair_file);
    set_cutoff(state, t);
}

// Every lookup reads the first nspline points of its table, so no table may be shorter.
void check_shared_count(const TernaryState& state) {
    auto check = [&](const TernaryTable& table) {
        if (table.x.size() < static_cast<std::size_t>(state.nspline))
            input_error(table.file, 1,
                        "holds " + std::to_string(table.x.size()) + " points, fewer than the " +
                            std::to_string(state.nspline) +
                            " points every table lookup uses (the count of the last table "
                            "read); all twelve tables must hold the same number of points");
    };
    for (const auto& table : state.pair)
        check(table);
    for (const auto& table : state.rho)
        check(table);
    for (const auto& table : state.embedding)
        check(table);
}

// The family as the common evaluation sees it.
struct TernaryFamily {
    static constexpr std::string_view overflow_message = "TERNARY_NEB: WHATs WRONG WITH INTERSIZE";
    static constexpr double bond_capacity = 100.0;
    static constexpr double safety_factor = 1.5;
    static constexpr bool counts_all_atoms = false;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;

    const TernaryState& state;
    // d(rho)/dr of every bond, kept from the density pass to the force pass.
    std::vector<double> ternary_forsav{};

    int32_t idnum() const { return state.ternary_idnum; }
    bool selects(int32_t z) const { return ternary_selects(z); }
    int32_t mapij(int32_t za, int32_t zb) const { return ternary_mapij(za, zb); }
    double conrh2(int32_t t) const { return state.ternary_conrh2[TernaryState::slot(t)]; }
    void smoothing(int32_t, double, double&, double&) const {}

    void interact(Engine& engine, int32_t m, int32_t i) {
        const BondList& bonds = engine.ff.bonds;
        const std::vector<int32_t>& anum = engine.atoms.anum;
        ForceFieldState& ff = engine.ff;
        const int32_t first = bonds.datum[m], last = bonds.datum[m + 1];
        if (ternary_forsav.size() < bonds.neb.size())
            ternary_forsav.resize(bonds.neb.size());

        double rho = 0.0;
        for (int32_t b = first; b < last; ++b) {
            const int32_t j = bonds.neb[b];
            const double r = bonds.bndlen[b];
            // Pair term once per pair, from the atom with the smaller index.
            if (j > i) {
                const SplineLookup pair =
                    ternary_lookup(state, state.pair[TernaryState::slot(bonds.bndtyp[b])], r);
                add_pair_terms(engine, i, j, pair.value, pair.derivative, bonds.bndxnm[b],
                               bonds.bndynm[b], bonds.bndznm[b]);
            }
            const int element = ternary_element(anum[ff.specie[j]]);
            const SplineLookup density =
                ternary_lookup(state, state.rho[static_cast<std::size_t>(element)], r);
            rho += density.value;
            ternary_forsav[b] = density.derivative;
        }

        const int element = ternary_element(anum[ff.specie[i]]);
        if (element < 0)
            return;
        const SplineLookup embedding =
            ternary_lookup(state, state.embedding[static_cast<std::size_t>(element)], rho);
        engine.atoms.pe[i] += embedding.value;

        // F'(rho_i) rho_j'(r) pulls i towards j when the embedding energy falls with density.
        for (int32_t b = first; b < last; ++b) {
            const int32_t j = bonds.neb[b];
            const double g = ternary_forsav[b] * embedding.derivative;
            ff.add_pair_force(i, j, g, bonds.bndxnm[b], bonds.bndynm[b], bonds.bndznm[b]);
        }
    }
};

}  // namespace

void setup_ternary_table(TernaryState& state, TernaryTable& table, const std::string& file) {
    // A file that still holds the bytes of its last parse gives the same table again.
    if (table.snapshot.unchanged(file) && table.file == file) {
        state.nspline = static_cast<int32_t>(table.x.size());
        return;
    }
    table.snapshot.clear();

    ListDirectedFile in(file);
    int32_t n = 0;
    in.read({int_item(n, "number of points")});
    if (n < 1)
        input_error(file, in.line_number(),
                    "expected a positive number of points, found " + std::to_string(n));
    if (n > kTernaryMaxPoints)
        input_error(file, in.line_number(),
                    "holds " + std::to_string(n) + " points, more than the " +
                        std::to_string(kTernaryMaxPoints) + " a table can hold");
    state.nspline = n;

    const auto size = static_cast<std::size_t>(n);
    std::vector<double> x(size, 0.0), y(size, 0.0);
    for (std::size_t p = 0; p < size; ++p)
        in.read({real_item(x[p], "abscissa"), real_item(y[p], "value")});
    table.d2y = spline(x, y, 0.0, 0.0, kTernaryNaturalAbove);
    table.x = std::move(x);
    table.y = std::move(y);
    table.file = file;
    table.snapshot.record();
}

void setup_prms_for_ternary(Engine& engine, int32_t k) {
    TernaryState& state = engine.families.ternary;
    state.ternary_idnum = k;
    setup_fefe_prms(state);
    setup_nini_prms(state);
    setup_crcr_prms(state);
    setup_mixed_prms(state, kFeCr, "pFeCr.IN");
    setup_mixed_prms(state, kFeNi, "pFeNi.IN");
    setup_mixed_prms(state, kNiCr, "pNiCr.IN");
    check_shared_count(state);
}

int32_t ternary_mapij(int32_t za, int32_t zb) {
    const int ea = ternary_element(za), eb = ternary_element(zb);
    if (ea >= 0 && eb >= 0) {
        if (ea == eb)
            return ea + 1;
        // Mixed pairs: Fe-Ni 4, Fe-Cr 5, Ni-Cr 6 (slots 0+1, 0+2, 1+2 plus 3).
        return ea + eb + 3;
    }
    nrerror("TERNARY_MAPIJ: Problems setting TERNARY_MAPIJ");
}

int ternary_element(int32_t z) {
    switch (z) {
        case kFe:
            return static_cast<int>(kFeSlot);
        case kNi:
            return static_cast<int>(kNiSlot);
        case kCr:
            return static_cast<int>(kCrSlot);
        default:
            return -1;
    }
}

bool ternary_selects(int32_t z) {
    return ternary_element(z) >= 0;
}

double ternary_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    const int32_t t = ternary_mapij(za, zb);
    return engine.families.ternary.ternary_conrh2[TernaryState::slot(t)];
}

SplineLookup ternary_lookup(const TernaryState& state, const TernaryTable& table, double x) {
    // The set-up refuses tables shorter than nspline; the bound only keeps a half-built state
    // from reading past a table.
    const std::size_t n = std::min(static_cast<std::size_t>(state.nspline), table.x.size());
    return ternarysplinepot(x, std::span(table.x).first(n), std::span(table.y).first(n),
                            std::span(table.d2y).first(n));
}

void ternary_call(Engine& engine) {
    TernaryFamily family{engine.families.ternary};
    evaluate_family(engine, family);
}

}  // namespace pelix
