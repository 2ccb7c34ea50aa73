#!/usr/bin/env bash
# Builds the libFuzzer targets (preset fuzz, clang) and runs each for a short fixed time on a
# copy of its committed seed corpus; a crash, leak or sanitizer report fails the run.
# Usage: scripts/fuzz.sh [SECONDS_PER_TARGET]   (default 30)
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-30}"

scripts/install-deps.sh
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)"

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
status=0
for source_dir in fuzz/*/; do
    name="$(basename "$source_dir")"
    binary="build/fuzz/fuzz/${name}/${name}"
    [ -x "$binary" ] || continue
    corpus="$work/$name"
    mkdir -p "$corpus"
    [ -d "${source_dir}corpus" ] && cp -r "${source_dir}corpus/." "$corpus/"
    echo "=== fuzz: ${name} for ${seconds} s"
    if ! (cd "$work" && "$OLDPWD/$binary" -max_total_time="$seconds" -print_final_stats=1 \
            -artifact_prefix="$work/${name}-" "$corpus" 2>"$work/${name}.log"); then
        tail -60 "$work/${name}.log"
        echo "fuzz: ${name} failed; reproducer(s):"; ls "$work/${name}-"* 2>/dev/null || true
        status=1
    else
        grep -E "stat::number_of_executed_units|Done" "$work/${name}.log" | tail -2
    fi
done
exit $status
