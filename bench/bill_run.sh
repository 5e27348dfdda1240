#!/bin/sh
# Times the whole bill run as a user runs it: VARNOK started on a synthetic
# club, BILLS with the default answers, EXIT. Two clubs, C=2,000/F=100,000
# and C=20,000/F=1,000,000 (fuel, misc and payments each F/5), each with
# the median wall time (min-max) and peak memory of SAMPLES runs, taken in
# turn with the bill floor of sampling.sh: one awk pass over the same
# files summing each account's amounts. A second output of the same bills,
# ACCOUNT-BALANCES right after BILLS (the bills kept), is timed as the
# difference between that session and BILLS alone.
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
    printf 'BILLS\n\n\nWRITE\nBAL.LIS\nACCOUNT-BALANCES\nNO\nNO\nALL\nEXIT\n' >"$dir/input2"
    timed "$club" "$dir/input2"
    grep -q '^Expected Net accounts receivable:' "$club/BAL.LIS"
}

awk_floor() {
    bill_floor "$club"
}

bill() {
    club="$dir/club$1"
    "$build/bench/bench_gen_club" "$club" "$1" "$2" >/dev/null
    complete_club "$club"
    printf 'BILLS\n\n\nEXIT\n' >"$dir/input"
    sample "c$1" bills bills_balances awk_floor
    set -- "$1" "$2" "$(median_of "c$1" bills)" "$(median_of "c$1" awk_floor)"
    printf 'C=%-6d F=%-8d bill run %s  peak %d MiB  awk floor %s  ratio %s\n' "$1" "$2" \
        "$(figure "c$1" bills)" "$(peak_of "c$1" bills)" "$(figure "c$1" awk_floor)" \
        "$(ratio "${3%% *}" "${4%% *}")"
    second=$(median_of "c$1" bills_balances | awk -v b="${3%% *}" '{ printf "%.3f", $1 - b }')
    printf '  ACCOUNT-BALANCES after BILLS: %s s more, %s x the awk floor\n' "$second" \
        "$(ratio "$second" "${4%% *}")"
    echo "${3%% *}" >"$dir/wall$1"
    rm -rf "$club"
}

small=${2:-2000}
large=${4:-20000}
bill "$small" "${3:-100000}"
bill "$large" "${5:-1000000}"
printf 'large / small: %s\n' "$(ratio "$(cat "$dir/wall$large")" "$(cat "$dir/wall$small")")"
