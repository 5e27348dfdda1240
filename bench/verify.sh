#!/bin/sh
# Times VERIFY on a small and a large synthetic club beside an awk floor on
# the same files: the prices and customer files read, and every line of the
# three history files split and keyed by account, by aircraft and by date
# and flight number, the least work VERIFY's checks can do. The two run
# interleaved, five samples each; the figures are the medians.
#
#   bench/verify.sh BUILD [SMALL_C SMALL_F LARGE_C LARGE_F]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build). The
# generated club flies two gliders all day long, so nearly every flight is
# a finding (the same glider in the air twice): the run writes them all.
set -e
build=$(cd "$1" && pwd)
. "$(dirname "$0")/club_prices.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

now() { date +%s.%N; }
median() { sort -n | sed -n 3p; }

verify_once() {
    start=$(now)
    (cd "$dir/club" && "$build/varnok" <"$dir/input" >"$dir/output")
    end=$(now)
    echo "$end - $start" | bc
}

floor_once() {
    start=$(now)
    (cd "$dir/club" && awk -F'\t' '
        FNR == 1 { file++ }
        file <= 2 { next }
        /!/ || /^\$/ { next }
        file == 3 { if (($1 FS $2) in seen) repeats++; seen[$1 FS $2]
                    account[$3]++; plane[$4]++; if ($13 <= $12) zero++ }
        file == 4 { account[$4]++ }
        file == 5 { account[$4]++; if ($3 == 0 && $2 >= 50000) unchecked++ }
        END { print length(account), length(plane), repeats, zero, unchecked > "/dev/null" }' \
        VNKPRICE.DAT VNKCUST.DAT VNKFLGHT.HIS VNKGAS.HIS VNKPMNT.HIS)
    end=$(now)
    echo "$end - $start" | bc
}

club() {
    "$build/bench/bench_gen_club" "$dir/club" "$1" "$2" >/dev/null
    complete_club "$dir/club"
    printf 'VERIFY\nEXIT\n' >"$dir/input"
    : >"$dir/v"
    : >"$dir/f"
    for i in 1 2 3 4 5; do
        verify_once >>"$dir/v"
        floor_once >>"$dir/f"
    done
    if ! grep -q 'finding\|Nothing found' "$dir/output"; then
        echo "VERIFY did not finish:" >&2
        tail "$dir/output" >&2
        exit 1
    fi
    v=$(median <"$dir/v")
    f=$(median <"$dir/f")
    printf 'C=%-6d F=%-8d VERIFY %6.3f s  awk floor %6.3f s  ratio %4.2f  (%s)\n' "$1" "$2" \
        "$v" "$f" "$(echo "$v / $f" | bc -l)" "$(grep -o "[0-9]* findings*\.\|Nothing found" "$dir/output")"
    rm -rf "$dir/club"
}

club "${2:-2000}" "${3:-100000}"
club "${4:-20000}" "${5:-1000000}"
