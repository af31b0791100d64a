#!/usr/bin/env bash
# Runs a Windows program of the build under Wine with the settings our tests need:
# a private prefix in the build folder, no Mono/Gecko installers, crashes that exit
# instead of starting the debugger, a virtual X display with GLX for wined3d, a
# warm wineserver, and ALSA sent to a null device so sound opens and plays silently.
set -u
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
dir=${TS_WINE_DIR:-$root/build/windows/wine}
mkdir -p "$dir/home"

export WINEPREFIX=$dir/prefix
export WINEDEBUG=${WINEDEBUG:--all}
# wined3d's command-stream thread waits for work, and the program for it, by spinning: with
# Mesa's software rasterizer sharing two cores, the spinning took half the processor time and
# drawing ran two to three times slower. Without it the same calls run on the program's thread.
export WINE_D3D_CONFIG=${WINE_D3D_CONFIG:-csmt=0}
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"
export HOME=$dir/home
[ -f "$HOME/.asoundrc" ] || printf 'pcm.!default { type null }\nctl.!default { type hw card 0 }\n' > "$HOME/.asoundrc"

# The caller's hold on the shared server (ts_use_wine) stays with the caller: a
# server or display started below outlives us and must not keep it.
if [ -n "${TS_WINE_USER_FD:-}" ]; then
  eval "exec ${TS_WINE_USER_FD}>&-"
  unset TS_WINE_USER_FD
fi
exec 9>"$dir/lock"
flock 9
if [ -z "${DISPLAY:-}" ]; then
  if [ -f "$dir/display" ] && kill -0 "$(cut -d' ' -f2 "$dir/display")" 2>/dev/null; then
    DISPLAY=$(cut -d' ' -f1 "$dir/display")
  else
    n=90
    while [ -e "/tmp/.X$n-lock" ] || [ -e "/tmp/.X11-unix/X$n" ]; do n=$((n + 1)); done
    setsid Xvfb ":$n" -screen 0 1280x1024x24 +extension GLX -nolisten tcp </dev/null >/dev/null 2>&1 &
    pid=$!
    for _ in $(seq 50); do [ -e "/tmp/.X11-unix/X$n" ] && break; sleep 0.1; done
    echo ":$n $pid" > "$dir/display"
    DISPLAY=:$n
  fi
  export DISPLAY
fi
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  wine wineboot -i </dev/null >/dev/null 2>&1
fi
# Keep the server warm between test processes; it leaves by itself when idle.
setsid wineserver -p 30 </dev/null >/dev/null 2>&1 || true
flock -u 9
exec 9>&-

# Wine's own services outlive the program and would hold an output pipe open, so
# that a caller waiting for the end of output (CTest) hangs: give them files
# instead, and pass the output on once the program has ended. TS_WINE_LIVE=1
# streams directly, for interactive use.
if [ "${TS_WINE_LIVE:-0}" = 1 ]; then
  exec wine "$@"
fi
out=$(mktemp "$dir/out.XXXXXX")
wine "$@" >"$out.stdout" 2>"$out.stderr"
status=$?
cat "$out.stdout"
cat "$out.stderr" >&2
rm -f "$out" "$out.stdout" "$out.stderr"
exit $status
