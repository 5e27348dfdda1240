#!/usr/bin/env python3
"""Writes the demo club (a small glider club and its month of May 2005) into
the directory given as the only argument. The output is the same on every
run, so the files in demo/ can be regenerated and compared."""

import os
import random
import sys

rng = random.Random(2005)

# Item name -> (fast key, [(category, cost in mills)]).
PRICES = {
    "ASK21": (1, [("DEFAULT", 42000), ("FULL", 30000), ("JUNIOR", 18000), ("FAMILY", 30000)]),
    "SGS2-33": (2, [("DEFAULT", 35000), ("FULL", 24000), ("JUNIOR", 12000), ("FAMILY", 24000)]),
    "DISCUS": (3, [("DEFAULT", 48000), ("FULL", 36000), ("FAMILY", 36000)]),
    "HOOKUP": (0, [("DEFAULT", 22000), ("FULL", 18000), ("JUNIOR", 15000), ("CASH", 25000)]),
    "THOUSAND": (0, [("DEFAULT", 9000), ("FULL", 8000), ("JUNIOR", 6000), ("CASH", 10000)]),
    "INSTRUCTION": (0, [("DEFAULT", 30000), ("JUNIOR", 15000)]),
    "PVT-INSTRUCTION": (0, [("DEFAULT", 45000)]),
    "CFI-HOURS-PAID": (0, [("DEFAULT", 1000)]),
    "MINIMUM-TIME": (0, [("DEFAULT", 30)]),
    "GROUND-TIME": (0, [("DEFAULT", 6)]),
    "ROPE-BREAK": (0, [("DEFAULT", 12000)]),
    "PATTERN-TOW": (0, [("DEFAULT", 15000), ("JUNIOR", 10000)]),
    "DEFAULT-TOWHEIGHT": (0, [("DEFAULT", 2000), ("CASH", 3000)]),
    "TOW-SALESTAX": (0, [("DEFAULT", 50), ("CASH", 50)]),
    "INS-SALESTAX": (0, [("DEFAULT", 0)]),
    "FLT-SALESTAX": (0, [("DEFAULT", 50)]),
    "ROPE-BREAK-SALESTAX": (0, [("DEFAULT", 50)]),
    "PATTERN-TOW-SALESTAX": (0, [("DEFAULT", 50)]),
    "RIDE": (0, [("CASH", 95000)]),
    "100": (0, [("DEFAULT", 4250), ("FULL", 3900), ("CASH", 4500)]),
    "JETA": (0, [("DEFAULT", 3750), ("CASH", 4000)]),
    "MOGAS": (0, [("DEFAULT", 3100)]),
    "GAS100": (0, [("DEFAULT", 4250)]),
}
GRADES = ["100", "80", "JETA", "MOGAS"]
TUGS = ["PAWNEE", "HUSKY"]

# (last, first, type, category, flags, prior category, transition date)
CUSTOMERS = [
    ("AIRSPORTS-INC", "", "CREDIT", "DEFAULT", [], None, None),
    ("ANDERSON", "KAREN", "CREDIT", "FULL", ["BOARD", "INSTRUCTOR"], None, None),
    ("BAKER", "TOM", "CREDIT", "FULL", ["TOWPILOT"], None, None),
    ("BROWN", "ALICE", "CASH", "CASH", [], None, None),
    ("CASH", "", "CASH", "CASH", [], None, None),
    ("CHEN", "LISA", "CREDIT", "JUNIOR", [], "DEFAULT", "5-15-2005"),
    ("DAVIS", "MIKE", "CREDIT", "FULL", ["INSTRUCTOR"], None, None),
    ("EVANS", "RUTH", "CREDIT", "FAMILY", [], None, None),
    ("FISCHER", "HANS", "CREDIT", "FULL", ["TOWPILOT"], None, None),
    ("GARCIA", "ANA", "CREDIT", "JUNIOR", [], None, None),
    ("GREEN", "OSCAR", "CASH", "CASH", [], None, None),
    ("HOLT", "PETER", "CREDIT", "DEFAULT", [], None, None),
    ("IVERSON", "ERIK", "CREDIT", "FULL", [], None, None),
    ("JONES", "SAM", "CREDIT", "FULL", ["BOARD"], None, None),
    ("KOWALSKI", "JAN", "CREDIT", "FULL", [], None, None),
    ("LARSEN", "NILS", "CREDIT", "FAMILY", [], None, None),
    ("MARTIN", "CLAIRE", "CREDIT", "FULL", ["INSTRUCTOR"], None, None),
    ("NAKAMURA", "KEN", "CREDIT", "FULL", [], None, None),
    ("OBRIEN", "SEAN", "CREDIT", "JUNIOR", [], None, None),
    ("PATEL", "RAVI", "CREDIT", "FULL", ["BOARD"], None, None),
    ("QUINN", "MARY", "CREDIT", "DEFAULT", [], None, None),
    ("ROSSI", "MARCO", "CREDIT", "FULL", ["TOWPILOT"], None, None),
    ("SCHMIDT", "ANNA", "CREDIT", "FAMILY", [], None, None),
    ("TAYLOR", "JACK", "CREDIT", "FULL", [], None, None),
    ("USHER", "BEN", "CASH", "CASH", [], None, None),
    ("VARGA", "ZOLTAN", "CREDIT", "FULL", [], "JUNIOR", "4-1-2005"),
    ("WALKER", "EMMA", "CREDIT", "JUNIOR", [], None, None),
    ("XU", "MING", "CREDIT", "FULL", [], None, None),
    ("YOUNG", "DAVID", "CREDIT", "FULL", ["BOARD", "TREASURER"], None, None),
    ("ZIMMER", "PAUL", "CREDIT", "FULL", [], None, None),
]
TOWNS = ["Concord, NH 03301", "Bow, NH 03304", "Hopkinton, NH 03229", "Henniker, NH 03242",
         "Warner, NH 03278", "Boscawen, NH 03303"]
