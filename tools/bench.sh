#!/usr/bin/env bash
# Builds, then runs every benchmark: the host's and the server's under Wine, the
# drawing-file one natively (it runs Debian's python3 and ezdxf beside itself).
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
bash tools/build.sh
tools/winerun.sh build/bin/host_bench.exe
tools/winerun.sh build/bin/nkauto_bench.exe
cmake -S bench -B build/bench-native -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/bench-native -j "$(nproc)"
build/bench-native/dxf_bench
