#!/usr/bin/env bash
# File-to-file speed of 1080p frame-rate conversion by two: made frames per second of our blend
# and motion modes, pinned to one core and on all cores, beside ffmpeg's framerate filter
# (one thread, pinned to one core) in the same run. Wall and CPU time of each whole process.
# Two paths are timed: the engine alone on raw frames (the frc_quality helper), and the vppfrc
# tool on YUV4MPEG2 files (node, library, binder and the embedded service included).
#
# Usage: bench/frc/file_to_file.sh [FRC_QUALITY_HELPER [VPPFRC]]
#   The programs default to build/default/bench/frc_quality/frc_quality and
#   build/default/tools/vppfrc/vppfrc (build them first: cmake --build --preset default
#   --target frc_quality vppfrc). Environment: FRC_BENCH_DIR (work folder, default
#   build/frc_file_bench), FRC_BENCH_FRAMES (input frames, default 31), FRC_BENCH_REPEAT (runs
#   per case, the fastest counts; default 3), FRC_BENCH_BASELINE (a folder holding another
#   build's frc_quality and vppfrc, timed in the same run for a before/after comparison),
#   FRC_BENCH_ONLY (a regular expression: only the rows whose name matches).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
tool="${1:-$root/build/default/bench/frc_quality/frc_quality}"
vppfrc="${2:-$root/build/default/tools/vppfrc/vppfrc}"
base="${FRC_BENCH_BASELINE:-}"
only="${FRC_BENCH_ONLY:-.}"
work="${FRC_BENCH_DIR:-$root/build/frc_file_bench}"
frames="${FRC_BENCH_FRAMES:-31}"
repeat="${FRC_BENCH_REPEAT:-3}"
w=1920
h=1080
mkdir -p "$work"
command -v ffmpeg >/dev/null || { echo "ffmpeg is needed for the comparison" >&2; exit 1; }
[ -x "$tool" ] || { echo "no helper at $tool" >&2; exit 1; }
[ -x "$vppfrc" ] || { echo "no vppfrc at $vppfrc" >&2; exit 1; }

# Input: a hand-held pan over detailed content at the input rate.
src="$work/in.yuv"
if [ ! -f "$src" ] || [ "$(stat -c %s "$src")" -ne $((w * h * 3 / 2 * frames)) ]; then
    "$tool" gen shake "$w" "$h" "$frames" "$src"
fi
y4m="$work/in.y4m"
if [ ! -f "$y4m" ] || [ "$y4m" -ot "$src" ]; then
    ffmpeg -v error -y -f rawvideo -pix_fmt yuv420p -s "${w}x$h" -r 30 -i "$src" \
        -f yuv4mpegpipe -pix_fmt yuv420p "$y4m"
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
    rm -f "$out" "$out.y4m"
    echo "$best $cpu"
}
row() {
    local name=$1
    shift
    [[ "$name" =~ $only ]] || return 0
    local wall cpu
    read -r wall cpu <<<"$(fastest "$@")"
    printf '%-30s %7.2f s wall %7.1f made/s | %7.2f s cpu %7.1f made/cpu-s\n' "$name" "$wall" \
        "$(awk -v m="$made" -v s="$wall" 'BEGIN { print m / s }')" "$cpu" \
        "$(awk -v m="$made" -v s="$cpu" 'BEGIN { print (s > 0) ? m / s : 0 }')"
}

echo "1920x1080, $frames input frames, factor 2 ($made made frames), fastest of $repeat, $(nproc) cores"
ff=(ffmpeg -v error -y -threads 1 -filter_threads 1 -f rawvideo -pix_fmt yuv420p -s "${w}x$h" -r 30
    -i "$src" -vf framerate=fps=60 -f rawvideo -pix_fmt yuv420p "$out")
row "ffmpeg framerate, 1 core" taskset -c 0 "${ff[@]}"
row "ffmpeg y4m framerate, 1 core" taskset -c 0 ffmpeg -v error -y -threads 1 -filter_threads 1 \
    -i "$y4m" -vf framerate=fps=60 -f yuv4mpegpipe "$out.y4m"
# One build's rows: engine alone (raw) and vppfrc (y4m), each mode pinned and on all cores.
rows() {
    local tag=$1 helper=$2 tool=$3
    for mode in blend motion; do
        row "$tag raw $mode, 1 core" taskset -c 0 "$helper" convert "$src" "$w" "$h" $mode 2 "$out"
        row "$tag y4m $mode, 1 core" taskset -c 0 "$tool" "$y4m" -o "$out.y4m" -y -q --factor 2 \
            --mode $mode
        row "$tag raw $mode, all cores" "$helper" convert "$src" "$w" "$h" $mode 2 "$out"
        row "$tag y4m $mode, all cores" "$tool" "$y4m" -o "$out.y4m" -y -q --factor 2 --mode $mode
    done
}
[ -z "$base" ] || rows base "$base/frc_quality" "$base/vppfrc"
rows ours "$tool" "$vppfrc"
