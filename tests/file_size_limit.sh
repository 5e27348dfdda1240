#!/bin/sh
# Under a file-size limit of zero every write fails: an ordinary write error, not the end of the
# program; each file keeps its old contents and no temporary is left.
#   tests/file_size_limit.sh VARNOK DEMO_DIR
set -e
. "$(dirname "$0")/common.sh"
cp -R "$2/." "$dir/club" 2>/dev/null || { mkdir "$dir/club" && cp -R "$2/." "$dir/club"; }
cp -R "$dir/club" "$dir/before"

# A list and the bills that cannot be written count nothing, and the bills stay not created; a
# balance changed and saved; a payment whose temporary file cannot be written: no "Remember" offered.
printf '%s\n' WRITE OUT.LIS ADDRESS-LIST '' '' BILLS '' '' TYPE BILLS '' ENTER ACCOUNT-BALANCE \
    'Karen Anderson' 1.00 SAVE ENTER PAYMENTS '' '' 'Karen Anderson' 12 10.00 note '' 0 EXIT >"$dir/input"
# The console goes through a pipe: under the limit no file can take it.
(cd "$dir/club" && ulimit -f 0 && TZ=UTC "$varnok" <"$dir/input" 2>&1; echo "status $?") |
    cat >"$dir/console"
grep -qx 'status 0' "$dir/console" || fail "the program did not end normally"
for message in '? Unable to close output file "OUT.LIS"' \
               '? No statements were written to file VNKSTMNT.LIS' \
               'Bills have not been created since starting VARNOK or' \
               '? Unable to close balances file "VNKBAL.DAT"' \
               '? Unable to close payments file "VNKPMNT.TMP"'; do
    grep -qF "$message" "$dir/console" || fail "missing: $message"
done
! grep -E 'addresses output|statements printed' "$dir/console" >&2 || fail "a count of nothing"
diff -r -x VNKLOCK.LCK "$dir/before" "$dir/club" >&2 || fail "a file changed under the limit"
