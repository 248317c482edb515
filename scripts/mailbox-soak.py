#!/usr/bin/env python3
"""A soak of the mailbox daemon: runs `tornel-cli 5` in a home of its own and drives it through
message files as a client would, with the client's faults mixed in, then reports.

    scripts/mailbox-soak.py --cli build-asan/consola/tornel-cli --messages 5000 [--database DIR]
                            [--image FILE] [--home DIR] [--report FILE]

What is sent, in turns: a command message that sets the image angle to a value of its own and reads
it back (the answer must carry that value); the same written in two halves by a writer that holds
the file open between them; a few files overwritten within one second, of which only the last may be
answered; a message with an unknown code (answered with its error); a file of no known kind (never
answered); and, every --image-every messages, an image: a copy of --image under a new name, set as
the image path and analysed (answered with "solution found" or "solution not found", or, without a
database, with the waiting status).

Checked: the daemon never ends or reports a fault of the sanitizers; every message that expects an
answer gets it within --answer-seconds; tornel.sta, read after every message and whenever it
changes, always has its ten lines and its head; resident memory at the end is within --memory-slack
of that after the first 100 messages. Exit status 0 when all held, 1 otherwise."""
import argparse
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

HEAD = re.compile(r"^lines: 010 time: \d{8} \d\d:\d\d:\d\d mode=\d\d skyArea=\d\d status=0[1-4]$")
WAITING = "automatic mode. Waiting for a message..."


def parse_args():
    p = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    p.add_argument("--cli", required=True)
    p.add_argument("--messages", type=int, default=5000)
    p.add_argument("--database", help="database folder; without it analyses are refused, and answered")
    p.add_argument("--image", help="image analysed every --image-every messages")
    p.add_argument("--image-every", type=int, default=100)
    p.add_argument("--home", help="program folder to make (default: a temporary one)")
    p.add_argument("--param", help="param.txt to start from (default: the program's own defaults)")
    p.add_argument("--answer-seconds", type=float, default=30)
    p.add_argument("--memory-slack", type=float, default=0.05)
    p.add_argument("--seed", type=int, default=20)
    p.add_argument("--report", help="file for the figures (default: standard output only)")
    return p.parse_args()


