#!/usr/bin/env bash
# Every test: set up, build, run the suite under Wine through CTest, then build the embedded
# host natively and run its tests under AddressSanitizer and UndefinedBehaviorSanitizer.
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
fi
