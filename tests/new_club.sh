#!/bin/sh
# varnok --new-club: an empty folder becomes a club that bills; one holding a club is refused.
#   tests/new_club.sh VARNOK
set -e
. "$(dirname "$0")/common.sh"

"$varnok" --new-club "$dir/club" >"$dir/console" 2>&1
cat >"$dir/expected" <<END
A new club is in "$dir/club": no prices, no customers, an empty period.
Start varnok in that folder, then:
  1. ADD PRICE for each aircraft (rental per hour), HOOKUP and THOUSAND
     (tows) and whatever else the club charges; "?" at a price says
     what its number means.
  2. ADD CUSTOMER for each member (cash visitors are billed to CASH).
  3. ENTER GLIDER-FLIGHTS for the first day sheet; BILLS then writes the
     statements into VNKSTMNT.LIS.
Put the club's name and address into VNKHEAD.DAT and its payment terms
into VNKTRAIL.DAT: they head and end every statement.
END
diff "$dir/expected" "$dir/console" >&2 || fail "unexpected --new-club text"

# A second run, or a folder holding any one club file, changes nothing.
cp -R "$dir/club" "$dir/before"
mkdir "$dir/other" && echo '!Start of billing cycle' >"$dir/other/VNKGAS.HIS"
for club in club other; do
    if "$varnok" --new-club "$dir/$club" >"$dir/console" 2>&1; then fail "$club accepted"; fi
    grep -q "already holds a club" "$dir/console" || fail "no refusal for $club"
done
diff -r "$dir/before" "$dir/club" >&2 || fail "the refused run changed the club"
[ "$(ls "$dir/other")" = VNKGAS.HIS ] || fail "the refused run wrote into other"

# A club that cannot be written whole is not left half-written.
(ulimit -f 0 && "$varnok" --new-club "$dir/full" 2>&1 || echo "status $?") | cat >"$dir/console"
grep -q 'cannot write' "$dir/console" && grep -qx 'status 1' "$dir/console" &&
    [ -z "$(ls "$dir/full")" ] || fail "half a club left"

# ASK21 at $30 an hour, a $20 hook-up and $10 per thousand feet; John Smith
# flies half an hour on a 2,000 ft tow: $40.00 tow, $15.00 rental.
printf '%s\n' 'ADD PRICE' ASK21 1 '' 30 YES HOOKUP 0 '' 20 YES THOUSAND '' '' 10 NO \
    'ADD CUSTOMER' John Smith '' NO '' '' '' '' '' '' '' '' '' '' '' '' NO NO NO \
    ENTER GLIDER-FLIGHTS 6-5-2005 '' 'JOHN SMITH' 1 OTHER '' '' JS PAWNEE 2 13:00 13:30 '' 0 '' \
    BILLS NO NO EXIT >"$dir/input"
(cd "$dir/club" && FAKETIME='2005-06-07 12:00:00' $clock "$varnok" <"$dir/input" >"$dir/console" 2>&1)
! grep -q 'Unable\|Illegal\|Bad ' "$dir/console" || fail "a club file could not be read"
grep -qx '1 statements printed to file VNKSTMNT.LIS' "$dir/console" || fail "no statement"
# The statement's layout is checked elsewhere; here its sums.
for line in '        JOHN SMITH' \
            ' 6-5-2005        1   ASK21    0:30                2.0K by PAWNEE Tow:   $40.00' \
            '                               Rental 0:30 hours 1 flights              $15.00' \
            '                                              New balance:              $55.00'; do
    grep -qxF "$line" "$dir/club/VNKSTMNT.LIS" || fail "statement lacks: $line"
done
head -1 "$dir/club/VNKSTMNT.LIS" | grep -q "THE CLUB'S NAME" || fail "no heading"
