#include "potentials/knot_eam/operations.hpp"

#include "potentials/knot_eam/keywords.hpp"
#include "potentials/knot_eam/knot_eam_family.hpp"

namespace pelix {

namespace {

using AcklandOps = KnotEamOperations<kAcklandKeyword, &FamilyStates::ackland>;

}  // namespace

const FamilyOps kAcklandOps = KnotEamOperations<kAcklandKeyword, &FamilyStates::ackland>::ops;
const FamilyOps kMendelOps = KnotEamOperations<kMendelKeyword, &FamilyStates::mendel>::ops;
const FamilyOps kAmtestOps = KnotEamOperations<kAmtestKeyword, &FamilyStates::amtest>::ops;
const FamilyOps kAckleamOps = KnotEamOperations<kAckleamKeyword, &FamilyStates::ackleam>::ops;
const FamilyOps kFeigaoOps = KnotEamOperations<kFeigaoKeyword, &FamilyStates::feigao>::ops;

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
