#pragma once
// "GIOVANI": the Fe-Ni-Cr embedded-atom potential of Bonny, Terentyev, Pasianot, Ponce and
// Barashev (2011) on the knot-sum path. Pair types 1 Fe-Fe, 2 Ni-Ni, 3 Cr-Cr, 4 Fe-Ni, 5 Fe-Cr,
// 6 Ni-Cr. Pair terms are knot sums (the like pairs plus a multiple of their element's density),
// densities A exp(-beta r) / r * x^4 / (1 + x^4) with x = (r - rc) / h, embeddings
// s sqrt(rho) + a1 rho + a2 rho^2 + a4 rho^4. Iron, chromium and the mixed pairs are built in;
// the nickel functions are read at every set-up from three files in the working directory:
//
//   "NiF.IN"    the nickel embedding: records "power coefficient", powers 0.5, 1, 2 and 4
//   "Niphi.IN"  the nickel density: one record "A beta rc h"
//   "Niv.IN"    the Ni-Ni pair term: records "knot coefficient", and optionally one record
//               "density d" adding d times the nickel density
//
// ('#' starts a comment; items separated by blanks or commas). Every pair type uses ZBL (rule A)
// at and below its radius (Fe-Fe 0.9, Ni-Ni 0.6, Cr-Cr 0.5, mixed 0.8 A) and an exponential
// bridge fitted at set-up to the values and slopes of ZBL there and of the pair term at 2.0 A.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "potentials/knot_eam/rows.hpp"

namespace pelix {

struct Engine;

inline constexpr std::string_view kNickelEmbeddingFile = "NiF.IN";
inline constexpr std::string_view kNickelDensityFile = "Niphi.IN";
inline constexpr std::string_view kNickelPairFile = "Niv.IN";

// The nickel functions as the three files give them.
struct NickelFunctions {
    EamElementRow embedding{28, 0.0, 0.0, 0.0, 0.0};
    ScreenedDensity density{};
    std::vector<double> knot, coef;
    double density_coef = 0.0;
};

// Reads the three files (paths of the embedding, density and pair files); anything malformed
// is an input error naming the file and line.
NickelFunctions read_nickel_functions(const std::string& embedding, const std::string& density,
                                      const std::string& pair);

void setup_prms_for_giovani(Engine& engine, int32_t k);
double giovani_cutoff_squared(Engine& engine, int32_t za, int32_t zb);
void giovani_call(Engine& engine);
// Pair type of two atomic numbers (1 Fe-Fe ... 6 Ni-Cr); any other pair stops.
int32_t giovani_mapij(int32_t za, int32_t zb);

}  // namespace pelix
