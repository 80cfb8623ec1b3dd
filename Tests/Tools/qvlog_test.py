#!/usr/bin/env python3
"""Tests of the program qvlog from outside: qvlog_test.py QVLOG [unittest options]

Makes logs by the format's description, runs the program on them and reads back what it prints.
"""
import csv
import io
import json
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import time
import unittest

QVLOG = ""
SOURCE = pathlib.Path(__file__).resolve().parents[2] / "Tools" / "qvlog"
T0 = 1763762400  # 2025-11-21 22:00:00 UTC
HOSTILE = bytes(range(256)) + b'"\\,;\r\n</script><img src=x>\xc2\x9b31m\xe2\x80\xae\xed\xa0\x80\xf0\x9f\x98\x80'


def text(data):
    data = data.encode() if isinstance(data, str) else data
    return struct.pack("<H", len(data)) + data


def run_small(command):
    """The exit status and the most memory in KiB. A process counts what its parent had when it was made, so the
    parent is a small one."""
    code = ("import resource, subprocess, sys; "
            "print(subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL).returncode, "
            "resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)")
    done = subprocess.run([sys.executable, "-c", code, *command], capture_output=True, check=True)
    return map(int, done.stdout.split())


class Log:
    """A log of few call sites, so that all stay in their slots."""

    def __init__(self, run=1, when=T0, zone=3600):
        self.bytes = bytearray()
        self.block(run, when, zone)

    def block(self, run=1, when=T0, zone=3600):
        self.bytes += b"\xf8WW\x02\x02" + bytes([run] * 16) + struct.pack("<ii", when, zone)
        self.threads, self.sites = [], []
        self.at(when)
        self.thread(1000)

    def at(self, when, micros=None):
        self.bytes += b"\xf7" + struct.pack("<i", when)
        if micros is not None:
            self.own("LogTime", "UI32", struct.pack("<I", micros))

    def thread(self, number, name=None):
        if number in self.threads:
            self.bytes += b"\xfa" + bytes([self.threads.index(number)])
        else:
            self.threads.append(number)
            self.bytes += b"\xfa\xfe" + struct.pack("<Q", number)
        if name is not None:
            self.own("LogThread", "UI64,S", struct.pack("<Q", number) + text(name))

    def own(self, what, signature, values):
        self.line(values, signature, "", "QVRoot", what)

    def line(self, values=b"", signature="", form="text", file="Editor/Open.cpp", site="info|editor|Open", number=42):
        key = (signature, form, file, site, number)
        if key in self.sites:
            self.bytes += bytes([self.sites.index(key)])
        else:
            self.sites.append(key)
            self.bytes += (b"\xff" + struct.pack("<HH", 256 + len(self.sites), 1) + text(signature) + text(form) +
                           struct.pack("<H", number) + text(file) + text(site))
        self.bytes += values
        return self

    def say(self, message, level="info", category="editor"):
        return self.line(text(message), "S", "{text}", site=f"{level}|{category}|Open")


def run(*arguments, log=None, environment=None):
    done = subprocess.run([QVLOG, *map(str, arguments)], input=log.bytes if isinstance(log, Log) else log,
                          stdin=subprocess.DEVNULL if log is None else None, capture_output=True, check=False,
                          timeout=60, env={**os.environ, **(environment or {})})
    return done.returncode, done.stdout, done.stderr.decode()


def show(log, *arguments):
    status, out, errors = run("show", *arguments, log=log)
    assert (status, errors) == (0, ""), errors
    return out.decode()


def hostile_log():
    log = Log()
    log.thread(7, b"t\x1b[2J\xff\n,\"")
    log.line(text(HOSTILE) + struct.pack("<ddc", float("nan"), float("-inf"), b"\x07"), "S,D,D,C",
             '{say} {"bad', file="a\nb\".cpp", site="x\x1b\r\n")
    log.line(text(HOSTILE) + struct.pack("<fh?x", float("inf"), -3, True), "S,F,I16,I16", "{say} {x} {n} {is:bool}")
    return log


