#!/bin/sh
# Every source file is as clang-format writes it.
set -eu
cd "$(dirname "$0")/.."

sh tools/sources.sh bokfolio hosts tests bench examples | tr '\n' '\0' |
  xargs -0 -n 20 -P "$(nproc)" clang-format --dry-run -Werror
