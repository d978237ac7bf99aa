#!/usr/bin/python3
"""How fast a big `msgfilter report` page opens and filters in headless Chromium.

    bench/report_browser.py BUILD_DIR [MESSAGES]

BUILD_DIR is a build configured with -DMSGFILTER_BUILD_BENCH=ON (Release for figures
worth quoting). Generates a log with about MESSAGES messages (default 100000; the
generator makes about one message per six lines), writes its report and opens it in
headless Chromium. Prints the page's size, the time to write it, the time until the
table is shown, and for each interaction the script's own time ("report-apply" in the
page's timeline) and the time from the input until the next frame is painted. Each
interaction runs three times; the median is printed.
"""

import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

# Runs one interaction in the page and calls back with [script ms, input-to-paint ms]
# once two animation frames have passed after the table changed.
INTERACT = """
const [action, argument, done] = arguments;
const before = performance.getEntriesByName('report-apply').length;
const start = performance.now();
const actions = {
  filter: () => {
    const box = document.getElementById('filter');
    box.value = argument;
    box.dispatchEvent(new Event('input'));
  },
  click: () => document.querySelector(argument).click(),
};
actions[action]();
(function wait() {
  const entries = performance.getEntriesByName('report-apply');
  if (entries.length === before) return setTimeout(wait, 5);
  requestAnimationFrame(() => requestAnimationFrame(() =>
    done([entries[entries.length - 1].duration, performance.now() - start])));
})();
"""


def main():
    if len(sys.argv) < 2:
        print(__doc__)
        return 2
    build = sys.argv[1]
    messages = int(sys.argv[2]) if len(sys.argv) > 2 else 100000
    work = tempfile.mkdtemp(prefix="msgfilter-report-bench-")
    try:
        log = os.path.join(work, "big.log")
        page = os.path.join(work, "big.html")
        with open(log, "w") as out:
            subprocess.run([os.path.join(build, "bench", "generate_tool_log"), str(messages * 6)],
                           stdout=out, check=True)
        start = time.monotonic()
        subprocess.run([os.path.join(build, "tools", "msgfilter"), "report", "--output", page, log],
                       check=True)
        written = time.monotonic() - start

        options = webdriver.ChromeOptions()
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu",
                         "--disable-background-networking", "--disable-component-update",
                         "--disable-sync", "--no-first-run", "--window-size=1400,1000",
                         "--user-data-dir=" + os.path.join(work, "profile")):
            options.add_argument(argument)
        options.binary_location = "/usr/lib/chromium/chromium"
        driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        driver.set_script_timeout(120)
        try:
            start = time.monotonic()
            driver.get("file://" + page)
            while driver.execute_script("return document.body.dataset.ready") != "true":
                time.sleep(0.01)
            opened = time.monotonic() - start
            ready = driver.execute_script(
                "return performance.getEntriesByName('report-ready')[0].startTime")
            total = driver.execute_script(
                "return document.getElementById('status').dataset.total")
            print("messages: %s, page: %.1f MB, written in %.2f s (msgfilter report)"
                  % (total, os.path.getsize(page) / 1e6, written))
            print("open: table shown %.0f ms after navigation start (%.2f s until the driver saw it)"
                  % (ready, opened))
            toggle_info = ("click", "#severity-toggles button.info")
            group = ("click", "#group-by-id")
            # (name, the step measured, a step before it and one after it, not measured)
            interactions = [
                ("filter 'latch'", ("filter", "latch"), None, ("filter", "")),
                ("filter 'clk_1'", ("filter", "clk_1"), None, ("filter", "")),
                ("filter 'no-such-text'", ("filter", "no-such-text"), None, ("filter", "")),
                ("clear the filter", ("filter", ""), ("filter", "latch"), None),
                ("toggle Info off", toggle_info, None, toggle_info),
                ("sort by message text", ("click", '#head th[data-sort="text"]'), None,
                 ("click", '#head th[data-sort="n"]')),
                ("group by id", group, None, group),
            ]
            print("%-40s %10s %18s" % ("interaction (median of 3)", "script ms",
                                       "input-to-paint ms"))
            first = driver.execute_async_script(INTERACT, "filter", "latch")
            driver.execute_async_script(INTERACT, "filter", "")
            print("%-40s %10.0f %18.0f" % ("first filter 'latch' (builds search text)",
                                           first[0], first[1]))
            for name, step, before, after in interactions:
                runs = []
                for _ in range(3):
                    if before:
                        driver.execute_async_script(INTERACT, *before)
                    runs.append(driver.execute_async_script(INTERACT, *step))
                    if after:
                        driver.execute_async_script(INTERACT, *after)
                print("%-40s %10.0f %18.0f" % (name, statistics.median(r[0] for r in runs),
                                               statistics.median(r[1] for r in runs)))
            print("(a typed filter waits 120 ms for typing to stop; input-to-paint includes it)")
        finally:
            driver.quit()
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
