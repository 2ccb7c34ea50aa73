#!/usr/bin/env bash
# Kills vppd 100 times in mid-stream under a streaming node and reports the longest time from the
# death to the node's notice and the descriptors left open (targets: < 1 s, 0).
# Usage: scripts/vppd_kill_test.sh [ROUNDS] [--verbose]   (default build, default 100 rounds)
set -euo pipefail
cd "$(dirname "$0")/.."
rounds="${1:-100}"
shift || true
cmake --preset default >/dev/null
cmake --build --preset default -j "$(nproc)" --target vppd_kill_probe vppd >/dev/null
exec build/default/bench/e2e/vppd_kill_probe --rounds "$rounds" "$@"
