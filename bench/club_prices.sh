# Sourced by the benchmark scripts. The synthetic club prices only its
# aircraft, tows and one fuel grade, and has no statement heading or
# trailer; a real club also prices instruction, minimum and ground time,
# the second fuel grade, its taxes and the instructors' paid hours. Without
# them every flight or fuel sale would report a missing or changed price
# and the runs would time messages instead of work.
#
#   complete_club CLUB_DIR
complete_club() {
    printf 'SOARING CLUB\n1 AIRFIELD ROAD\nCONCORD, NH 03301\n' >"$1/VNKHEAD.DAT"
    printf 'Please pay within 30 days.\n' >"$1/VNKTRAIL.DAT"
    for item in INSTRUCTION:30.000 PVT-INSTRUCTION:20.000 MINIMUM-TIME:0.500 \
        GROUND-TIME:0.100 JETA:4.250 TOW-SALESTAX:0.000 FLT-SALESTAX:0.050 \
        INS-SALESTAX:0.000 CFI-HOURS-PAID:1.000; do
        printf '$PRICE\t%s\t0\n\tDEFAULT\t%s\n\n' "${item%%:*}" "${item#*:}"
    done >>"$1/VNKPRICE.DAT"
}

# Fails the benchmark when a run printed a message for its data: the
# figures would then measure the messages, not the work.
check_quiet() {
    if grep -q '^? \|^  ? ' "$1"; then
        echo "the run reported problems with its data (count, text):" >&2
        grep '^? \|^  ? ' "$1" | cut -c1-50 | sort | uniq -c | sort -rn | head -5 >&2
        exit 1
    fi
}
