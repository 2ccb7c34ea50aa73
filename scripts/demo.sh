#!/usr/bin/env bash
# The demo command: installs missing packages, builds the vppfrc tool (default preset) and runs its
# demo with the VPP service embedded: a clip with moving content is made, converted to a higher
# frame rate, and written with a preview picture to build/demo/ (or to the folder given with
# --out-dir, relative to the caller's folder).
# Usage: scripts/demo.sh [--out-dir DIR] [--factor N] [--mode MODE] [--quiet]
set -euo pipefail
caller_dir="$PWD"
cd "$(dirname "$0")/.."
root="$PWD"

scripts/install-deps.sh

echo "=== Building the vppfrc tool (preset default)"
cmake --preset default >/dev/null
cmake --build --preset default --target vppfrc -j "$(nproc)"

args=("$@")
out_dir_given=0
for arg in "${args[@]}"; do
    case "$arg" in
        --out-dir | --out-dir=*) out_dir_given=1 ;;
    esac
done
if [ "$out_dir_given" -eq 0 ]; then
    mkdir -p build
    args+=(--out-dir "$root/build/demo")
fi

echo "=== Running the demo"
# From the caller's folder, so that a relative --out-dir means what the caller expects.
cd "$caller_dir"
exec "$root/build/default/tools/vppfrc/vppfrc" --demo "${args[@]}"
