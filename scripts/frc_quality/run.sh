#!/usr/bin/env bash
# Frame-rate conversion quality comparison: renders test clips of many kinds of content, keeps
# every factor-th frame, rebuilds the others with our blend and motion modes and with ffmpeg's
# framerate and minterpolate (mci) filters, and prints PSNR-Y / SSIM-Y of the rebuilt frames
# per clip, side by side. The worst rebuilt frame of each clip and method is saved as a PNG.
#
# Usage: scripts/frc_quality/run.sh [--quick] [clip ...]
#   --quick   4 frame pairs per clip instead of 12 (a smoke run of a minute or two)
#   clips     any of the names in the table below (default: all)
# Environment: FRC_QUALITY_DIR (work folder, default build/frc_quality_run under the
# repository), FRC_QUALITY_TOOL (a built frc_quality helper to use instead of building one).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
work="${FRC_QUALITY_DIR:-$root/build/frc_quality_run}"
pairs=12
clips=()
for arg in "$@"; do
    case "$arg" in
        --quick) pairs=4 ;;
        -h | --help) sed -n '2,12p' "$0"; exit 0 ;;
        *) clips+=("$arg") ;;
    esac
done

# name, width, height, factor, what it tests
table="
grain    640 360 2 diagonal pan under strong temporal grain
ticker   640 360 2 rolling text crossing the picture edges, caption through the top edge
lines    640 360 2 one-pixel lines moving over a smooth background
ball     640 360 2 small ball moving about 45 pixels per pair over still detail
fade     640 360 2 cross-fade of two differently moving pictures, then a cut
zoomin   640 360 2 zoom into fine detail
rotate   640 360 3 rotation about the centre
shake    640 360 4 hand-held shake with a little rotation
parallax 640 360 3 three layers at three depths hiding each other
objects  640 360 2 textured discs and boxes crossing a still background
texture  640 360 2 repetitive pattern panning diagonally
short    640 94  2 a short picture: pan with a box crossing it
"
[ ${#clips[@]} -gt 0 ] || mapfile -t clips < <(awk 'NF { print $1 }' <<<"$table")
mkdir -p "$work/worst"

# ffmpeg is used only here, for the reference filters and to write PNGs.
if ! command -v ffmpeg >/dev/null; then
    echo "installing ffmpeg" >&2
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    $sudo apt-get update -qq && DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq ffmpeg >/dev/null
fi

# The helper builds with the project when the whole tree configures, else on its own.
tool="${FRC_QUALITY_TOOL:-$work/frc_quality}"
if [ -z "${FRC_QUALITY_TOOL:-}" ]; then
    if cmake -S "$root" -B "$work/build" -DCMAKE_BUILD_TYPE=Release -DVPP_BUILD_TESTS=OFF >/dev/null 2>&1 &&
        cmake --build "$work/build" --target frc_quality -j2 >/dev/null 2>&1; then
        cp "$work/build/bench/frc_quality/frc_quality" "$tool"
    else
        echo "project build failed; compiling the helper directly" >&2
        c++ -O2 -std=c++17 -Wall -Wextra -Werror -pthread -DFRC_SIMD=1 -I "$root/service/frc/include" \
            -I "$root/service/frc/src" "$root/bench/frc_quality/frc_quality.cpp" \
            "$root"/service/frc/src/*.cpp -o "$tool"
    fi
fi

field() { tr " " "\n" | sed -n "/^$1$/{n;p;q}"; }
png() { ffmpeg -v error -y -f rawvideo -pix_fmt yuv420p -s "$2" -i "$1" -frames:v 1 "$3" && rm -f "$1"; }
both() { printf '%s/%s' "$(field psnr <<<"$1")" "$(field ssim <<<"$1")"; }

printf '%-8s %-7s %2s | %14s %14s | %14s %14s | %5s | %s\n' clip size x "blend" "ffm framerate" \
    "motion" "ffm mci" "fallb" "motion >= mci, >= blend-0.3"
fails=0
for clip in "${clips[@]}"; do
    row=$(awk -v c="$clip" '$1 == c' <<<"$table")
    [ -n "$row" ] || { echo "unknown clip $clip" >&2; exit 2; }
    read -r _ w h factor _ <<<"$row"
    frames=$((factor * pairs + 1))
    src="$work/$clip.yuv"
    "$tool" gen "$clip" "$w" "$h" "$frames" "$src"
    sum=$(md5sum "$src" | cut -c1-12)
    declare -A res=()
    for mode in blend motion; do
        res[$mode]=$("$tool" ours "$src" "$w" "$h" "$mode" "$factor" "$work/worst/$clip.$mode.yuv")
        png "$work/worst/$clip.$mode.yuv" "${w}x$h" "$work/worst/$clip.$mode.png"
    done
    # The reference filters' scores depend only on the clip: kept while its content is the same.
    "$tool" decimate "$src" "$w" "$h" "$factor" "$work/$clip.in.yuv"
    for filter in framerate minterpolate; do
        score="$work/$clip.$filter.$sum.score"
        if [ ! -s "$score" ]; then
            case "$filter" in
                framerate) vf=framerate=fps=$((30 * factor)) ;;
                *) vf=minterpolate=fps=$((30 * factor)):mi_mode=mci ;;
            esac
            ffmpeg -v error -y -f rawvideo -pix_fmt yuv420p -s "${w}x$h" -r 30 -i "$work/$clip.in.yuv" \
                -vf "$vf" -f rawvideo -pix_fmt yuv420p "$work/$clip.$filter.yuv"
            "$tool" score "$src" "$work/$clip.$filter.yuv" "$w" "$h" "$factor" \
                "$work/worst/$clip.$filter.yuv" >"$score"
            png "$work/worst/$clip.$filter.yuv" "${w}x$h" "$work/worst/$clip.$filter.png"
            rm -f "$work/$clip.$filter.yuv"
        fi
        res[$filter]=$(cat "$score")
    done
    rm -f "$work/$clip.in.yuv"
    verdict=$(awk -v m="$(field psnr <<<"${res[motion]}")" -v i="$(field psnr <<<"${res[minterpolate]}")" \
        -v b="$(field psnr <<<"${res[blend]}")" \
        'BEGIN { print (m >= i ? "ok" : "LOW") " " (m >= b - 0.3 ? "ok" : "LOW") }')
    [[ "$verdict" == "ok ok" ]] || fails=$((fails + 1))
    printf '%-8s %-7s %2s | %14s %14s | %14s %14s | %4s%% | %s\n' "$clip" "${w}x$h" "$factor" \
        "$(both "${res[blend]}")" "$(both "${res[framerate]}")" "$(both "${res[motion]}")" \
        "$(both "${res[minterpolate]}")" "$(field fallback <<<"${res[motion]}")" "$verdict"
    for m in blend motion framerate minterpolate; do echo "  $clip $m: ${res[$m]}" >&2; done
    unset res
done
echo "worst frames: $work/worst/CLIP.METHOD.png; clips below a target: $fails"
