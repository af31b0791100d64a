#!/usr/bin/env bash
# Installs what the two builds need on a fresh Debian 12 machine, once.
# Sourced by ./test, ./run, ./fuzz and ./bench; idempotent and quiet when all is there.
# Sourced: leaves the shell options of the caller alone.

TS_ROOT=${TS_ROOT:-$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)}
TS_DEPS=$TS_ROOT/build/deps

ts_need_packages() {
  local missing=() p
  for p in cmake g++ clang libclang-rt-14-dev googletest libbz2-dev libstb-dev librapidxml-dev \
           libtinygltf-dev libtinyobjloader-dev nlohmann-json3-dev \
           libjpeg62-turbo-dev libpng-dev zlib1g-dev libz-mingw-w64-dev nasm \
           libogg-dev libvorbis-dev libmpg123-dev libmp3lame-dev \
           g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 \
           wine wine64 xvfb xauth libgl1-mesa-dri dpkg-dev ffmpeg; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
  done
  if [ ${#missing[@]} -gt 0 ]; then
    echo "setup: installing ${missing[*]}"
    local sudo=""; [ "$(id -u)" -eq 0 ] || sudo=sudo
    $sudo apt-get update -q >/dev/null
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q "${missing[@]}" >/dev/null
  fi
}

# A deb-src entry that mirrors the machine's own deb sources, so the mirror is
# whatever this machine already uses.
ts_enable_deb_src() {
  local sudo=""; [ "$(id -u)" -eq 0 ] || sudo=sudo
  if apt-get source --print-uris -qq bzip2 >/dev/null 2>&1; then return; fi
  local out=/etc/apt/sources.list.d/tsdriver-src
  if [ -f /etc/apt/sources.list.d/debian.sources ]; then
    sed 's/^Types: deb$/Types: deb-src/' /etc/apt/sources.list.d/debian.sources | $sudo tee $out.sources >/dev/null
  elif [ -f /etc/apt/sources.list ]; then
    grep -E '^deb ' /etc/apt/sources.list | sed 's/^deb /deb-src /' | $sudo tee $out.list >/dev/null
  fi
  $sudo apt-get update -q >/dev/null
}

# A mirror may hold a source package but not the upstream signature beside its tarball; then
# apt-get source stops after fetching the rest (each file checked against the index). Unpack
# that as dpkg-source would: the upstream tarball, Debian's folder, its patches in order.
ts_unpack_fetched() {
  local upstream debian
  upstream=$(find . -maxdepth 1 -name '*.orig.tar.*' ! -name '*.asc' | head -1)
  debian=$(find . -maxdepth 1 -name '*.debian.tar.*' | head -1)
  [ -n "$upstream" ] && [ -n "$debian" ] || return 1
  mkdir source && tar -xf "$upstream" -C source --strip-components=1 && tar -xf "$debian" -C source || return 1
  [ -f source/debian/patches/series ] || return 0
  local patch
  for patch in $(grep -v '^#' source/debian/patches/series); do
    (cd source && patch -p1 -s <"debian/patches/$patch") || return 1
  done
}

# Debian's source package PACKAGE unpacked into build/deps/DIR, once; FILE shows it is there.
ts_fetch_source() {
  local package=$1 dir=$2 file=$3
  if [ -f "$TS_DEPS/$dir/$file" ]; then return; fi
  ts_enable_deb_src
  local tmp; tmp=$(mktemp -d)
  # Newest first; a mirror may list a version whose files it does not hold yet.
  local version
  for version in $(apt-cache showsrc "$package" | sed -n 's/^Version: //p' | sort -rV); do
    (cd "$tmp" && { apt-get source -qq "$package=$version" >/dev/null 2>&1 || ts_unpack_fetched; }) && break
    rm -rf "${tmp:?}"/*
  done
  mkdir -p "$TS_DEPS"
  rm -rf "${TS_DEPS:?}/$dir"
  mv "$(find "$tmp" -mindepth 1 -maxdepth 1 -type d | head -1)" "$TS_DEPS/$dir"
  rm -rf "$tmp"
  [ -f "$TS_DEPS/$dir/$file" ] || { echo "setup: could not fetch the $package source package" >&2; return 1; }
}

# PATH as Wine sees it: this machine's root is drive Z:.
ts_windows_path() { local p; p=$(realpath -m "$1"); echo "Z:${p//\//\\}"; }

# The Wine server and the virtual display are shared by every command of this
# checkout that runs Windows programs. Each holds a shared lock on one file for its
# lifetime, and stops them on exit only when it can take that lock alone at once:
# the last one out stops them, and no run stops another's.
ts_use_wine() {
  local dir=$TS_ROOT/build/windows/wine
  mkdir -p "$dir"
  exec {TS_WINE_USER_FD}>>"$dir/users"
  flock -s "$TS_WINE_USER_FD"
  # The harness closes it, so that a server or display it starts holds no lock.
  export TS_WINE_USER_FD
  trap ts_stop_wine EXIT
}

# Ends the Wine server and the virtual display that the harness started, unless
# another command still uses them.
ts_stop_wine() {
  local dir=$TS_ROOT/build/windows/wine
  flock -x -n "$TS_WINE_USER_FD" || return 0
  WINEPREFIX=$dir/prefix wineserver -k >/dev/null 2>&1 || true
  [ -f "$dir/display" ] && kill "$(cut -d' ' -f2 "$dir/display")" 2>/dev/null
  rm -f "$dir/display"
}

# The import parsers' single headers (and the JSON library under them) linked into a folder
# of their own, which both builds add: the cross build must never add /usr/include itself.
ts_link_import_headers() {
  local dir=$TS_DEPS/import-headers
  mkdir -p "$dir"
  ln -sfn /usr/include/tiny_gltf.h "$dir/tiny_gltf.h"
  ln -sfn /usr/include/tiny_obj_loader.h "$dir/tiny_obj_loader.h"
  ln -sfn /usr/include/nlohmann "$dir/nlohmann"
}

ts_setup() {
  ts_need_packages
  ts_link_import_headers
  # No mingw packages exist for these: the Windows build compiles their Debian sources.
  ts_fetch_source bzip2 bzip2 bzlib.h
  ts_fetch_source libjpeg-turbo libjpeg-turbo jpeglib.h
  ts_fetch_source libpng1.6 libpng png.h
  ts_fetch_source libogg libogg include/ogg/ogg.h
  ts_fetch_source libvorbis libvorbis include/vorbis/vorbisfile.h
  ts_fetch_source mpg123 mpg123 ports/cmake/CMakeLists.txt
}