class Printing(unittest.TestCase):
    def test_text_names_time_level_thread_category_and_site(self):
        log = Log()
        log.thread(5, "worker")
        log.at(T0 + 1, 250)
        log.line(struct.pack("<id", 3, 0.5), "I32,D", "took {n:03} steps, {ratio:.2f}")
        self.assertEqual(show(log), "2025-11-21 23:00:01.000250 info    [worker] editor: "
                                    "took 003 steps, 0.50  (Editor/Open.cpp:42)\n")
        self.assertEqual(show(log, "--utc", "--format", "{time}|{level:8}|{process}|{{{text}}}"),
                         "2025-11-21 22:00:01.000250|info    |0|{took 003 steps, 0.50}\n")
        self.assertEqual(show(log, "--format", "{date} {clock} {file} {line} {function} {site} {run}"),
                         "2025-11-21 23:00:01.000250 Editor/Open.cpp 42 Open Editor/Open.cpp:42 "
                         "01010101-0101-0101-0101-010101010101\n")

    def test_json_is_valid_for_any_bytes(self):
        first, second = [json.loads(line) for line in show(hostile_log(), "--json").splitlines()]
        self.assertEqual(first["parameters"], {"p1": HOSTILE.decode(errors="replace"), "p2": "nan", "p3": "-inf",
                                               "p4": "\a"})
        self.assertEqual((second["parameters"]["x"], second["parameters"]["n"], second["parameters"]["is"]),
                         ("inf", -3, True))
        self.assertEqual((second["time"], second["thread"], second["line"]),
                         ("2025-11-21T23:00:00.000000+01:00", 7, 42))
        self.assertEqual(first["threadName"], 't\x1b[2J\ufffd\n,"')

    def test_csv_has_one_row_per_line(self):
        out = show(hostile_log(), "--csv")
        self.assertEqual(out.count("\n"), 3)
        rows = list(csv.DictReader(io.StringIO(out, newline="")))
        self.assertEqual([row["thread"] for row in rows], ["7", "7"])
        self.assertIn('"\\,;\\r\\n</script>', rows[1]["text"])
        self.assertEqual(rows[1]["function"], "Open")

    def test_trace_is_json_for_trace_viewers(self):
        events = json.loads(show(hostile_log(), "--trace"))["traceEvents"]
        self.assertEqual([event["ph"] for event in events], ["M", "i", "i"])
        self.assertEqual(events[1]["ts"], T0 * 1000000)
        self.assertEqual(json.loads(show(Log(), "--trace"))["traceEvents"], [])

    def test_nothing_steers_the_terminal(self):
        for form in ([], ["--json"], ["--csv"], ["--trace"], ["--color", "never", "--format", "{text}{thread}{site}"]):
            out = show(hostile_log(), *form).replace("\r\n", "\n")
            self.assertIsNone(re.search("[\x00-\x09\x0b-\x1f\x7f-\x9f\u202e]", out), form)

    def test_color(self):
        log = Log().say("no", "error")
        self.assertIn("\x1b[31m", show(log, "--color", "always"))
        self.assertNotIn("\x1b", show(log))
        if os.name == "posix":
            for environment, expected in (({}, True), ({"NO_COLOR": "1"}, False), ({"TERM": "dumb"}, False)):
                self.assertEqual(b"\x1b" in self.on_terminal(log, environment), expected, environment)

    def on_terminal(self, log, environment):
        import pty  # not everywhere
        ours, theirs = pty.openpty()
        with subprocess.Popen([QVLOG, "show"], stdin=subprocess.PIPE, stdout=theirs,
                              env={**os.environ, "TERM": "xterm", "NO_COLOR": "", **environment}) as program:
            program.communicate(log.bytes)
        os.close(theirs)
        out = os.read(ours, 4096)
        os.close(ours)
        return out


def write_monster(path):
    """Writes a log of what takes memory: long blocks, many values, sites, threads and names, parameters by the
    thousand. In pieces, since the memory of this program would be taken for that of the ones it starts."""
    with open(path, "wb") as file:
        log = Log()

        def flush():
            file.write(log.bytes)
            log.bytes.clear()
        for i in range(150):
            log.line(b"".join(b"\xff" + text(bytes([i % 256]) * 60000) for _ in range(3)), "S:C,S:C,S:C")
            log.bytes += b"\0\0\1\2" + b"\0\xfe" + struct.pack("<I", 2 + i) + b"\1\2"
            flush()
        for i in range(20000):
            log.bytes += b"\xfa\xfe" + struct.pack("<Q", i)
            log.line(struct.pack("<Q", i) + text(b"\x01" * 200), "UI64,S", "", "QVRoot", "LogThread")
        log.block()
        for i in range(40):
            log.line(b"\xff" + text(b"\xff" * 60000), "," * 32000 + "S:C", "{" + f"{i}" * 1000, "\x01" * 60000, "x" * i)
            log.sites[-1] = i  # the texts themselves are long
            flush()
        log.block()
        for i in range(40000):
            log.bytes += (b"\xff" + struct.pack("<HH", i, 1) + text("S:C,") + text("\x01" * 300) + b"\0\0" +
                          text("f") + text("g") + b"\xff" + text("value"))
            if i % 1000 == 0:
                flush()
        log.block()
        log.line(b"\xff" + text(b"\x01" * 60000) + b"\0" * 7, ",".join(["S:C"] * 8))  # 480 KB of control characters
        flush()


