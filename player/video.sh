#!/usr/bin/env bash
# A project as a video: tsplay renders it offline under Wine and hands every frame raw, through
# a named pipe, to Debian's ffmpeg running natively, which encodes H.264; then the soundtrack
# of the same frames, written by tsplay to the sample, joins it as AAC. The MP4 is made under
# a temporary name beside its final one and renamed when whole: a failed or interrupted run
# leaves neither. ./run calls this with a built tsplay; TS_BIN names tsplay's folder. Wine's
# server and display are the caller's to end (ts_use_wine), as tests share them.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=cmake/setup.sh
source "$root/cmake/setup.sh"
bin=${TS_BIN:-$root/build/windows/bin}

usage() {
  cat <<'USAGE'
usage: ./run [PROJECT] --video FILE.mp4 [--size WxH] [--fps N] [--from SECONDS] [--to SECONDS]

Renders PROJECT (default: the default project, made anew in out/default/) offline from --from
(default 0) to --to (default: its last frame) at --fps frames a second (default 25) and
--size (default 640x480, even numbers) into FILE.mp4: H.264 video in 4:2:0, the soundtrack as
AAC audio (silence without one), in step to the sample.
USAGE
}

fail() {
  echo "video: $*" >&2
  exit 1
}

project="" video="" size=640x480 fps=25 from=0 to=end
while [ $# -gt 0 ]; do
  case $1 in
    --help|-h) usage; exit 0 ;;
    --video|--size|--fps|--from|--to)
      [ $# -ge 2 ] || fail "$1 needs a value"
      declare "${1#--}=$2"
      shift 2 ;;
    --*) fail "unknown argument $1 (a video takes --video, --size, --fps, --from and --to)" ;;
    *) [ -z "$project" ] || fail "one project only, not also $1"; project=$(realpath -m "$1"); shift ;;
  esac
done
[ -n "$video" ] || fail "--video needs a file name"
# 4:2:0 keeps one colour sample per two by two pixels: both sides must be even.
[[ $size =~ ^([0-9]+)x([0-9]+)$ ]] && w=$((10#${BASH_REMATCH[1]})) && h=$((10#${BASH_REMATCH[2]})) &&
  [ $((w % 2)) -eq 0 ] && [ $((h % 2)) -eq 0 ] && [ "$w" -ge 16 ] && [ "$h" -ge 16 ] &&
  [ "$w" -le 8192 ] && [ "$h" -le 8192 ] ||
  fail "--size needs WxH, even numbers from 16 to 8192, not '$size'"
[[ $fps =~ ^[0-9]*\.?[0-9]+$ ]] && awk -v f="$fps" 'BEGIN { exit !(f > 0 && f <= 240) }' ||
  fail "--fps needs a number of frames a second above 0 and up to 240, not '$fps'"
command -v ffmpeg >/dev/null && command -v ffprobe >/dev/null ||
  fail "--video needs ffmpeg and ffprobe: install Debian's ffmpeg package (./run's setup does)"
video=$(realpath -m "$video")
folder=$(dirname "$video")
[ -d "$folder" ] && [ -w "$folder" ] || fail "cannot write into the folder $folder"

# Everything that may be left half made or still running, undone on any way out.
work="" partial="" children=()
cleanup() {
  local pid pipe
  for pid in "${children[@]}"; do kill "$pid" 2>/dev/null || true; done
  # ffmpeg takes SIGTERM as a request and goes on waiting to open the pipe: opening it here
  # ends that wait, and ffmpeg then reads the end of the stream and leaves.
  if [ -n "$work" ] && [ -p "$work/frames" ]; then exec {pipe}<>"$work/frames" {pipe}>&-; fi
  for pid in "${children[@]}"; do wait "$pid" 2>/dev/null || true; done
  [ -z "$work" ] || rm -rf "$work"
  [ -z "$partial" ] || rm -f "$partial"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
work=$(mktemp -d)
partial=$(mktemp --suffix=.mp4 "$folder/.$(basename "$video" .mp4).XXXXXX")

cd "$bin"
if [ -z "$project" ]; then
  project=$root/out/default/default.xml
  mkdir -p "$(dirname "$project")"
  "$root/cmake/wine-run.sh" make_default_project.exe "$(ts_windows_path "$(dirname "$project")")" >/dev/null
fi

# Children run in the background so that a signal reaches the traps at once.
mkfifo "$work/frames"
ffmpeg -nostdin -loglevel error -f rawvideo -pix_fmt bgr0 -video_size "$size" -framerate "$fps" -i "$work/frames" \
  -c:v libx264 -preset medium -crf 20 -pix_fmt yuv420p -f mp4 "$work/pictures.mp4" &
encoder=$!
children+=("$encoder")
TS_WINE_LIVE=1 "$root/cmake/wine-run.sh" tsplay.exe "$(ts_windows_path "$project")" --size "$size" --fps "$fps" \
  --from "$from" --to "$to" --raw-video "$(ts_windows_path "$work/frames")" --audio "$(ts_windows_path "$work/sound.wav")" &
player=$!
children+=("$player")
# Whichever ends first with a failure ends the other: a reader that has gone would leave
# tsplay waiting to write, and a tsplay that never opens the pipe would leave ffmpeg waiting.
name() { [ "$1" = "$player" ] && echo tsplay || echo ffmpeg; }
status=0
wait -n -p ended "$encoder" "$player" || status=$?
[ "$status" -eq 0 ] || fail "$(name "$ended") failed; no video written"
other=$([ "$ended" = "$player" ] && echo "$encoder" || echo "$player")
wait "$other" || fail "$(name "$other") failed; no video written"

ffmpeg -nostdin -loglevel error -i "$work/pictures.mp4" -i "$work/sound.wav" -map 0:v -map 1:a -c:v copy \
  -c:a aac -b:a 192k -movflags +faststart -f mp4 -y "$partial" &
children=($!)
wait "$!" || fail "the soundtrack could not be joined to the pictures; no video written"
# mktemp made it private; a video gets the modes of any new file.
chmod "$(printf %o $((8#666 & ~8#$(umask))))" "$partial"
mv -f "$partial" "$video"
partial=""
duration=$(ffprobe -v error -show_entries format=duration -of default=noprint_wrappers=1:nokey=1 "$video")
awk -v f="$video" -v d="$duration" -v b="$(stat -c %s "$video")" \
  'BEGIN { printf "video: %s, %.2f s, %.1f MB\n", f, d, b / 1048576 }'
