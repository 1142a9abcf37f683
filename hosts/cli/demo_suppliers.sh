# Read by demo.sh, whose words and document it uses: bills from suppliers, from the letter box to
# the payment.

say "Bills from suppliers: two rates of VAT, and boards that went back"
run supplier add 'Sävar Trä AB' 20417 --date 2026-01-05 --days 10 --credit 2440 --tag 20 \
  --street 'Sågvägen 3' --zipcode '918 31' --city Sävar --payment 'Bankgiro 765-4321'
run supplier line 20417 'Elm boards' 4010:6400 --vat 25 --vat-account 2641
run supplier line 20417 'Guide to veneers' 4010:285 --vat 6 --vat-account 2641
run supplier line 20417 'Warped boards returned' 4010:-800 --vat 25
run supplier show 20417
run supplier book 20417

say "A bill in euro wants a rate; the payment came cheaper than the debt"
run supplier add 'Holzhaus GmbH' RE-881 --date 2026-01-08 --days 30 --currency EUR --credit 2440
run supplier line RE-881 'Beech, planed' 4010:420 --vat 0
run supplier book RE-881 || true
run supplier book RE-881 --rate 11.42
run supplier list --overdue
run supplier pay 20417 --from 1930 --date 2026-01-15
quietly -q account add 3960 'Exchange gains' --type income
quietly -q book set --gains 3960
run supplier pay RE-881 --from 1930 --amount 4780 --in-full
run supplier list