class Choosing(unittest.TestCase):
    def setUp(self):
        self.log = Log()
        self.log.say("a1", "debug", "net")
        self.log.at(T0 + 60)
        self.log.say("b2", "warning", "net.http")
        self.log.line(b"", "", "data of b2", site="data|net.http|Open")
        self.log.at(T0 + 120)
        self.log.thread(77, "loader")
        self.log.line(text("C3"), "S", "{text}", "src/Load.cpp", "error|network|Load", 9)

    def check(self, expected, *arguments):
        self.assertEqual(show(self.log, "--format", "{text}", *arguments).split(), expected.split(), arguments)

    def test_each_filter(self):
        b2 = "b2 data of b2"
        self.check(f"a1 {b2} C3")
        self.check(f"{b2} C3", "--level", "warning")
        self.check(f"a1 {b2}", "--category", "net")
        self.check("C3", "--thread", "loader")
        self.check(f"a1 {b2}", "--thread", "1000")
        self.check("C3", "--site", "Load.cpp:9")
        self.check("C3", "--site", "Load")
        self.check("", "--site", "oad.cpp")
        self.check(f"a1 {b2} C3", "--site", "Load.cpp", "--site", "Editor/Open.cpp")
        self.check("C3", "-i", "--grep", "c3")
        self.check("", "--grep", "c3")
        self.check(f"{b2} C3", "--since", "2025-11-21T23:01")
        self.check("a1", "--until", "2025-11-21 22:00:30Z")
        self.check(b2, "--since", "2025-11-21T22:01", "--until", "2025-11-21T22:02", "--utc")

    def test_wrong_use_is_told(self):
        for arguments in (["show", "--since", "soon"], ["show", "--level", "loud"], ["show", "--format", "{what}"],
                          ["show", "--json", "--csv"], ["show", "--color", "blue"], ["report"], ["prune"], []):
            status, out, errors = run(*arguments, log=self.log)
            self.assertEqual((status, out), (64, b""), arguments)
            self.assertRegex(errors, "^qvlog: .*\nTry 'qvlog --help'.\n$")


