#!/usr/bin/env bash
# The main job: set up, build, register the server as an installer would, then let the
# example clients work through it: make_drawing.exe builds a drawing and saves it,
# list_drawing.vbs opens it again and lists it, ezdxf checks the saved file (GDAL and LibreCAD
# open it too), and ezdxf's drawing add-on makes a picture of it beside it.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
bash tools/build.sh
tools/winerun.sh build/bin/nkreg.exe
plan="$here/build/examples/plan.dxf"
windows() { echo "Z:$1" | tr / '\\'; }
tools/winerun.sh build/bin/make_drawing.exe "$(windows "$plan")"
tools/winerun.sh cscript //nologo "$(windows "$here/examples/list_drawing.vbs")" "$(windows "$plan")"
/usr/bin/python3 tests/plan_check.py "$plan"
tools/picture.sh "$plan" "${plan%.dxf}.png"
