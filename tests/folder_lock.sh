#!/bin/sh
# A second run on a club folder another run holds (by flock, the holder's note in the lock file)
# names the holder and offers the club read-only, changing nothing; answered NO, it leaves.
#   tests/folder_lock.sh VARNOK DEMO_DIR
set -e
. "$(dirname "$0")/common.sh"
mkdir "$dir/club"
cp -R "$2/." "$dir/club"
cd "$dir/club"
echo 'process 4242 on clubhouse by treasurer' >VNKLOCK.LCK
cp -R . ../before
printf 'YES\nSAVE\nENTER\nIMPORT FLIGHTS.CSV\nREMOVE\nEND-MONTH\nEXIT\n' >../input
flock VNKLOCK.LCK sh -c "FAKETIME='@2005-06-07 12:00:00' $clock '$varnok' <../input >../console 2>&1"
grep -qF '? The club folder is in use by process 4242 on clubhouse by treasurer.' ../console ||
    fail "the holder is not named"
for command in SAVE ENTER IMPORT REMOVE END-MONTH; do
    grep -qF "? The club is open read-only: $command is not available." ../console ||
        fail "the read-only run allowed $command"
done
grep -q 'Open the club read-only' ../console || fail "no read-only offer"
diff -r ../before . || fail "the read-only run changed the club's files"
printf 'NO\nSAVE\n' >../input
flock VNKLOCK.LCK sh -c "'$varnok' <../input >../console 2>&1" || fail "leaving is not a failure"
[ "$(tail -1 ../console)" = "Open the club read-only [NO]: Leaving the club to the run that holds it." ] || fail "NO did not leave"
! grep -q 'Date set to' ../console || fail "NO went on into the club"
