#include "interaction/registry.hpp"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "common/fatal_error.hpp"
#include "common/fixed_string.hpp"
#include "common/list_directed.hpp"
#include "common/memory.hpp"
#include "electrostatics/electrostatics.hpp"
#include "engine/engine.hpp"

namespace pelix {

namespace {

// The charge-equilibrated titanium-oxide pair has no cut-off routine of its own: its pairs
// always reach 8 A.
constexpr std::string_view kQeqKeyword = "Qeq";
constexpr double kQeqCutoffSquared = 64.0;
constexpr double kQeqCutoffRadius = 8.0;

// Reads the pair records of "potfor.IN": two ignored lines, the record count, then one record
// per line (symbol, symbol, keyword). The registry is only touched once the whole file has
// been read.
void read_potfor_file(PotentialRegistry& registry, const std::string& path) {
    ListDirectedFile file(path);
    file.skip_record("title line");
    file.skip_record("comment line");
    int32_t nlines = 0;
    file.read({int_item(nlines, "nlines_potforin")});

    std::vector<std::string> elem1, elem2, potflg;
    const std::size_t count = nlines > 0 ? static_cast<std::size_t>(nlines) : 0;
    // The count is only a claim of the file: reserving it in full would let one mistyped
    // number ask for gigabytes before the missing records are noticed.
    const std::size_t expected = std::min<std::size_t>(count, 1024);
    elem1.reserve(expected);
    elem2.reserve(expected);
    potflg.reserve(expected);
    for (std::size_t r = 0; r < count; ++r) {
        std::string e1(kSymbolWidth, ' ');
        std::string e2(kSymbolWidth, ' ');
        std::string keyword(kKeywordWidth, ' ');
        file.read({char_item(e1, kSymbolWidth, "ELEM1"), char_item(e2, kSymbolWidth, "ELEM2"),
                   char_item(keyword, kKeywordWidth, "POTFLG")});
        elem1.push_back(fixed_width(e1, kSymbolWidth));
        elem2.push_back(fixed_width(e2, kSymbolWidth));
        potflg.push_back(fixed_width(keyword, kKeywordWidth));
    }

    registry.nlines_potforin = nlines;
    registry.elem1_array = std::move(elem1);
    registry.elem2_array = std::move(elem2);
    registry.potflg_array = std::move(potflg);
    registry.read_potforin = true;
}

// Sets potype(a, b) and potype(b, a) from every record, in file order, so a later record
// overrides an earlier one for the same pair. Symbols match as two exact characters.
void apply_potfor_records(PotentialRegistry& registry) {
    const int32_t numel = registry.pot_numel;
    const std::size_t nrecords = registry.potflg_array.size();
    for (std::size_t r = 0; r < nrecords; ++r) {
        const std::string& elem1 = registry.elem1_array[r];
        const std::string& elem2 = registry.elem2_array[r];
        const std::string& potflg = registry.potflg_array[r];
        for (int32_t a = 0; a < numel; ++a) {
            if (registry.pot_symbol[a] != elem1)
                continue;
            for (int32_t b = 0; b < numel; ++b) {
                if (registry.pot_symbol[b] != elem2)
                    continue;
                registry.potype(a, b) = potflg;
                registry.potype(b, a) = potflg;
            }
        }
    }
}

// Position (0-based) of `keyword` among the potentials found so far, -1 when absent.
int32_t find_in_potlst(const std::vector<std::string>& potlst, const std::string& keyword) {
    for (std::size_t k = 0; k < potlst.size(); ++k) {
        if (potlst[k] == keyword)
            return static_cast<int32_t>(k);
    }
    return -1;
}

// Lists the distinct keywords in order of first appearance, scanning the pair table row by
// row, so potential 1 is always the one between the first species and itself; then gives
// every species pair its 1-based potential number.
void number_potentials(PotentialRegistry& registry, SpeciesMatrix<int32_t>& potnum) {
    const int32_t numel = registry.pot_numel;
    registry.potlst.clear();
    registry.num_pots = 0;
    potnum.assign(numel, 0);
    if (numel <= 0)
        return;

    registry.potlst.reserve(MAX_NUM_POTS);
    registry.potlst.push_back(registry.potype(0, 0));
    registry.num_pots = 1;
    for (int32_t a = 0; a < numel; ++a) {
        for (int32_t b = 0; b < numel; ++b) {
            const std::string& keyword = registry.potype(a, b);
            if (find_in_potlst(registry.potlst, keyword) >= 0)
                continue;
            ++registry.num_pots;
            if (registry.num_pots > MAX_NUM_POTS)
                nrerror("SETUP_INTERACTION_PARAMETERS:NUM_POTS > MAX_NUM_POTS");
            registry.potlst.push_back(keyword);
        }
    }

    for (int32_t a = 0; a < numel; ++a) {
        for (int32_t b = 0; b < numel; ++b)
            potnum(a, b) = find_in_potlst(registry.potlst, registry.potype(a, b)) + 1;
    }
}

// The catalogue row of the potential between species i and j, or nullptr when its keyword is
// unknown or its family is not built.
const KeywordRow* row_for_pair(const Engine& engine, int32_t i, int32_t j) {
    return find_built_keyword(engine.catalogue, engine.registry.potype(i, j));
}

}  // namespace

// A second set-up without potfor_finalise in between simply rebuilds the registry from the
// stored records: every array is assigned afresh.
void setup_interaction_parameters(Engine& engine, int32_t numel,
                                  const std::vector<std::string>& symbols, int32_t numprocs,
                                  const std::string& path) {
    PotentialRegistry& registry = engine.registry;
    if (!registry.read_potforin)
        read_potfor_file(registry, path);

    registry.pot_numprocs = numprocs;
    registry.pot_numel = numel < 0 ? 0 : numel;
    registry.pot_symbol.clear();
    registry.pot_symbol.reserve(static_cast<std::size_t>(registry.pot_numel));
    for (int32_t s = 0; s < registry.pot_numel; ++s)
        registry.pot_symbol.push_back(fixed_width(symbols.at(s), kSymbolWidth));

    // A pair that no record covers keeps a blank keyword and so stops the set-up below as
    // unknown.
    registry.potype.assign(registry.pot_numel, std::string(kKeywordWidth, ' '));
    apply_potfor_records(registry);
    number_potentials(registry, engine.ff.potnum);
    registry.allocated = true;

    setup_prms_for_electrostatics(engine);

    for (int32_t k = 1; k <= registry.num_pots; ++k) {
        const std::string& keyword = registry.potlst[static_cast<std::size_t>(k - 1)];
        const KeywordRow* row = find_built_keyword(engine.catalogue, keyword);
        if (row == nullptr) {
            nrerror("SETUP_INTERACTION_PARAMETERS: POTLST= " + fixed_width(keyword, kKeywordWidth) +
                    " is unknown");
        }
        // "Qeq" sets up the variable-charge pair potential and then the charge
        // equilibration; both calls belong to its family set-up.
        row->ops->setup(engine, k);
    }
}

double cutoff_distance_squared(Engine& engine, const std::vector<int32_t>& anum, int32_t i,
                               int32_t j) {
    const KeywordRow* row = row_for_pair(engine, i, j);
    if (row == nullptr)
        nrerror("CUT_OFF_DISTANCE_SQUARED: POTYPE is unknown");
    if (blank_padded_equal(row->keyword, kQeqKeyword))
        return kQeqCutoffSquared;
    return row->ops->cutoff_squared(engine, anum[i], anum[j]);
}

double sd_cutoff_distance(Engine& engine, const std::vector<int32_t>& anum, int32_t i, int32_t j,
                          double skin) {
    const KeywordRow* row = row_for_pair(engine, i, j);
    if (row == nullptr)
        nrerror("SD_CUTOFF_DISTANCE: POTYPE is unknown");
    // "CSIHPOT" answers with its own spatial-decomposition radius, skin included
    // (sd_csihpot_cutoff_distance with anum[i], anum[j] and skin); it is called here, with
    // nothing added, once that family is built.
    if (blank_padded_equal(row->keyword, kQeqKeyword))
        return kQeqCutoffRadius + skin;
    return std::sqrt(row->ops->cutoff_squared(engine, anum[i], anum[j])) + skin;
}

void potfor_finalise(Engine& engine) {
    PotentialRegistry& registry = engine.registry;
    release_memory(registry.pot_symbol);
    registry.potype.release();
    release_memory(registry.potlst);
    registry.allocated = false;
    engine.ff.potnum.release();
    release_memory(engine.cells.celhead);
    release_memory(engine.cells.celatm);
    engine.neighbours.radius.release();
    engine.neighbours.radus2.release();
    release_memory(engine.atoms.pe);
}

}  // namespace pelix
