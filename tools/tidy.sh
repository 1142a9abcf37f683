#!/bin/sh
# tidy.sh BUILD_DIR: clang-tidy over library and hosts, with the compile commands of BUILD_DIR.
# Findings go to standard output; standard error would only count those in system headers.
set -eu
cd "$(dirname "$0")/.."

sh tools/sources.sh bokfolio hosts | grep '\.cpp$' | tr '\n' '\0' |
  xargs -0 -n 1 -P "$(nproc)" sh -c '
    clang-tidy --quiet -p "$0" "$1" 2>/dev/null || { echo "$1: clang-tidy fails"; exit 1; }' "$1"
