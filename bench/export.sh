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
    rm -rf "$dir/run" && cp -R "$dir/club" "$dir/run"
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
    echo "$invoices" >"$dir/invoices"
}

balances() {
    run 'WRITE\nBAL.LIS\nACCOUNT-BALANCES\nNO\nNO\nNO\nALL\nEXIT\n'
    grep -q '^Expected Net accounts receivable:' "$dir/run/BAL.LIS"
}

awk_floor() {
    bill_floor "$dir/club"
}

club() {
    name=c$1
    "$build/bench/bench_gen_club" "$dir/club" "$1" "$2" >/dev/null
    complete_club "$dir/club"
    sample "$name" quickbooks balances awk_floor
    floor=$(median_of "$name" awk_floor | cut -d' ' -f1)
    echo "club: $1 customers, $2 flights ($(cat "$dir/invoices") invoices); bill floor $(figure "$name" awk_floor)"
    show_beside_floor 17 QUICKBOOKS: quickbooks
    show_beside_floor 17 ACCOUNT-BALANCES: balances
    echo "$(median_of "$name" quickbooks | cut -d' ' -f1) $(median_of "$name" balances | cut -d' ' -f1)" >"$dir/walls$1"
    rm -rf "$dir/club" "$dir/run"
}

small=${2:-2000}
large=${4:-20000}
club "$small" "${3:-100000}"
club "$large" "${5:-1000000}"
read -r qs bs <"$dir/walls$small"
read -r ql bl <"$dir/walls$large"
printf 'large / small: QUICKBOOKS %s, ACCOUNT-BALANCES %s\n' "$(ratio "$ql" "$qs")" "$(ratio "$bl" "$bs")"
