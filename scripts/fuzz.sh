#!/usr/bin/env bash
# Runs the fuzz targets built in BUILD_DIR, each for SECONDS, from seed corpora made of the
# examples: the documents for the document fuzzer, the WAV files for the WAV fuzzer. Findings
# (a crash, a memory fault, undefined behaviour, a hang, an allocation beyond 2 GiB) stop the
# run with a non-zero exit and leave the input in BUILD_DIR/fuzz/findings/.
set -euo pipefail
build_dir=${1:?usage: fuzz.sh BUILD_DIR SECONDS}
seconds=${2:?usage: fuzz.sh BUILD_DIR SECONDS}
cd "$(dirname "$0")/.."

findings="$build_dir/fuzz/findings"
mkdir -p "$findings"
export ASAN_OPTIONS=allocator_may_return_null=0:detect_leaks=0
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1

# Each fuzzer keeps its corpus between runs; the seeds are added every time.
run() {
  local fuzzer=$1 pattern=$2 dictionary=$3 max_len=$4
  local corpus="$build_dir/fuzz/corpus/$fuzzer" seeds="$build_dir/fuzz/seeds/$fuzzer"
  mkdir -p "$corpus" "$seeds"
  cp examples/$pattern "$seeds/"
  local options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -malloc_limit_mb=2048
                 -max_len="$max_len" -artifact_prefix="$findings/$fuzzer-" -print_final_stats=1)
  [ -n "$dictionary" ] && options+=(-dict="$dictionary")
  echo "== $fuzzer for ${seconds} s"
  "$build_dir/fuzz/$fuzzer" "${options[@]}" "$corpus" "$seeds"
}

run DocumentFuzzer '*.xml' fuzz/document.dict 16384
run WavFuzzer '*.wav' fuzz/wav.dict 8192
