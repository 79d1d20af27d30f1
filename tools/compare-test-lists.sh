#!/usr/bin/env bash
# Fails when the native build and the Windows build list different tests outside the
# `external` label: a test must exist on both systems and skip, saying why, where it does
# not apply. Run it with Wine's environment set (the Windows lists are read under Wine).
# usage: tools/compare-test-lists.sh build build-win
set -euo pipefail
native=$1
windows=$2
if [ ! -x "$native/tests/px_core_tests" ]; then
  echo "compare-test-lists: no native test build in $native (make test-plain); nothing compared"
  exit 0
fi
list() {
  # Names without gtest's "  # GetParam() = ..." note, which may hold an address.
  (cd "$1" && ctest -N -LE external | sed -n 's/^ *Test *#[0-9]*: \([^ ]*\).*/\1/p' | sort)
}
if ! diff <(list "$native") <(list "$windows") >"$windows/test-lists.diff"; then
  echo "compare-test-lists: the native and Windows builds list different tests:"
  cat "$windows/test-lists.diff"
  exit 1
fi
echo "compare-test-lists: $(list "$native" | wc -l) tests on both systems"
