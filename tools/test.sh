#!/usr/bin/env bash
# Every test: set up, build, run the suite under Wine through CTest, then build the embedded
# host natively and run its tests under AddressSanitizer and UndefinedBehaviorSanitizer, and
# fuzz its drawing-file reader for a minute with clang's libFuzzer.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
bash tools/build.sh
ctest --test-dir build --output-on-failure
if [ -f host/CMakeLists.txt ]; then
  cmake -S host -B build/host-native -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKX_SANITIZE=ON >/dev/null
  cmake --build build/host-native -j "$(nproc)"
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    ctest --test-dir build/host-native --output-on-failure
  cmake -S host -B build/host-fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DKX_FUZZ=ON -DKX_HOST_TESTS=OFF -DKX_FUZZ_SECONDS=60 >/dev/null
  cmake --build build/host-fuzz -j "$(nproc)"
  ctest --test-dir build/host-fuzz --output-on-failure
fi
