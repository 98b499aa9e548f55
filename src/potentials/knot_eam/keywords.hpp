#pragma once
// The knot-sum embedded-atom keywords as rows: "ACKLAND" (iron, silver, gold), "MENDEL" and
// "AMtest" (iron), "ACKLEAM" (phosphorus in iron), "ACKNIAL" (nickel; its other pairs and any
// replacement of the nickel rows come from "acknial.IN", see acknial.hpp), "FEIGAO" (helium in
// iron). Sources and checks: docs/families/.
#include <array>

#include "potentials/knot_eam/rows.hpp"

namespace pelix::knot_eam_rows {

inline constexpr int32_t kP = 15, kFe = 26, kAg = 47, kAu = 79;

// --- Iron of Ackland (the "ACKLAND" iron pair, density of every iron keyword) ------------

inline constexpr std::array<double, 13> kFeKnots{2.2, 2.3, 2.4, 2.5, 2.6, 2.7, 2.8,
                                                 3.0, 3.3, 3.7, 4.2, 4.7, 5.3};
inline constexpr std::array<double, 13> kFeAcklandCoefs{
    -24.028204854115, 11.300691696477,    5.3144495820462,    -4.6659532856049, 5.9637758529194,
    -1.7710262006061, 0.85913830768731,   -2.1845362968261,   2.6424377007466,  -1.0358345370208,
    0.33548264951582, -0.046448582149334, -0.0070294963048689};
inline constexpr std::array<double, 3> kFeDensityKnots{2.4, 3.2, 4.2};
inline constexpr std::array<double, 3> kFeDensityCoefs{11.68685940797, -0.01471074009883,
                                                       0.47193527075943};
inline constexpr KnotSum kFeDensity{kFeDensityKnots, kFeDensityCoefs};

inline constexpr EamPairRow kFeFeAckland{
    kFe,
    kFe,
    {kFeKnots, kFeAcklandCoefs},
    {},
    {{6.4265260576348, 1.7900488524286, -4.5108316729807, 1.0866199373306, 0.0, 0.0}},
    1.0,
    2.0,
    ScreeningRule::B,
    28.09};

// --- Silver and gold of Ackland, Tichy, Vitek and Finnis ---------------------------------

inline constexpr std::array<double, 6> kAgKnots{5.0043076614, 4.7181262644, 4.568174559,
                                                4.086,        3.5385797844, 2.8892383848};
inline constexpr std::array<double, 6> kAgCoefs{0.2985808249251565,  -1.5005081976456136,
                                                1.3825327044562032,  -0.09117984691665308,
                                                0.45561521608663086, 2.5735442971795033};
inline constexpr std::array<double, 2> kAgDensityKnots{5.0043076614, 4.086};
inline constexpr std::array<double, 2> kAgDensityCoefs{0.021384005479695226, 0.6295543735087737};
inline constexpr std::array<double, 6> kAuKnots{4.9945097022, 4.7088886212, 4.559230507,
                                                4.078,        3.5316515812, 2.8835815304};
inline constexpr std::array<double, 6> kAuCoefs{0.428489305507891, -2.2582346651185667,
                                                2.184964767549161, -0.327424126706177,
                                                1.072210988431265, 2.938220094607795};
inline constexpr std::array<double, 2> kAuDensityKnots{4.559230507, 3.5316515812};
inline constexpr std::array<double, 2> kAuDensityCoefs{0.32336978865567245, 4.202401788970492};

inline constexpr EamPairRow kAcklandPairs[] = {
    kFeFeAckland,
    {kAg,
     kAg,
     {kAgKnots, kAgCoefs},
     {},
     {{26.50908957845625, -71.89319720965597, 106.8039720921333, -81.66202437618149,
       29.97761144226333, -4.215383521477594}},
     0.9,
     2.0,
     ScreeningRule::A,
     25.043095169946742},
    {kAu,
     kAu,
     {kAuKnots, kAuCoefs},
     {},
     {{29.76081612678622, -81.91624860032177, 122.4741391789872, -93.75672270842048,
       34.43018142028221, -4.838507703843463}},
     0.9,
     2.0,
     ScreeningRule::A,
     24.945127165369936},
};
inline constexpr EamDensityRow kAcklandDensities[] = {
    {kFe, kFe, kFeDensity},
    {kAg, kAg, {kAgDensityKnots, kAgDensityCoefs}},
    {kAu, kAu, {kAuDensityKnots, kAuDensityCoefs}},
};
inline constexpr EamRefusal kAcklandRefusals[] = {
    {kFe, kAg, "ACKLAND_MAPIJ: Ackland interaction betweenFe and Ag has not been implemented yet."},
    {kFe, kAu, "ACKLAND_MAPIJ: Ackland interaction betweenFe and Au has not been implemented yet."},
    {kAg, kAu, "ACKLAND_MAPIJ: Ackland interaction betweenAg and Au has not been implemented yet."},
};

// --- Iron of Mendelev et al. 2003 ("Fe #2"): Ackland's pair and density, one more term ----

inline constexpr EamPairRow kMendelPairs[] = {
    {kFeFeAckland.za,
     kFeFeAckland.zb,
     kFeFeAckland.knots,
     {},
     kFeFeAckland.bridge,
     kFeFeAckland.sr_cutoff,
     kFeFeAckland.cutin,
     ScreeningRule::A,
     kFeFeAckland.cutoff2},
};
inline constexpr EamDensityRow kIronDensities[] = {{kFe, kFe, kFeDensity}};
inline constexpr EamElementRow kMendelElements[] = {{kFe, -3.5387096579929e-4}};

// --- Iron of Ackland, Mendelev et al. 2004 ------------------------------------------------

inline constexpr std::array<double, 13> kFeAmCoefs{
    -27.444805994228,  15.738054058489,    2.2077118733936,    -2.4989799053251, 4.2099676494795,
    -0.77361294129713, 0.80656414937789,   -2.3194358924605,   2.6577406128280,  -1.0260416933564,
    0.35018615891957,  -0.058531821042271, -0.0030458824556234};
inline constexpr Quintic kFeAmBridge{
    {7.4122709384068, -0.64180690713367, -2.6043547961722, 0.6262539393123, 0.0, 0.0}};
inline constexpr EamPairRow kAmtestPairs[] = {
    {kFe, kFe, {kFeKnots, kFeAmCoefs}, {}, kFeAmBridge, 1.0, 2.05, ScreeningRule::A, 28.09},
};
inline constexpr EamElementRow kFeAm{kFe, -6.7314115586063e-4, 7.6514905604792e-8};
inline constexpr EamElementRow kAmtestElements[] = {kFeAm};

// --- Phosphorus in iron, Ackland, Mendelev et al. 2004 -----------------------------------

inline constexpr std::array<double, 2> kPPPowers{-7.8293794709066e-2, 3.7557214911636e-2};
inline constexpr std::array<double, 8> kPFePowers{
    -3.3136605747191, 12.625238195093, -20.361693310603,  17.629292546219,
    -8.8120728059449, 2.5494288613518, -0.39698390789081, 0.025779015837237};
inline constexpr EamPairRow kAckleamPairs[] = {
    {kP,
     kP,
     {},
     {5.3, 4, kPPPowers},
     {{9.9382842499717, -8.5637164272124, 3.4519627285803, -0.61453831349927, 0.0, 0.0}},
     0.9,
     2.5,
     ScreeningRule::B,
     28.09},
    {kP,
     kFe,
     {},
     {5.3, 4, kPFePowers},
     {{10.761854424929, -10.004045788975, 4.9854254473042, -1.2599788569536, 0.0, 0.0}},
     1.0,
     2.0,
     ScreeningRule::B,
     28.09},
    {kFe, kFe, {kFeKnots, kFeAmCoefs}, {}, kFeAmBridge, 1.0, 2.05, ScreeningRule::B, 28.09},
};
inline constexpr EamDensityRow kAckleamDensities[] = {
    {kFe, kFe, kFeDensity},
    {kFe, kP, kFeDensity, 0.765625},
    {kP, kFe, kFeDensity, 0.765625},
    {kP, kP, kFeDensity, 0.5861816406},
};
inline constexpr EamElementRow kAckleamElements[] = {{kP, 1.1950274540243e-3}, kFeAm};

// --- Nickel of Ackland, Tichy, Vitek and Finnis 1987; Ni-Al and Al-Al from "acknial.IN" ------

inline constexpr int32_t kAl = 13, kNi = 28;
inline constexpr double kNiLattice = 3.52422;  // A; the knots are multiples of it
inline constexpr std::array<double, 5> kNiKnots{
    1.225 * kNiLattice, 1.202 * kNiLattice, 1.1 * kNiLattice, 0.9 * kNiLattice, 0.82 * kNiLattice};
inline constexpr std::array<double, 5> kNiCoefs{
    0.75186318729971, -1.1730913765605, 0.89574543336783, -2.0153442425426, 2.9960367649199};
inline constexpr std::array<double, 2> kNiDensityKnots{1.225 * kNiLattice, 0.93 * kNiLattice};
inline constexpr std::array<double, 2> kNiDensityCoefs{0.65731945854361, -2.1482338643309};
// ZBL (rule A) at and below 0.61 A for every pair; the bridge to the knot sum, fitted at
// set-up, ends at 2.0 A.
inline constexpr double kAcknialZblRadius = 0.61, kAcknialBridgeEnd = 2.0;

inline constexpr EamPairRow kAcknialPairs[] = {
    {kNi,
     kNi,
     {kNiKnots, kNiCoefs},
     {},
     {},
     kAcknialZblRadius,
     kAcknialBridgeEnd,
     ScreeningRule::A,
     kNiKnots[0] * kNiKnots[0],
     BridgeJoin::Exponent,
     true},
    {kNi, kAl, {}, {}, {}, kAcknialZblRadius, kAcknialBridgeEnd, ScreeningRule::A},
    {kAl, kAl, {}, {}, {}, kAcknialZblRadius, kAcknialBridgeEnd, ScreeningRule::A},
};
inline constexpr EamDensityRow kAcknialDensities[] = {
    {kNi, kNi, {kNiDensityKnots, kNiDensityCoefs}}};

// --- Helium in iron, the Fe-He set of Gao et al. 2011 as the public eOn parameters give it --

inline constexpr int32_t kHe = 2;
inline constexpr std::array<double, 8> kFeHeKnots{1.5440, 1.6155, 1.6896, 1.8017,
                                                  2.0482, 2.3816, 3.5067, 3.9028};
inline constexpr std::array<double, 8> kFeHeCoefs{
    559.804426025391, -45.916354995728, 35.550312671661, 164.319865173340,
    -1.727464405060,  0.106771826237,   0.073715269849,  0.038235287677};
// The s-band density 20 r^3 exp(-2 psi r), psi = 1.5312426703208 bohr^-1, up to 4.10 A. Every
// Fe-He bond feeds it to both atoms.
inline constexpr CubicExpDensity kFeHeDensity{20.0, 1.5312426703208 / 0.529177210818181818, 4.10};
// ZBL (rule A) at and below 0.1 A, the published pair (V(0) = 2991 eV, above ZBL from 0.139 A
// outwards) from 0.3 A; the exponential bridge between, fitted at set-up, repels throughout.
inline constexpr double kFeHeZblRadius = 0.1, kFeHeBridgeEnd = 0.3;

inline constexpr EamPairRow kFeigaoPairs[] = {
    {kFe,
     kHe,
     {kFeHeKnots, kFeHeCoefs},
     {},
     {},
     kFeHeZblRadius,
     kFeHeBridgeEnd,
     ScreeningRule::A,
     0.0,
     BridgeJoin::Exponent,
     true},
};
inline constexpr EamDensityRow kFeigaoDensities[] = {
    {kFe, kHe, {}, 1.0, {}, kFeHeDensity},
    {kHe, kFe, {}, 1.0, {}, kFeHeDensity},
};
// F_s(rho) = 0.220813420485 sqrt(rho) + 1.367508764130 rho^2 + 3.382256025271 rho^4 for both.
inline constexpr EamElementRow kFeigaoElements[] = {
    {kFe, 1.367508764130, 3.382256025271, 0.0, 0.220813420485},
    {kHe, 1.367508764130, 3.382256025271, 0.0, 0.220813420485},
};

}  // namespace pelix::knot_eam_rows

