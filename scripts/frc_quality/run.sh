#!/usr/bin/env bash
# Frame-rate conversion quality comparison: renders 60 fps test clips, drops their odd frames,
# rebuilds them (factor 2) with our blend and motion modes and with ffmpeg's framerate and
# minterpolate (mci) filters, and prints the mean PSNR-Y of the rebuilt frames per clip.
#
# Usage: scripts/frc_quality/run.sh [clip ...]     clips: pan zoom texture objects (default all)
# Environment: FRC_QUALITY_DIR (work folder, default build/frc_quality_run under the
# repository), FRC_QUALITY_FRAMES (60 fps frames per clip, default 120).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
work="${FRC_QUALITY_DIR:-$root/build/frc_quality_run}"
frames="${FRC_QUALITY_FRAMES:-120}"
photos=/usr/share/backgrounds/mate/nature
clips=("$@")
[ ${#clips[@]} -gt 0 ] || clips=(pan zoom texture objects)
mkdir -p "$work"

# ffmpeg is used only here, for the reference filters and to decode the photographs (which
# come from a Debian desktop-background package).
missing=()
command -v ffmpeg >/dev/null || missing+=(ffmpeg)
[ -f "$photos/Garden.jpg" ] || missing+=(mate-backgrounds)
if [ ${#missing[@]} -gt 0 ]; then
    echo "installing ${missing[*]}" >&2
    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
fi

# The helper builds with the project when the whole tree configures, else on its own.
tool="$work/frc_quality"
if cmake -S "$root" -B "$work/build" -DCMAKE_BUILD_TYPE=Release -DVPP_BUILD_TESTS=OFF >/dev/null 2>&1 &&
    cmake --build "$work/build" --target frc_quality -j2 >/dev/null 2>&1; then
    cp "$work/build/bench/frc_quality/frc_quality" "$tool"
else
    echo "project build failed; compiling the helper directly" >&2
    c++ -O2 -std=c++17 -Wall -Wextra -Werror -I "$root/service/frc/include" -I "$root/service/frc/src" \
        "$root/bench/frc_quality/frc_quality.cpp" "$root"/service/frc/src/*.cpp -o "$tool"
fi

raw() { ffmpeg -v error -y -f rawvideo -pix_fmt yuv420p -s "$1" -r 30 -i "$2" -vf "$3" \
    -f rawvideo -pix_fmt yuv420p "$4"; }
field() { tr " " "\n" | sed -n "/^$1$/{n;p;q}"; }

printf '%-8s %-9s | %10s %16s | %11s %17s | %8s\n' clip size "blend ours" "ffmpeg framerate" \
    "motion ours" "minterpolate mci" "fallback"
for clip in "${clips[@]}"; do
    case "$clip" in
        pan | zoom) w=1920 h=1080 ;;
        *) w=1280 h=720 ;;
    esac
    src="$work/$clip.yuv"
    if [ ! -f "$src" ] || [ "$(stat -c %s "$src")" -ne $((w * h * 3 / 2 * frames)) ]; then
        case "$clip" in
            pan | zoom)
                photo=$([ "$clip" = pan ] && echo Garden || echo YellowFlower)
                ffmpeg -v error -y -i "$photos/$photo.jpg" -pix_fmt yuv444p -f rawvideo "$work/$photo.yuv"
                dims=$(ffprobe -v error -select_streams v:0 -show_entries stream=width,height \
                    -of csv=p=0 "$photos/$photo.jpg" | tr , ' ')
                # shellcheck disable=SC2086
                "$tool" gen "$clip" "$work/$photo.yuv" $dims "$w" "$h" "$frames" "$src"
                ;;
            *) "$tool" gen "$clip" "$w" "$h" "$frames" "$src" ;;
        esac
    fi
    "$tool" decimate "$src" "$w" "$h" "$work/$clip.30.yuv"
    blend=$("$tool" ours "$src" "$w" "$h" blend)
    motion=$("$tool" ours "$src" "$w" "$h" motion)
    # The reference filters' scores depend only on the clip: kept until the clip changes.
    for filter in framerate minterpolate; do
        score="$work/$clip.$filter.score"
        if [ ! -s "$score" ] || [ "$score" -ot "$src" ]; then
            case "$filter" in
                framerate) vf=framerate=fps=60 ;;
                *) vf=minterpolate=fps=60:mi_mode=mci ;;
            esac
            raw "${w}x$h" "$work/$clip.30.yuv" "$vf" "$work/$clip.$filter.yuv"
            "$tool" score "$src" "$work/$clip.$filter.yuv" "$w" "$h" >"$score"
            rm -f "$work/$clip.$filter.yuv"
        fi
    done
    framerate=$(cat "$work/$clip.framerate.score")
    mci=$(cat "$work/$clip.minterpolate.score")
    printf '%-8s %-9s | %10s %16s | %11s %17s | %7s%%\n' "$clip" "${w}x$h" \
        "$(field psnr <<<"$blend")" "$(field psnr <<<"$framerate")" "$(field psnr <<<"$motion")" \
        "$(field psnr <<<"$mci")" "$(field fallback <<<"$motion")"
    echo "  ours blend: $blend" >&2
    echo "  ours motion: $motion" >&2
    echo "  framerate: $framerate" >&2
    echo "  mci: $mci" >&2
    rm -f "$work/$clip.30.yuv"
done
