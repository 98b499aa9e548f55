#include "potentials/catalogue.hpp"

#include <array>

#include "common/fixed_string.hpp"
#include "potentials/acklist.hpp"
#include "potentials/hefepot/hefepot.hpp"
#include "potentials/ionic/operations.hpp"
#include "potentials/knot_eam/acknial.hpp"
#include "potentials/knot_eam/giovani.hpp"
#include "potentials/knot_eam/operations.hpp"
#include "potentials/morlist.hpp"
#include "potentials/morsept.hpp"
#include "potentials/ternary.hpp"
#include "potentials/zblpotl.hpp"
#include "potentials/zero.hpp"

namespace pelix {

namespace {

constexpr FamilyOps kAcknial{setup_prms_for_acknial, acknial_cutoff_squared, acknial_call};
constexpr FamilyOps kGiovani{setup_prms_for_giovani, giovani_cutoff_squared, giovani_call};
constexpr FamilyOps kAcklist{setup_prms_for_acklist, acklist_cutoff_squared, acklist_call};
constexpr FamilyOps kMorlist{setup_prms_for_morlist, morlist_cutoff_squared, morlist_call};
constexpr FamilyOps kMorsept{setup_prms_for_morsept, morsept_cutoff_squared, morsept_call};
constexpr FamilyOps kTernary{setup_prms_for_ternary, ternary_cutoff_squared, ternary_call};
constexpr FamilyOps kZero{setup_prms_for_zero, zero_potl_cutoff_squared, zero_call};
constexpr FamilyOps kZblpotl{setup_prms_for_zblpotl, zblpotl_cutoff_squared, zblpotl_call};

// Matching order of the keywords. Rows without operations are families not built yet.
constexpr std::array<KeywordRow, 29> kKeywordTable{{
    {"CSIHPOT", "csihpot", nullptr},
    {"ACKLAND", "ackland_interaction", &kAcklandOps},
    {"ACKLIST", "acklist_interaction", &kAcklist},
    {"ACKLEAM", "acklfep_interaction", &kAckleamOps},
    {"ACKNIAL", "acklnial_interaction", &kAcknial},
    {"MORSEPT", "morsept_interaction", &kMorsept},
    {"MORLIST", "morlist_interaction", &kMorlist},
    {"ZBLPOTL", "zblpotl_interaction", &kZblpotl},
    {"SPINELP", "spinelpotl_interaction", &kSpinelpOps},
    {"MGOPOTL", "mgo_potl_interaction", &kMgopotlOps},
    {"EROPOTL", "ero_potl_interaction", &kEropotlOps},
    {"MEAM", "meam_interaction", nullptr},
    {"TiOFCPT", "tio_potlfc_interaction", &kTiofcptOps},
    {"Qeq", "tio_potlvc_interaction", nullptr},
    {"BPUPOTL", "bpu_potl_interaction", &kBpupotlOps},
    {"UNTITLE", "untitled_potl_interaction", &kUntitleOps},
    {"GIOVANI", "giovani_interaction", &kGiovani},
    {"TERNARY", "ternary_interaction", &kTernary},
    {"FeOPOTL", "feo_potl_interaction", &kFeopotlOps},
    {"ZERO", "zero_potl_interaction", &kZero},
    {"HeFePOT", "hefepotl_interaction", &kHefepotOps},
    {"HeHePOT", "hehepotl_interaction", &kHehepotOps},
    {"FEIGAO", "feigao_interaction", &kFeigaoOps},
    {"AzizHe2", "azizhehe_interaction", &kAzizhe2Ops},
    {"MENDEL", "mendelev_interaction", &kMendelOps},
    {"AMtest", "amtest_interaction", &kAmtestOps},
    {"BUCKBW", "buckbw_interaction", &kBuckbwOps},
    {"BSIPOTL", "bsipotl_interaction", &kBsipotlOps},
    {"DELAYE_POTL", "delaye_potl_interaction", &kDelayeOps},
}};

}  // namespace

std::span<const KeywordRow> keyword_table() {
    return kKeywordTable;
}

const KeywordRow* find_built_keyword(std::span<const KeywordRow> table, std::string_view keyword) {
    for (const auto& row : table) {
        if (blank_padded_equal(row.keyword, keyword))
            return row.ops ? &row : nullptr;
    }
    return nullptr;
}

}  // namespace pelix
