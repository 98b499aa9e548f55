#include "potentials/knot_eam/acknial.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>

#include "common/fatal_error.hpp"
#include "common/record_file.hpp"
#include "potentials/knot_eam/keywords.hpp"
#include "potentials/knot_eam/knot_eam_family.hpp"

namespace pelix {

namespace {

using knot_eam_rows::kAl;
using knot_eam_rows::kNi;

std::string symbol(int32_t z) {
    return z == kNi ? "Ni" : "Al";
}

std::string pair_name(int32_t za, int32_t zb) {
    return symbol(za) + "-" + symbol(zb);
}

int32_t element(const RecordFile& file, const std::string& item) {
    if (item == "Ni")
        return kNi;
    if (item == "Al")
        return kAl;
    file.fail("expected the element Ni or Al, found '" + item + "'");
}

}  // namespace

AcknialRecords read_acknial_in(const std::string& path) {
    RecordFile file(path);
    AcknialRecords out;
    std::vector<double>* knots = nullptr;
    std::vector<double>* coefs = nullptr;
    for (std::vector<std::string> items; file.next(items);) {
        std::string keyword = items[0];
        std::transform(keyword.begin(), keyword.end(), keyword.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (keyword == "pair" || keyword == "density") {
            file.expect(items, 3, keyword + " A B");
            auto& sums = keyword == "pair" ? out.pairs : out.densities;
            const int32_t za = element(file, items[1]), zb = element(file, items[2]);
            for (const auto& sum : sums)
                if ((sum.za == za && sum.zb == zb) ||
                    (keyword == "pair" && sum.za == zb && sum.zb == za))
                    file.fail("the " + keyword + " " + items[1] + " " + items[2] +
                              " is given twice");
            sums.push_back({za, zb, {}, {}});
            knots = &sums.back().knot;
            coefs = &sums.back().coef;
        } else if (keyword == "embedding") {
            file.expect(items, 4, "embedding A a2 a4");
            const int32_t z = element(file, items[1]);
            for (const auto& row : out.elements)
                if (row.z == z)
                    file.fail("the embedding of " + items[1] + " is given twice");
            out.elements.push_back({z, file.real(items[2]), file.real(items[3])});
            knots = coefs = nullptr;
        } else {
            if (knots == nullptr)
                file.fail("expected pair, density or embedding, found '" + items[0] + "'");
            file.expect(items, 2, "knot coefficient");
            knots->push_back(file.real(items[0]));
            coefs->push_back(file.real(items[1]));
        }
    }
    for (const auto* sums : {&out.pairs, &out.densities})
        for (const auto& sum : *sums)
            if (sum.knot.empty())
                file.fail("the terms of " + pair_name(sum.za, sum.zb) + " have no knot records");
    return out;
}

void setup_prms_for_acknial(Engine& engine, int32_t k) {
    const std::string path(kAcknialFile);
    const AcknialRecords file =
        std::filesystem::exists(path) ? read_acknial_in(path) : AcknialRecords{};

    std::vector<EamPairRow> pairs(kAcknialKeyword.pairs.begin(), kAcknialKeyword.pairs.end());
    std::vector<EamDensityRow> densities(kAcknialKeyword.densities.begin(),
                                         kAcknialKeyword.densities.end());
    for (const auto& sum : file.densities) {
        const EamDensityRow row{sum.za, sum.zb, {sum.knot, sum.coef}};
        auto same = std::find_if(densities.begin(), densities.end(), [&](const auto& d) {
            return d.centre == sum.za && d.neighbour == sum.zb;
        });
        if (same != densities.end())
            *same = row;
        else
            densities.push_back(row);
    }
    for (EamPairRow& row : pairs) {
        for (const auto& sum : file.pairs) {
            if ((sum.za == row.za && sum.zb == row.zb) || (sum.za == row.zb && sum.zb == row.za)) {
                row.knots = {sum.knot, sum.coef};
                row.fit_bridge = true;
                row.cutoff2 = 0.0;
                for (const auto& [a, b] : {std::pair{row.za, row.zb}, {row.zb, row.za}}) {
                    const int32_t centre = a, neighbour = b;
                    if (std::none_of(densities.begin(), densities.end(), [&](const auto& d) {
                            return d.centre == centre && d.neighbour == neighbour;
                        }))
                        input_error(path, 0,
                                    "no density at " + symbol(centre) + " from " +
                                        symbol(neighbour) + " for the " +
                                        pair_name(row.za, row.zb) + " pair");
                }
            }
        }
    }

    const KnotEamKeyword keyword{kAcknialKeyword.mapij_message,
                                 kAcknialKeyword.overflow_message,
                                 kAcknialKeyword.bond_capacity,
                                 pairs,
                                 densities,
                                 file.elements};
    KnotEamState& state = engine.families.acknial;
    knot_eam_setup(state, keyword, k);
    for (KnotEamPairType& pair : state.pair) {
        const std::string name = pair_name(pair.za, pair.zb);
        pair.missing = "ACKNIAL: no parameters for the " + name + " pair; give them in " + path;
        if (pair.defined && !pair.bridge_joined())
            nrerror("ACKNIAL: the " + name +
                    " pair term must be positive at 2.0 A, where its bridge to ZBL ends");
    }
}

using AcknialOperations = KnotEamOperations<kAcknialKeyword, &FamilyStates::acknial>;

double acknial_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    return AcknialOperations::cutoff_squared(engine, za, zb);
}

void acknial_call(Engine& engine) {
    AcknialOperations::call(engine);
}

}  // namespace pelix
