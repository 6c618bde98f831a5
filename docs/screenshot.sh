#!/usr/bin/env bash
# Takes docs/screenshot.png: Kelvane's editor on the demo board, on a virtual
# display (needs Debian's xvfb and imagemagick). Run from the repository root
# after ./dev demo has set up .venv once.
set -euo pipefail
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
Xvfb :93 -screen 0 1100x760x24 >/dev/null 2>&1 &
sleep 1
export DISPLAY=:93 KELVANE_SETTINGS="$work/Vandor.ini" KELVANE_HOME="$work/program"
.venv/bin/kelvane board demo "$work" >/dev/null
.venv/bin/kelvane open "General Utilities" --main-node "$work/board" &
sleep 8
import -window root -crop 825x570+137+95 docs/screenshot.png
echo "docs/screenshot.png written"
