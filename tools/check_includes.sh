#!/bin/sh
# Includes point down the floors of the house or sideways inside a folder, never up; "internal"
# folders are private to the folder they lie in; public headers and hosts see no third party and no
# internals. Prints each offence and fails when there is one.
set -eu
cd "$(dirname "$0")/.."

sh tools/sources.sh bokfolio hosts tests/api examples | tr '\n' '\0' | xargs -0 awk '
  BEGIN {
    # Which floors a folder may include from. A pattern ending in hpp names single headers.
    allow("bokfolio/platform", "")
    allow("bokfolio/store", "platform")
    allow("bokfolio/currency", "platform")
    allow("bokfolio/model", "store platform model/ledger model/invoicing model/supplier")
    allow("bokfolio/model/ledger", "model/internal store currency platform")
    allow("bokfolio/model/invoicing", "model/internal model/ledger store currency platform")
    allow("bokfolio/model/supplier", "model/ledger store platform model/invoicing/vat_[a-z_]*[.]hpp")
    allow("bokfolio/interchange", "model/ledger store platform")
    allow("bokfolio/plugins", "store platform")
    allow("bokfolio/address", "platform")
    # System libraries that only some folders may see.
    only["sqlite3.h"] = "^bokfolio/store/persistence/"
    only["curl/curl.h"] = "^bokfolio/platform/"
    only["pugixml.hpp"] = "^bokfolio/platform/"
    only["leptonica/allheaders.h"] = "^bokfolio/platform/"
  }
  function allow(folder, floors) { floorsOf[folder] = floors }
  function offence(text) { print FILENAME ":" FNR ": " text; found = 1 }

  # The longest folder of the table that holds the path.
  function floorOf(path,   folder, best) {
    best = ""
    for (folder in floorsOf)
      if (index(path, folder "/") == 1 && length(folder) > length(best)) best = folder
    return best
  }
  function mayInclude(from, target,   list, n, i) {
    if (index(target, from "/") == 1) return 1
    n = split(floorsOf[from], list, " ")
    for (i = 1; i <= n; i++)
      if (target ~ ("^bokfolio/" list[i] (list[i] ~ /hpp$/ ? "$" : "/"))) return 1
    return 0
  }
  function checkInternal(target,   owner) {
    owner = target
    sub("/internal/.*$", "", owner)
    if (index(FILENAME, owner "/") != 1) offence("private to " owner ": " target)
    else if (FILENAME ~ /[.]hpp$/ && FILENAME !~ "/internal/")
      offence("public header includes " target)
  }
  function checkOwn(target) {
    if (target ~ "/internal/") checkInternal(target)
    if (FILENAME !~ "^bokfolio/" || target ~ "^bokfolio/(export|version)[.]hpp$") return
    if (floorOf(FILENAME) == "") offence("no floor for this folder in tools/check_includes.sh")
    else if (!mayInclude(floorOf(FILENAME), target)) offence("includes upward: " target)
  }
  function checkForeign(target) {
    if (FILENAME ~ "^bokfolio/.*[.]hpp$" && FILENAME !~ "/internal/" && target ~ "[./]")
      offence("public header includes a third party: " target)
    if (target in only && FILENAME !~ only[target]) offence("not for this folder: " target)
  }

  /^[ \t]*#[ \t]*include[ \t]*"/ {
    split($0, part, "\"")
    if (part[2] ~ "^bokfolio/") checkOwn(part[2])
    else if (FILENAME ~ "^bokfolio/") offence("not spelled from the root: " part[2])
  }
  /^[ \t]*#[ \t]*include[ \t]*</ {
    split($0, part, "[<>]")
    checkForeign(part[2])
  }
  END { exit found }'
