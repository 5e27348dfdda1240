#!/usr/bin/python3
"""Statements as PDF, read back with poppler's pdftotext: statements.py VARNOK DEMO_DIR

On the demo club (and with a month long enough for a second page), BILLS and STATEMENT written
to a .pdf read as their text. EMAIL-BILLS and SEND-BY-EMAIL STATEMENT through aiosmtpd (STARTTLS,
AUTH LOGIN) send each text body unchanged beside one application/pdf part that reads as the same
statement, with the file name byte for byte; "$EMAIL_ATTACH_PDF NO" sends the text alone."""

import os
import re
import shutil
import subprocess
import sys
import tempfile

# The page geometry of src/billing/statement_pdf.h: Courier 9 (5.4 points
# a column), text from 86.4 points, 74 lines a page. The name line's top
# must be in a #10 window envelope's window: 2.04 to 2.7 inches from the
# top, room for the address lines below it.
CHAR, LEFT, WIDTH, LINES = "5.4", "86", "526", 74
RELAY = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "unit", "mail",
                     "aiosmtpd_relay.py")
failures = []


def check(ok, what):
    if not ok:
        failures.append(what)
    return ok


def output(*command):
    return subprocess.run(command, capture_output=True, text=True).stdout


def run(program, club, keys, env=None):
    done = subprocess.run([program], input=keys, cwd=club, capture_output=True, text=True,
                          timeout=60, env=dict(os.environ, **(env or {})))
    return done.stdout


def paper(text):
    lines = [line.rstrip() for line in text.expandtabs(8).split("\n")]
    while lines and not lines[-1]:
        lines.pop()
    return lines


def as_read(lines):
    """A page as pdftotext -layout shows it: no blank lines at either end, at most four in a row."""
    out = []
    for line in lines:
        if line or (out and out[-4:] != [""] * 4):
            out.append(line)
    while out and not out[-1]:
        out.pop()
    return out


def name_of(statement, heading_lines):
    for line in paper(statement)[max(9, heading_lines):]:
        if line.strip():
            return re.split(r"  +", line.strip())[0]
    return ""


def expected_pages(statement, name):
    lines = paper(statement)
    pages = [lines[:LINES]]
    for at in range(LINES, len(lines), LINES - 2):
        pages.append([name + " continued", ""] + lines[at:at + LINES - 2])
    return [as_read(page) for page in pages]


def pdf_pages(path):
    text = subprocess.run(["pdftotext", "-enc", "UTF-8", "-layout", "-fixed", CHAR, "-x", LEFT,
                           "-y", "0", "-W", WIDTH, "-H", "792", path, "-"],
                          capture_output=True).stdout.decode()
    return [as_read(page.split("\n")) for page in text.split("\f")[:-1]]


def bills_to_pdf(program, club):
    """Page for page, the PDF reads as the statements, and the name stands where a window
    envelope shows it."""
    out = run(program, club, "BILLS\n\n\nWRITE all.pdf\nBILLS\n\nEXIT\n")
    statements = []
    for statement in open(os.path.join(club, "VNKSTMNT.LIS"), "rb").read().split(b"\f")[:-2]:
        # A letter is one column whether the file has it in UTF-8 or Latin 1.
        try:
            statements.append(statement.decode())
        except UnicodeDecodeError:
            statements.append(statement.decode("latin-1"))
    with open(os.path.join(club, "VNKHEAD.DAT"), encoding="latin-1") as heading:
        heading_lines = heading.read().count("\n") + 1
    pdf, label, pages = os.path.join(club, "ALL.PDF"), os.path.basename(club), []
    for statement in statements:
        pages += expected_pages(statement, name_of(statement, heading_lines))
    check(pdf_pages(pdf) == pages, label + ": the pages do not read as the statements")
    check(re.search(r"^Pages:\s*%d$" % len(pages), output("pdfinfo", pdf), re.M),
          label + ": page count")
    first = name_of(statements[0], heading_lines).split()[0]
    tops = [float(row.split("\t")[7]) for row in
            output("pdftotext", "-tsv", "-f", "1", "-l", "1", pdf, "-").splitlines()[1:]
            if row.split("\t")[-1] == first]
    check(tops and 147 <= tops[0] <= 194, label + ": name line not in the envelope window")
    check("%d statements (%d pages) written to ALL.PDF" % (len(statements), len(pages)) in out,
          "WRITE did not say what it wrote")
    return pages


def demo_club(tmp, demo, name):
    return shutil.copytree(demo, os.path.join(tmp, name))


