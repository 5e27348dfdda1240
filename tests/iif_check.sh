#!/bin/sh
# The accounting export read as the accounting package reads it: splits balance each TRNS to the
# cent, the TRNS sum to the receivables report's new charges, a second export finds nothing.
#   tests/iif_check.sh VARNOK GEN_CLUB [CUSTOMERS] [FLIGHTS]
set -e
. "$(dirname "$0")/common.sh"
"$2" "$dir/club" "${3:-300}" "${4:-20000}" >/dev/null

run() { # directory, output file, output, answers
    printf 'WRITE\n%s\n%s\n%bEXIT\n' "$2" "$3" "$4" >"$dir/input"
    (cd "$1" && TZ=UTC "$varnok" <"$dir/input" >"$dir/console")
}

cp -R "$dir/club" "$dir/export" && cp -R "$dir/club" "$dir/report"
run "$dir/export" QB.IIF QUICKBOOKS 'NO\nNO\nNO\nNO\nALL\n'
run "$dir/report" BAL.LIS ACCOUNT-BALANCES 'NO\nNO\nNO\nALL\n'

# Amounts in cents, from "-12.34" without floating point.
total=$(awk -F'\t' '
    function cents(a,   s, p) { s = 1; if (a ~ /^-/) { s = -1; a = substr(a, 2) }
                                split(a, p, "."); return s * (p[1] * 100 + p[2]) }
    $1 == "TRNS" { if (open) bad = bad "nested " $5 "\n"; open = 1; trns = cents($6); spl = 0; n++ }
    $1 == "SPL" { if (!open) bad = bad "stray split\n"; spl += cents($6) }
    $1 == "ENDTRNS" { if (spl != -trns) bad = bad "unbalanced " name "\n"; sum += trns; open = 0 }
    END { if (open || n == 0 || bad != "") { printf "%s", bad > "/dev/stderr"; exit 1 } print sum }
' "$dir/export/QB.IIF")
billed=$(awk '/^Charges to be billed:/ { a = $NF; gsub(/[$,]/, "", a); split(a, p, ".");
                                          print p[1] * 100 + p[2] }' "$dir/report/BAL.LIS")
[ "$total" = "$billed" ] || fail "TRNS amounts sum to $total cents, the new charges to $billed"

run "$dir/export" QB2.IIF QUICKBOOKS 'NO\nNO\nNO\nNO\nALL\n'
! grep -q '^TRNS' "$dir/export/QB2.IIF" || fail "the second export found charges again"
echo "IIF of $(grep -c '^TRNS' "$dir/export/QB.IIF") invoices balances; $total cents exported once"