class Folder(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.path = pathlib.Path(self.folder.name) / "program.qvlog"

    def write(self, log, name="program.qvlog"):
        path = self.path.with_name(name)
        path.write_bytes(log.bytes if isinstance(log, Log) else log)
        return path


class Files(Folder):
    def test_several_are_merged_by_time(self):
        logs = Log(1), Log(2)
        for second in range(10):
            log = logs[second % 2]
            log.at(T0 + second)
            log.say(f"line{second}")
            log.line(b"", "", f"data{second}", site="data|x|y")
        paths = [self.write(log, f"{i}.qvlog") for i, log in enumerate(logs)]
        _, out, _ = run("show", "--format", "{text}", *paths)
        self.assertEqual(out.decode().split(), [word for i in range(10) for word in (f"line{i}", f"data{i}")])

    def check(self, log):
        status, out, _ = run("check", self.write(log))
        return status, out.decode().replace(str(self.path), "F").splitlines()

    def test_check_tells_what_is_damaged(self):
        sound = Log().say("one")
        size = len(sound.bytes)
        self.assertEqual(self.check(sound), (0, ["F: sound, 1 block, 1 line, 0 bytes dropped"]))
        torn = sound.bytes + b"\xf7\x01"
        self.assertEqual(self.check(torn), (1, [
            f"F: ends within a record: 2 bytes at {size} dropped", "F: torn tail, 1 block, 1 line, 2 bytes dropped"]))
        damaged = sound.bytes + b"\xf3junk" + sound.bytes
        self.assertEqual(self.check(damaged), (2, [
            f"F: damaged at {size}: a byte that begins no record; 5 bytes dropped, goes on at {size + 5}",
            "F: damaged inside, 2 blocks, 2 lines, 5 bytes dropped"]))
        for no_log in (b"", b"no log at all" * 9):
            self.assertEqual(self.check(no_log)[0], 3)
        self.assertEqual(run("check", self.path.with_name("none.qvlog"))[0], 4)
        for log, status in ((sound.bytes, 0), (torn, 1), (damaged, 2), (b"no log at all" * 9, 3)):
            self.assertEqual(run("check", log=log)[0], status)

    def test_stats_spend_every_byte(self):
        log = hostile_log()
        log.block(2, T0 + 5)
        whole = log.say("x").bytes
        for data in (whole, whole[:-3], whole[:100] + b"\xf1" + whole[101:], whole[:50] + whole[60:]):
            for arguments, log_bytes in (([self.write(data)], None), ([], data)):
                _, out, _ = run("stats", *arguments, log=log_bytes)
                spent = {name.strip(): int(count) for name, count in
                         re.findall(r"^  ([a-z' ]+?)  +(\d+)  +[\d.]+ %$", out.decode(), re.MULTILINE)}
                total = spent.pop("sum")
                self.assertEqual((total, sum(spent.values())), (len(data), len(data)), out.decode())

    @unittest.skipIf(os.name != "posix", "needs wait4")
    def test_memory_stays_small_whatever_is_logged(self):
        if b"__asan_init" in pathlib.Path(QVLOG).read_bytes():
            self.skipTest("the sanitizer takes memory of its own")
        path = self.path
        write_monster(path)
        for command in (["check"], ["stats"], ["show"], ["show", "--json"], ["show", "--csv"], ["show", "--trace"],
                        ["report", "-o", os.devnull]):
            status, peak = run_small([QVLOG, *command, str(path)])
            self.assertEqual(status, 0, command)
            self.assertLess(peak, 32 * 1024, command)

    def test_report_holds_the_lines_as_text(self):
        page = self.path.with_name("page.html")
        self.assertEqual(run("report", "-o", page, "--title", "<b>&", self.write(hostile_log()))[0], 0)
        html = page.read_text(encoding="utf-8")
        self.assertNotIn("<img", html)
        self.assertNotIn("<b>&", html)
        self.assertEqual(html.count("<script"), html.count("</script>"))
        self.assertEqual(run("report", "-o", self.path / "no" / "folder.html", self.path)[0], 5)


class Following(Folder):
    def setUp(self):
        super().setUp()
        log = Log(1).say("zero").bytes
        self.file = open(self.write(log), "ab", buffering=0)
        self.program = subprocess.Popen([QVLOG, "show", "-f", "--format", "{text}", str(self.path)],
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        os.set_blocking(self.program.stdout.fileno(), False)
        self.addCleanup(self.end)
        self.expect("zero", 10)

    def end(self):
        self.program.kill()
        self.program.communicate()
        self.file.close()

    def expect(self, lines, within=5):
        """Waits for lines and answers how long it took."""
        begin, got = time.monotonic(), b""
        while got.count(b"\n") < len(lines.split()) and time.monotonic() - begin < within:
            got += self.program.stdout.read() or b""
            time.sleep(0.005)
        self.assertEqual(got.decode().split(), lines.split())
        return time.monotonic() - begin

    def test_lines_appear_at_once_whatever_happens_to_the_file(self):
        tail = bytes([0]) + text("one")  # the descriptor's slot
        waits = []
        for _ in range(3):  # a busy machine gets several chances
            self.file.write(tail)
            waits.append(self.expect("one"))
        self.assertLess(min(waits), 0.3)
        self.file.write(tail[:3])
        time.sleep(0.12)
        self.file.write(tail[3:])  # torn, and whole again
        self.expect("one")
        self.file.write(Log(1, T0 + 1).say("block").bytes)
        self.expect("block")
        self.file.write(bytes([0]) + text("last"))
        os.rename(self.path, self.path.with_name("program.1.qvlog"))
        self.file.close()
        self.file = open(self.write(Log(2).say("rotated")), "ab", buffering=0)
        self.expect("last rotated")
        self.file.truncate(0)
        time.sleep(0.2)
        self.file.write(Log(3).say("truncated").bytes)
        self.expect("truncated")
        self.assertIsNone(self.program.poll())


class Documents(unittest.TestCase):
    def test_help_fits_one_screen_and_every_document_names_its_options(self):
        status, out, _ = run("--help")
        lines = out.decode().splitlines()
        self.assertEqual((status, run("show", "--help")[1]), (0, out))
        self.assertLessEqual(len(lines), 40)
        self.assertLessEqual(max(map(len, lines)), 100)
        self.assertIn("Examples:", lines)
        options = set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", out.decode()))
        self.assertGreaterEqual(len(options), 20)
        manual = (SOURCE / "qvlog.1").read_text().replace("\\-", "-")
        completion = (SOURCE / "qvlog.bash").read_text()
        for option in options:
            self.assertRegex(manual, rf"(?<![\w-]){option}(?![\w-])")
            self.assertRegex(completion, rf"(?<![\w-]){option}(?![\w-])")

    @unittest.skipUnless(os.path.exists("/bin/bash"), "no bash")
    def test_completion(self):
        def complete(*words):
            script = (f"source '{SOURCE}/qvlog.bash'; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($#-1)); _qvlog; "
                      'printf "%s\\n" "${COMPREPLY[@]}"')
            return subprocess.run(["/bin/bash", "-c", script, "bash", *words], capture_output=True,
                                  text=True, check=True).stdout.split()
        self.assertEqual(complete("qvlog", "s"), ["show", "stats"])
        self.assertEqual(complete("qvlog", "show", "--fo"), ["--format", "--follow"])
        self.assertEqual(complete("qvlog", "show", "--level", "w"), ["warning"])
        self.assertEqual(complete("qvlog", "check", "--j"), [])


if __name__ == "__main__":
    QVLOG = sys.argv.pop(1)
    unittest.main()
