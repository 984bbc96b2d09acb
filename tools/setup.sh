#!/usr/bin/env bash
# Installs the cross toolchain, Wine and the test tools from Debian's packages,
# then prepares a private Wine prefix for the build tree. Safe to run again.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)

packages=(
  cmake ninja-build g++ make
  g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  mingw-w64-tools mingw-w64-x86-64-dev
  wine64 wine64-tools libwine-dev
  googletest
  python3 python3-ezdxf python3-matplotlib librecad librecad-data gdal-bin
  clang libclang-rt-14-dev lld llvm
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# MinGW's gcc looks for the LLVM linker beside its own linker, under the target's name: the
# cross links take a second with it instead of minutes.
if [ ! -e /usr/bin/x86_64-w64-mingw32-ld.lld ] && [ -x /usr/bin/ld.lld ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO ln -s /usr/bin/ld.lld /usr/bin/x86_64-w64-mingw32-ld.lld || true
fi

# A private Wine prefix for the build tree; the first boot takes a few seconds.
export WINEPREFIX="$here/build/wineprefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
mkdir -p "$here/build"
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  /usr/lib/wine/wine64 wineboot --init >/dev/null 2>&1 || true
  /usr/lib/wine/wineserver -w || true
fi
echo "setup: toolchain and Wine prefix ready"
