#!/usr/bin/env python3
"""Tests of the page that `qvlog report` makes, in a browser without a window: page_test.py QVLOG BROWSER"""
import html.parser
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

import qvlog_test
from qvlog_test import HOSTILE, Log, text


class Page(html.parser.HTMLParser):
    """What the page's elements say, by id and class, as the browser left them."""

    def __init__(self, source):
        super().__init__()
        self.rows, self.sites, self.by_id, self.tags, self.open = [], [], {}, [], []
        self.feed(source)

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.tags.append(tag)
        if tag not in ("meta", "input", "br", "link", "img"):
            self.open.append((tag, attributes.get("id"), (attributes.get("class") or "").split()))
        if "row" in (attributes.get("class") or "").split():
            self.rows.append({})

    def handle_endtag(self, tag):
        while self.open and self.open.pop()[0] != tag:
            pass

    def handle_data(self, data):
        if not self.open or self.open[-1][0] in ("script", "style"):
            return
        tag, name, classes = self.open[-1]
        if name:
            self.by_id[name] = self.by_id.get(name, "") + data
        if tag == "span" and classes and any("row" in element[2] for element in self.open):
            self.rows[-1][classes[0]] = data
        if tag == "b":
            self.sites.append(data)


class Report(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def browse(self, log, search=""):
        page = self.folder / "page.html"
        status, _, errors = qvlog_test.run("report", "--title", "<i>Title", "-o", page, log=log)
        self.assertEqual((status, errors), (0, ""))
        done = subprocess.run(
            [BROWSER, "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             f"--user-data-dir={self.folder}/profile", "--window-size=1200,800", "--virtual-time-budget=20000",
             "--dump-dom", page.as_uri() + search], capture_output=True, timeout=120, check=True)
        return Page(done.stdout.decode())

    def test_shows_searches_and_counts(self):
        log = Log()
        for i in range(50):
            log.line(struct.pack("<i", i), "I32", "count {n}")
            if i % 10 == 0:
                log.say(f"Tenth {i}", "warning", "net")
        whole = self.browse(log)
        self.assertEqual(whole.by_id["title"], "<i>Title")
        self.assertEqual(whole.by_id["about"], "55 lines, 1 threads, 2 call sites")
        self.assertEqual(whole.sites, ["50", "5"])
        self.assertEqual((whole.rows[0]["text"], whole.rows[1]["text"]), ("count 0", "Tenth 0"))
        self.assertEqual(whole.rows[0]["time"], "2025-11-21 23:00:00.000000")
        found = self.browse(log, "#tenth")
        self.assertEqual([row["text"] for row in found.rows], [f"Tenth {i}" for i in range(0, 50, 10)])
        self.assertEqual((found.by_id["found"], found.sites), ("5 found", ["5"]))

    def test_hostile_text_is_text(self):
        log = Log()
        log.thread(7, b"<img src=x onerror=alert(1)>")
        log.line(text(HOSTILE), "S", "{say}<script>alert(1)</script>", "<b>.cpp", "<!--")
        log.say("</script><script>document.body.textContent = 'taken'</script>")
        page = self.browse(log)
        self.assertIn("</script><img src=x>", page.rows[0]["text"])
        self.assertEqual(page.rows[0]["thread"], "<img src=x onerror=alert(1)>")
        self.assertEqual(page.rows[1]["text"], "</script><script>document.body.textContent = 'taken'</script>")
        self.assertNotIn("img", page.tags)

    def test_a_million_lines(self):
        log = Log()
        values = b"".join(b"\0" + struct.pack("<i", i) for i in range(1, 1000000))
        log.line(struct.pack("<i", 0), "I32", "count {n}")
        log.bytes += values
        page = self.browse(log, "#count 99999")
        self.assertEqual(page.by_id["found"], "11 found")
        self.assertEqual([row["text"] for row in page.rows][:2], ["count 99999", "count 999990"])


if __name__ == "__main__":
    qvlog_test.QVLOG = sys.argv.pop(1)
    BROWSER = sys.argv.pop(1)
    unittest.main()