class Soak:
    def __init__(self, args):
        self.args = args
        self.rng = random.Random(args.seed)
        self.home = args.home or tempfile.mkdtemp(prefix="tornel-soak-")
        self.box = os.path.join(self.home, "messages")
        self.sta = os.path.join(self.box, "tornel.sta")
        self.msg = os.path.join(self.box, "tornel.txt")
        self.sent = self.expected = self.answered = self.sta_reads = self.images = 0
        self.faults = []
        self.rss_after_100 = None
        self.last_second = 0

    # The daemon.
    def start(self):
        os.makedirs(self.box, exist_ok=True)
        if self.args.database:
            os.symlink(os.path.abspath(self.args.database), os.path.join(self.home, "database"))
        if self.args.param:
            lines = open(self.args.param, "rb").read().split(b"\n")
            cr = b"\r" if lines[0].endswith(b"\r") else b""
            # Parameter n is line 2n. The folders are the soak's own, whatever the copied file names:
            # distances and stars (15, 16) the database, the mailbox (32) the soak's; database 1 (51).
            database = os.path.join(os.path.abspath(self.args.database or self.home), "").encode()
            for n, value in ((15, database), (16, database), (32, os.path.join(self.box, "").encode()), (51, b"1")):
                lines[2 * n - 1] = value + cr
            open(os.path.join(self.home, "param.txt"), "wb").write(b"\n".join(lines))
        env = dict(os.environ, TORNEL_HOME=self.home)
        # A small quarantine: freed memory that AddressSanitizer holds back would otherwise grow the
        # resident memory for hundreds of megabytes and hide the program's own.
        env.setdefault("ASAN_OPTIONS", "detect_leaks=1:exitcode=86:quarantine_size_mb=1:thread_local_quarantine_size_kb=64")
        env.setdefault("UBSAN_OPTIONS", "print_stacktrace=1:halt_on_error=1:exitcode=87")
        self.err = open(os.path.join(self.home, "daemon.err"), "w+")
        self.daemon = subprocess.Popen([self.args.cli, "5"], env=env, stdout=subprocess.DEVNULL, stderr=self.err)
        deadline = time.time() + 60
        while time.time() < deadline:
            self.err.seek(0)
            said = self.err.read()
            if "watching the mailbox folder" in said and os.path.join(self.box, "") not in said:
                self.daemon.send_signal(signal.SIGTERM)
                self.fail("the daemon watches another mailbox folder: " + said.strip())
            s = self.read_sta()
            if s and s[1] == WAITING:
                return
            self.alive()
            time.sleep(0.1)
        self.fail("the daemon did not start waiting within 60 s")

    def alive(self):
        if self.daemon.poll() is not None:
            self.fail(f"the daemon ended with status {self.daemon.returncode}")

    def rss_kb(self):
        with open(f"/proc/{self.daemon.pid}/status") as f:
            for line in f:
                if line.startswith("VmRSS:"):
                    return int(line.split()[1])
        return 0

    def fail(self, text):
        self.faults.append(text)
        self.finish()

    # tornel.sta: ten lines and its head, whenever it is read.
    def read_sta(self):
        try:
            data = open(self.sta, "rb").read()
        except FileNotFoundError:
            return None
        self.sta_reads += 1
        lines = data.decode("latin-1").split("\r\n")
        if lines and lines[-1] == "":
            lines.pop()
        if len(lines) != 10 or not HEAD.match(lines[0]):
            self.faults.append(f"tornel.sta does not parse: {data!r}")
        return lines

    # A client writes one message a second: the next file must be stamped in a later second.
    def next_second(self):
        while int(time.time()) <= self.last_second:
            time.sleep(0.02)

    def write(self, text, halves=False):
        data = text.encode("latin-1")
        if halves:
            with open(self.msg, "wb") as f:
                f.write(data[: len(data) // 2])
                f.flush()
                time.sleep(1.3)
                f.write(data[len(data) // 2:])
        else:
            with open(self.msg, "wb") as f:
                f.write(data)
        self.last_second = int(os.stat(self.msg).st_mtime)
        self.sent += 1
        if self.sent == 100:
            self.rss_after_100 = self.rss_kb()

    def await_answer(self, check, what):
        self.expected += 1
        deadline = time.time() + self.args.answer_seconds
        last = None
        while time.time() < deadline:
            self.alive()
            s = self.read_sta()
            if s and s != last:
                last = s
                if check(s):
                    self.answered += 1
                    return
            time.sleep(0.05)
        self.fail(f"no answer to {what} within {self.args.answer_seconds} s; tornel.sta: {last}")

    # The kinds of message.
    def angle_message(self, halves=False):
        value = f"{self.rng.uniform(-359, 359):.4f}"
        self.next_second()
        self.write(f"command file\r\nsoak {self.sent}\r\nSET   imageAngle\r\n{value}\r\nGET   imageAngle\r\n\r\n", halves)
        expected = float(value)
        self.await_answer(lambda s: s[8].startswith("command= GET   imageAngle") and
                          abs(float(s[9].split("=", 1)[1].replace(",", ".")) - expected) < 1e-3,
                          f"GET imageAngle after SET {value}")

    def burst(self):
        self.next_second()
        second = int(time.time())
        for _ in range(self.rng.randint(3, 6)):
            if int(time.time()) != second:
                break
            junk = self.rng.choice(["command file\r\nx\r\nSET   skyZone\r\n", "image file path\r\n",
                                    "command file\r\nx\r\nSET   language\r\n0\r\n"])
            self.write(junk)
        self.last_second = second - 1  # the last file of the burst is the one to answer
        self.angle_message()

    def unknown_code(self):
        self.next_second()
        code = f"SET   noSuchKey{self.rng.randint(0, 999)}"
        self.write(f"fichero de comandos\r\nx\r\n{code}\r\n1\r\n")
        self.await_answer(lambda s: s[8].startswith("command= " + code), code)

    def no_kind(self):
        self.next_second()
        self.write("".join(chr(self.rng.randint(32, 126)) for _ in range(self.rng.randint(0, 200))))
        time.sleep(1.1)

    def image(self):
        self.images += 1
        ext = os.path.splitext(self.args.image)[1] if self.args.image else ".jpg"
        path = os.path.join(self.box, f"soak-{self.images % 5}{ext}")
        if self.args.image:
            shutil.copyfile(self.args.image, path)
        else:
            open(path, "wb").write(b"\xff\xd8 cut short")
        self.next_second()
        self.write(f"command file\r\nimage\r\nSET   imagePath\r\n{path}\r\nEXE   analyze\r\n\r\n")
        self.await_answer(lambda s: s[1] in ("solution found", "solution not found") or
                          (s[1] == WAITING and s[8].startswith("command= EXE   analyze")) or
                          (s[1] == WAITING and s[2].startswith("image: ")), f"the analysis of {path}")
        # Let the daemon go back to waiting before the next message.
        deadline = time.time() + self.args.answer_seconds
        while time.time() < deadline:
            s = self.read_sta()
            if s and s[1] == WAITING:
                break
            time.sleep(0.1)

    def run(self):
        self.start()
        started = time.time()
        next_image, printed = self.args.image_every, 0
        while self.sent < self.args.messages:
            if self.args.image_every and self.sent >= next_image:
                next_image += self.args.image_every
                self.image()
                continue
            r = self.rng.random()
            if r < 0.25:
                self.angle_message()
            elif r < 0.3:
                self.angle_message(halves=True)
            elif r < 0.8:
                self.burst()
            elif r < 0.9:
                self.unknown_code()
            else:
                self.no_kind()
            if self.sent // 250 > printed:
                printed = self.sent // 250
                print(f"{self.sent} messages, {time.time() - started:.0f} s, rss {self.rss_kb()} kB", flush=True)
        self.seconds = time.time() - started
        self.rss_end = self.rss_kb()
        self.finish()

    def finish(self):
        end = getattr(self, "rss_end", None)
        if self.daemon.poll() is None:
            self.next_second()
            open(self.msg, "wb").write(b"command file\r\nend\r\nEXE   exitTornel\r\n\r\n")
            try:
                self.daemon.wait(timeout=30)
            except subprocess.TimeoutExpired:
                self.daemon.send_signal(signal.SIGTERM)
                self.daemon.wait(timeout=10)
                self.faults.append("the daemon did not end on EXE exitTornel")
        self.err.seek(0)
        log = self.err.read()
        for marker in ("ERROR: AddressSanitizer", "ERROR: LeakSanitizer", "runtime error:"):
            if marker in log:
                self.faults.append(f"the daemon's standard error holds '{marker}' (see {self.err.name})")
        if self.daemon.returncode not in (0, None):
            self.faults.append(f"the daemon ended with status {self.daemon.returncode}")
        growth = None
        if self.rss_after_100 and end:
            growth = (end - self.rss_after_100) / self.rss_after_100
            if growth > self.args.memory_slack:
                self.faults.append(f"resident memory grew by {100 * growth:.1f} %")
        lines = [
            f"messages sent: {self.sent} (of which images: {self.images})",
            f"messages that expected an answer: {self.expected}, answered: {self.answered}",
            f"tornel.sta read {self.sta_reads} times",
            f"resident memory after 100 messages: {self.rss_after_100} kB, at the end: {end} kB"
            + (f" ({100 * growth:+.1f} %)" if growth is not None else ""),
            f"duration: {getattr(self, 'seconds', 0):.0f} s",
            "faults: " + ("none" if not self.faults else "; ".join(self.faults)),
        ]
        text = "\n".join(lines)
        print(text)
        if self.args.report:
            open(self.args.report, "w").write(text + "\n")
        sys.exit(1 if self.faults else 0)


if __name__ == "__main__":
    Soak(parse_args()).run()
