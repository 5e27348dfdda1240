#!/bin/sh
# VERIFY and IMPORT on the demo club, as the README's month does them.
#   tests/verify_demo.sh VARNOK DEMO_DIR
set -e
. "$(dirname "$0")/common.sh"
cp -R "$2/." "$dir"
printf 'VERIFY FIRST.LIS\nIMPORT FLIGHTS.CSV\n\nVERIFY AFTER.LIS\nEXIT\n' >"$dir/input"
(cd "$dir" && FAKETIME='@2005-06-07 12:00:00' $clock "$varnok" <input >console 2>&1)
[ "$(tail -1 "$dir/FIRST.LIS")" = "72 findings." ] || fail "VERIFY did not find 72"
[ "$(grep -c ': [A-Z0-9-]* in the air twice at once on 5-' "$dir/FIRST.LIS")" = 72 ] ||
    fail "VERIFY found something else on the demo club"
for line in '? Line 7: Can not find account or abbreviation for "NOBODY".' \
            '6 rows read, 5 taken, 1 refused, 0 duplicates.' \
            'FLIGHTS.CSV line 5: ASK-21 has no price for FULL (did you mean ASK21?)' \
            'FLIGHTS.CSV line 6: DISCUS in the air twice at once on 5-31-2005: 10:05-11:20 and line 2 10:05-11:20'; do
    grep -qxF "$line" "$dir/console" || fail "IMPORT did not print: $line"
done
[ "$(grep -c '^5-31-2005' "$dir/VNKFLGHT.HIS")" = 5 ] || fail "IMPORT did not remember five flights"
grep -qxF 'VNKFLGHT.HIS line 158: ASK-21 has no price for FULL (did you mean ASK21?)' "$dir/AFTER.LIS" ||
    fail "VERIFY did not find the imported glider"
[ "$(tail -1 "$dir/AFTER.LIS")" = "74 findings." ] || fail "VERIFY after IMPORT did not find 74"
