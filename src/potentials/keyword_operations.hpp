#pragma once
// The catalogue operations of a keyword on a shared path: set-up and cut-off through the path's
// functions on the keyword's member of the family states, evaluation through the common loop
// with the path's family type (which names its keyword record as `Family::keyword`). Include
// from a .cpp only: it pulls in the whole Engine.
#include <cstdint>

#include "potentials/catalogue.hpp"
#include "potentials/family_contract.hpp"

namespace pelix {

template <class Family, auto Setup, auto CutoffSquared, auto State>
struct KeywordOperations {
    static void setup(Engine& engine, int32_t k) {
        Setup(engine.families.*State, Family::keyword, k);
    }
    static double cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
        return CutoffSquared(engine.families.*State, Family::keyword, za, zb);
    }
    static void call(Engine& engine) {
        Family family{engine.families.*State};
        evaluate_family(engine, family);
    }
    static constexpr FamilyOps ops{&setup, &cutoff_squared, &call};
};

}  // namespace pelix
