#pragma once
// An ionic keyword as the common evaluation sees it, and its three catalogue operations.
// Include from a .cpp only: it pulls in the whole Engine.
#include <string_view>

#include "common/fatal_error.hpp"
#include "potentials/family_contract.hpp"
#include "potentials/ionic/ionic.hpp"
#include "potentials/keyword_operations.hpp"

namespace pelix {

template <const IonicKeyword& Keyword>
struct IonicFamily {
    static constexpr const IonicKeyword& keyword = Keyword;
    static constexpr std::string_view overflow_message = Keyword.overflow_message;
    static constexpr double bond_capacity = Keyword.bond_capacity;
    static constexpr double safety_factor = Keyword.safety_factor;
    static constexpr bool counts_all_atoms = Keyword.counts_all_atoms;
    static constexpr bool stores_type = true;
    static constexpr bool stores_smoothing = false;
    // Each pair is taken once, from its lower atom index.
    static constexpr bool reads_higher_neighbours_only = true;

    const IonicState& state;

    int32_t idnum() const { return state.idnum; }
    bool selects(int32_t z) const {
        for (const int32_t e : state.elements)
            if (e == z)
                return true;
        return false;
    }
    int32_t mapij(int32_t za, int32_t zb) const { return ionic_mapij(state, Keyword, za, zb); }
    double conrh2(int32_t t) const {
        const IonicPairType& p = state.of_type(t);
        if (!p.defined) {
            const ElementPair& pair = state.types[static_cast<std::size_t>(t - 1)];
            return ionic_cutoff_squared(state, Keyword, pair.za, pair.zb);  // stops
        }
        return p.conrh2;
    }
    void smoothing(int32_t, double, double&, double&) const {}

    // Flattened: the region functions are inlined into the loop over the bonds.
    [[gnu::flatten]] void interact(Engine& engine, int32_t m, int32_t i) const {
        const IonicPairType* pairs = state.pair.data();
        interact_pairs<PairOwner::LowerIndex>(engine, m, i, [pairs](int32_t t, double r, int32_t) {
            double v = 0.0, g = 0.0;
            ionic_bond(pairs[t - 1], r, v, g);
            return PairValue{v, -g};
        });
    }
};

// The operations of a keyword whose state is the member `State` of the family states.
template <const IonicKeyword& Keyword, IonicState FamilyStates::*State>
using IonicOperations =
    KeywordOperations<IonicFamily<Keyword>, ionic_setup, ionic_cutoff_squared, State>;

}  // namespace pelix
