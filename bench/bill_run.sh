#!/bin/sh
# Times the whole bill run as a user runs it: VARNOK started on a synthetic
# club, BILLS with the default answers, EXIT. Two clubs, C=2,000/F=100,000
# and C=20,000/F=1,000,000 (fuel, misc and payments each F/5), each with
# wall time, CPU time and peak memory, beside the awk floor measured in the
# same run: one pass over the same history files summing each account's
# amounts.
#
#   bench/bill_run.sh BUILD
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build).
set -e
build=$(cd "$1" && pwd)
. "$(dirname "$0")/club_prices.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

bill() {
    club="$dir/club$1"
    "$build/bench/bench_gen_club" "$club" "$1" "$2" >/dev/null
    complete_club "$club"
    printf 'BILLS\n\n\nEXIT\n' >"$dir/input"
    start=$(date +%s.%N)
    (cd "$club" && /usr/bin/time -f '%M %U %S' -o "$dir/mem" "$build/varnok" <"$dir/input" >"$dir/output")
    end=$(date +%s.%N)
    if ! grep -q 'statements printed' "$dir/output"; then
        echo "the bill run did not finish:" >&2
        tail "$dir/output" >&2
        exit 1
    fi
    check_quiet "$dir/output"
    wall=$(echo "$end - $start" | bc)
    start=$(date +%s.%N)
    (cd "$club" && awk -F'\t' '
        FILENAME ~ /FLGHT/ && !/[!$]/ { min[$3] += $13 - $12 }
        FILENAME ~ /GAS/ && !/[!$]/ { cents[$4] += ($5 ~ /^[YN]$/) ? $6 : $5 }
        FILENAME ~ /PMNT/ && !/[!$]/ { paid[$4] += $2 }
        END { for (a in cents) n++; print n > "/dev/null" }' \
        VNKFLGHT.HIS VNKGAS.HIS VNKPMNT.HIS)
    end=$(date +%s.%N)
    floor=$(echo "$end - $start" | bc)
    read -r kib user sys <"$dir/mem"
    printf 'C=%-6d F=%-8d bill run %5.2f s (cpu %5.2f s)  peak %5d MiB  awk floor %5.2f s  ratio %5.1f\n' \
        "$1" "$2" "$wall" "$(echo "$user + $sys" | bc)" $((kib / 1024)) "$floor" \
        "$(echo "$wall / $floor" | bc -l)"
    echo "$wall" >"$dir/wall$1"
    rm -rf "$club"
}

bill 2000 100000
bill 20000 1000000
printf 'large / small: %.1f\n' "$(echo "$(cat "$dir/wall20000") / $(cat "$dir/wall2000")" | bc -l)"
