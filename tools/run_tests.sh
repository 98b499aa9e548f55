#!/usr/bin/env bash
# Installs what the tests need, builds the C++ core with its GoogleTest suite, runs it, then
# installs the Python package and runs the pytest suite. Fails if either suite fails.
set -euo pipefail
cd "$(dirname "$0")/.."

as_root() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }
if [ ! -f /usr/include/gtest/gtest.h ]; then
    as_root apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq libgtest-dev
fi
python3 -m pip install -q "numpy>=2" "pytest>=7" "scikit-build-core>=0.10" cmake ninja "ase>=3.24" tqdm matplotlib

cmake -S . -B build/cpp-tests -G Ninja -DPELIX_BUILD_TESTS=ON -DPELIX_BUILD_MODULE=OFF \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build/cpp-tests
(cd build/cpp-tests && ctest --output-on-failure --timeout 300)

python3 -m pip install -q .
python3 -m pytest -q tests/python
