#!/bin/sh
# The small club's bill run beside ledger, the plain-text accounting tool,
# on a journal of the same size: as many transactions as the club has
# history records (flights, and a fifth of that each of fuel sales, misc
# records and payments), over as many customers, made by the workplace's
# gen_journal.py. ledger's `balance` sums every account, the nearest thing
# it does to a bill run. Both are timed as whole runs, SAMPLES of each in
# turn, and the figure is records per second of each and their ratio.
#
#   bench/ledger_peer.sh BUILD [CUSTOMERS FLIGHTS]
#
# BUILD holds varnok and bench/bench_gen_club (an optimised build); ledger
# comes with `scripts/setup-deps --bench`.
set -e
build=$(cd "$1" && pwd)
customers=${2:-2000}
flights=${3:-100000}
here=$(cd "$(dirname "$0")" && pwd)
. "$here/club_prices.sh"
. "$here/sampling.sh"
journal_maker=${GEN_JOURNAL:-$here/../../shared/tools/gen_journal.py}
command -v ledger >/dev/null || {
    echo "ledger is missing: scripts/setup-deps --bench installs it" >&2
    exit 1
}
[ -f "$journal_maker" ] || {
    echo "gen_journal.py not found; give its path in GEN_JOURNAL" >&2
    exit 1
}
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

club="$dir/club"
make_club "$club" "$customers" "$flights"
records=$((flights + 3 * (flights / 5)))
python3 "$journal_maker" -t "$records" -c "$customers" --ledger "$dir/journal.dat"
printf 'BILLS\n\n\nEXIT\n' >"$dir/input"

bills() {
    timed "$club" "$dir/input"
    grep -q 'statements printed' "$dir/output"
}
peer() {
    wall ledger -f "$dir/journal.dat" --output "$dir/balance" balance
    tail -1 "$dir/balance" | grep -q '^ *0$'
}

sample peer bills peer
ours=$(median_of peer bills | cut -d' ' -f1)
theirs=$(median_of peer peer | cut -d' ' -f1)
echo "$customers customers, $records records each"
echo "  bill run:       $(figure peer bills), $(echo "$records $ours" | awk '{ printf "%d", $1 / $2 }') records/s"
echo "  ledger balance: $(figure peer peer), $(echo "$records $theirs" | awk '{ printf "%d", $1 / $2 }') records/s"
echo "  throughput: $(ratio "$theirs" "$ours") x ledger's"
