# Included by the main project with the test suite: every reader harness is also built as a
# replay driver over the ordinary core library, and one test per harness runs it over the
# harness's corpus (the seed inputs and every fault found so far), so that each test build
# and the sanitized build check the regression inputs once.
set(PELIX_FUZZ_DIR ${CMAKE_CURRENT_LIST_DIR})
set(PELIX_FUZZ_READERS pelix_in lattice_in potfor_in pair_table ternary_table multipole_in
                       acknial_in giovani_in ionic_in hefepot_in)

foreach(reader ${PELIX_FUZZ_READERS})
  add_executable(replay_${reader} ${PELIX_FUZZ_DIR}/fuzz_${reader}.cpp
                                  ${PELIX_FUZZ_DIR}/replay_main.cpp)
  target_link_libraries(replay_${reader} PRIVATE pelix_core)
  target_compile_options(replay_${reader} PRIVATE -Wall -Wextra)
  file(GLOB corpus CONFIGURE_DEPENDS ${PELIX_FUZZ_DIR}/corpus/${reader}/*)
  add_test(NAME fuzz_corpus.${reader} COMMAND replay_${reader} ${corpus})
endforeach()