namespace pelix {

inline constexpr KnotEamKeyword kAcklandKeyword{"ACKLAND_MAPIJ: Problems setting ACKLAND_MAPIJ",
                                                "ACKLAND_NEB: WHATs WRONG WITH INTERSIZE",
                                                200.0,
                                                knot_eam_rows::kAcklandPairs,
                                                knot_eam_rows::kAcklandDensities,
                                                {},
                                                knot_eam_rows::kAcklandRefusals};
inline constexpr KnotEamKeyword kMendelKeyword{"MENDELEV_MAPIJ: Problems to set MENDELEV_MAPIJ",
                                               "MENDELEV_NEB: WHATs WRONG WITH INTERSIZE",
                                               185.0,
                                               knot_eam_rows::kMendelPairs,
                                               knot_eam_rows::kIronDensities,
                                               knot_eam_rows::kMendelElements};
inline constexpr KnotEamKeyword kAmtestKeyword{"AMtest_MAPIJ: Problems to set AMtest_MAPIJ",
                                               "AMtest_NEB: WHATs WRONG WITH INTERSIZE",
                                               185.0,
                                               knot_eam_rows::kAmtestPairs,
                                               knot_eam_rows::kIronDensities,
                                               knot_eam_rows::kAmtestElements};
inline constexpr KnotEamKeyword kAckleamKeyword{
    "FUNCTION ACKLEAM_MAPIJ: Problems to set ACKLEAM_MAPIJ",
    "ACKLEAM_NEB: NEBTOT > INTERSIZE",
    100.0,
    knot_eam_rows::kAckleamPairs,
    knot_eam_rows::kAckleamDensities,
    knot_eam_rows::kAckleamElements};

inline constexpr KnotEamKeyword kAcknialKeyword{
    "FUNCTION ACKLNiAl_MAPIJ: Problems to set ACKLNiAl_MAPIJ",
    "ACKLEAM_NEB: NEBTOT > INTERSIZE",
    100.0,
    knot_eam_rows::kAcknialPairs,
    knot_eam_rows::kAcknialDensities,
    {}};

inline constexpr KnotEamKeyword kFeigaoKeyword{"FEIGAO_MAPIJ: Problems to set FEIGAO_MAPIJ",
                                               "FEIGAO_NEB: WHATs WRONG WITH INTERSIZE",
                                               100.0,
                                               knot_eam_rows::kFeigaoPairs,
                                               knot_eam_rows::kFeigaoDensities,
                                               knot_eam_rows::kFeigaoElements};

}  // namespace pelix
