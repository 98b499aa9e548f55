#pragma once
// The keywords of the ionic pair path as rows. Sources, the join radii and the checks:
// docs/families/<keyword>.md.
#include <array>
#include <string_view>

#include "potentials/ionic/rows.hpp"

namespace pelix {

namespace ionic_rows {

inline constexpr int32_t kLi = 3, kB = 5, kO = 8, kNa = 11, kMg = 12, kAl = 13, kSi = 14, kCa = 20,
                         kTi = 22, kFe = 26, kGa = 31, kY = 39, kZr = 40, kIn = 49, kCs = 55,
                         kEr = 68, kU = 92;

// A Buckingham pair A exp(-r/rho) - C/r^6 with the bridge fitted between r_zbl and r_join and
// the sine taper of half-width W centred at R.
inline constexpr IonicPairRow buckingham(int32_t za, int32_t zb, double a, double rho, double c,
                                         double r, double w, double r_zbl, double r_join) {
    IonicPairRow row;
    row.za = za;
    row.zb = zb;
    row.form = {a, rho, 0.0, c, 0.0};
    row.taper_centre = r;
    row.taper_half_width = w;
    row.r_zbl = r_zbl;
    row.r_join = r_join;
    return row;
}

// The tapered screened repulsion alone: the short-range part of a pair of cations whose
// interaction is otherwise Coulomb only.
inline constexpr IonicPairRow repulsion_only(int32_t za, int32_t zb, double r, double w) {
    IonicPairRow row;
    row.za = za;
    row.zb = zb;
    row.taper_centre = r;
    row.taper_half_width = w;
    row.r_zbl = row.r_join = r + w;
    return row;
}

// A "BUCKBW" row: Buckingham constants, taper, region ends, shift and the given polynomial.
inline constexpr IonicPairRow buckbw(int32_t za, int32_t zb, double a, double rho, double c,
                                     double r, double d, double r1, double r2, double de,
                                     std::array<double, 6> s) {
    IonicPairRow row = buckingham(za, zb, a, rho, c, r, d, r1, r2);
    row.zbl_shift = de;
    row.bridge_given = true;
    row.bridge = s;
    return row;
}

// --- BUCKBW: iron, titanium, yttrium, oxygen ---------------------------------------------

inline constexpr IonicPairRow kBuckbwRows[] = {
    buckbw(kFe, kFe, 14335.0, 0.26511, 447.55, 3.35, 0.55, 0.97, 1.8, 0.0,
           {2297.149, -4959.48, 4071.872, -1500.4187, 208.6644, 0.0}),
    buckbw(kTi, kTi, 9546.5, 0.35981, 2236.28, 4.5, 0.65, 1.53, 2.48, 0.0,
           {466.9173, -745.6197, 456.5066, -126.2589, 13.2291, 0.0}),
    buckbw(kY, kY, 7957.7, 0.42301, 4893.73, 4.85, 0.8, 1.8, 3.0, 0.75,
           {834.6322, -1419.8765, 981.5659, -342.11238, 59.79284, -4.17854}),
    buckbw(kFe, kY, 9401.8, 0.34022, 1423.061, 4.85, 0.6, 1.5, 2.25, -0.5,
           {936.8254, -1582.699, 1021.0264, -296.5362, 32.5686, 0.0}),
    buckbw(kFe, kTi, 9881.6, 0.31675, 1035.0, 3.95, 0.6, 1.37, 2.3, 0.0,
           {743.674, -1259.367, 810.7806, -234.6237, 25.67417, 0.0}),
    buckbw(kTi, kY, 7451.6, 0.38063, 2343.22, 5.25, 0.7, 1.92, 2.8, 0.0,
           {232.161, -299.4052, 147.57, -32.9296, 2.798349, 0.0}),
    buckbw(kFe, kO, 29698.0, 0.20246, 182.87, 3.5, 0.4, 0.75, 1.35, 0.0,
           {3469.799, -12272.182, 18121.859, -13741.085, 5287.9223, -820.12171}),
    buckbw(kTi, kO, 44227.0, 0.20378, 269.31, 3.5, 0.5, 0.6, 1.3, 25.0,
           {4606.763, -18497.43, 31076.23, -26502.91, 11303.79, -1917.132}),
    buckbw(kY, kO, 34922.0, 0.24493, 744.81, 3.5, 0.5, 0.85, 1.65, 5.0,
           {3128.3293, -9527.2471, 11938.943, -7575.9774, 2411.3817, -306.48509}),
    buckbw(kO, kO, 24.0, 0.94415, 0.0, 3.5, 0.75, 1.2, 1.75, 0.0,
           {286.7024, -553.7201, 403.8193, -128.9657, 14.98538, 0.0}),
};
inline constexpr ElementPair kBuckbwPairs[] = {{kFe, kFe}, {kTi, kTi}, {kY, kY},  {kFe, kY},
                                               {kFe, kTi}, {kTi, kY},  {kFe, kO}, {kTi, kO},
                                               {kY, kO},   {kO, kO}};

// --- MgO: the rigid-ion set of Ball and Grimes; cations Coulomb only ----------------------
// Tapers: cation pairs between 1.5 and 2.5 A (well inside the 2.98 A of the lattice),
// anion-cation and anion pairs between 5.5 and 6.5 A. Join radii: 0.15 A on either side of
// where the screened repulsion and the Buckingham form cross (docs/families/MGOPOTL.md).
inline constexpr IonicPairRow kMgMg = repulsion_only(kMg, kMg, 2.0, 0.5);
inline constexpr IonicPairRow kMgO =
    buckingham(kMg, kO, 1279.69, 0.29969, 0.0, 6.0, 0.5, 0.40, 0.70);
inline constexpr IonicPairRow kOO =
    buckingham(kO, kO, 9547.96, 0.21916, 32.0, 6.0, 0.5, 1.54, 1.84);
inline constexpr IonicPairRow kMgopotlRows[] = {kMgMg, kMgO, kOO};
inline constexpr ElementPair kMgopotlPairs[] = {{kMg, kMg}, {kMg, kO}, {kO, kO}};

// --- TiO2: Matsui and Akaogi (charges Ti +2.196, O -1.098 come from the caller) -----------
inline constexpr IonicPairRow kTiofcptRows[] = {
    buckingham(kTi, kTi, 31120.1, 0.1540, 5.25, 6.0, 0.5, 0.41, 0.71),
    buckingham(kTi, kO, 16957.5, 0.1940, 12.59, 6.0, 0.5, 1.20, 1.50),
    buckingham(kO, kO, 11782.7, 0.2340, 30.22, 6.0, 0.5, 1.99, 2.29),
};
inline constexpr ElementPair kTiofcptPairs[] = {{kTi, kTi}, {kTi, kO}, {kO, kO}};

// --- Spinel and its gallium and indium analogues: Mg-O and O-O as MgO, cation pairs
// repulsion only; Al-O, Ga-O and In-O come from "SPINELP.IN". ----------------------------
inline constexpr IonicPairRow kSpinelpRows[] = {
    kMgMg,
    repulsion_only(kMg, kAl, 2.0, 0.5),
    kMgO,
    repulsion_only(kAl, kAl, 2.0, 0.5),
    kOO,
    repulsion_only(kMg, kGa, 2.0, 0.5),
    repulsion_only(kGa, kGa, 2.0, 0.5),
    repulsion_only(kMg, kIn, 2.0, 0.5),
    repulsion_only(kIn, kIn, 2.0, 0.5),
};
inline constexpr ElementPair kSpinelpPairs[] = {{kMg, kMg}, {kMg, kAl}, {kMg, kO},  {kAl, kAl},
                                                {kAl, kO},  {kO, kO},   {kMg, kGa}, {kGa, kGa},
                                                {kGa, kO},  {kMg, kIn}, {kIn, kIn}, {kIn, kO}};

inline constexpr ElementPair kEropotlPairs[] = {{kEr, kEr}, {kEr, kO}, {kO, kO}};
inline constexpr ElementPair kUntitlePairs[] = {{kFe, kY}, {kFe, kO}};
inline constexpr ElementPair kFeopotlPairs[] = {{kFe, kO}};
inline constexpr int32_t kBsipotlElements[] = {kSi, kO, kB, kNa, kLi, kZr};
inline constexpr int32_t kDelayeElements[] = {kSi, kO, kB, kNa, kZr, kAl, kCa, kCs, kU};

// --- Helium pairs: Aziz's HFD sets (HFD-B built in, the others by name from "AzizHe2.IN") and
// Beck's form as Juslin and Wirth use it. Join radii by the rule above; tapers 5.0-6.0 A
// (Aziz) and 3.3-3.8 A (Beck, where the published table of Juslin and Wirth tapers).
inline constexpr int32_t kHe = 2;
inline constexpr double kBoltzmann = 8.617333262e-5;  // eV/K

constexpr IonicPairRow aziz(std::string_view name, double epsilon_kelvin, double r_m, double a,
                            double alpha, double beta, double c6, double c8, double c10, double d,
                            double r_zbl, double r_join) {
    IonicPairRow row;
    row.za = row.zb = kHe;
    row.kind = PairForm::Aziz;
    row.aziz = {epsilon_kelvin * kBoltzmann, r_m, a, alpha, beta, c6, c8, c10, d};
    row.taper_centre = 5.5;
    row.taper_half_width = 0.5;
    row.r_zbl = r_zbl;
    row.r_join = r_join;
    row.variant = name;
    return row;
}

// Aziz, McCourt and Wong 1987; Aziz et al. 1979; Aziz, Janzen and Moldover 1995.
inline constexpr IonicPairRow kAzizRows[] = {
    aziz("HFD-B", 10.948, 2.963, 184431.01, 10.43329537, -2.27965105, 1.36745214, 0.42123807,
         0.17473318, 1.4826, 0.14, 0.44),
    aziz("HFDHE2", 10.8, 2.9673, 0.5448504e6, 13.353384, 0.0, 1.3732412, 0.4253785, 0.1781,
         1.241314, 1.20, 1.50),
    aziz("HFD-B3-FCI1", 10.956, 2.9683, 186924.404, 10.5717543, -2.07758779, 1.35186623, 0.41495143,
         0.17151143, 1.438, 0.14, 0.44),
};
inline constexpr IonicPairRow kAzizDefault[] = {kAzizRows[0]};

constexpr IonicPairRow beck_row() {
    IonicPairRow row;
    row.za = row.zb = kHe;
    row.kind = PairForm::Beck;
    row.beck = {398.7, 4.390, 3.746e-4, 0.869, 0.675};
    row.taper_centre = 3.55;
    row.taper_half_width = 0.25;
    row.r_zbl = 0.12;
    row.r_join = 0.42;
    return row;
}
inline constexpr IonicPairRow kBeckRows[] = {beck_row()};
inline constexpr ElementPair kHeHePairs[] = {{kHe, kHe}};

}  // namespace ionic_rows

inline constexpr IonicKeyword kBuckbwKeyword{
    .name = "BUCKBW",
    .mapij_message = "BUCKBW_MAPIJ: Problems setting BUCKBW_MAPIJ",
    .overflow_message = "BUCKBW_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 185.0,
    .pairs = ionic_rows::kBuckbwPairs,
    .builtin = ionic_rows::kBuckbwRows};

inline constexpr IonicKeyword kMgopotlKeyword{
    .name = "MGOPOTL",
    .mapij_message = "MgO_POTL_MAPIJ: Problems to set MgO_POTL_MAPIJ",
    .overflow_message = "MgO_ZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 185.0,
    .pairs = ionic_rows::kMgopotlPairs,
    .builtin = ionic_rows::kMgopotlRows,
    .file = "MGOPOTL.IN"};

inline constexpr IonicKeyword kTiofcptKeyword{
    .name = "TiOFCPT",
    .mapij_message = "TiO_POTL_MAPIJ: Problems to set TiO_POTL_MAPIJ",
    .overflow_message = "TiO_ZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 185.0,
    .pairs = ionic_rows::kTiofcptPairs,
    .builtin = ionic_rows::kTiofcptRows,
    .file = "TiOFCPT.IN"};

inline constexpr IonicKeyword kSpinelpKeyword{
    .name = "SPINELP",
    .mapij_message = "SPINELPOTL_MAPIJ: Problems setting SPINELPOTL_MAPIJ",
    .overflow_message = "SPINELPOTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 130.0,
    .pairs = ionic_rows::kSpinelpPairs,
    .builtin = ionic_rows::kSpinelpRows,
    .file = "SPINELP.IN"};

inline constexpr IonicKeyword kBpupotlKeyword{
    .name = "BPUPOTL",
    .overflow_message = "BPU_POTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 500.0,
    .safety_factor = 4.5,
    .counts_all_atoms = true,
    .file = "buck.IN"};

inline constexpr IonicKeyword kEropotlKeyword{
    .name = "EROPOTL",
    .mapij_message = "ErO_POTL_MAPIJ: Problems to set ErO_POTL_MAPIJ",
    .overflow_message = "ErO_ZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 185.0,
    .pairs = ionic_rows::kEropotlPairs,
    .file = "EROPOTL.IN"};

inline constexpr IonicKeyword kBsipotlKeyword{
    .name = "BSIPOTL",
    .block_prefix = "BSIPOTL_MAPIJ: Failed at ",
    .overflow_message = "BSIPOTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 130.0,
    .elements = ionic_rows::kBsipotlElements,
    .file = "BSIPOTL.IN",
    .zbl_c = kLocalZblC,
    .zbl_d = kLocalZblD};

inline constexpr IonicKeyword kDelayeKeyword{
    .name = "DELAYE_POTL",
    .block_prefix = "DELAYE_POTL_MAPIJ: Failed at ",
    .overflow_message = "DELAYE_POTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 130.0,
    .elements = ionic_rows::kDelayeElements,
    .file = "DELAYE_POTL.IN",
    .zbl_c = kLocalZblC,
    .zbl_d = kLocalZblD};

inline constexpr IonicKeyword kUntitleKeyword{
    .name = "UNTITLE",
    .mapij_message = "UNTITLEDPOTL_MAPIJ: Problems to set UNTITLEDPOTL_MAPIJ",
    .overflow_message = "UNTITLED_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 100.0,
    .pairs = ionic_rows::kUntitlePairs,
    .file = "UNTITLE.IN"};

inline constexpr IonicKeyword kFeopotlKeyword{
    .name = "FeOPOTL",
    .mapij_message = "FeO_POTL_MAPIJ: Problems to set FeO_POTL_MAPIJ",
    .overflow_message = "FeO_ZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 185.0,
    .pairs = ionic_rows::kFeopotlPairs,
    .file = "FeOPOTL.IN"};

}  // namespace pelix

namespace pelix {

inline constexpr IonicKeyword kAzizhe2Keyword{
    .name = "AzizHe2",
    .mapij_message = "AzizHe2_MAPIJ: Problems to set AzizHe2_MAPIJ",
    .overflow_message = "HeHeAzizHeHePOTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 185.0,
    .pairs = ionic_rows::kHeHePairs,
    .builtin = ionic_rows::kAzizDefault,
    .file = "AzizHe2.IN",
    .variants = ionic_rows::kAzizRows};

inline constexpr IonicKeyword kHehepotKeyword{
    .name = "HeHePOT",
    .mapij_message = "HeHePOT_MAPIJ: Problems to set HeHePOT_MAPIJ",
    .overflow_message = "HeHeZBLPOTL_NEB: WHATs WRONG WITH INTERSIZE",
    .bond_capacity = 185.0,
    .pairs = ionic_rows::kHeHePairs,
    .builtin = ionic_rows::kBeckRows,
    .file = "HeHePOT.IN"};

}  // namespace pelix
