#!/usr/bin/env bash
# The main job: set up, build, register the server as an installer would, and run the
# example client against it.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
bash tools/build.sh
tools/winerun.sh build/bin/nkreg.exe
tools/winerun.sh build/bin/hello_client.exe
