#include "potentials/knot_eam/acknial.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "common/fatal_error.hpp"
#include "common/list_directed.hpp"
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

// One line of the file as its items, a '#' and what follows it left out.
std::vector<std::string> items_of(std::string line) {
    line = line.substr(0, line.find('#'));
    std::replace(line.begin(), line.end(), ',', ' ');
    std::istringstream in(line);
    std::vector<std::string> items;
    for (std::string item; in >> item;)
        items.push_back(item);
    return items;
}

class AcknialReader {
  public:
    explicit AcknialReader(std::string path) : path_(std::move(path)) {}

    AcknialRecords read() {
        std::ifstream in(path_);
        if (!in)
            input_error(path_, 0, "the file cannot be read");
        AcknialRecords out;
        std::vector<double>* knots = nullptr;
        std::vector<double>* coefs = nullptr;
        for (std::string line; std::getline(in, line);) {
            ++line_;
            const std::vector<std::string> items = items_of(line);
            if (items.empty())
                continue;
            std::string keyword = items[0];
            std::transform(keyword.begin(), keyword.end(), keyword.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            if (keyword == "pair" || keyword == "density") {
                expect_items(items, 3, keyword + " A B");
                auto& sums = keyword == "pair" ? out.pairs : out.densities;
                const int32_t za = element(items[1]), zb = element(items[2]);
                for (const auto& sum : sums)
                    if ((sum.za == za && sum.zb == zb) ||
                        (keyword == "pair" && sum.za == zb && sum.zb == za))
                        fail("the " + keyword + " " + items[1] + " " + items[2] +
                             " is given twice");
                sums.push_back({za, zb, {}, {}});
                knots = &sums.back().knot;
                coefs = &sums.back().coef;
            } else if (keyword == "embedding") {
                expect_items(items, 4, "embedding A a2 a4");
                const int32_t z = element(items[1]);
                for (const auto& row : out.elements)
                    if (row.z == z)
                        fail("the embedding of " + items[1] + " is given twice");
                out.elements.push_back({z, real(items[2]), real(items[3])});
                knots = coefs = nullptr;
            } else {
                if (knots == nullptr)
                    fail("expected pair, density or embedding, found '" + items[0] + "'");
                expect_items(items, 2, "knot coefficient");
                knots->push_back(real(items[0]));
                coefs->push_back(real(items[1]));
            }
        }
        for (const auto* sums : {&out.pairs, &out.densities})
            for (const auto& sum : *sums)
                if (sum.knot.empty())
                    input_error(
                        path_, line_,
                        "the terms of " + pair_name(sum.za, sum.zb) + " have no knot records");
        return out;
    }

  private:
    [[noreturn]] void fail(const std::string& what) const { input_error(path_, line_, what); }

    void expect_items(const std::vector<std::string>& items, std::size_t n,
                      const std::string& shape) const {
        if (items.size() != n)
            fail("expected '" + shape + "' (" + std::to_string(n) + " items), found " +
                 std::to_string(items.size()));
    }

    int32_t element(const std::string& item) const {
        if (item == "Ni")
            return kNi;
        if (item == "Al")
            return kAl;
        fail("expected the element Ni or Al, found '" + item + "'");
    }

    double real(const std::string& item) const {
        double value = 0.0;
        try {
            value = parse_list_real(item);
        } catch (const std::invalid_argument&) {
            fail("expected a number, found '" + item + "'");
        }
        if (!std::isfinite(value))
            fail("expected a finite number, found '" + item + "'");
        return value;
    }

    std::string path_;
    int line_ = 0;
};

// The largest knot with a non-zero coefficient.
double reach(std::span<const double> knot, std::span<const double> coef) {
    double out = 0.0;
    for (std::size_t k = 0; k < knot.size(); ++k)
        if (coef[k] != 0.0)
            out = std::max(out, knot[k]);
    return out;
}

}  // namespace

AcknialRecords read_acknial_in(const std::string& path) {
    return AcknialReader(path).read();
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
    const auto density_reach = [&](int32_t centre, int32_t neighbour) {
        for (const EamDensityRow& d : densities)
            if (d.centre == centre && d.neighbour == neighbour)
                return reach(d.psi.knot, d.psi.coef);
        input_error(path, 0,
                    "no density at " + symbol(centre) + " from " + symbol(neighbour) + " for the " +
                        pair_name(centre, neighbour) + " pair");
    };
    for (EamPairRow& row : pairs) {
        for (const auto& sum : file.pairs) {
            if ((sum.za == row.za && sum.zb == row.zb) || (sum.za == row.zb && sum.zb == row.za)) {
                row.knots = {sum.knot, sum.coef};
                row.fit_bridge = true;
            }
        }
        if (!row.knots.knot.empty()) {
            const double cutoff =
                std::max({reach(row.knots.knot, row.knots.coef), density_reach(row.za, row.zb),
                          density_reach(row.zb, row.za)});
            row.cutoff2 = cutoff * cutoff;
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
        const bool bridge_finite = std::all_of(pair.bridge.b.begin(), pair.bridge.b.end(),
                                               [](double b) { return std::isfinite(b); });
        if (pair.defined && !bridge_finite)
            nrerror("ACKNIAL: the " + name +
                    " pair term must be positive at 2.0 A, where its bridge to ZBL ends");
    }
}

double acknial_cutoff_squared(Engine& engine, int32_t za, int32_t zb) {
    return knot_eam_cutoff_squared(engine.families.acknial, kAcknialKeyword, za, zb);
}

void acknial_call(Engine& engine) {
    KnotEamFamily<kAcknialKeyword> family{engine.families.acknial};
    evaluate_family(engine, family);
}

}  // namespace pelix