STREETS = ["Elm St", "Main St", "Pleasant St", "School St", "Hill Rd", "River Rd", "Maple Ave"]


def money_mills(cost):
    sign = "-" if cost < 0 else ""
    cost = abs(cost)
    return "%s%d.%03d" % (sign, cost // 1000, cost % 1000)


def write(directory, name, text):
    with open(os.path.join(directory, name), "w", newline="\n") as out:
        out.write(text)


def prices_file():
    lines = ["$VERSION 2", ""]
    for name in sorted(PRICES, key=lambda s: s.encode()):
        key, costs = PRICES[name]
        lines.append("$PRICE\t%s\t%d" % (name, key))
        for category, cost in costs:
            lines.append("\t%s\t%s" % (category, money_mills(cost)))
        lines.append("")
    lines += ["$GAS_GRADE\t%s" % g for g in GRADES]
    lines += ["$EMAIL_SENDER\tTREASURER@VARNOK-SOARING.ORG",
              "$EMAIL_SERVER\tMAIL.VARNOK-SOARING.ORG",
              "$EMAIL_SUBJECT\tYour Varnok Soaring statement",
              "$ALWAYS_BILL_FLAG\tBOARD",
              "$PRINT_BILLS_FOR_CASH_CUSTOMERS\tNO",
              "$FLAG1\tSHAREHOLDER",
              "$FLAG2\tBOARDMEMBER"]
    lines += ["$TUG\t%s" % t for t in TUGS]
    return "\n".join(lines) + "\n"


def customers_file():
    lines = ["$VERSION 6"]
    for i, (last, first, kind, cat, flags, prior, when) in enumerate(CUSTOMERS):
        lines.append("%s\t%s" % (last, first))
        account = "%s\t%s" % (kind, cat)
        if prior:
            account += "\t%s\t%s" % (prior, when)
        lines.append(account)
        if last == "CASH":
            lines += ["-No Phones", "Walk-in sales and rides", "-No #", "-No spouse name",
                      "-No Flags", "-No eMail", "-No Address", ""]
            continue
        phones = ["(603)%03d-%04d" % (rng.randint(220, 899), rng.randint(0, 9999))]
        if i % 3 == 0:
            phones.append("(603)%03d-%04d X%d" % (rng.randint(220, 899), rng.randint(0, 9999),
                                                   rng.randint(10, 99)))
        lines.append("".join(p + "\t" for p in phones))
        lines.append("Member since %d" % rng.randint(1975, 2004) if kind == "CREDIT"
                     else "Visitor")
        lines.append("%s%d" % (last[:2], rng.randint(1, 99)) if "INSTRUCTOR" in flags
                     or i % 4 == 0 else "-No #")
        lines.append(rng.choice(["PAT", "CHRIS", "JO", "LEE"]) if cat == "FAMILY"
                     else "-No spouse name")
        lines.append("\t".join(sorted(flags)) if flags else "-No Flags")
        if not first:
            lines.append("office@%s.example.org" % last.lower())
        elif i % 5 != 2:
            lines.append("%s.%s@example.org" % (first.lower(), last.lower()))
        else:
            lines.append("-No eMail")
        if first:
            lines.append("%s %s" % (first.title(), last.title()))
        else:
            lines.append("Airsports Inc.")
        lines.append("%d %s" % (rng.randint(1, 400), rng.choice(STREETS)))
        lines.append(rng.choice(TOWNS))
        lines.append("")
    return "\n".join(lines) + "\n"


def members(flag=None):
    return [c for c in CUSTOMERS if c[2] == "CREDIT" and c[1] and (flag is None or flag in c[4])]


def initials(c):
    return c[1][0] + c[0][0]


def flights_file():
    students = [c for c in members() if "INSTRUCTOR" not in c[4]]
    solo = members()
    instructors = members("INSTRUCTOR")
    towpilots = members("TOWPILOT")
    days = [1, 7, 8, 14, 15, 18, 21, 22, 25, 28, 29, 30]
    lines = ["$VERSION 2", "!Date\t\tNumber\tAccount\t\t\tPlane\tPilot\tType\tCFI\tPass"]
    receipt = 1001
    total = 0
    for d in days:
        count = 12 if d not in (28, 29) else 15
        clock = 10 * 60
        for number in range(1, count + 1):
            total += 1
            roll = rng.random()
            tug = rng.choice(TUGS)
            towpilot = initials(rng.choice(towpilots))
            cfi = ""
            passenger = ""
            if roll < 0.40:
                who = rng.choice(students)
                kind, plane = "I", rng.choice(["ASK21", "SGS2-33"])
                pilot, cfi = who[0], initials(rng.choice(instructors))
                height, minutes = rng.choice([20, 25, 30]), rng.randint(15, 55)
                account = "%s,%s" % (who[0], who[1])
            elif roll < 0.75:
                who = rng.choice(solo)
                kind, plane = "O", rng.choice(["ASK21", "SGS2-33", "DISCUS", "DISCUS"])
                pilot = who[0]
                height, minutes = rng.choice([20, 30, 30, 40]), rng.randint(20, 180)
                account = "%s,%s" % (who[0], who[1])
            elif roll < 0.90:
                instructor = rng.choice(instructors)
                kind, plane = "C", "ASK21"
                pilot = instructor[0]
                passenger = rng.choice(["R. HALL", "J. PRICE", "M. LOPEZ", "T. KING", "S. WOOD"])
                height, minutes = 30, rng.randint(18, 30)
                account = "#%d" % receipt
                receipt += 1
            elif roll < 0.95:
                who = rng.choice(students)
                kind, plane = "R", "SGS2-33"
                pilot, cfi = who[0], initials(rng.choice(instructors))
                height, minutes = rng.choice([2, 3, 5]), rng.randint(3, 6)
                account = "%s,%s" % (who[0], who[1])
            else:
                who = rng.choice(students)
                kind, plane = "P", "ASK21"
                pilot, cfi = who[0], initials(rng.choice(instructors))
                height, minutes = 8, rng.randint(5, 9)
                account = "%s,%s" % (who[0], who[1])
            start = clock
            end = start + minutes
            clock += rng.randint(12, 30)
            lines.append("%d-%d-2005\t%d\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t%d.%d\t%d:%02d\t%d:%02d\t"
                         % (5, d, number, account, plane, pilot, kind, cfi, passenger, towpilot,
                            tug, height // 10, height % 10, start // 60, start % 60, end // 60,
                            end % 60))
    return "\n".join(lines) + "\n", total


def gas_price(grade, gallons, category):
    costs = dict(PRICES[grade][1])
    rate = costs.get(category, costs.get("DEFAULT", 0))
    return ((gallons * rate) // 10 + 5) // 10


def gas_file():
    owners = [("IVERSON", "ERIK", "N4521K"), ("PATEL", "RAVI", "N77RP"),
              ("YOUNG", "DAVID", "N3318Y"), ("AIRSPORTS-INC", "", "N600AS"),
              ("NAKAMURA", "KEN", "N29KN")]
    category = {(c[0], c[1]): c[3] for c in CUSTOMERS}
    misc = ["$VERSION 2", "$MISC",
            "!Date\t\tSheet\tLine\tAccount\t\tTax\tCents\tCharge (credit) is for"]
    sheet_line = 0
    for last, first, kind, cat, flags, prior, when in CUSTOMERS:
        if kind != "CREDIT" or not first:
            continue
        sheet_line += 1
        misc.append("5-1-2005\t1\t%d\t%s,%s\tN\t%d\tMonthly dues" % (
            sheet_line, last, first, 4500 if cat == "FULL" else 2500))
    extras = [("5-14-2005", "KOWALSKI,JAN", "Y", 1800, "Club T-shirt"),
              ("5-14-2005", "GARCIA,ANA", "Y", 1295, "Logbook"),
              ("5-21-2005", "IVERSON,ERIK", "N", 7500, "Tie-down May"),
              ("5-21-2005", "PATEL,RAVI", "N", 7500, "Tie-down May"),
              ("5-22-2005", "#1020", "Y", 1500, "Soaring video"),
              ("5-28-2005", "TAYLOR,JACK", "N", 12000, "Trailer parking"),
              ("5-29-2005", "BAKER,TOM", "N", -4000, "Credit for tow pilot duty"),
              ("5-29-2005", "FISCHER,HANS", "N", -4000, "Credit for tow pilot duty"),
              ("5-29-2005", "ROSSI,MARCO", "N", -2000, "Credit for tow pilot duty"),
              ("5-30-2005", "HOLT,PETER", "N", -1000, "Credit for field work")]
    for i, (date, account, tax, cents, why) in enumerate(extras):
        misc.append("%s\t2\t%d\t%s\t%s\t%d\t%s" % (date, i + 1, account, tax, cents, why))
    gas = ["$GAS", "!Date\t\tSheet\tLine\tAccount\t\tCents\tGrade\tGallons\tPlane\tPilot"]
    line = 0
    for d in [1, 7, 8, 14, 15, 21, 22, 28, 29, 30]:
        for _ in range(3):
            line += 1
            if rng.random() < 0.2:
                account, cat = "#%d" % (2001 + line), "CASH"
                plane, pilot = "N%dT" % rng.randint(100, 999), rng.choice(["VISITOR", "TRANSIENT"])
            else:
                last, first, plane = rng.choice(owners)
                account, cat, pilot = "%s,%s" % (last, first), category[(last, first)], last
            grade = "JETA" if plane == "N600AS" else rng.choice(["100", "100", "MOGAS"])
            gallons = rng.randint(50, 400)
            gas.append("5-%d-2005\t3\t%d\t%s\t%d\t%s\t%d.%d\t%s\t%s" % (
                d, line, account, gas_price(grade, gallons, cat), grade, gallons // 10,
                gallons % 10, plane, pilot))
    return "\n".join(misc + gas) + "\n"


def payments_file():
    lines = ["$VERSION 3", "$PAYMENTS", "!Date\tCents\tCheck\tAccount\t\tNote"]
    check = 3100
    for last, first, kind, cat, flags, prior, when in CUSTOMERS:
        if kind != "CREDIT" or rng.random() < 0.15:
            continue
        check += rng.randint(1, 40)
        amount = rng.randint(20, 400) * 100 + rng.choice([0, 0, 50])
        lines.append("5-%d-2005\t%d\t%d\t%s,%s\t%s" % (
            rng.randint(2, 31), amount, check, last, first,
            rng.choice(["April statement", "dues", "on account", "tows and rentals"])))
    return "\n".join(lines) + "\n"


def balances_file():
    lines = ["$VERSION 1"]
    for last, first, kind, cat, flags, prior, when in CUSTOMERS:
        if kind == "CREDIT" and rng.random() < 0.8:
            balance = rng.randint(-150, 600) * 100 + rng.randint(0, 99)
            if balance:
                lines.append("%s\t%s\t%d" % (last, first, balance))
    return "\n".join(lines) + "\n"


def abbreviations_file():
    lines = ["$VERSION 1"]
    entries = {}
    for last, first, kind, cat, flags, prior, when in CUSTOMERS:
        if first and kind == "CREDIT":
            entries[initials((last, first))] = (last, first)
    entries["AIR"] = ("AIRSPORTS-INC", "")
    for key in sorted(entries):
        last, first = entries[key]
        lines.append("%s\t%s %s" % (key, last, first))
    return "\n".join(lines) + "\n"


def main():
    directory = sys.argv[1]
    os.makedirs(directory, exist_ok=True)
    write(directory, "VNKPRICE.DAT", prices_file())
    write(directory, "VNKCUST.DAT", customers_file())
    write(directory, "VNKABBRV.DAT", abbreviations_file())
    write(directory, "VNKBAL.DAT", balances_file())
    flights, count = flights_file()
    write(directory, "VNKFLGHT.HIS", flights)
    write(directory, "VNKGAS.HIS", gas_file())
    write(directory, "VNKPMNT.HIS", payments_file())
    for name in ["VNKFLGQU.HIS", "VNKGASQU.HIS", "VNKPMNTQ.HIS"]:
        write(directory, name, "!Start of billing cycle\n")
    write(directory, "VNKHEAD.DAT",
          "                         VARNOK SOARING CLUB\n"
          "                     Ridge Road Gliderport, Box 116\n"
          "                        Warner, NH 03278\n"
          "                          (603)456-1160\n")
    write(directory, "VNKTRAIL.DAT",
          "\n"
          "Payment is due by the 15th of the month. A finance charge applies to\n"
          "balances carried past 30 days. Make checks payable to Varnok Soaring Club.\n"
          "Questions about this statement: treasurer@varnok-soaring.org\n")
    print("%d flights" % count)


if __name__ == "__main__":
    main()
