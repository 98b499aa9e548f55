#!/usr/bin/env bash
# The whole test suite against a build with AddressSanitizer and UndefinedBehaviorSanitizer.
#
#   1. builds the core, the GoogleTest suite and the extension module with PELIX_SANITIZE=ON
#      into build/asan (BUILD_DIR overrides);
#   2. runs the C++ suite with LeakSanitizer on: a leak fails the test that made it;
#   3. runs the pytest suite against the sanitized module, with the sanitizer runtime preloaded
#      into the interpreter and so into every interpreter the tests start. Those calls touch
#      every family and every reader. LeakSanitizer is on there too, but the interpreter and
#      NumPy leave blocks of their own at exit: tools/sanitizer_reports.py counts only leaks
#      allocated under this project's code.
#
# Every sanitizer report is written to a log file; the run fails if any of them is a finding,
# so that a report in a subprocess whose exit status a test does not look at still counts.
set -euo pipefail
# One BLAS thread: fewer threads for the leak checker to stop at every interpreter's exit.
export OPENBLAS_NUM_THREADS=1
cd "$(dirname "$0")/.."
root=$(pwd)
build=${BUILD_DIR:-build/asan}
case "$build" in /*) ;; *) build="$root/$build" ;; esac
logs="$build/sanitizer-logs"

cmake -S . -B "$build" -G Ninja -DPELIX_BUILD_TESTS=ON -DPELIX_SANITIZE=ON \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build"

rm -rf "$logs" && mkdir -p "$logs"
logging="log_path=$logs/report:print_summary=1"
status=0

echo "== C++ suite under AddressSanitizer, UndefinedBehaviorSanitizer and LeakSanitizer"
(
    export ASAN_OPTIONS="detect_leaks=1:exitcode=86:$logging"
    export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:exitcode=86:$logging"
    cd "$build" && ctest -j2 --output-on-failure --timeout 600
) || status=1

echo "== Python suite against the sanitized module"
# The C++ runtime is preloaded with the sanitizer runtime, so that the sanitizer finds the
# exception machinery it wraps already loaded (the interpreter itself is a C program).
preload="$(g++ -print-file-name=libasan.so) $(g++ -print-file-name=libstdc++.so)"
(
    export LD_PRELOAD="$preload"
    # Objects are allocated with malloc, so that the sanitizers also watch the memory of every
    # Python object the module touches.
    export PYTHONMALLOC=malloc
    # The interpreter's own leaks must not change any exit status the tests look at: findings
    # are judged from the reports alone.
    export ASAN_OPTIONS="detect_leaks=1:exitcode=0:$logging"
    export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:exitcode=0:$logging"
    export PYTHONPATH="$build:$root/python"
    export PELIX_SANITIZED=1
    python3 -c "import PELIXInterface as P; assert P.__file__.startswith('$build'), P.__file__"
    python3 -m pytest -q -p no:cacheprovider tests/python
) || status=1

echo "== Sanitizer reports"
python3 tools/sanitizer_reports.py "$logs" "$root" || status=1
exit $status
