#!/usr/bin/env bash
# Speed of tessen against FFmpeg's own deinterlacers on the same clip, in one
# run: frames per second of each and their ratio to tessen.
#
#   bench/compare_deinterlacers.sh [CLIP] [--tessen PATH] [--threads N]
#                                  [--size WxH] [--frames N] [--output mkv|mov]
#
# Without CLIP an interlaced NTSC clip (FFV1, 4:2:2, --size, default 720x480;
# --frames, default 300, i.e. 10 s) is made with FFmpeg's test source,
# panning. Every tool makes one progressive frame per
# interlaced frame (tessen at 29.97, the filters with mode=send_frame), so the
# frame counts match. FFmpeg runs with one thread by default, as the effect
# does; --threads 0 lets it use all cores. FFmpeg discards its frames
# (-f null); tessen writes FFV1, and the "ffmpeg ffv1 encode" line shows what
# writing alone costs (--output mov has tessen write ProRes 422 HQ instead).
# When tessen knows --threads, a tessen line shows it on one thread (no
# pipeline); when it knows --jobs, lines with 1 and 2 effect processes follow,
# each with tessen's own processor time split from its effect processes'.
# Rates are given per second of wall-clock time and per second of processor
# time, with the machine's load before the run.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/.." && pwd)
tessen="${TESSEN:-$root/build/cli/tessen}"
threads=1
clip=""
size=720x480
count=300
ext=mkv
while [[ $# -gt 0 ]]; do
    case "$1" in
        --tessen) tessen="$2"; shift 2 ;;
        --threads) threads="$2"; shift 2 ;;
        --size) size="$2"; shift 2 ;;
        --frames) count="$2"; shift 2 ;;
        --output) ext="$2"; shift 2 ;;
        -h|--help) sed -n '2,21p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
        *) clip="$1"; shift ;;
    esac
done

command -v ffmpeg >/dev/null || { echo "compare_deinterlacers: ffmpeg not found" >&2; exit 1; }
[[ -x "$tessen" ]] || { echo "compare_deinterlacers: $tessen not found (build first, or pass --tessen)" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

[[ "$size" =~ ^([0-9]+)x([0-9]+)$ ]] || { echo "compare_deinterlacers: --size must be WxH, e.g. 1920x1080" >&2; exit 1; }
w=${BASH_REMATCH[1]} h=${BASH_REMATCH[2]}
[[ "$count" =~ ^[1-9][0-9]*$ ]] || { echo "compare_deinterlacers: --frames must be a whole number" >&2; exit 1; }
if [[ -z "$clip" ]]; then
    clip="$work/clip.mkv"
    # 59.94p test pattern panning left at a quarter of its width a second,
    # woven into 29.97i, upper field first.
    ffmpeg -v error -f lavfi -i "testsrc2=size=$((w * 5 / 4))x$h:rate=60000/1001" \
        -vf "crop=$w:$h:t*$((w / 4)):0,tinterlace=mode=interleave_top,setfield=tff" \
        -frames:v "$count" -c:v ffv1 -pix_fmt yuv422p "$clip"
fi
frames=$(ffprobe -v error -select_streams v:0 -count_frames -show_entries stream=nb_read_frames -of csv=p=0 "$clip")
size=$(ffprobe -v error -select_streams v:0 -show_entries stream=width,height -of csv=s=x:p=0 "$clip")

declare -a names fps cpu_fps
run() {  # name, command...
    local name="$1"; shift
    local t
    t=$( { TIMEFORMAT='%R %U %S'; time "$@" >/dev/null 2>"$work/err"; } 2>&1 ) ||
        { echo "compare_deinterlacers: $name failed:" >&2; cat "$work/err" >&2; exit 1; }
    names+=("$name")
    fps+=("$(echo "$t" | awk -v f="$frames" '{ printf "%.3f", f / $1 }')")
    cpu_fps+=("$(echo "$t" | awk -v f="$frames" '{ printf "%.3f", f / ($2 + $3) }')")
}

load=$(cut -d' ' -f1-3 /proc/loadavg 2>/dev/null || echo "?")
ff=(ffmpeg -v error -threads "$threads" -filter_threads "$threads" -i "$clip")
[[ "$ext" == mkv || "$ext" == mov ]] || { echo "compare_deinterlacers: --output must be mkv or mov" >&2; exit 1; }
run "tessen (Tessen Plus)" "$tessen" render "$clip" "$work/tessen.$ext" --rate 29.97 --quiet -y
if "$tessen" --help 2>/dev/null | grep -q -- '--threads'; then
    run "tessen --threads 1" "$tessen" render "$clip" "$work/tessen1.$ext" --rate 29.97 --quiet -y --threads 1
fi
declare -a splits
if "$tessen" --help 2>/dev/null | grep -q -- '--jobs'; then
    for j in 1 2; do
        run "tessen --jobs $j" "$tessen" render "$clip" "$work/tessen-j$j.$ext" --rate 29.97 -y --jobs "$j"
        splits+=("--jobs $j: $(grep -o 'processor time.*' "$work/err" || echo 'processor time all in tessen itself')")
    done
fi
run "ffmpeg bwdif" "${ff[@]}" -vf bwdif=mode=send_frame -f null -
# The same job as tessen's: the interlaced FFV1 file in, a progressive FFV1
# file out.
run "ffmpeg bwdif, ffv1 out" "${ff[@]}" -vf bwdif=mode=send_frame -c:v ffv1 -y "$work/bwdif.mkv"
run "ffmpeg yadif" "${ff[@]}" -vf yadif=mode=send_frame -f null -
run "ffmpeg w3fdif" "${ff[@]}" -vf w3fdif=mode=frame -f null -
run "ffmpeg ffv1 encode" "${ff[@]}" -c:v ffv1 -y "$work/copy.mkv"

echo "clip: $clip ($size, $frames frames); ffmpeg threads: $threads"
echo "machine: $(uname -m), $(grep -m1 'model name' /proc/cpuinfo 2>/dev/null | cut -d: -f2 | sed 's/^ //'), $(nproc) cores; load average before: $load"
# Wall-clock rate, and the rate per second of processor time (user + system),
# which stays meaningful on a machine busy with other work.
printf '%-22s %9s %9s %14s\n' "tool" "fps" "fps (cpu)" "x tessen (cpu)"
for i in "${!names[@]}"; do
    printf '%-22s %9.1f %9.1f %14.2f\n' "${names[$i]}" "${fps[$i]}" "${cpu_fps[$i]}" \
        "$(awk -v a="${cpu_fps[$i]}" -v b="${cpu_fps[0]}" 'BEGIN { printf "%.3f", a / b }')"
done
for line in "${splits[@]}"; do echo "$line"; done
