#!/bin/sh
# Times the whole bill run as a user runs it: VARNOK started on a synthetic
# club, BILLS with the default answers, EXIT. Two clubs, C=2,000/F=100,000
# and C=20,000/F=1,000,000 (fuel, misc and payments each F/5), each with
# wall time and peak memory, beside the awk floor measured in the same run:
# one pass over the same history files summing each account's amounts.
#
#   bench/bill_run.sh BUILD
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build).
set -e
build=$(cd "$1" && pwd)
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

bill() {
    club="$dir/club$1"
    "$build/bench/bench_gen_club" "$club" "$1" "$2" >/dev/null
    # The generated club prices only aircraft and tows; a real one also
    # prices instruction, minimum and ground time, fuel and its taxes.
    awk '/^\$GAS_GRADE/ && !done {
            n = split("INSTRUCTION 30.000 PVT-INSTRUCTION 20.000 MINIMUM-TIME 0.500 " \
                      "GROUND-TIME 0.100 JETA 4.250 TOW-SALESTAX 0.000 FLT-SALESTAX 0.050 " \
                      "INS-SALESTAX 0.000", p, " ")
            for (i = 1; i < n; i += 2) printf "$PRICE\t%s\t0\n\tDEFAULT\t%s\n\n", p[i], p[i + 1]
            done = 1 }
         { print }' "$club/VNKPRICE.DAT" >"$club/prices" && mv "$club/prices" "$club/VNKPRICE.DAT"
    printf 'BILLS\n\n\nEXIT\n' >"$dir/input"
    start=$(date +%s.%N)
    (cd "$club" && /usr/bin/time -f '%M' -o "$dir/mem" "$build/varnok" <"$dir/input" >"$dir/output")
    end=$(date +%s.%N)
    if ! grep -q 'statements printed' "$dir/output"; then
        echo "the bill run did not finish:" >&2
        tail "$dir/output" >&2
        exit 1
    fi
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
    printf 'C=%-6d F=%-8d bill run %6.2f s  peak %5d MiB  awk floor %5.2f s  ratio %5.1f\n' \
        "$1" "$2" "$wall" $(($(cat "$dir/mem") / 1024)) "$floor" "$(echo "$wall / $floor" | bc -l)"
    echo "$wall" >"$dir/wall$1"
}

bill 2000 100000
bill 20000 1000000
printf 'large / small: %.1f\n' "$(echo "$(cat "$dir/wall20000") / $(cat "$dir/wall2000")" | bc -l)"
