#!/bin/sh
# Times the month's export and the receivables report on a synthetic club:
# QUICKBOOKS (its bill run, the invoices and the move of the history into
# the QU files) and ACCOUNT-BALANCES, each in a fresh copy of the club, with
# wall time and peak memory, beside an awk floor: one pass over the
# customer, balances and history files summing every account's cents.
#
#   bench/export.sh BUILD [CUSTOMERS] [FLIGHTS]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build).
set -e
build=$(cd "$1" && pwd)
customers=${2:-20000}
flights=${3:-1000000}
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

"$build/bench/bench_gen_club" "$dir/club" "$customers" "$flights" >/dev/null
# The rates the generator leaves out (as in times_emonth.sh), so that the
# bill run does not report a missing price for every flight.
for item in GROUND-TIME:0.100 MINIMUM-TIME:0.250 INSTRUCTION:30.000 FLT-SALESTAX:0.050 \
    TOW-SALESTAX:0.050 INS-SALESTAX:0.000; do
    printf '$PRICE\t%s\t0\n\tDEFAULT\t%s\n' "${item%%:*}" "${item#*:}"
done >>"$dir/club/VNKPRICE.DAT"

# Prints "seconds peak-KiB" of one run of the given input on a fresh copy.
run() {
    rm -rf "$dir/run" && cp -R "$dir/club" "$dir/run"
    printf "$1" >"$dir/input"
    (cd "$dir/run" && /usr/bin/time -f '%e %M' -o "$dir/time" "$build/varnok" <"$dir/input" >"$dir/output")
    # The synthetic club's prices leave the bill run with notes (unpriced
    # taxes, changed fuel prices); what is checked is what the run wrote.
    cat "$dir/time"
}

quickbooks=$(run 'WRITE\nQB.IIF\nQUICKBOOKS\nNO\nNO\nNO\nNO\nALL\nEXIT\n')
invoices=$(grep -c '^TRNS' "$dir/run/QB.IIF" || true)
if [ "$invoices" -eq 0 ] || ! grep -q '^!Start of billing cycle$' "$dir/run/VNKFLGHT.HIS"; then
    echo "the export wrote no invoices or did not move the history" >&2
    exit 1
fi
balances=$(run 'WRITE\nBAL.LIS\nACCOUNT-BALANCES\nNO\nNO\nNO\nALL\nEXIT\n')
grep -q '^Expected Net accounts receivable:' "$dir/run/BAL.LIS"

start=$(date +%s.%N)
awk -F'\t' '!/!/ && NF > 3 { sum[$4] += $6 } END { print length(sum) > "/dev/null" }' \
    "$dir/club/VNKCUST.DAT" "$dir/club/VNKBAL.DAT" "$dir/club/VNKFLGHT.HIS" \
    "$dir/club/VNKGAS.HIS" "$dir/club/VNKPMNT.HIS"
end=$(date +%s.%N)
floor=$(echo "$end - $start" | bc)

echo "club: $customers customers, $flights flights"
echo "QUICKBOOKS ($invoices invoices, QU move included): ${quickbooks% *} s, peak ${quickbooks#* } KiB"
echo "ACCOUNT-BALANCES: ${balances% *} s, peak ${balances#* } KiB"
echo "awk floor (one pass summing every account's history): $floor s"
