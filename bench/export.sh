#!/bin/sh
# Times the month's export and the receivables report on a small and a
# large synthetic club: QUICKBOOKS (its bill run, the invoices and the move
# of the history into the QU files) and ACCOUNT-BALANCES, each in a fresh
# copy of the club, with wall time, CPU time and peak memory, beside an awk
# floor: one pass over the customer, balances and history files summing
# every account's cents.
#
#   bench/export.sh BUILD [SMALL_C SMALL_F LARGE_C LARGE_F]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build).
set -e
build=$(cd "$1" && pwd)
. "$(dirname "$0")/club_prices.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

# Prints "wall_seconds cpu_seconds peak_MiB" of one run of the given input
# on a fresh copy.
run() {
    rm -rf "$dir/run" && cp -R "$dir/club" "$dir/run"
    printf "$1" >"$dir/input"
    # The wall clock to the millisecond: time's own 10 ms would make the
    # small club's figure, and so the ratio, jump by a tenth.
    start=$(date +%s.%N)
    (cd "$dir/run" && /usr/bin/time -f '%U %S %M' -o "$dir/time" "$build/varnok" <"$dir/input" >"$dir/output")
    end=$(date +%s.%N)
    check_quiet "$dir/output"
    awk -v wall="$(echo "$end - $start" | bc)" '{ printf "%.3f %.2f %.0f", wall, $1 + $2, $3 / 1024 }' "$dir/time"
}

show() {
    set -- $2 "$1" "$3"
    printf '  %-17s %5.2f s (cpu %5.2f s), peak %4d MiB, %5.1f x the awk floor\n' \
        "$4" "$1" "$2" "$3" "$(echo "$1 / $5" | bc -l)"
}

club() {
    "$build/bench/bench_gen_club" "$dir/club" "$1" "$2" >/dev/null
    complete_club "$dir/club"
    quickbooks=$(run 'WRITE\nQB.IIF\nQUICKBOOKS\nNO\nNO\nNO\nNO\nALL\nEXIT\n')
    invoices=$(grep -c '^TRNS' "$dir/run/QB.IIF" || true)
    if [ "$invoices" -eq 0 ] || ! grep -q '^!Start of billing cycle$' "$dir/run/VNKFLGHT.HIS"; then
        echo "the export wrote no invoices or did not move the history" >&2
        exit 1
    fi
    balances=$(run 'WRITE\nBAL.LIS\nACCOUNT-BALANCES\nNO\nNO\nNO\nALL\nEXIT\n')
    grep -q '^Expected Net accounts receivable:' "$dir/run/BAL.LIS"

    start=$(date +%s.%N)
    awk -F'\t' '!/!/ && NF > 3 { sum[$4] += $6 } END { print length(sum) > "/dev/null" }' \
        "$dir/club/VNKCUST.DAT" "$dir/club/VNKBAL.DAT" "$dir/club/VNKFLGHT.HIS" \
        "$dir/club/VNKGAS.HIS" "$dir/club/VNKPMNT.HIS"
    end=$(date +%s.%N)
    floor=$(echo "$end - $start" | bc)

    echo "club: $1 customers, $2 flights ($invoices invoices); awk floor $floor s"
    show QUICKBOOKS: "$quickbooks" "$floor"
    show ACCOUNT-BALANCES: "$balances" "$floor"
    echo "${quickbooks%% *} ${balances%% *}" >"$dir/walls$1"
    rm -rf "$dir/club" "$dir/run"
}

small=${2:-2000}
large=${4:-20000}
club "$small" "${3:-100000}"
club "$large" "${5:-1000000}"
read -r qs bs <"$dir/walls$small"
read -r ql bl <"$dir/walls$large"
printf 'large / small: QUICKBOOKS %.1f, ACCOUNT-BALANCES %.1f\n' "$(echo "$ql / $qs" | bc -l)" \
    "$(echo "$bl / $bs" | bc -l)"
