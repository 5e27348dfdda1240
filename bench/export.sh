#!/bin/sh
# Times the month's export and the receivables report on a small and a
# large synthetic club: QUICKBOOKS (its bill run, the invoices and the move
# of the history into the QU files) and ACCOUNT-BALANCES, each in a fresh
# copy of the club: the median wall time (min-max) and peak memory of
# SAMPLES runs, taken in turn with the bill floor of sampling.sh: both run
# the whole bill run first, so that is the least work either can do.
#
#   bench/export.sh BUILD [SMALL_C SMALL_F LARGE_C LARGE_F]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build).
set -e
build=$(cd "$1" && pwd)
. "$(dirname "$0")/club_prices.sh"
. "$(dirname "$0")/sampling.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

run() {
    rm -rf "$dir/run" && cp -R "$club" "$dir/run"
    printf "$1" >"$dir/input"
    timed "$dir/run" "$dir/input"
}

quickbooks() {
    run 'WRITE\nQB.IIF\nQUICKBOOKS\nNO\nNO\nNO\nNO\nALL\nEXIT\n'
    invoices=$(grep -c '^TRNS' "$dir/run/QB.IIF" || true)
    if [ "$invoices" -eq 0 ] || ! grep -q '^!Start of billing cycle$' "$dir/run/VNKFLGHT.HIS"; then
        echo "the export wrote no invoices or did not move the history" >&2
        exit 1
    fi
    echo "$invoices" >"$club.invoices"
}

balances() {
    run 'WRITE\nBAL.LIS\nACCOUNT-BALANCES\nNO\nNO\nNO\nALL\nEXIT\n'
    grep -q '^Expected Net accounts receivable:' "$dir/run/BAL.LIS"
}

awk_floor() {
    bill_floor "$club"
}

report() {
    name=$1
    floor=$(median "$name" awk_floor)
    echo "club: $2 customers, $3 flights ($(cat "$dir/$name.invoices") invoices);" \
        "bill floor $(figure "$name" awk_floor)"
    show_beside_floor 17 QUICKBOOKS: quickbooks
    show_beside_floor 17 ACCOUNT-BALANCES: balances
}

small=${2:-2000}
large=${4:-20000}
small_club="$dir/small" && make_club "$small_club" "$small" "${3:-100000}"
large_club="$dir/large" && make_club "$large_club" "$large" "${5:-1000000}"
sample_both quickbooks balances awk_floor
report small "$small" "${3:-100000}"
report large "$large" "${5:-1000000}"
printf 'large / small: QUICKBOOKS %s, ACCOUNT-BALANCES %s\n' \
    "$(ratio "$(median large quickbooks)" "$(median small quickbooks)")" \
    "$(ratio "$(median large balances)" "$(median small balances)")"
