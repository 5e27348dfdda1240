# Sourced by the benchmark scripts. One sample of anything swings by a
# third on a shared machine, so every figure is the median of several runs,
# taken in turn with the floor beside it: a slow minute slows both alike.
#
#   SAMPLES (default 5, at least 5 for a figure worth quoting)
#   sample NAME FUNCTION...  runs FUNCTION... in turn SAMPLES times; each
#                            prints "wall_seconds [cpu_seconds peak_MiB]",
#                            kept in $dir/NAME.<function>
#   sample_both FUNCTION...  the same over a small and a large club
#   median_of NAME FUNCTION  "median min max" of the wall times
#   peak_of NAME FUNCTION    the largest peak memory in MiB
#   figure NAME FUNCTION     "1.234 s (1.200-1.300)"
SAMPLES=${SAMPLES:-5}

now() { date +%s.%N; }

sample() {
    name=$1
    shift
    for fn in "$@"; do : >"$dir/$name.$fn"; done
    i=0
    while [ "$i" -lt "$SAMPLES" ]; do
        for fn in "$@"; do "$fn" >>"$dir/$name.$fn"; done
        i=$((i + 1))
    done
}

# sample_both FUNCTION...: as sample, over two clubs, $small_club and
# $large_club, in turn within every round, each run finding its club in
# $club; kept under the names "small" and "large". The large club's time
# over the small one's then compares runs of the same minutes, not two
# stretches of a shared machine far apart.
sample_both() {
    for fn in "$@"; do : >"$dir/small.$fn" && : >"$dir/large.$fn"; done
    i=0
    while [ "$i" -lt "$SAMPLES" ]; do
        for size in small large; do
            eval "club=\$${size}_club"
            for fn in "$@"; do "$fn" >>"$dir/$size.$fn"; done
        done
        i=$((i + 1))
    done
}

# make_club DIR CUSTOMERS FLIGHTS: a complete synthetic club in DIR.
make_club() {
    "$build/bench/bench_gen_club" "$1" "$2" "$3" >/dev/null
    complete_club "$1"
}

# median NAME FUNCTION: the median wall time alone.
median() { median_of "$1" "$2" | cut -d' ' -f1; }

median_of() {
    cut -d' ' -f1 "$dir/$1.$2" | sort -n | awk '{ v[NR] = $1 }
        END { m = NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2
              printf "%.3f %.3f %.3f", m, v[1], v[NR] }'
}

peak_of() { awk 'NF >= 3 && $3 > p { p = $3 } END { printf "%d", p }' "$dir/$1.$2"; }

figure() {
    median_of "$1" "$2" | awk '{ printf "%.3f s (%.3f-%.3f)", $1, $2, $3 }'
}

# show_beside_floor WIDTH LABEL FUNCTION: one line of a FUNCTION sampled
# under $name, beside the median $floor.
show_beside_floor() {
    printf "  %-${1}s %s, peak %4d MiB, %5s x its floor\n" "$2" "$(figure "$name" "$3")" \
        "$(peak_of "$name" "$3")" "$(ratio "$(median_of "$name" "$3" | cut -d' ' -f1)" "$floor")"
}

# ratio A B: A / B to two decimals.
ratio() { echo "$1 $2" | awk '{ printf "%.2f", $1 / $2 }'; }

# timed DIR INPUT: runs varnok in DIR on INPUT, prints "wall cpu peak_MiB".
# The wall clock to the millisecond: time's own 10 ms would make the small
# club's figure, and so the ratio, jump by a tenth.
timed() {
    start=$(now)
    (cd "$1" && /usr/bin/time -f '%U %S %M' -o "$dir/time" "$build/varnok" <"$2" >"$dir/output")
    end=$(now)
    check_quiet "$dir/output"
    awk -v wall="$(echo "$end - $start" | bc)" '{ printf "%.3f %.2f %.0f\n", wall, $1 + $2, $3 / 1024 }' "$dir/time"
}

# wall COMMAND...: the wall time of a floor command.
wall() {
    start=$(now)
    "$@"
    end=$(now)
    echo "$end - $start" | bc
}

# bill_floor DIR: the least work of a bill run, as one awk pass over the
# club in DIR: its customers and balances, then every history file, each
# account's flight minutes, fuel and misc cents and payments summed. BILLS
# and the commands that run the bill run inside them (QUICKBOOKS,
# ACCOUNT-BALANCES, END-MONTH) are each timed beside this one floor.
bill_floor() {
    (cd "$1" && wall awk -F'\t' '
        FILENAME ~ /CUST/ && !/[!$]/ { known[$1 FS $2] = 1 }
        FILENAME ~ /BAL/ && !/[!$]/ { owed[$1 FS $2] += $3 }
        FILENAME ~ /FLGHT/ && !/[!$]/ { min[$3] += $13 - $12 }
        FILENAME ~ /GAS/ && !/[!$]/ { cents[$4] += ($5 ~ /^[YN]$/) ? $6 : $5 }
        FILENAME ~ /PMNT/ && !/[!$]/ { paid[$4] += $2 }
        END { print length(known), length(owed), length(min), length(cents) > "/dev/null" }' \
        VNKCUST.DAT VNKBAL.DAT VNKFLGHT.HIS VNKGAS.HIS VNKPMNT.HIS)
}
