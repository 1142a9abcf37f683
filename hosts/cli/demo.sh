#!/bin/sh
# demo.sh BUILD_DIR: keeps a year's books of a small workshop before your eyes, with the program
# that was built there. The document stays in the build folder, for you to go on with.
set -eu

build=$1
bokfolio=$build/bokfolio
year=examples/workshop-2025.se
folder=$build/demo
document=$folder/workshop.bokfolio

# English words, Swedish amounts and days; a locale of yours if you name one.
locale=${BOKFOLIO_DEMO_LOCALE:-en_SE}

# Shows a command as it would be typed, then runs it.
run() {
  printf '\n$ bokfolio'
  for word in "$@"; do
    case $word in
      *[!A-Za-z0-9_./:,=+-]*) printf " '%s'" "$word" ;;
      *) printf ' %s' "$word" ;;
    esac
  done
  printf '\n'
  BOKFOLIO_DOCUMENT=$document "$bokfolio" --locale "$locale" --now 2026-01-16T10:00 \
    --user 'Anna Ek' "$@"
}

say() { printf '\n== %s ==\n' "$*"; }

rm -rf "$folder"
mkdir -p "$folder"

say "A new document, and a year of a joinery's books read into it"
run new "$document" --year 2025 --chart none --company 'Snickeriet Ek & Alm AB'
run import "$year"
run account list --type cost
run tag list

say "A correction in it: blades for the planer, first taken for timber"
run entry show 43

say "One more sale, composed and filed"
run entry add --date 2025-12-31 --text 'Oak stool sold from the shop' 1930:1500 3001:-1200:20 2611

say "Typed wrong: it was 1 750. The rows are struck, not lost, and the right ones added"
run entry edit 120 --strike 1 --strike 2 --strike 3 1930:1750 3001:-1400:20 2611
run entry show 120
run entry list --from 2025-12-28

say "What does not balance is not filed"
run entry add --text 'A slip of the pen' 1930:100 3001:-90 || true

say "The trial balance, and the result of the year"
run balance

say "What one of the two product lines earned"
run balance --tag 20

say "Every rule looked after"
run check

printf '\nThe document lies in %s\n' "$document"
printf 'Go on with:  %s -d %s --help\n' "$bokfolio" "$document"
