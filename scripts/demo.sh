#!/usr/bin/env bash
# Renders the built-in guitar riff through the built plug-in and says what it made.
set -euo pipefail
build=${1:-build}
out="demo.wav"

"$build/torvane" render --out "$out" --plugin "$build/Torvane.so"
echo
"$build/torvane" info "$out"
echo
echo "demo.wav is at $(pwd)/$out: ten seconds of a clean guitar riff through the amplifier."
echo "Try other settings, for example more drive and the full-quality stages:"
echo "  $build/torvane render --out hot.wav --set Volume=0.8 --set CPU=1"
echo "To use the plug-in in a host: make install (copies $build/Torvane.so into"
echo "\${VST_PATH:-~/.vst}), then let the host rescan its VST folders."
