#!/bin/sh
# tidy.sh BUILD_DIR: clang-tidy over library and hosts, with the compile commands of BUILD_DIR.
set -eu
cd "$(dirname "$0")/.."

# What it writes when it finds nothing only counts warnings in system headers.
sh tools/sources.sh bokfolio hosts | grep '\.cpp$' | tr '\n' '\0' |
  xargs -0 -n 1 -P "$(nproc)" sh -c '
    found=$(clang-tidy --quiet -p "$0" "$1" 2>&1) ||
      { printf "%s\n" "$found" | grep -v " generated[.]$"; echo "$1: not clean"; exit 1; }' "$1"
