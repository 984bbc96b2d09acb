#!/usr/bin/env bash
# A picture of any drawing, drawn by ezdxf's drawing add-on (matplotlib) from the file alone:
#   tools/picture.sh FILE.dxf [OUT.png]     (OUT defaults to FILE.png)
set -euo pipefail
in=$1
out=${2:-${in%.*}.png}
# matplotlib's notes on fonts it replaces are shown only when the drawing fails.
if ! said=$(MPLBACKEND=Agg MPLCONFIGDIR=$(mktemp -d) /usr/bin/python3 -m ezdxf draw -o "$out" "$in" 2>&1); then
  echo "$said" >&2
  exit 1
fi
echo "picture of $in: $out"
