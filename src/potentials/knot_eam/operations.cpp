#include "potentials/knot_eam/operations.hpp"

#include "potentials/knot_eam/keywords.hpp"
#include "potentials/knot_eam/knot_eam_family.hpp"

namespace pelix {

namespace {

template <const KnotEamKeyword& Keyword, KnotEamState FamilyStates::*State>
constexpr FamilyOps operations() {
    using Ops = KnotEamOperations<Keyword, State>;
    return FamilyOps{&Ops::setup, &Ops::cutoff_squared, &Ops::call};
}

using AcklandOps = KnotEamOperations<kAcklandKeyword, &FamilyStates::ackland>;

}  // namespace

const FamilyOps kAcklandOps = operations<kAcklandKeyword, &FamilyStates::ackland>();
const FamilyOps kMendelOps = operations<kMendelKeyword, &FamilyStates::mendel>();
const FamilyOps kAmtestOps = operations<kAmtestKeyword, &FamilyStates::amtest>();
const FamilyOps kAckleamOps = operations<kAckleamKeyword, &FamilyStates::ackleam>();

void setup_prms_for_ackland(Engine& engine, int32_t k) {
    AcklandOps::setup(engine, k);
}

double ackland_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    return AcklandOps::cutoff_squared(engine, za, zb);
}

void ackland_call(Engine& engine) {
    AcklandOps::call(engine);
}

int32_t ackland_mapij(int32_t za, int32_t zb) {
    return knot_eam_mapij(kAcklandKeyword, za, zb);
}

}  // namespace pelix
