#!/bin/sh
# Times TIMES and END-MONTH on a small and a large synthetic club: the
# median wall time (min-max) and peak memory of SAMPLES runs of each, taken
# in turn with an awk floor on the same files.
#
#   bench/times_emonth.sh BUILD [SMALL_C SMALL_F LARGE_C LARGE_F]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build). Each
# run loads the club from scratch, as a treasurer's session would. TIMES is
# the whole command (load, five summaries, times file); END-MONTH is the
# whole closing with TIMES and BILLS inside it, the copy under periods/,
# the renames and the fresh files. TIMES stands beside an awk floor that
# reads the customer and day sheet files once and groups every flight by
# aircraft and pilot, by tow pilot and date, and by instructor and pilot:
# the least work TIMES can do. END-MONTH runs the bill run, so it stands
# beside the bill floor of sampling.sh.
set -e
build=$(cd "$1" && pwd)
. "$(dirname "$0")/club_prices.sh"
. "$(dirname "$0")/sampling.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

fresh() { rm -rf "$dir/run" && cp -R "$club" "$dir/run"; }

times_run() {
    fresh
    timed "$dir/run" "$dir/times.in"
}

emonth_run() {
    fresh
    timed "$dir/run" "$dir/emonth.in"
    if [ ! -f "$dir/run/VNKFLGHT.OLD" ] || [ ! -d "$dir/run/periods" ]; then
        echo "END-MONTH did not close the period" >&2
        exit 1
    fi
}

awk_floor() {
    wall awk -F'\t' 'FNR == 1 { file++ }
        file == 2 && !/!/ && !/^\$/ { m = $13 - $12; a[$4 FS $5] += m; t[$9 FS $1] += $11
                                      if ($6 == "I") c[$7 FS $5] += m }
        END { print length(a), length(t), length(c) > "/dev/null" }' \
        "$club/VNKCUST.DAT" "$club/VNKFLGHT.HIS"
}

bill_floor_run() {
    bill_floor "$club"
}

report() {
    name=$1
    floor=$(median "$name" awk_floor)
    echo "club: $2 customers, $3 flights; awk floor $(figure "$name" awk_floor)," \
        "bill floor $(figure "$name" bill_floor_run)"
    show_beside_floor 10 TIMES: times_run
    floor=$(median "$name" bill_floor_run)
    show_beside_floor 10 END-MONTH: emonth_run
}

small=${2:-2000}
large=${4:-20000}
small_club="$dir/small" && make_club "$small_club" "$small" "${3:-100000}"
large_club="$dir/large" && make_club "$large_club" "$large" "${5:-1000000}"
printf 'TIMES\n\nEXIT\n' >"$dir/times.in"
printf 'END-MONTH\n\nYES\nNO\n\n\n\nEXIT\n' >"$dir/emonth.in"
sample_both times_run emonth_run awk_floor bill_floor_run
report small "$small" "${3:-100000}"
report large "$large" "${5:-1000000}"
printf 'large / small: TIMES %s, END-MONTH %s\n' \
    "$(ratio "$(median large times_run)" "$(median small times_run)")" \
    "$(ratio "$(median large emonth_run)" "$(median small emonth_run)")"
