#!/bin/sh
# Writes every source file as clang-format wants it; with --check only says which are not.
set -eu
cd "$(dirname "$0")/.."

action=-i
[ "${1:-}" != --check ] || action='--dry-run -Werror'
# shellcheck disable=SC2086
sh tools/sources.sh bokfolio hosts tests bench examples | tr '\n' '\0' |
  xargs -0 -n 20 -P "$(nproc)" clang-format $action
