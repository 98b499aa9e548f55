#include "potentials/zero.hpp"

#include "engine/engine.hpp"

namespace pelix {

void setup_prms_for_zero(Engine& engine, int32_t k) {
    engine.families.zero.zero_idnum = k;
}

double zero_potl_cutoff_squared(Engine& /*engine*/, int32_t /*za*/, int32_t /*zb*/) {
    return 0.0;
}

void zero_call(Engine& /*engine*/) {}

}  // namespace pelix
