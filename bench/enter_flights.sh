#!/bin/sh
# Times typing a day sheet into a large club: N walk-in flights billed to
# the CASH account (which holds one flight in twenty of the period, tens of
# thousands, so the duplicate test meets a long list), then Remember.
#
#   bench/enter_flights.sh BUILD [N] [CUSTOMERS] [FLIGHTS]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build). Prints
# the median (min-max) of SAMPLES runs of ENTER with N flights (20,000 by
# default, so that their cost stands well above the noise of the load) and
# with none, their difference per flight, and the awk floor taken in turn
# with them: one pass over the customer and day sheet files keying the
# CASH account's flights by date and number, as the duplicate test must.
set -e
build=$(cd "$1" && pwd)
n=${2:-20000}
customers=${3:-20000}
flights=${4:-1000000}
. "$(dirname "$0")/club_prices.sh"
. "$(dirname "$0")/sampling.sh"
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
sheet "$n" >"$dir/with.in"
sheet 0 >"$dir/without.in"

fresh() { rm -rf "$dir/run" && cp -R "$dir/club" "$dir/run"; }

with() {
    fresh
    timed "$dir/run" "$dir/with.in"
    added=$(grep -c '	BENCHPILOT	' "$dir/run/VNKFLGHT.HIS" || true)
    if [ "$added" -ne "$n" ]; then
        echo "expected $n flights appended, found $added" >&2
        exit 1
    fi
}

without() {
    fresh
    timed "$dir/run" "$dir/without.in"
}

awk_floor() {
    wall awk -F'\t' 'FNR == 1 { file++ } file == 2 && $3 == "CASH" { key[$1 FS $2]++ }
         END { print length(key) > "/dev/null" }' "$dir/club/VNKCUST.DAT" "$dir/club/VNKFLGHT.HIS"
}

sample e with without awk_floor
w=$(median_of e with | cut -d' ' -f1)
wo=$(median_of e without | cut -d' ' -f1)
echo "club: $customers customers, $flights flights; sheet of $n walk-in flights"
echo "ENTER with $n flights: $(figure e with), peak $(peak_of e with) MiB"
echo "ENTER with none: $(figure e without)"
echo "per flight typed: $(echo "$w $wo $n" | awk '{ printf "%.6f", ($1 - $2) / $3 }') s"
echo "awk floor (read customers and day sheets, key the CASH flights): $(figure e awk_floor)"
echo "ENTER with $n flights / floor: $(ratio "$w" "$(median_of e awk_floor | cut -d' ' -f1)")"
