#!/usr/bin/env bash
# The Wine leg of `make test`: the Windows build's tests (all but the `external` ones, which
# run Linux programs), the check that both builds list the same tests, and the byte-for-byte
# comparison of the commands' output with the Linux build's.
# One Wine server and its services run for the whole leg, started here with their standard
# streams on /dev/null: a service that a test's Wine started would hold that test's output
# pipe open, and ctest would wait for it.
# usage: tools/test-wine.sh JOBS   (WINEPREFIX and the rest of Wine's environment set)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=${1:-2}
mkdir -p "$WINEPREFIX"
wineserver -p
trap 'wineserver -k || true' EXIT
wineboot --init </dev/null >/dev/null 2>&1 || true
# A test is run a second time only when it fails: now and then a Wine process dies as it
# starts (no output at all, a hundredth of a second), which says nothing about the test.
(cd "$root/build-win" && ctest --output-on-failure -j "$jobs" -LE external --repeat until-pass:2)
"$root/tools/compare-test-lists.sh" "$root/build" "$root/build-win"
"$root/tools/compare-wine.sh" "$root/build/pergonix-yedek" "$root/build-win/pergonix-yedek.exe"
