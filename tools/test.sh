#!/usr/bin/env bash
# Every test: set up, build, run the suite under Wine through CTest, then build the embedded
# host natively and run its tests under AddressSanitizer and UndefinedBehaviorSanitizer while
# clang's libFuzzer fuzzes its drawing-file reader for a minute.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
bash tools/build.sh
ctest --test-dir build --output-on-failure
if [ -f host/CMakeLists.txt ]; then
  # One native build of the host serves its tests and the reader's fuzz target: clang with
  # AddressSanitizer, UndefinedBehaviorSanitizer and libFuzzer's instrumentation.
  cmake -S host -B build/host-check -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_FLAGS=-O1 -DKX_FUZZ=ON -DKX_FUZZ_SECONDS=60 >/dev/null
  cmake --build build/host-check -j "$(nproc)"
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    ctest --test-dir build/host-check -j "$(nproc)" --output-on-failure
fi
