// The table set-up of the "TERNARY" family on arbitrary file contents, followed by spline
// lookups on every table. The input is cut at form feeds into pieces that are handed out to
// the twelve table files in turn, so that tables of different lengths meet in one set-up.
#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "engine/engine.hpp"
#include "fuzz_input_file.hpp"
#include "potentials/ternary.hpp"

namespace {

constexpr std::array<const char*, 12> kTableFiles = {
    "pFeFe.IN", "rhoFe.IN", "F_Fe.IN", "pNiNi.IN", "rhoNi.IN", "F_Ni.IN",
    "pCrCr.IN", "rhoCr.IN", "F_Cr.IN", "pFeCr.IN", "pFeNi.IN", "pNiCr.IN"};

// Looks a table up at its first abscissa and halfway between neighbouring abscissae (a few
// of them), the points a force call meets inside the table.
void look_up_inside(const pelix::TernaryState& state, const pelix::TernaryTable& table) {
    const std::size_t n = std::min(static_cast<std::size_t>(state.nspline), table.x.size());
    if (n == 0)
        return;
    pelix::ternary_lookup(state, table, table.x[0]);
    for (std::size_t k = 1; k < std::min<std::size_t>(n, 16); ++k)
        pelix::ternary_lookup(state, table, 0.5 * (table.x[k - 1] + table.x[k]));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const pelix::fuzz::InScratchDirectory in_scratch;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    std::vector<std::string_view> pieces;
    for (std::size_t start = 0;;) {
        const std::size_t end = input.find('\f', start);
        pieces.push_back(input.substr(start, end == std::string_view::npos ? end : end - start));
        if (end == std::string_view::npos)
            break;
        start = end + 1;
    }
    for (std::size_t k = 1; k < kTableFiles.size(); ++k) {
        const std::string_view piece = pieces[k % pieces.size()];
        pelix::fuzz::write_input(reinterpret_cast<const uint8_t*>(piece.data()), piece.size(),
                                 kTableFiles[k]);
    }
    const std::string_view first = pieces[0];
    pelix::fuzz::run_reader_on_input(reinterpret_cast<const uint8_t*>(first.data()), first.size(),
                                     kTableFiles[0], [](const std::string&) {
                                         pelix::Engine engine;
                                         pelix::setup_prms_for_ternary(engine, 1);
                                         const pelix::TernaryState& state = engine.families.ternary;
                                         for (const auto& table : state.pair)
                                             look_up_inside(state, table);
                                         for (const auto& table : state.rho)
                                             look_up_inside(state, table);
                                         for (const auto& table : state.embedding)
                                             look_up_inside(state, table);
                                     });
    return 0;
}
