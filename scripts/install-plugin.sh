#!/usr/bin/env bash
# Copies the plug-in into the first folder of $VST_PATH, or ~/.vst, where Linux hosts look.
set -euo pipefail
build=${1:-build}
folder=${VST_PATH:-$HOME/.vst}
folder=${folder%%:*}
mkdir -p "$folder"
cp "$build/Torvane.so" "$folder/Torvane.so"
echo "installed $folder/Torvane.so"
