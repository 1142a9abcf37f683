#!/bin/sh
# Called by demo.sh: invoices of a joinery, from the price list to the last payment, in a document
# of their own. Every entry that a step makes is shown, and in the end no customer owes anything.
set -eu

build=$1
bokfolio=$build/bokfolio
folder=$build/demo
document=$folder/invoices.bokfolio
locale=${BOKFOLIO_DEMO_LOCALE:-en_SE}
now=2026-01-12T10:00

quietly() {
  BOKFOLIO_DOCUMENT=$document "$bokfolio" --locale "$locale" --now "$now" --user 'Anna Ek' "$@"
}

# Shows a command as it would be typed, then runs it.
run() {
  printf '\n$ bokfolio'
  for word in "$@"; do
    case $word in
      '' | *[!A-Za-z0-9_./:,=+-]*) printf " '%s'" "$word" ;;
      *) printf ' %s' "$word" ;;
    esac
  done
  printf '\n'
  quietly "$@"
}

say() { printf '\n== %s ==\n' "$*"; }

mkdir -p "$folder"
rm -f "$document"

say "A book for invoices: a company, its terms, its price list"
run new "$document" --year 2026 --company 'Snickeriet Ek & Alm AB'
quietly -q company set --orgid 556677-8899 --vatno SE556677889901 --street 'Hantverkargatan 3' \
  --zipcode '582 22' --city Linköping --payment1 'Bankgiro 123-4567' \
  --bank-account 'SE35 5000 0000 0549 1000 0003' --bic ESSESESS
quietly -q company credit-text en 'After the due date we charge interest of 8 %.'
run book set --days 30 --filing twice --automatic yes
run article add 'Oak table' --price 8000 --unit pcs --vat 25 --sales 3001 --vat-account 2611
run article add 'Shelf, to measure' --price 1300 --unit m
run article add 'Course in wood carving' --price 450 --unit h --vat 12 \
  --sales 3002 --vat-account 2621
run article add 'Oak table, export' --price 8000 --unit pcs --vat 0 --sales 3108
run article list

say "Two rates of VAT, a rebate and a total in whole kronor"
run invoice new 'Eken Bygg AB' --reference 'Eva Lind' --street 'Storgatan 1' --zipcode '111 22' \
  --city Stockholm --order 4711 --rounding yes
run invoice line 1 'Oak table' 2
run invoice line 1 'Shelf, to measure' 4 --rebate 5%
run invoice line 1 'Course in wood carving' 4
run invoice rebate 1 10%
run invoice show 1
run invoice send 1
now=2026-02-20T10:00
run invoice list --overdue
run invoice remind 1
run invoice pay 1 --account 1930 --date 2026-02-20

say "Sold in euro: the rate falls until the payment, then on another invoice it rises"
now=2026-02-23T10:00
run invoice new 'Holzhaus GmbH' --street 'Lindenallee 5' --zipcode 10115 --city Berlin \
  --country DE --vatno DE123456788 --currency EUR --vat-free yes \
  --note 'Reverse charge'
run invoice line 2 'Oak table, export' 3 --price 710
run invoice send 2 --rate 11.42
run invoice duplicate 2
run invoice send 3 --rate 11.42
run invoice show 3
now=2026-03-19T10:00
run invoice pay 2 23900 --in-full --account 1930
run invoice pay 3 24690 --in-full --account 1930

say "Paid in parts"
now=2026-03-23T10:00
run invoice new 'Alm & Son' --city Norrköping
run invoice line 4 'Oak table'
run invoice send 4
run invoice pay 4 4000 --account 1930 --date 2026-03-30
run invoice pay 4 7000 --account 1930 || true
run invoice pay 4 6000 --account 1930 --date 2026-04-20

say "Paid in part and returned: the customer gets back what was paid"
now=2026-04-21T10:00
run invoice duplicate 4
run invoice send 5
run invoice pay 5 2500 --account 1930 --date 2026-04-22
now=2026-04-28T10:00
run invoice return 5 || true
run invoice return 5 --refund-from 1930

say "Paid in part and lost: a rounding downwards keeps the reversal from balancing"
run invoice new 'Konkursboet Tall' --rounding yes
run invoice line 6 'Shelf, to measure' 1.3
run invoice send 6
run invoice pay 6 800 --account 1930 --date 2026-05-04
now=2026-06-15T10:00
run invoice loss 6 || true
run invoice loss 6 --round

say "Every entry gets its number, in the order of the days"
run entry list --unfiled
run invoice file

say "Now invoices are booked once only, when they are paid; those sent before stay as they are"
run book set --filing once
run invoice new 'Björk Inredning AB' --rounding yes
run invoice line 7 'Course in wood carving' 3
run invoice line 7 'Oak table' 1 --rebate 100
run invoice send 7
run invoice pay 7 5000 --account 1930
now=2026-07-06T10:00
run invoice pay 7 --account 1930
run invoice file

say "What became of them"
run invoice list
run entry list --account 1510
run balance

say "No customer owes anything"
owed=$(quietly --json balance | awk '/"number": 1510/ { found = 1 }
  found && /"closing":/ { gsub(/[",]/, "", $2); print $2; exit }')
[ "${owed:-0}" = 0 ]
printf 'Account 1510, accounts receivable, closes at %s.\n' "${owed:-0}"
run check
