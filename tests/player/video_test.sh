#!/usr/bin/env bash
# A short project through player/video.sh, from 0.4 s: the MP4 holds every frame at its time
# and the soundtrack of the same span, in step; a decoded frame is tsplay's PNG of that frame;
# a run that fails leaves nothing in the folder. Argument: tsplay's folder.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=cmake/setup.sh
source "$root/cmake/setup.sh"
export TS_BIN=$1
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
check() {  # NAME GOT WANT TOLERANCE
  awk -v g="$2" -v w="$3" -v t="$4" 'BEGIN { exit !(g != "" && g - w <= t && w - g <= t) }' ||
    { echo "FAIL $1: $2, expected $3 within $4" >&2; exit 1; }
}
mpeg() { ffmpeg -nostdin -loglevel error "$@"; }
probe() { ffprobe -v error -of default=noprint_wrappers=1:nokey=1 "$@" "$dir/fade.mp4"; }

# Silence, then from 1 s a tone; colours fade over 2 s beside bars drawn as a bitmap.
mpeg -f lavfi -i "aevalsrc=if(gte(t\,1)\,0.5*sin(2*PI*440*t)\,0):s=44100:d=3" -ac 2 "$dir/tone.wav"
mpeg -f lavfi -i smptebars=size=256x192 -frames:v 1 "$dir/bars.png"
cat >"$dir/fade.xml" <<'XML'
<project><soundtrack path="tone.wav"/><data name="bars" path="bars.png"/>
  <layer><effect type="fx_simple_color" start="0" length="2">
    <param name="red"><key t="0" value="0"/><key t="1" value="1"/></param>
    <param name="green"><key t="0" value="1"/><key t="1" value="0"/></param>
    <param name="blue"><key t="0" value="0"/><key t="1" value="1"/></param></effect></layer>
  <layer><effect type="fx_simple_bmp" start="0" length="2"><param name="data" value="bars"/>
    <param name="bottom" value="0.24"/><param name="right" value="0.32"/></effect></layer>
</project>
XML
"$root/player/video.sh" "$dir/fade.xml" --video "$dir/fade.mp4" --from 0.4 >"$dir/log" 2>&1 || { cat "$dir/log"; exit 1; }

# Frames 0.4 s to 1.96 s at 25 a second: 40 frames, 1.6 s. Both tracks are exact in the MP4's
# clock (an edit list trims the AAC packets' priming and padding): 1 ms is rounding only.
check "frames" "$(probe -count_frames -select_streams v -show_entries stream=nb_read_frames)" 40 0
check "video length" "$(probe -select_streams v -show_entries stream=duration)" 1.6 0.001
check "audio length" "$(probe -select_streams a -show_entries stream=duration)" 1.6 0.001
# The tone starts 0.6 s into the video; AAC blurs an onset by a few milliseconds, a frame is 40.
onset=$(ffmpeg -nostdin -i "$dir/fade.mp4" -af silencedetect=noise=-20dB:d=0.1 -f null - 2>&1 |
  sed -n 's/.*silence_end: \([0-9.]*\).*/\1/p')
check "tone onset" "$onset" 0.6 0.005

# Frame 1.2 s of the project, 0.8 s into the video, against tsplay's own PNG of it, by the mean
# difference of a byte. The frame before or after moves the fade, on three quarters of the
# picture, by 5 levels in each channel: 4.0 and 4.5 measured; the right one measured 0.7
# (H.264 at this quality, 4:2:0 blurring the bars' edges).
(cd "$TS_BIN" && "$root/cmake/wine-run.sh" tsplay.exe "$(ts_windows_path "$dir/fade.xml")" --offline \
  "$(ts_windows_path "$dir/png")" --from 1.2 --to 1.2 >/dev/null)
mpeg -i "$dir/png/frame_00000.png" -f rawvideo -pix_fmt rgb24 "$dir/want.rgb"
mpeg -ss 0.8 -i "$dir/fade.mp4" -frames:v 1 -f rawvideo -pix_fmt rgb24 "$dir/got.rgb"
check "decoded bytes" "$(stat -c %s "$dir/got.rgb")" "$(stat -c %s "$dir/want.rgb")" 0
# cmp lists the bytes that differ, in octal.
mean=$(cmp -l "$dir/want.rgb" "$dir/got.rgb" | awk -v n="$(stat -c %s "$dir/want.rgb")" '
  function value(s,  v, i) { for (i = 1; i <= length(s); i++) v = v * 8 + substr(s, i, 1); return v }
  { d = value($2) - value($3); sum += d < 0 ? -d : d } END { printf "%.3f", sum / n }' || true)
check "mean difference of frame 1.2 s" "$mean" 0 1.5

# A project that can't be played: no video, no temporary file.
echo "<project><layer>" >"$dir/broken.xml"
mkdir "$dir/out"
if "$root/player/video.sh" "$dir/broken.xml" --video "$dir/out/broken.mp4" >"$dir/log" 2>&1; then
  echo "FAIL: a broken project made a video" >&2
  exit 1
fi
[ -z "$(ls -A "$dir/out")" ] || { echo "FAIL: a failed run left $(ls -A "$dir/out")" >&2; exit 1; }
echo "video: all checks passed"
