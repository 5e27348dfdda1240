#!/usr/bin/env python3
"""The program in tmux on a copy of the demo club: session.py --program PATH --demo DIR

Tab completes a command word, a menu keyword, a yes/no answer and a name (expert words only in
expert mode); Ctrl-C drops the line; Up recalls the last answer, from .varnok_history in the next
run; Ctrl-D saves and ends. The same answers piped in leave the same files, and no history."""
import argparse
import filecmp
import glob
import os
import shutil
import subprocess
import sys
import tempfile
import time

CLOCK = "2005-06-07 12:00:00"
# libfaketime itself: the faketime wrapper refuses to start while a killed
# run's semaphore with its process id is left over.
FAKE = "LD_PRELOAD=%s FAKETIME='%s'" % (glob.glob("/usr/lib/*/faketime/libfaketime.so.1")[0], CLOCK)
WAIT = 15  # seconds for the screen to show what is expected

# The answers of the terminal session as they are finally entered.
ANSWERS = ["ENTER", "PAYMENTS", "", "", "KAREN ANDERSON", "100", "25", "dues", "YES", "0", "y",
           "expert", "expert"]


class Failure(Exception):
    pass


def expect(ok, message):
    if not ok:
        raise Failure(message)


class Terminal:
    """One tmux server of its own, with one 100x50 window."""

    def __init__(self, scratch, env):
        self.socket, self.env = os.path.join(scratch, "tmux.sock"), env

    def tmux(self, *args):
        result = subprocess.run(["tmux", "-S", self.socket, "-f", "/dev/null"] + list(args),
                                env=self.env, capture_output=True, timeout=30)
        if result.returncode != 0:
            raise Failure("tmux %s: %s" % (" ".join(args), result.stderr.decode()))
        return result.stdout.decode("utf-8", "replace")

    def start(self, program, folder):
        # The shell around the program notes its exit status in a file: tmux itself does not
        # always collect it. The window stays after the end, so its last screen can be read.
        self.status_file = os.path.join(folder, "..", "status")
        if os.path.exists(self.status_file):
            os.remove(self.status_file)
        command = "%s '%s'; echo $? >'%s'" % (FAKE, program, self.status_file)
        self.tmux("new-session", "-d", "-s", "club", "-x", "100", "-y", "50", "-c", folder,
                  command, ";", "set-option", "-w", "remain-on-exit", "on")

    def keys(self, text, *keys):
        if text:
            self.tmux("send-keys", "-t", "club", "-l", text)
        if keys:
            self.tmux("send-keys", "-t", "club", *keys)

    def screen(self):
        lines = self.tmux("capture-pane", "-p", "-t", "club", "-S", "-500").rstrip().split("\n")
        return [line.rstrip() for line in lines]

    def wait(self, what, check, look=None):
        """Polls `look` (the screen) until `check` accepts what it gives."""
        deadline = time.time() + WAIT
        while True:
            seen = (look or self.screen)()
            if check(seen):
                return seen
            if time.time() > deadline:
                raise Failure("waited for %s; the screen shows:\n%s"
                              % (what, "\n".join(self.screen())))
            time.sleep(0.05)

    def wait_line(self, text):
        return self.wait(repr(text), lambda lines: lines[-1] == text.rstrip())

    def answer(self, text, key, then):
        self.keys(text, key)
        return self.wait_line(then)

    def exit_status(self):
        def status():
            if os.path.exists(self.status_file):
                with open(self.status_file) as f:
                    return f.read()
        return int(self.wait("the end of the program", lambda text: (text or "").endswith("\n"),
                             status))

    def stop(self):
        subprocess.run(["tmux", "-S", self.socket, "kill-server"], env=self.env,
                       capture_output=True)