def case_demo(program, demo, tmp):
    club = demo_club(tmp, demo, "demo")
    bills_to_pdf(program, club)
    statement = "STATEMENT\nKaren Anderson\nNO\n"
    run(program, club, "WRITE one.pdf\n" + statement + "WRITE one.txt\n" + statement + "EXIT\n")
    one = os.path.join(club, "ONE.PDF")
    text = open(os.path.join(club, "ONE.TXT"), encoding="latin-1").read()
    check(os.path.getsize(one) < 20000, "a one-page statement's PDF is not under 20 KB")
    # libharu lists a font on a page only once the page uses it.
    check("Courier-Bold" in output("pdffonts", one), "the new balance is not emphasised")
    check(pdf_pages(one) == expected_pages(text, "KAREN ANDERSON"),
          "the STATEMENT PDF does not read as the STATEMENT text")


def case_long(program, demo, tmp):
    """Also a UTF-8 address line and one in Latin 1: both read back as
    written."""
    club = demo_club(tmp, demo, "long")
    customers = os.path.join(club, "VNKCUST.DAT")
    text = open(customers, "rb").read().replace(b"17 River Rd", "17 Rüdiger-Weg".encode())
    open(customers, "wb").write(text.replace(b"134 Elm St", "134 Élm St".encode("latin-1")))
    with open(os.path.join(club, "VNKFLGHT.HIS"), "a") as history:
        for n in range(100, 130):
            history.write("5-2-2005\t%d\tQUINN,MARY\tDISCUS\tQUINN\tO\t\t\tHF\tHUSKY\t3.0\t"
                          "10:00\t10:42\t\n" % n)
    pages = bills_to_pdf(program, club)
    continued = [page for page in pages if page[0] == "MARY QUINN continued"]
    check(len(continued) == 1 and "New balance:" in "".join(continued[0]),
          "the long statement does not go on to a second page")


def mail_run(program, demo, tmp, name, attach):
    club, where = demo_club(tmp, demo, name), os.path.join(tmp, name + "-relay")
    os.makedirs(where)
    server = subprocess.Popen(["/usr/bin/python3", RELAY, where, "60", "cert.pem", "key.pem",
                               "treasurer", "s3cret-pw", "starttls", "LOGIN"],
                              cwd=tmp, stdout=subprocess.PIPE, text=True)
    port = server.stdout.readline().split()[1]
    prices = os.path.join(club, "VNKPRICE.DAT")
    text = re.sub(r"(?m)^\$EMAIL_SERVER\t.*$", "$EMAIL_SERVER\tsmtp://127.0.0.1:" + port,
                  open(prices).read())
    if not attach:
        text += "$EMAIL_ATTACH_PDF\tNO\n"
    open(prices, "w").write(text)
    env = {"VARNOK_SMTP_USER": "treasurer", "VARNOK_SMTP_PASSWORD": "s3cret-pw",
           "VARNOK_SMTP_CAFILE": os.path.join(tmp, "cert.pem")}
    # The statement without dates ends on the program's date: set, so that
    # a run across midnight names the file as the test expects.
    run(program, club, "DATE 6-7-2005\nEMAIL-BILLS\n\nYES\n5-1-2005\n5-31-2005\n"
        "SEND-BY-EMAIL\nSTATEMENT\nKaren Anderson\nNO\nEXIT\n", env)
    open(os.path.join(where, "stop"), "w").close()
    server.wait()
    return where


def case_relay(program, demo, tmp):
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout",
                    "key.pem", "-out", "cert.pem", "-days", "1", "-subj", "/CN=127.0.0.1",
                    "-addext", "subjectAltName=IP:127.0.0.1"], cwd=tmp, capture_output=True)
    with_pdf = mail_run(program, demo, tmp, "mail", True)
    text_only = mail_run(program, demo, tmp, "plain", False)
    count = len([f for f in os.listdir(with_pdf) if f.endswith(".body")])
    check(count > 2, "too few messages arrived: %d" % count)
    for n in range(1, count + 1):
        def read(where, suffix):
            path = os.path.join(where, "%d.%s" % (n, suffix))
            return open(path, "rb").read().decode("latin-1") if os.path.exists(path) else None
        body = read(with_pdf, "body")
        check(body == read(text_only, "body"), "message %d: the text body changed" % n)
        check(read(text_only, "parts") is None, "message %d: attached though switched off" % n)
        parts = read(with_pdf, "parts") or ""
        end = "5-31-2005" if n < count else "6-7-2005"
        named = re.fullmatch(r"text/plain \napplication/pdf statement-(.+)-%s\.pdf\n" % end, parts)
        if not check(named, "message %d: parts %r" % (n, parts)):
            continue
        name = name_of(body, 8 if n < count else 4)
        check((" " + name).endswith(" " + named.group(1)), "message %d: file name %r" % (n, parts))
        check(pdf_pages(os.path.join(with_pdf, "%d.pdf" % n)) == expected_pages(body, name),
              "message %d: the PDF does not read as the text body" % n)


def main():
    program, demo = (os.path.abspath(arg) for arg in sys.argv[1:3])
    with tempfile.TemporaryDirectory() as tmp:
        for case in (case_demo, case_long, case_relay):
            case(program, demo, tmp)
    for failure in failures:
        print("FAILED:", failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
