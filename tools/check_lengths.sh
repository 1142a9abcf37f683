#!/bin/sh
# No source file grows beyond 600 lines: split it by subject before it does.
set -eu
cd "$(dirname "$0")/.."

sh tools/sources.sh bokfolio hosts tests bench examples | tr '\n' '\0' | xargs -0 awk '
  FNR == 601 { print FILENAME ": more than 600 lines"; found = 1 }
  END { exit found }'
