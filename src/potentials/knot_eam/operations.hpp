#pragma once
// The operations of the knot-sum embedded-atom keywords, as the catalogue lists them, and the
// "ACKLAND" routines under their own names.
#include <cstdint>

#include "potentials/catalogue.hpp"

namespace pelix {

struct Engine;

extern const FamilyOps kAcklandOps;
extern const FamilyOps kMendelOps;
extern const FamilyOps kAmtestOps;
extern const FamilyOps kAckleamOps;
extern const FamilyOps kFeigaoOps;

void setup_prms_for_ackland(Engine& engine, int32_t k);
double ackland_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void ackland_call(Engine& engine);
int32_t ackland_mapij(int32_t za, int32_t zb);

}  // namespace pelix
