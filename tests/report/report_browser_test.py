#!/usr/bin/python3
"""The HTML report of msgfilter, opened in headless Chromium as a person opens it.

Writes reports of the real tool logs and of made-up hostile input with the built tool,
then checks what the page shows against the tool's own output: the counts in the
header against the text summary, the table against the jsonl messages, and what the
filter, the severity toggles, grouping, sorting and permalinks leave visible against
an independent reading of the jsonl. A page must load nothing and run no text of a log.

    report_browser_test.py --tool build/tools/msgfilter --rules data/enginemsg.xml \
        --realdata ../shared/realdata --examples examples --output build/tests/report/browser

Exits with 77 (skipped) when Chromium, its driver or Selenium is missing.
"""

import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

try:
    from selenium import webdriver
    from selenium.common.exceptions import NoAlertPresentException
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import Select, WebDriverWait
except ImportError:
    webdriver = None

SKIPPED = 77
ARGS = None
SEVERITIES = ["Error", "Critical Warning", "Warning", "Info"]
CARD_KEYS = {"Error": "error", "Critical Warning": "critical", "Warning": "warning",
             "Info": "info"}


def find_browser():
    for browser in ("/usr/lib/chromium/chromium", shutil.which("chromium") or ""):
        if browser and os.access(browser, os.X_OK):
            return browser
    return None


def start_browser(profile):
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu",
                     "--disable-background-networking", "--disable-component-update",
                     "--disable-sync", "--no-first-run", "--window-size=1400,1000",
                     "--user-data-dir=" + profile):
        options.add_argument(argument)
    options.binary_location = find_browser()
    # The performance log carries the DevTools network events: every request the page
    # makes, file: URLs included.
    options.set_capability("goog:loggingPrefs", {"performance": "ALL", "browser": "ALL"})
    return webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)


def run_tool(*arguments, check=True):
    result = subprocess.run([ARGS.tool, *arguments], capture_output=True, text=True,
                            env={**os.environ, "NO_COLOR": "1"})
    if check and result.returncode != 0:
        raise AssertionError("msgfilter %s: exit %d\n%s" % (" ".join(arguments),
                                                            result.returncode, result.stderr))
    return result


def summary_counts(text):
    """The per-severity counts and the message total of classify's text summary."""
    counts = {name: 0 for name in SEVERITIES}
    total = None
    for line in text.split("\n"):
        found = re.match(r"^\d+ lines, (\d+) messages$", line)
        if found:
            total = int(found.group(1))
        found = re.match(r"^  (Error|Critical Warning|Warning|Info) +(\d+)$", line)
        if found:
            counts[found.group(1)] = int(found.group(2))
    return total, counts


def expected_messages(log):
    """The messages as the page should show them, read from the tool's other outputs:
    place, line and severity from classify's jsonl, id and text from its SARIF (the
    rule id and the message), the source from the file and line fields."""
    jsonl = run_tool("classify", "--format", "jsonl", "--rules", ARGS.rules, log).stdout
    sarif = json.loads(run_tool("classify", "--format", "sarif", "--rules", ARGS.rules,
                                log).stdout)["runs"][0]["results"]
    # Not splitlines(): a message text may hold U+2028, which it would cut at.
    records = [json.loads(line) for line in jsonl.split("\n") if line]
    assert len(records) == len(sarif), (len(records), len(sarif))
    messages = []
    for number, (record, result) in enumerate(zip(records, sarif), 1):
        fields = {}
        for name, value in record["fields"]:
            fields.setdefault(name, value)
        source = fields.get("file", "")
        if source and int(fields.get("line", "0") or 0) > 0:
            source += ":" + str(int(fields["line"]))
        messages.append({
            "n": number,
            "severity": record["severity"],
            "id": result["ruleId"],
            "text": result["message"]["text"],
            "source": source,
            "origin": "%s:%d" % (record["file"], record["line"]),
        })
    return messages


def short(place):
    return place.rsplit("/", 1)[-1]


def matches(message, words):
    haystack = "\n".join((message["id"], message["text"], message["source"],
                          message["origin"])).lower()
    return all(word in haystack for word in words)


