#!/usr/bin/env bash
# Runs an example document over a generated test signal and says what it did.
set -euo pipefail
build=${1:-build}
tool="$build/torvane"
signal="$build/demo-input.wav"
out="demo.wav"

"$tool" generate --out "$signal" --seconds 2 --rate 48000 >/dev/null
"$tool" run examples/two-graph-lookup.xml --in "$signal" --out "$out"
echo "demo: ran examples/two-graph-lookup.xml over a 2 s test signal ($signal)"
echo "demo: wrote $out"
"$tool" info "$out"
