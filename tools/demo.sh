#!/usr/bin/env bash
# Until the demo suite is embedded: show the program's help and the settings it sees.
set -euo pipefail
bin=${1:-build/pergonix-yedek}
"$bin" --help
echo
"$bin" ayarlar
