#!/bin/sh
# Times TIMES and END-MONTH on a small and a large synthetic club, with the
# wall time, CPU time and peak memory of each run, beside an awk floor on
# the same files.
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
. "$(dirname "$0")/club_prices.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

# Prints "wall_seconds cpu_seconds peak_MiB" for varnok run in $2 on the
# input $1.
measure() {
    # The wall clock to the millisecond: time's own 10 ms would make the
    # small club's figure, and so the ratio, jump by a tenth.
    start=$(date +%s.%N)
    (cd "$2" && /usr/bin/time -f '%U %S %M' -o "$dir/time" "$build/varnok" <"$1" >"$dir/output")
    end=$(date +%s.%N)
    check_quiet "$dir/output"
    awk -v wall="$(echo "$end - $start" | bc)" '{ printf "%.3f %.2f %.0f", wall, $1 + $2, $3 / 1024 }' "$dir/time"
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

show() {
    set -- $2 "$1" "$3"
    printf '  %-10s %5.2f s (cpu %5.2f s), peak %4d MiB, %5.1f x the awk floor\n' \
        "$4" "$1" "$2" "$3" "$(echo "$1 / $5" | bc -l)"
}

club() {
    customers=$1
    flights=$2
    "$build/bench/bench_gen_club" "$dir/club" "$customers" "$flights" >/dev/null
    complete_club "$dir/club"
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
    awk_floor=$(floor "$dir/club")
    echo "club: $customers customers, $flights flights; awk floor $awk_floor s"
    show TIMES: "$times" "$awk_floor"
    show END-MONTH: "$emonth" "$awk_floor"
    echo "${times%% *} ${emonth%% *}" >"$dir/walls$customers"
    rm -rf "$dir/club" "$dir/run"
}

small=${2:-2000}
large=${4:-20000}
club "$small" "${3:-100000}"
club "$large" "${5:-1000000}"
read -r ts es <"$dir/walls$small"
read -r tl el <"$dir/walls$large"
printf 'large / small: TIMES %.1f, END-MONTH %.1f\n' "$(echo "$tl / $ts" | bc -l)" \
    "$(echo "$el / $es" | bc -l)"
