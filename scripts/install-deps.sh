#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests, the benchmarks and the tools need:
# Xvfb gives the panel's tests a display where there is none.
# Does nothing when they are all present, so `make` targets can call it every time.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  libpugixml-dev
  libboost-dev libboost-iostreams-dev
  libeigen3-dev
  libfftw3-dev
  libsoxr-dev
  libsndfile1-dev
  libcairo2-dev libx11-dev
  xvfb
  # make fuzz: clang and its libFuzzer and sanitizer runtimes
  clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
