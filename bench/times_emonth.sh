#!/bin/sh
# Times TIMES and END-MONTH on a small and a large synthetic club, with the
# peak memory of each run, beside an awk floor on the same files.
#
#   bench/times_emonth.sh BUILD [SMALL_C SMALL_F LARGE_C LARGE_F]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build). Each
# run loads the club from scratch, as a treasurer's session would. TIMES is
# the whole command (load, five summaries, times file); END-MONTH is the
# whole closing with TIMES and BILLS inside it, the copy under periods/,
# the renames and the fresh files. The awk floor reads the customer and day
# sheet files once and groups every flight by aircraft and pilot, by tow
# pilot and date, and by instructor and pilot: the least work TIMES can do.
set -e
build=$(cd "$1" && pwd)
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

# Prints "seconds peak_MiB" for varnok run in $2 on the input $1.
measure() {
    (cd "$2" && /usr/bin/time -f '%e %M' -o "$dir/time" "$build/varnok" <"$1" >"$dir/output")
    if grep -q '^? \|^Error' "$dir/output"; then
        echo "messages of the run (count, text):" >&2
        grep '^? \|^Error' "$dir/output" | cut -c1-40 | sort | uniq -c | head -5 >&2
    fi
    awk '{ printf "%s s, %.0f MiB", $1, $2 / 1024 }' "$dir/time"
}

floor() {
    start=$(date +%s.%N)
    awk -F'\t' 'FNR == 1 { file++ }
        file == 2 && !/!/ && !/^\$/ { m = $13 - $12; a[$4 FS $5] += m; t[$9 FS $1] += $11
                                      if ($6 == "I") c[$7 FS $5] += m }
        END { print length(a), length(t), length(c) > "/dev/null" }' \
        "$1/VNKCUST.DAT" "$1/VNKFLGHT.HIS"
    end=$(date +%s.%N)
    echo "$end - $start" | bc
}

club() {
    customers=$1
    flights=$2
    "$build/bench/bench_gen_club" "$dir/club" "$customers" "$flights" >/dev/null
    # The rates the generator leaves out, so that no run reports a missing
    # price for every flight.
    for item in CFI-HOURS-PAID:1.000 GROUND-TIME:0.100 MINIMUM-TIME:0.250 INSTRUCTION:30.000 \
        FLT-SALESTAX:0.050 TOW-SALESTAX:0.050 INS-SALESTAX:0.000; do
        printf '$PRICE\t%s\t0\n\tDEFAULT\t%s\n' "${item%%:*}" "${item#*:}"
    done >>"$dir/club/VNKPRICE.DAT"
    printf 'TIMES\n\nEXIT\n' >"$dir/times.in"
    printf 'END-MONTH\n\nYES\nNO\n\n\n\nEXIT\n' >"$dir/emonth.in"
    rm -rf "$dir/run" && cp -R "$dir/club" "$dir/run"
    times=$(measure "$dir/times.in" "$dir/run")
    rm -rf "$dir/run" && cp -R "$dir/club" "$dir/run"
    emonth=$(measure "$dir/emonth.in" "$dir/run")
    if [ ! -f "$dir/run/VNKFLGHT.OLD" ] || [ ! -d "$dir/run/periods" ]; then
        echo "END-MONTH did not close the period" >&2
        exit 1
    fi
    echo "club: $customers customers, $flights flights"
    echo "  TIMES:     $times"
    echo "  END-MONTH: $emonth"
    echo "  awk floor: $(floor "$dir/club") s"
    rm -rf "$dir/club" "$dir/run"
}

club "${2:-2000}" "${3:-100000}"
club "${4:-20000}" "${5:-1000000}"
