#pragma once
// A knot-sum embedded-atom keyword as the common evaluation sees it. Include from a .cpp only:
// it pulls in the whole Engine.
#include <string_view>

#include "potentials/embedded_atom.hpp"
#include "potentials/family_contract.hpp"
#include "potentials/keyword_operations.hpp"
#include "potentials/knot_eam/knot_eam.hpp"

namespace pelix {

// The embedding force's square-root part is dropped when sqrt(rho) does not exceed this value,
// the single-precision value of 1e-12.
inline constexpr double kKnotEamEmbeddingGuard = static_cast<double>(1e-12f);

template <const KnotEamKeyword& Keyword>
struct KnotEamFamily {
    static constexpr const KnotEamKeyword& keyword = Keyword;
    static constexpr std::string_view overflow_message = Keyword.overflow_message;
    static constexpr double bond_capacity = Keyword.bond_capacity;
    static constexpr double safety_factor = 1.5;
    static constexpr bool counts_all_atoms = false;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;

    const KnotEamState& state;
    EmbeddingScratch scratch{};

    int32_t idnum() const { return state.idnum; }
    bool selects(int32_t z) const { return state.element_index(z) >= 0; }
    int32_t mapij(int32_t za, int32_t zb) const { return knot_eam_mapij(Keyword, za, zb); }
    double conrh2(int32_t t) const { return state.of_type(t).conrh2; }
    void smoothing(int32_t, double, double&, double&) const {}

    void interact(Engine& engine, int32_t m, int32_t i) {
        const int32_t e = state.element_index(engine.atoms.anum[engine.ff.specie[i]]);
        const EamElementRow& embedding = state.embedding[static_cast<std::size_t>(e)];
        sqrt_embedding_interact(
            engine, m, i, scratch, kKnotEamEmbeddingGuard,
            [this](const int32_t* type, const double* r, int32_t n, double* v, double* f) {
                knot_eam_bond_pairs(state, type, r, n, v, f);
            },
            [this, e](const int32_t* type, const double* r, int32_t n, double* rho, double* drho) {
                knot_eam_bond_densities(state, e, type, r, n, rho, drho);
            },
            EmbeddingPolynomial{embedding.root, embedding.a1, embedding.a2, embedding.a4});
    }
};

// The three operations of a keyword whose state is the member `State` of the family states.
template <const KnotEamKeyword& Keyword, KnotEamState FamilyStates::*State>
using KnotEamOperations =
    KeywordOperations<KnotEamFamily<Keyword>, knot_eam_setup, knot_eam_cutoff_squared, State>;

}  // namespace pelix
