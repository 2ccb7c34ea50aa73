#!/usr/bin/env bash
# File-to-file speed of 1080p frame-rate conversion by two: made frames per second of our blend
# and motion modes, pinned to one core and on all cores, beside ffmpeg's framerate filter
# (one thread, pinned to one core) in the same run. Wall and CPU time of each whole process.
#
# Usage: bench/frc/file_to_file.sh [FRC_QUALITY_HELPER]
#   The helper defaults to build/default/bench/frc_quality/frc_quality (build it first:
#   cmake --build --preset default --target frc_quality). Environment: FRC_BENCH_DIR (work
#   folder, default build/frc_file_bench), FRC_BENCH_FRAMES (input frames, default 31),
#   FRC_BENCH_REPEAT (runs per case, the fastest counts; default 3).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
tool="${1:-$root/build/default/bench/frc_quality/frc_quality}"
work="${FRC_BENCH_DIR:-$root/build/frc_file_bench}"
frames="${FRC_BENCH_FRAMES:-31}"
repeat="${FRC_BENCH_REPEAT:-3}"
w=1920
h=1080
mkdir -p "$work"
command -v ffmpeg >/dev/null || { echo "ffmpeg is needed for the comparison" >&2; exit 1; }
[ -x "$tool" ] || { echo "no helper at $tool" >&2; exit 1; }

# Input: a hand-held pan over detailed content at the input rate.
src="$work/in.yuv"
if [ ! -f "$src" ] || [ "$(stat -c %s "$src")" -ne $((w * h * 3 / 2 * frames)) ]; then
    "$tool" gen shake "$w" "$h" "$frames" "$src"
fi
made=$((frames - 1))
out="$work/out.yuv"

# Runs a command `repeat` times and prints the fastest wall time and the CPU time (user +
# system) of that run, in seconds. On a busy machine the CPU time is the steadier figure.
fastest() {
    local best="" cpu=""
    for _ in $(seq "$repeat"); do
        local t
        t=$(/usr/bin/time -f "%e %U %S" "$@" 2>&1 >/dev/null | tail -1)
        read -r wall user sys <<<"$t"
        if [ -z "$best" ] || awk -v a="$wall" -v b="$best" 'BEGIN { exit !(a < b) }'; then
            best=$wall
            cpu=$(awk -v u="$user" -v s="$sys" 'BEGIN { print u + s }')
        fi
    done
    rm -f "$out"
    echo "$best $cpu"
}
row() {
    local name=$1
    shift
    local wall cpu
    read -r wall cpu <<<"$(fastest "$@")"
    printf '%-28s %7.2f s wall %7.1f made/s | %7.2f s cpu %7.1f made/cpu-s\n' "$name" "$wall" \
        "$(awk -v m="$made" -v s="$wall" 'BEGIN { print m / s }')" "$cpu" \
        "$(awk -v m="$made" -v s="$cpu" 'BEGIN { print (s > 0) ? m / s : 0 }')"
}

echo "1920x1080, $frames input frames, factor 2 ($made made frames), fastest of $repeat, $(nproc) cores"
ff=(ffmpeg -v error -y -threads 1 -filter_threads 1 -f rawvideo -pix_fmt yuv420p -s "${w}x$h" -r 30
    -i "$src" -vf framerate=fps=60 -f rawvideo -pix_fmt yuv420p "$out")
row "ffmpeg framerate, 1 core" taskset -c 0 "${ff[@]}"
row "ours blend, 1 core" taskset -c 0 "$tool" convert "$src" "$w" "$h" blend 2 "$out"
row "ours motion, 1 core" taskset -c 0 "$tool" convert "$src" "$w" "$h" motion 2 "$out"
row "ours blend, all cores" "$tool" convert "$src" "$w" "$h" blend 2 "$out"
row "ours motion, all cores" "$tool" convert "$src" "$w" "$h" motion 2 "$out"