class ReportPage:
    """One report open in the browser, read as a person reads it."""

    def __init__(self, driver, path):
        self.driver = driver
        driver.get("file://" + os.path.abspath(path))
        WebDriverWait(driver, 60).until(
            lambda d: d.execute_script("return document.body.dataset.ready === 'true'"))

    def card(self, key):
        return self.driver.find_element(
            By.CSS_SELECTOR, '#counts .card[data-key="%s"] .count' % key).text

    def status(self):
        return int(self.driver.find_element(By.ID, "status").get_attribute("data-matching"))

    def wait_for_status(self, expected):
        WebDriverWait(self.driver, 30).until(lambda d: self.status() == expected)

    def show_rows(self, count):
        Select(self.driver.find_element(By.ID, "page-size")).select_by_visible_text(count)

    def rows(self):
        """Every row of the table across all pages, each as its cells' texts; a cell
        that names a place gives the full place of its tooltip after a "|"."""
        script = """
            const rows = [];
            for (const row of document.querySelectorAll('#rows tr'))
              rows.push(Array.from(row.cells,
                  (cell) => cell.textContent + (cell.title ? '|' + cell.title : '')));
            return rows;"""
        collected = []
        while True:
            collected += self.driver.execute_script(script)
            buttons = [b for b in self.driver.find_elements(By.CSS_SELECTOR, "#pager button")
                       if b.text.startswith("Next")]
            if not buttons or not buttons[0].is_enabled():
                return collected
            first = self.driver.execute_script("return document.querySelector('#rows tr').id")
            buttons[0].click()
            WebDriverWait(self.driver, 30).until(lambda d: d.execute_script(
                "return document.querySelector('#rows tr').id") != first)

    def shown_numbers(self):
        return [int(cells[0]) for cells in self.rows()]

    def type_filter(self, text):
        box = self.driver.find_element(By.ID, "filter")
        # Keys as a person types them: clear() alone sends no input event.
        box.send_keys(Keys.CONTROL, "a")
        box.send_keys(Keys.DELETE)
        box.send_keys(text)

    def toggle(self, label):
        for button in self.driver.find_elements(By.CSS_SELECTOR, "#severity-toggles button"):
            if button.text.rsplit(" ", 1)[0] == label:
                button.click()
                return
        raise AssertionError("no toggle " + label)

    def requests(self):
        """The URLs asked for since the log was last read, but for the browser's own
        pages (a new tab loads chrome:// resources at start-up)."""
        urls = []
        for entry in self.driver.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent" and not message["params"].get(
                    "documentURL", "").startswith(("chrome:", "about:")):
                urls.append(message["params"]["request"]["url"])
        return urls

    def errors(self):
        return [entry["message"] for entry in self.driver.get_log("browser")
                if entry["level"] == "SEVERE"]


class ReportBrowserTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        os.makedirs(ARGS.output, exist_ok=True)
        cls.profile = tempfile.mkdtemp(prefix="msgfilter-report-browser-")
        cls.driver = start_browser(cls.profile)

    @classmethod
    def tearDownClass(cls):
        cls.driver.quit()
        shutil.rmtree(cls.profile, ignore_errors=True)

    def report(self, name, *inputs):
        path = os.path.join(ARGS.output, name + ".html")
        run_tool("report", "--rules", ARGS.rules, "--output", path, *inputs)
        self.driver.get_log("performance")  # only this page's requests count
        return ReportPage(self.driver, path), path

    def expect_self_contained(self, page, path):
        own = "file://" + os.path.abspath(path)
        self.assertEqual([url for url in page.requests() if url.split("#")[0] != own], [])
        self.assertEqual(page.errors(), [])

    def real_logs(self):
        logs = sorted(os.path.join(ARGS.realdata, name) for name in os.listdir(ARGS.realdata)
                      if name.endswith((".log", ".rpt")))
        self.assertTrue(logs, "no real logs in " + ARGS.realdata)
        return logs

    def test_real_logs_show_the_tools_counts_and_every_message(self):
        for log in self.real_logs():
            with self.subTest(log=os.path.basename(log)):
                total, counts = summary_counts(run_tool("classify", "--rules", ARGS.rules, log).stdout)
                expected = expected_messages(log)
                page, path = self.report(os.path.basename(log), log)
                if "synth" in os.path.basename(log):
                    self.driver.save_screenshot(os.path.join(ARGS.output, "real-log-report.png"))
                self.assertEqual(page.card("messages"), "{:,}".format(total))
                for severity in SEVERITIES:
                    self.assertEqual(page.card(CARD_KEYS[severity]), "{:,}".format(counts[severity]),
                                     severity)
                self.assertEqual(len(expected), total)
                self.assertEqual(page.status(), total)
                page.show_rows("5000")
                rows = page.rows()
                self.assertEqual(len(rows), total)
                # number, severity, id, text, source, log; the places shown short, as the
                # file name and line of the source and the log's name and line.
                self.assertEqual(rows, [[str(m["n"]), m["severity"], m["id"] or "\u2014", m["text"],
                                         short(m["source"]) + "|" + m["source"] if m["source"] else "",
                                         short(m["origin"]) + "|" + m["origin"]]
                                        for m in expected])
                self.expect_self_contained(page, path)

    def test_filter_toggles_grouping_sorting_and_permalinks_show_the_right_rows(self):
        log = os.path.join(ARGS.realdata, "vivado-gui-e203_7010.log")
        expected = expected_messages(log)
        page, _ = self.report("filtering", log)
        page.show_rows("5000")
        cases = [
            # (name, filter text, severities switched off)
            ("one word", "constraint", []),
            ("two words, any case", "NOT found", []),
            ("a message id", "Synth 8-", []),
            ("a place with its line", "e203_7010.log:1", []),
            ("a word and no warnings", "constraint", ["Warning"]),
            ("only warnings", "", ["Error", "Critical Warning", "Info"]),
            ("nothing matches", "no-such-text-anywhere", []),
        ]
        for name, text, off in cases:
            with self.subTest(name):
                words = text.lower().split()
                wanted = [m["n"] for m in expected
                          if matches(m, words) and m["severity"] not in off]
                page.type_filter(text)
                for severity in off:
                    page.toggle(severity)
                page.wait_for_status(len(wanted))
                self.assertEqual(page.shown_numbers(), wanted)
                for severity in off:
                    page.toggle(severity)
        page.type_filter("")
        page.wait_for_status(len(expected))

        with self.subTest("grouped by id"):
            self.driver.find_element(By.ID, "group-by-id").click()
            groups = {cells[1]: int(cells[2].replace(",", "")) for cells in page.rows()}
            ids = {}
            for m in expected:
                key = m["id"] or "(no id)"
                ids[key] = ids.get(key, 0) + 1
            self.assertEqual(groups, ids)
            # A group leads to exactly its messages.
            busiest = max(ids, key=ids.get)
            self.driver.find_element(
                By.XPATH, "//tbody[@id='rows']/tr[td[2][normalize-space()='%s']]" % busiest).click()
            page.wait_for_status(ids[busiest])
            self.assertEqual(page.shown_numbers(),
                             [m["n"] for m in expected if (m["id"] or "(no id)") == busiest])
            self.driver.find_element(By.ID, "id-chip").click()
            page.wait_for_status(len(expected))

        with self.subTest("sorted by severity"):
            self.driver.find_element(By.CSS_SELECTOR, '#head th[data-sort="severity"]').click()
            severities = [cells[1] for cells in page.rows()]
            self.assertEqual(severities, sorted(severities, key=SEVERITIES.index))
            self.assertEqual(sorted(page.shown_numbers()), [m["n"] for m in expected])

        with self.subTest("a permalink to a filtered-out message"):
            page.type_filter("no-such-text-anywhere")
            page.wait_for_status(0)
            target = expected[len(expected) // 2]["n"]
            self.driver.execute_script("location.hash = arguments[0]", "#m-%d" % target)
            WebDriverWait(self.driver, 30).until(lambda d: d.execute_script(
                "const row = document.getElementById(arguments[0]);"
                "return row !== null && row.classList.contains('target')", "m-%d" % target))
            self.assertEqual(page.status(), len(expected))

    def test_markup_in_a_log_is_shown_as_text_and_runs_nothing(self):
        lines = [
            "WARNING: [Synth 8-1] <script>alert(1)</script> in module top",
            "ERROR: [Synth 8-2] <img src=x onerror=\"document.title='pwned'\"> failed",
            "CRITICAL WARNING: [Place 30-3] </script><script>alert(3)</script><!-- [a.v:3]",
            "Warning: \"quoted\" &amp; <b>bold</b> ' \u2028 \u00e9",
        ]
        directory = tempfile.mkdtemp(prefix="msgfilter-report-hostile-")
        log = os.path.join(directory, "<b>top<i>.log")
        with open(log, "w", encoding="utf-8") as file:
            file.write("\n".join(lines) + "\n")
        expected = expected_messages(log)
        page, path = self.report("hostile", log)
        shutil.rmtree(directory)
        with self.assertRaises(NoAlertPresentException):
            self.driver.switch_to.alert.text
        self.assertNotEqual(self.driver.title, "pwned")
        self.assertEqual(len(expected), len(lines))
        self.assertEqual([cells[3] for cells in page.rows()], [m["text"] for m in expected])
        self.assertIn("<script>alert(1)</script>", expected[0]["text"])
        counts = self.driver.execute_script(
            "return ['script', 'img', 'b', 'i'].map((tag) => document.getElementsByTagName(tag).length)")
        self.assertEqual(counts, [2, 0, 0, 0])  # the page's data block and its own script
        self.assertIn("<b>top<i>.log", self.driver.title)
        self.expect_self_contained(page, path)

    def test_baseline_and_waivers_show_the_tools_new_fixed_and_waived_counts(self):
        log = os.path.join(ARGS.realdata, "vivado-synth-cnn-accelerator.log")
        directory = tempfile.mkdtemp(prefix="msgfilter-report-review-")
        # An earlier run had none of one id and a message this run no longer has.
        with open(log, encoding="utf-8", errors="surrogateescape") as source:
            lines = [line for line in source if "Synth 8-6040" not in line]
        old = os.path.join(directory, "old.log")
        with open(old, "w", encoding="utf-8", errors="surrogateescape") as out:
            out.writelines(lines + ["WARNING: [Synth 9-999] a message this run no longer has\n"])
        baseline = os.path.join(directory, "old.jsonl")
        with open(baseline, "w", encoding="utf-8") as out:
            out.write(run_tool("classify", "--format", "jsonl", "--rules", ARGS.rules, old).stdout)
        # Every message of one id is accepted.
        accepted = os.path.join(directory, "accepted.jsonl")
        with open(accepted, "w", encoding="utf-8") as out:
            out.writelines(line + "\n" for line in run_tool(
                "classify", "--format", "jsonl", "--rules", ARGS.rules, log).stdout.split("\n")
                if '"Synth 8-3886"' in line)
        waivers = os.path.join(directory, "waivers.xml")
        run_tool("waive", "--by", "id", "-o", waivers, accepted)
        review = ["--baseline", baseline, "--filters", waivers]
        text = run_tool("classify", "--rules", ARGS.rules, *review, log).stdout
        total, counts = summary_counts(text)
        waived = int(re.search(r"^  (\d+) waived$", text, re.M).group(1))
        new, known, fixed = map(int, re.search(
            r"^  (\d+) new, (\d+) known, (\d+) fixed since the baseline$", text, re.M).groups())
        self.assertGreater(waived, 0)
        self.assertGreater(new, 0)
        self.assertGreater(fixed, 0)
        page, path = self.report("review", *review, log)
        shutil.rmtree(directory)

        self.assertEqual(page.card("messages"), "{:,}".format(total))
        for severity in SEVERITIES:
            self.assertEqual(page.card(CARD_KEYS[severity]), "{:,}".format(counts[severity]))
        self.assertEqual([page.card(key) for key in ("new", "fixed", "waived")],
                         [str(new), str(fixed), str(waived)])
        page.show_rows("5000")
        self.assertEqual(page.status(), new + known)
        states = {cells[3] for cells in page.rows()}
        self.assertEqual(states, {"new", "known"})
        for name, matching in (("known", new), ("waived", new + waived), ("new", waived)):
            with self.subTest(toggle=name):
                self.driver.find_element(By.XPATH, "//div[@id='state-toggles']/button"
                                         "[starts-with(., '%s ')]" % name).click()
                page.wait_for_status(matching)
        self.assertEqual({cells[3] for cells in page.rows()}, {"waived"})
        self.expect_self_contained(page, path)

    def test_a_replayed_session_shows_its_processes_and_what_filters_hid_as_waived(self):
        # The replay writes beside its session: a copy keeps the sources clean.
        directory = tempfile.mkdtemp(prefix="msgfilter-report-session-")
        examples = os.path.join(directory, "examples")
        shutil.copytree(ARGS.examples, examples)
        session = os.path.join(examples, "two-implementations.session")
        path = os.path.join(ARGS.output, "session.html")
        records = [json.loads(line) for line in filter(None, run_tool(
            "run", "--format", "jsonl", "--report", path, session).stdout.split("\n"))]
        shutil.rmtree(directory)
        shown = [r for r in records if r["kind"] == "message"]
        total = next(r for r in records if r["kind"] == "total")
        self.driver.get_log("performance")
        page = ReportPage(self.driver, path)

        self.assertEqual(page.card("messages"), str(
            total["Error"] + total["Warning"] + total["Info"] + total["other"] - total["hidden"]))
        self.assertEqual(page.card("waived"), str(total["hidden"]))
        self.assertGreater(total["hidden"], 0)
        # Waived messages start hidden: the table shows what the run's own view shows.
        page.show_rows("5000")
        self.assertEqual(page.status(), len(shown))
        self.assertEqual([(cells[1], cells[2], cells[4], cells[6].split("|")[0]) for cells in page.rows()],
                         [(r["severity"], r["id"], r["text"],
                           r["implementation"] + " / " + r["process"]) for r in shown])
        self.driver.find_element(By.XPATH, "//div[@id='state-toggles']/button[starts-with(., 'waived')]").click()
        page.wait_for_status(len(shown) + total["hidden"])
        self.expect_self_contained(page, path)


def main():
    global ARGS
    parser = argparse.ArgumentParser()
    parser.add_argument("--tool", required=True)
    parser.add_argument("--rules", required=True)
    parser.add_argument("--realdata", required=True)
    parser.add_argument("--examples", required=True)
    parser.add_argument("--output", required=True)
    ARGS, rest = parser.parse_known_args()
    if webdriver is None or find_browser() is None or shutil.which("chromedriver") is None:
        print("skipped: needs chromium, chromium-driver and python3-selenium")
        return SKIPPED
    program = unittest.main(argv=[sys.argv[0], "-v", *rest], exit=False)
    return 0 if program.result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
