#!/bin/sh
# Times the whole bill run as a user runs it: VARNOK started on a synthetic
# club, BILLS with the default answers, EXIT. Two clubs, C=2,000/F=100,000
# and C=20,000/F=1,000,000 (fuel, misc and payments each F/5), sampled in
# turn, each with the median wall time (min-max) and peak memory of SAMPLES
# runs, taken in turn with the bill floor of sampling.sh: one awk pass over
# the same files summing each account's amounts. A second output of the
# same bills, ACCOUNT-BALANCES right after BILLS (the bills kept), is timed
# as the difference between that session and BILLS alone.
#
#   bench/bill_run.sh BUILD [SMALL_C SMALL_F LARGE_C LARGE_F]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build).
set -e
build=$(cd "$1" && pwd)
. "$(dirname "$0")/club_prices.sh"
. "$(dirname "$0")/sampling.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

bills() {
    timed "$club" "$dir/input"
    grep -q 'statements printed' "$dir/output" || {
        echo "the bill run did not finish:" >&2
        tail "$dir/output" >&2
        exit 1
    }
}

# BILLS, then ACCOUNT-BALANCES keeping the bills just made.
bills_balances() {
    timed "$club" "$dir/input2"
    grep -q '^Expected Net accounts receivable:' "$club/BAL.LIS"
}

awk_floor() {
    bill_floor "$club"
}

report() {
    bills=$(median "$1" bills)
    floor=$(median "$1" awk_floor)
    printf 'C=%-6d F=%-8d bill run %s  peak %d MiB  bill floor %s  ratio %s\n' "$2" "$3" \
        "$(figure "$1" bills)" "$(peak_of "$1" bills)" "$(figure "$1" awk_floor)" \
        "$(ratio "$bills" "$floor")"
    second=$(median "$1" bills_balances | awk -v b="$bills" '{ printf "%.3f", $1 - b }')
    printf '  ACCOUNT-BALANCES after BILLS: %s s more, %s x the bill floor\n' "$second" \
        "$(ratio "$second" "$floor")"
}

small=${2:-2000}
large=${4:-20000}
small_club="$dir/small" && make_club "$small_club" "$small" "${3:-100000}"
large_club="$dir/large" && make_club "$large_club" "$large" "${5:-1000000}"
printf 'BILLS\n\n\nEXIT\n' >"$dir/input"
printf 'BILLS\n\n\nWRITE\nBAL.LIS\nACCOUNT-BALANCES\nNO\nNO\nALL\nEXIT\n' >"$dir/input2"
sample_both bills bills_balances awk_floor
report small "$small" "${3:-100000}"
report large "$large" "${5:-1000000}"
printf 'large / small: %s\n' "$(ratio "$(median large bills)" "$(median small bills)")"
