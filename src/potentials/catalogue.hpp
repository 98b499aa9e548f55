#pragma once
// The keyword catalogue: every potential keyword in matching order, its family component and
// the operations behind it. A keyword whose family is not built yet has no operations and is
// treated exactly like an unknown keyword.
#include <cstdint>
#include <span>
#include <string_view>

namespace pelix {

struct Engine;

struct FamilyOps {
    // Set-up with the potential number k (1..num_pots).
    void (*setup)(Engine& engine, int32_t k);
    // Squared cut-off for two atomic numbers.
    double (*cutoff_squared)(Engine& engine, int32_t za, int32_t zb);
    // Evaluation: adds forces into ff.fx/fy/fz and energies into atoms.pe.
    void (*evaluate)(Engine& engine);
};

struct KeywordRow {
    std::string_view keyword;
    std::string_view component;
    const FamilyOps* ops;  // nullptr while the family is not built
};

// All rows, in matching order.
std::span<const KeywordRow> keyword_table();

// The first row of `table` whose keyword equals `keyword` (blank-padded comparison) when its
// family is built; nullptr otherwise (unknown keyword or family not built).
const KeywordRow* find_built_keyword(std::span<const KeywordRow> table, std::string_view keyword);

}  // namespace pelix
