#!/bin/sh
# demo.sh BUILD_DIR: keeps two years' books of a small workshop before your eyes, with the program
# that was built there. The document stays in the build folder, for you to go on with.
set -eu

build=$1
bokfolio=$build/bokfolio
year=examples/workshop-2025.se
folder=$build/demo
document=$folder/workshop.bokfolio

# English words, Swedish amounts and days; a locale of yours if you name one.
locale=${BOKFOLIO_DEMO_LOCALE:-en_SE}

quietly() {
  BOKFOLIO_DOCUMENT=$document "$bokfolio" --locale "$locale" --now 2026-01-16T10:00 \
    --user 'Anna Ek' "$@"
}

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
  quietly "$@"
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

say "The year is closed: its result goes to equity, through an account of its own"
run account add 8999 "Result of the year" --type cost
run book set --results 8999
result=$(quietly --json result | sed -n 's/^  "result": "\(.*\)".*/\1/p')
run entry add --date 2025-12-31 --text 'The result of 2025 to equity' "8999:$result" 2099
run result

say "The next year opens with what this one closed with"
run year add 2026
run year carry-forward 2026
run opening list --year 2026
# Balance accounts of the old year with what they hold at its end, and of the new year at its start.
quietly --json balance --year 2025 | awk '
  /"number":/ { number = $2 }
  /"type":/ { carried = $2 ~ /asset|debt/ }
  /"closing":/ { if (number && carried && $2 != "\"0\"") print number, $2; number = "" }' |
  tr -d '",' | sort >"$folder/closing"
quietly --json opening list --year 2026 |
  awk '/"account":/ { number = $2 } /"balance":/ { print number, $2 }' |
  tr -d '",' | sort >"$folder/opening"
diff "$folder/closing" "$folder/opening"
printf 'All %d opening balances of 2026 are the closing balances of 2025.\n' \
  "$(grep -c . "$folder/opening")"

say "The new year begins. The rent comes as a file from the landlord's program"
cat >"$folder/rent.xml" <<'XML'
<entry>
  <name>Workshop rent, January</name>
  <note>Contract 2019-4</note>
  <date>2026-01-02</date>
  <row><account>5010</account><amount>9500</amount></row>
  <row><account>2641</account><amount>2375</amount></row>
  <row><account>1930</account><amount>-11875</amount></row>
</entry>
XML
cat "$folder/rent.xml"
run entry add --xml "$folder/rent.xml"
run entry add --date 2026-01-09 --text 'Table of elm, sold for cash' 1910:18000 3001:-14400:20 2611
run entry add --date 2026-01-12 --text 'Cash to the bank' 1930:18000 1910
run journal
run result --to 2026-01-15
run year list

. hosts/cli/demo_suppliers.sh

say "Every rule looked after, in both years"
run check

printf '\nThe document lies in %s\n' "$document"
printf 'Go on with:  %s -d %s --help\n' "$bokfolio" "$document"
sh hosts/cli/demo_invoices.sh "$build"