def first_session(term, program, club):
    term.start(program, club)
    term.wait_line("VARNOK:")

    # A command word, then a keyword of ENTER's menu.
    term.answer("ent", "Tab", "VARNOK: ENTER")
    term.answer("", "Enter", "Choose what to enter [GAS-SALES]:")
    term.answer("pay", "Tab", "Choose what to enter [GAS-SALES]: PAYMENTS")
    term.answer("", "Enter", "Next payment number (0 if done) [1]:")
    term.answer("", "Enter", "Payment date (mm-dd) or (dd) [6-7-2005]:")

    # A customer's name at the account prompt, blank and all.
    term.answer("", "Enter", "Account (First Last):")
    term.answer("kar", "Tab", "Account (First Last): KAREN ANDERSON")

    # Ctrl-C drops what was typed and asks the same question again.
    check = "Check number (0 if payment not made by check) [-1]:"
    term.answer("", "Enter", check)
    lines = term.answer("12", "C-c", check)
    expect(lines[-2] == check + " 12^C", "Ctrl-C should leave the line marked: %r" % lines[-2])
    term.answer("100", "Enter", "Amount of payment [0.00]:")
    term.answer("25", "Enter", "Note describing this payment:")
    term.answer("dues", "Enter", "Is this line right? [YES]:")
    term.answer("y", "Tab", "Is this line right? [YES]: YES")
    term.answer("", "Enter", "Next payment number (0 if done) [2]:")
    term.answer("0", "Enter", "Remember these payments in the permanent payments file [YES]:")
    term.answer("y", "Enter", "VARNOK:")

    # Expert words are not offered until expert mode: Tab adds nothing.
    term.keys("db", "Tab")
    term.keys("x")
    term.wait_line("VARNOK: dbx")
    term.keys("", "C-c")
    term.wait(
        "the dropped line and a fresh prompt",
        lambda lines: lines[-2:] == ["VARNOK: dbx^C", "VARNOK:"])

    # Up brings the previous answer back; Enter gives it again.
    term.answer("expert", "Enter", "VARNOK:")
    term.answer("", "Up", "VARNOK: expert")
    term.keys("", "Enter")
    lines = term.wait("the second EXPERT",
                      lambda lines: lines.count("Expert commands permitted.") == 2 and
                      lines[-1] == "VARNOK:")
    term.answer("db", "Tab", "VARNOK: DBOUT")
    term.keys("", "C-c")
    term.wait("DBOUT dropped", lambda lines: lines[-2:] == ["VARNOK: DBOUT ^C", "VARNOK:"])

    # Ctrl-D on the empty line: saved and ended as by EXIT.
    term.keys("", "C-d")
    status, lines = term.exit_status(), term.screen()
    shown = "\n".join(lines)
    expect(status == 0, "Ctrl-D ended the program with status %d:\n%s" % (status, shown))
    expect("Balances file is up to date." in lines, "Ctrl-D did not save on the way out:\n" + shown)
    dropped = lines.index("VARNOK: DBOUT ^C")
    expect(lines[dropped + 1] == "VARNOK: ^D" and not any("unrecognized" in l for l in lines),
           "a dropped line was acted on:\n" + shown)


def second_session(term, program, club):
    """The next run in the same folder starts with the earlier answers."""
    term.start(program, club)
    term.wait_line("VARNOK:")
    term.answer("", "Up", "VARNOK: expert")
    term.answer("", "C-c", "VARNOK:")
    term.answer("exi", "Tab", "VARNOK: EXIT")
    term.keys("", "Enter")
    status = term.exit_status()
    expect(status == 0, "EXIT ended the program with status %d" % status)


def check_history(club):
    # Blank answers and dropped lines are not kept, nor an answer that repeats the one before it.
    with open(os.path.join(club, ".varnok_history")) as f:
        kept = f.read()
    wanted = ["ENTER", "PAYMENTS", "KAREN ANDERSON", "100", "25", "dues", "YES", "0", "y", "expert"]
    expect(kept == "".join(a + "\n" for a in wanted), "history file holds %r" % kept)


def same_files_piped(program, demo, scratch, env, terminal_club):
    piped_club = os.path.join(scratch, "piped")
    shutil.copytree(demo, piped_club)
    answers = "".join(a + "\n" for a in ANSWERS).encode()
    result = subprocess.run(["sh", "-c", "%s '%s'" % (FAKE, program)], input=answers,
                            cwd=piped_club, env=env, capture_output=True, timeout=60)
    expect(result.returncode == 0, "the piped run ended with status %d" % result.returncode)
    names = sorted(os.listdir(piped_club))
    kept = sorted(n for n in os.listdir(terminal_club) if n != ".varnok_history")
    expect(names == kept, "the terminal left files %s, the pipe %s" % (kept, names))
    # The folder lock names the run that held it.
    names.remove("VNKLOCK.LCK")
    _, differ, errors = filecmp.cmpfiles(terminal_club, piped_club, names, shallow=False)
    expect(not differ + errors, "the terminal and the pipe left different %s" % (differ + errors))


def main():
    parser = argparse.ArgumentParser()
    for name in ("--program", "--demo"):
        parser.add_argument(name, required=True)
    args = parser.parse_args()
    program = os.path.abspath(args.program)

    # A short folder: tmux's socket path must stay short.
    scratch = tempfile.mkdtemp(prefix="vt", dir="/tmp")
    env = {k: v for k, v in os.environ.items() if k != "TMUX"}
    env.update(TZ="UTC", LC_ALL="C", DONT_FAKE_MONOTONIC="1", HOME=scratch, SHELL="/bin/sh")
    term = Terminal(scratch, env)
    try:
        club = os.path.join(scratch, "club")
        shutil.copytree(args.demo, club)
        first_session(term, program, club)
        term.stop()
        check_history(club)
        same_files_piped(program, args.demo, scratch, env, club)
        second_session(term, program, club)
    except Failure as failure:
        print("FAIL: %s" % failure)
        return 1
    finally:
        term.stop()
        shutil.rmtree(scratch, ignore_errors=True)
    print("terminal session: all checks passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
