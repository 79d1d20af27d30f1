#!/usr/bin/env bash
# Installs what building and testing need, when it is missing: Debian packages through
# apt-get (with sudo when not root) and the npm packages under tools/.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

# The Windows leg: MinGW-w64 (POSIX threads), zlib built for it, GoogleTest's sources to
# build with it, and 64-bit Wine (wine64 alone; no i386 architecture is needed).
packages=(cmake ninja-build g++ clang libclang-rt-14-dev pkg-config zlib1g-dev libdeflate-dev
          libisal-dev libjemalloc-dev libcli11-dev libgtest-dev libgmock-dev libbenchmark-dev
          googletest
          nlohmann-json3-dev default-jre-headless ccache
          g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine wine64
          mdbtools pigz qpdf)
# Node.js may come from elsewhere than Debian; install Debian's only when none is present.
command -v node >/dev/null 2>&1 || packages+=(nodejs)
command -v npm >/dev/null 2>&1 || packages+=(npm)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

if [ -f "$here/package.json" ] && [ ! -d "$here/node_modules/mdb-reader" ]; then
  echo "installing npm packages in tools/"
  (cd "$here" && npm ci --no-audit --no-fund --loglevel=error)
fi
