#!/bin/sh
# Times the bill run with every statement also written as PDF against the
# plain bill run, on the same synthetic club in the same session: BILLS,
# then WRITE BILLS.PDF with the BILLS output (one PDF, a page group per
# statement), against BILLS alone. Five samples of each, interleaved so
# that a busy machine slows both alike; the medians are compared. The goal:
# at most 3 times the plain run, peak memory under 1 GiB.
#
#   bench/pdf_bills.sh BUILD [CUSTOMERS FLIGHTS]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build).
set -e
build=$(cd "$1" && pwd)
customers=${2:-20000}
flights=${3:-1000000}
. "$(dirname "$0")/club_prices.sh"
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

"$build/bench/bench_gen_club" "$dir/club" "$customers" "$flights" >/dev/null
complete_club "$dir/club"
printf 'BILLS\n\n\nEXIT\n' >"$dir/plain.in"
printf 'BILLS\n\n\nWRITE bills.pdf\nBILLS\n\nEXIT\n' >"$dir/pdf.in"

# Appends "wall_seconds peak_KiB cpu_seconds" of one run on the input $1
# to $dir/$1.
sample() {
    start=$(date +%s.%N)
    (cd "$dir/club" && /usr/bin/time -f '%M %U %S' -o "$dir/mem" "$build/varnok" <"$dir/$1.in" >"$dir/output")
    end=$(date +%s.%N)
    check_quiet "$dir/output"
    grep -q 'statements printed' "$dir/output" || { echo "the bill run did not finish" >&2; exit 1; }
    if [ "$1" = pdf ] && ! grep -q 'pages) written to BILLS.PDF' "$dir/output"; then
        echo "no PDF was written:" >&2
        tail -3 "$dir/output" >&2
        exit 1
    fi
    read -r kib user sys <"$dir/mem"
    echo "$(echo "$end - $start" | bc) $kib $(echo "$user + $sys" | bc)" >>"$dir/$1"
}

for i in 1 2 3 4 5; do
    sample plain
    sample pdf
done
median() { cut -d' ' -f"${2:-1}" "$dir/$1" | sort -n | sed -n 3p; }
peak() { sort -k2 -n "$dir/$1" | tail -1 | cut -d' ' -f2; }
plain=$(median plain)
pdf=$(median pdf)
ratio=$(echo "$pdf / $plain" | bc -l)
pages=$(grep -o '([0-9]* pages)' "$dir/output")
printf 'C=%d F=%d: bill run %.2f s (cpu %.2f s), with PDFs %.2f s (cpu %.2f s) %s, %d KiB of PDF\n' \
    "$customers" "$flights" "$plain" "$(median plain 3)" "$pdf" "$(median pdf 3)" "$pages" \
    "$(($(wc -c <"$dir/club/BILLS.PDF") / 1024))"
printf 'medians of 5: ratio %.2f (goal at most 3), peak memory %d MiB plain, %d MiB with PDFs (goal under 1024)\n' \
    "$ratio" $(($(peak plain) / 1024)) $(($(peak pdf) / 1024))
if [ "$(echo "$ratio > 3" | bc)" = 1 ] || [ "$(peak pdf)" -ge 1048576 ]; then
    echo "goal missed" >&2
    exit 1
fi
