#!/bin/sh
# Lists the C++ files below the given folders that exist, one a line, in a fixed order.
for folder in "$@"; do
  [ ! -d "$folder" ] || find "$folder" -type f \( -name '*.hpp' -o -name '*.cpp' \)
done | LC_ALL=C sort
