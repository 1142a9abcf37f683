#!/bin/sh
# tidy.sh BUILD_DIR [FILE...]: clang-tidy over the library, or over the files named, with the
# compile commands of BUILD_DIR. A file that was clean is remembered by a hash over all that
# decides: tool, checks, and every file of ours that it includes.
set -eu
cd "$(dirname "$0")/.."

build=$1
shift
if [ $# = 0 ]; then
  set -- $(sh tools/sources.sh bokfolio | grep '\.cpp$')
fi
clean=${XDG_CACHE_HOME:-$HOME/.cache}/bokfolio-tidy
mkdir -p "$clean"
export build clean

printf '%s\0' "$@" | xargs -0 -n 1 -P "$(nproc)" sh -c '
  needed=$(clang++ -std=c++20 -I. -I"$build/generated" -MM "$0" 2>/dev/null |
    tr -d "\\\\" | tr " " "\n" | grep "[.][ch]pp$" | LC_ALL=C sort -u) || needed=
  key=
  [ -z "$needed" ] ||
    key=$({ clang-tidy --version; cat .clang-tidy $needed; } | sha256sum | cut -c 1-64)
  [ -z "$key" ] || [ ! -e "$clean/$key" ] || exit 0
  # What it writes when it finds nothing only counts warnings in system headers.
  found=$(clang-tidy --quiet -p "$build" "$0" 2>&1) || {
    printf "%s\n" "$found" | grep -v " generated[.]$"
    echo "$0: not clean"
    exit 1
  }
  [ -z "$key" ] || : >"$clean/$key"'
