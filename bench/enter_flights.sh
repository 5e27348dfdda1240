#!/bin/sh
# Times typing a day sheet into a large club: N walk-in flights billed to
# the CASH account (which holds one flight in twenty of the period, tens of
# thousands, so the duplicate test meets a long list), then Remember.
#
#   bench/enter_flights.sh BUILD [N] [CUSTOMERS] [FLIGHTS]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build). Prints
# the time of an ENTER run with N flights and with none (the reread of the
# history and the append dominate both), their difference per flight, and
# the awk floor: one pass over the customer and day sheet files keying every
# flight by account, date and number.
set -e
build=$(cd "$1" && pwd)
n=${2:-2000}
customers=${3:-20000}
flights=${4:-1000000}
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

"$build/bench/bench_gen_club" "$dir/club" "$customers" "$flights" >/dev/null

# One flight: number (the offered one), receipt number, glider, ride, pilot,
# rider, tow pilot, tow plane slot 1, tow height, times, yes.
sheet() {
    printf 'ENTER\nGLIDER-FLIGHTS\n5-1-2005\n'
    i=0
    while [ "$i" -lt "$1" ]; do
        printf '\n#%d\nASK21\nCOMMERCIAL-RIDE\nBENCHPILOT\n\nTB\n1\n\n10:00\n10:30\nYES\n' $((90000 + i))
        i=$((i + 1))
    done
    printf '0\nYES\nEXIT\n'
}

run() {
    rm -rf "$dir/run" && cp -R "$dir/club" "$dir/run"
    sheet "$1" >"$dir/input"
    start=$(date +%s.%N)
    (cd "$dir/run" && "$build/varnok" <"$dir/input" >"$dir/output")
    end=$(date +%s.%N)
    if grep -q '^? ' "$dir/output"; then
        echo "unexpected messages:" >&2
        grep '^? ' "$dir/output" | head >&2
        exit 1
    fi
    echo "$end - $start" | bc
}

with=$(run "$n")
added=$(grep -c '	BENCHPILOT	' "$dir/run/VNKFLGHT.HIS" || true)
if [ "$added" -ne "$n" ]; then
    echo "expected $n flights appended, found $added" >&2
    exit 1
fi
without=$(run 0)

start=$(date +%s.%N)
awk -F'\t' 'FNR == 1 { file++ } file == 2 && !/!/ { key[$3 FS $1 FS $2]++ }
     END { print length(key) > "/dev/null" }' "$dir/club/VNKCUST.DAT" "$dir/club/VNKFLGHT.HIS"
end=$(date +%s.%N)
floor=$(echo "$end - $start" | bc)

echo "club: $customers customers, $flights flights; sheet of $n walk-in flights"
echo "ENTER with $n flights: $with s; with none: $without s"
echo "per flight typed: $(echo "scale=6; ($with - $without) / $n" | bc) s"
echo "awk floor (read customers and day sheets, key every flight): $floor s"
