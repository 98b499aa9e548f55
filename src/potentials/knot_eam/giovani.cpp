#include "potentials/knot_eam/giovani.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "common/fatal_error.hpp"
#include "common/record_file.hpp"
#include "potentials/knot_eam/knot_eam_family.hpp"

namespace pelix {

namespace {

constexpr int32_t kCr = 24, kFe = 26, kNi = 28;

// The functions recovered from the public eam/alloy tabulation of the 2011 potential; every
// constant reproduces its 5000 rows to their last digit (docs/families/GIOVANI.md).
constexpr ScreenedDensity kFeDensity{27.8689586, 2.0, 4.0, 0.25};
constexpr ScreenedDensity kCrDensity{31.2613817, 2.0, 5.6, 0.25};
constexpr std::array<double, 8> kFeFeKnots{2.0, 2.4, 2.5, 2.8, 3.1, 3.4, 3.7, 4.0};
constexpr std::array<double, 8> kFeFeCoefs{100.0,      12.0,       2.660526,     3.56676207,
                                           -1.2729965, 2.10027686, -0.901005963, 0.393902864};
constexpr std::array<double, 9> kCrCrKnots{
    2.0, 2.5, 2.94285714, 3.38571429, 3.82857143, 4.27142857, 4.71428571, 5.15714286, 5.6};
constexpr std::array<double, 9> kCrCrCoefs{100.0,       1.73170402,   1.84143406,
                                           0.755016121, -0.468318806, -0.047416719,
                                           0.461509957, -0.410733637, 0.113373503};
constexpr std::array<double, 8> kFeNiKnots{2.0,        2.35714286, 2.71428571, 3.07142857,
                                           3.42857143, 3.78571429, 4.14285714, 4.5};
constexpr std::array<double, 8> kFeNiCoefs{62.4180774,  4.44273575, 2.40263493, 0.627280711,
                                           -1.15396215, 1.31839561, -0.7078573, 0.099942305};
constexpr std::array<double, 8> kFeCrKnots{2.0,        2.34285714, 2.68571429, 3.02857143,
                                           3.37142857, 3.71428571, 4.05714286, 4.4};
constexpr std::array<double, 8> kFeCrCoefs{62.3932019,  4.64949119,   2.41093347,  0.101143751,
                                           0.439673171, -0.239918132, 0.218918034, -0.153852387};
constexpr std::array<double, 8> kNiCrKnots{2.0,        2.47857143, 2.95714286, 3.43571429,
                                           3.91428571, 4.39285714, 4.87142857, 5.35};
constexpr std::array<double, 8> kNiCrCoefs{71.465182,    0.686470816, 1.79996578,  0.044759399,
                                           -0.470971247, 0.585425288, -0.41747426, 0.1020253};
constexpr EamElementRow kFeEmbedding{kFe, -3.23721354, 0.348448677, 9.41375492, -8.66624513};
constexpr EamElementRow kCrEmbedding{kCr, -0.265780601, 0.019526015, 2.26636149, -3.62580868};
constexpr double kBridgeEnd = 2.0;

EamPairRow pair_row(int32_t za, int32_t zb, KnotSum knots, double zbl_radius) {
    EamPairRow row{za, zb, knots, {}, {}, zbl_radius, kBridgeEnd, ScreeningRule::A};
    row.fit_bridge = true;
    return row;
}

// The nickel embedding: F = sum of c rho^p over the records, p one of 0.5, 1, 2, 4.
void read_embedding(const std::string& path, EamElementRow& row) {
    RecordFile file(path);
    std::array<bool, 4> seen{};
    for (std::vector<std::string> items; file.next(items);) {
        file.expect(items, 2, "power coefficient");
        const double power = file.real(items[0]), c = file.real(items[1]);
        constexpr std::array<double, 4> kPowers{0.5, 1.0, 2.0, 4.0};
        const auto at = std::find(kPowers.begin(), kPowers.end(), power);
        if (at == kPowers.end())
            file.fail("the power must be 0.5, 1, 2 or 4, found '" + items[0] + "'");
        const auto k = static_cast<std::size_t>(at - kPowers.begin());
        if (seen[k])
            file.fail("the power " + items[0] + " is given twice");
        seen[k] = true;
        (k == 0 ? row.root : k == 1 ? row.a1 : k == 2 ? row.a2 : row.a4) = c;
    }
    if (!seen[0] && !seen[1] && !seen[2] && !seen[3])
        file.fail("no 'power coefficient' record");
}

void read_density(const std::string& path, ScreenedDensity& density) {
    RecordFile file(path);
    std::vector<std::string> items;
    if (!file.next(items))
        file.fail("expected 'A beta rc h', found nothing");
    file.expect(items, 4, "A beta rc h");
    density = {file.real(items[0]), file.real(items[1]), file.real(items[2]), file.real(items[3])};
    if (!(density.rc > 0.0 && density.h > 0.0))
        file.fail("rc and h must be positive");
    if (file.next(items))
        file.fail("expected one record 'A beta rc h', found more");
}

void read_pair(const std::string& path, NickelFunctions& out) {
    RecordFile file(path);
    bool density_given = false;
    for (std::vector<std::string> items; file.next(items);) {
        file.expect(items, 2, "knot coefficient");
        if (items[0] == "density") {
            if (density_given)
                file.fail("the density term is given twice");
            density_given = true;
            out.density_coef = file.real(items[1]);
            continue;
        }
        out.knot.push_back(file.real(items[0]));
        out.coef.push_back(file.real(items[1]));
    }
    if (out.knot.empty())
        file.fail("no 'knot coefficient' record");
}

}  // namespace

NickelFunctions read_nickel_functions(const std::string& embedding, const std::string& density,
                                      const std::string& pair) {
    NickelFunctions out;
    out.embedding.root = 0.0;
    read_embedding(embedding, out.embedding);
    read_density(density, out.density);
    read_pair(pair, out);
    return out;
}

namespace {

// The element pairs in mapper order; their terms are set up from the rows below.
constexpr EamPairRow kGiovaniPairs[] = {{kFe, kFe}, {kNi, kNi}, {kCr, kCr},
                                        {kFe, kNi}, {kFe, kCr}, {kNi, kCr}};
constexpr KnotEamKeyword kGiovaniKeyword{"GIOVANI_MAPIJ: Problems setting GIOVANI_MAPIJ",
                                         "GIOVANI_NEB: WHATs WRONG WITH INTERSIZE",
                                         100.0,
                                         kGiovaniPairs,
                                         {},
                                         {}};

// The rows of the keyword with the nickel functions read; the pair types in mapper order.
struct GiovaniRows {
    std::vector<EamPairRow> pairs;
    std::vector<EamDensityRow> densities;
    std::vector<EamElementRow> elements;
};

GiovaniRows giovani_rows(const NickelFunctions& ni) {
    GiovaniRows rows;
    EamPairRow fefe = pair_row(kFe, kFe, {kFeFeKnots, kFeFeCoefs}, 0.9);
    fefe.density_coef = -18.8275098;
    fefe.density_term = kFeDensity;
    EamPairRow nini = pair_row(kNi, kNi, {ni.knot, ni.coef}, 0.6);
    nini.density_coef = ni.density_coef;
    nini.density_term = ni.density;
    EamPairRow crcr = pair_row(kCr, kCr, {kCrCrKnots, kCrCrCoefs}, 0.5);
    crcr.density_coef = -4.53272297;
    crcr.density_term = kCrDensity;
    rows.pairs = {fefe,
                  nini,
                  crcr,
                  pair_row(kFe, kNi, {kFeNiKnots, kFeNiCoefs}, 0.8),
                  pair_row(kFe, kCr, {kFeCrKnots, kFeCrCoefs}, 0.8),
                  pair_row(kNi, kCr, {kNiCrKnots, kNiCrCoefs}, 0.8)};
    // The density at any atom from a neighbour is the neighbour's element's.
    for (const int32_t centre : {kFe, kNi, kCr}) {
        rows.densities.push_back({centre, kFe, {}, 1.0, kFeDensity});
        rows.densities.push_back({centre, kNi, {}, 1.0, ni.density});
        rows.densities.push_back({centre, kCr, {}, 1.0, kCrDensity});
    }
    rows.elements = {kFeEmbedding, ni.embedding, kCrEmbedding};
    return rows;
}

}  // namespace

void setup_prms_for_giovani(Engine& engine, int32_t k) {
    const NickelFunctions ni =
        read_nickel_functions(std::string(kNickelEmbeddingFile), std::string(kNickelDensityFile),
                              std::string(kNickelPairFile));
    const GiovaniRows rows = giovani_rows(ni);
    const KnotEamKeyword keyword{kGiovaniKeyword.mapij_message,
                                 kGiovaniKeyword.overflow_message,
                                 kGiovaniKeyword.bond_capacity,
                                 rows.pairs,
                                 rows.densities,
                                 rows.elements};
    KnotEamState& state = engine.families.giovani;
    knot_eam_setup(state, keyword, k);
    for (const KnotEamPairType& pair : state.pair) {
        if (!pair.bridge_joined())
            nrerror(
                "GIOVANI: a pair term must be positive at 2.0 A, where its bridge to ZBL "
                "ends; check " +
                std::string(kNickelPairFile));
    }
}

using GiovaniOperations = KnotEamOperations<kGiovaniKeyword, &FamilyStates::giovani>;

double giovani_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    return GiovaniOperations::cutoff_squared(engine, za, zb);
}

int32_t giovani_mapij(int32_t za, int32_t zb) {
    return knot_eam_mapij(kGiovaniKeyword, za, zb);
}

void giovani_call(Engine& engine) {
    GiovaniOperations::call(engine);
}

}  // namespace pelix
