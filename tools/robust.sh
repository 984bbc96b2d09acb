#!/usr/bin/env bash
# The long runs of the robustness tests: the member walk with random mixes of malformed
# arguments on top of the fixed ones, a million cycles of wrappers and documents, two threads
# with larger drawings, and the drawing-file reader fuzzed for longer. The test command runs
# short versions of each. Usage: tools/robust.sh [walk rounds] [life cycles] [fuzz seconds]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
bash tools/build.sh
cd build/bin
# Each in a process of its own: each checks the module's counts at its end.
export WINEDEBUG=-all NKAUTO_WALK_ROUNDS="${1:-40}" NKAUTO_LIFE_CYCLES="${2:-1000000}" NKAUTO_THREAD_LINES=5000
status=0
for test in '*Malformed*' '*LongLife*' '*Threads*'; do
  ../../tools/winerun.sh robust_tests.exe --gtest_filter="$test" 2>&1 | tee robust.log
  grep -q "Unhandled" robust.log && status=1
  grep -q "\[  PASSED  \] 1 test" robust.log || status=1
done
cd "$here"
cmake -S host -B build/host-fuzz -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DKX_FUZZ=ON -DKX_HOST_TESTS=OFF >/dev/null
cmake --build build/host-fuzz -j "$(nproc)"
mkdir -p build/host-fuzz/fuzz-corpus
build/host-fuzz/dxf_fuzz -max_total_time="${3:-600}" -timeout=10 -rss_limit_mb=2048 \
  build/host-fuzz/fuzz-corpus host/fuzz/corpus
exit $status
