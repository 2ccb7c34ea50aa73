#!/usr/bin/env bash
# The test command: installs missing packages, configures, builds and runs every test.
# Usage: scripts/test.sh [PRESET...]   (presets: default, asan, tsan; default: default)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

presets=("$@")
[ ${#presets[@]} -eq 0 ] && presets=(default)

for preset in "${presets[@]}"; do
    echo "=== ${preset}: configure, build, test"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$(nproc)"
    ctest --preset "$preset" -j "$(nproc)"
done
