"""The page of segmask render --report in a headless browser: Chromium, driven by its driver over HTTP.

Run by ctest: report_in_browser.py SOURCE_DIR PROGRAMS CHROMIUM CHROMEDRIVER FOLDER. Screenshots of the pages stay in FOLDER.
"""

import base64
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
import urllib.request
from pathlib import Path

SOURCE, PROGRAMS, CHROMIUM, CHROMEDRIVER, FOLDER = map(Path, sys.argv[1:6])
WIDTHS = {"phone_narrow": 320, "phone_small": 360, "phone": 390, "desktop": 1280}
SCHEMES = "light", "dark"
HOSTILE = "<script>alert(1)</script>\"'&amp;\x1b"

# Texts whose contrast with what is behind them is below 4.5, as [text, ratio].
LOW_CONTRAST = """
const channels = color => {
  const [r, g, b, a = 1] = color.match(/[\\d.]+/g).map(Number);
  return {rgb: [r, g, b], a};
};
const luminance = rgb => {
  const [r, g, b] = rgb.map(c => c / 255).map(c => c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
  return 0.2126 * r + 0.7152 * g + 0.0722 * b;
};
const behind = element => {
  for (let e = element; e; e = e.parentElement) {
    const {rgb, a} = channels(getComputedStyle(e).backgroundColor);
    if (a === 1) return rgb;
    if (a > 0) throw new Error('a background that is half transparent');
  }
  throw new Error('no background');
};
const found = [];
let texts = 0;
const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
while (walker.nextNode()) {
  const element = walker.currentNode.parentElement;
  if (!walker.currentNode.data.trim() || element.closest('svg') || !element.getClientRects().length) continue;
  ++texts;
  const [a, b] = [luminance(channels(getComputedStyle(element).color).rgb), luminance(behind(element))];
  const ratio = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
  if (ratio < 4.5) found.push([walker.currentNode.data, ratio]);
}
if (texts < 50) throw new Error('only ' + texts + ' texts');
return found;
"""

# Elements that end right of the window, but for those within an element that scrolls by itself.
TOO_WIDE = """
return [...document.body.querySelectorAll('*')].filter(e => !e.parentElement.closest('.scroll, svg'))
  .filter(e => e.getBoundingClientRect().right > document.documentElement.clientWidth + 0.5)
  .map(e => e.outerHTML.slice(0, 200));
"""

FIGURES = "return [...document.querySelectorAll('[data-figure]')].map(e => [e.dataset.figure, e.textContent]);"


class Browser:
    """A session of Chromium. To be used as a context manager."""

    def __enter__(self):
        self.home = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self.driver = subprocess.Popen([CHROMEDRIVER, "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                       env={**os.environ, "HOME": self.home.name}, text=True)
        for line in self.driver.stdout:
            if port := re.search(r"started successfully on port (\d+)", line):
                break
        self.address = f"http://127.0.0.1:{port[1]}/session"
        # As root Chromium runs without its sandbox only; a container's /dev/shm may be small.
        arguments = ["--headless", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu", "--hide-scrollbars",
                     "--force-color-profile=srgb", f"--user-data-dir={self.home.name}/profile"]
        session = self.ask("POST", "", {"capabilities": {"alwaysMatch": {
            "goog:chromeOptions": {"binary": str(CHROMIUM), "args": arguments}, "goog:loggingPrefs": {"browser": "ALL"}}}})
        self.address += "/" + session["sessionId"]
        return self

    def __exit__(self, *_):
        try:
            if not self.address.endswith("/session"):
                self.ask("DELETE", "")
        finally:
            self.driver.terminate()
            self.driver.communicate()
            self.home.cleanup()

    def ask(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.address + path, data, {"Content-Type": "application/json"}, method=method)
        with urllib.request.build_opener(urllib.request.ProxyHandler({})).open(request, timeout=300) as reply:
            return json.load(reply)["value"]

    def run(self, script):
        return self.ask("POST", "/execute/sync", {"script": script, "args": []})

    def chrome(self, command, **parameters):
        return self.ask("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def show(self, page, width=WIDTHS["desktop"], scheme="light", media=""):
        self.chrome("Emulation.setDeviceMetricsOverride", width=width, height=850, deviceScaleFactor=1, mobile=width < 600)
        self.chrome("Emulation.setEmulatedMedia", media=media,
                    features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.ask("POST", "/url", {"url": page.as_uri()})

    def messages(self):
        return self.ask("POST", "/se/log", {"type": "browser"})

    def photograph(self, name):
        height = self.run("return document.documentElement.scrollHeight")
        width = self.run("return document.documentElement.clientWidth")
        picture = self.chrome("Page.captureScreenshot", captureBeyondViewport=True,
                              clip={"x": 0, "y": 0, "width": width, "height": height, "scale": 1})
        (FOLDER / f"{name}.png").write_bytes(base64.b64decode(picture["data"]))


def render(folder, *options):
    """Renders what stands in the folder, and returns the report's path and the summary for programs."""
    report, summary = folder / "report.html", folder / "summary.json"
    subprocess.run([PROGRAMS / "segmask", "render", "--no-progress", "--report", report, "--summary-json", summary, *options],
                   check=True, capture_output=True)
    return report, json.loads(summary.read_text())


class ReportInBrowser(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = cls.enterClassContext(Browser())
        cls.folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        FOLDER.mkdir(exist_ok=True)
        video, lines = SOURCE / "examples/pedestrians/pedestrians.mp4", cls.folder / "d.jsonl"
        subprocess.run([PROGRAMS / "motion_producer", "--compact", "--input", video, "--output", lines],
                       check=True, stdout=subprocess.DEVNULL)
        # Some lines of it less, so that look-back has something to do; and detections that each rule drops.
        mask = {"x": 0, "y": 0, "w": 900, "h": 900, "score": 1, "class_info": "SEG1|4|2|Dw=="}
        dropped = [7, {**mask, "class_info": "SEG1|4|2|"}, {**mask, "x": 5000}, {**mask, "class_info": "SEG1|4|2|AA=="}]
        kept = []
        for line in map(json.loads, lines.read_text().splitlines()):
            for detection in line["detections"]:
                detection["class_id"] = detection["x"] % 23 - 2
            line["detections"] += dropped * (line["frame"] % 40 == 13)
            if line["frame"] % 9:
                kept.append(json.dumps(line) + "\n")
        lines.write_text("".join(kept))
        cls.report, cls.summary = render(
            cls.folder, "--input", video, "--detections", lines, "--output", cls.folder / "pedestrians.mp4", "--lookback", "2",
            "--config", '{"alpha": 0.6, "min_score": 0.7, "max_overlay_dets": 12}')

    def show(self, *arguments, **more):
        self.browser.show(*arguments, **more)
        self.assertEqual(self.browser.messages(), [])

    def test_the_figures_are_those_of_the_summary(self):
        self.show(self.report)
        figures = dict(self.browser.run(FIGURES))
        dropped = self.summary["dropped"]
        wanted = {name: f"{value:,}" for name, value in self.summary.items() if isinstance(value, int)}
        wanted |= {f"dropped.{reason}": f"{count:,}" for reason, count in dropped.items()}
        wanted |= {"dropped": f"{sum(dropped.values()):,}", "plugin": self.summary["plugin"]}
        times = {f"render_ms.{name}": value for name, value in self.summary["render_ms"].items()}
        self.assertEqual(set(figures), set(wanted) | set(times))
        self.assertEqual({name: figures[name] for name in wanted}, wanted)
        for name, value in times.items():
            self.assertRegex(figures[name], r"^\d+\.\d{3} ms$")
            self.assertAlmostEqual(float(figures[name][:-3]), value, delta=0.00051)
        self.assertGreater(min(self.summary["drawn"], self.summary["lookback"], len(dropped) - 4), 0)
        # The table behind the charts adds up to them.
        rows = self.browser.run(
            "const table = [...document.querySelectorAll('#times ~ details')].pop().querySelector('tbody');"
            "return [...table.rows].map(row => [...row.cells].map(cell => cell.textContent))")
        totals = [sum(int(row[i].replace(",", "")) for row in rows) for i in range(2, len(rows[0]) - 2)]
        self.assertEqual(sorted(totals), sorted([self.summary["drawn"], *dropped.values(), self.summary["lookback"]]))

    def test_nothing_is_wider_than_the_screen_and_every_text_can_be_read(self):
        for scheme in SCHEMES:
            for name, width in WIDTHS.items():
                self.show(self.report, width, scheme)
                if name in ("phone", "desktop"):
                    self.browser.photograph(f"{name}_{scheme}")
                self.browser.run("document.querySelectorAll('details').forEach(e => e.open = true)")
                self.assertEqual(self.browser.run("return document.documentElement.clientWidth"), width)
                self.assertLessEqual(self.browser.run("return document.documentElement.scrollWidth"), width)
                self.assertEqual(self.browser.run(TOO_WIDE), [])
                self.assertEqual(self.browser.run(LOW_CONTRAST), [], (scheme, width))

    def test_paper_is_light_even_where_the_screen_is_dark(self):
        self.show(self.report, 794, "dark", "print")
        self.browser.photograph("paper")
        self.assertEqual(self.browser.run("return getComputedStyle(document.body).backgroundColor"), "rgb(255, 255, 255)")
        self.assertEqual(self.browser.run(LOW_CONTRAST), [])

    def test_the_page_is_accessible(self):
        self.show(self.report)
        self.assertEqual(self.browser.run("return document.documentElement.lang"), "en")
        levels = self.browser.run("return [...document.querySelectorAll('h1,h2,h3,h4,h5,h6')].map(e => +e.tagName[1])")
        self.assertEqual(levels[0], 1)
        self.assertEqual(levels.count(1), 1)
        for before, after in zip(levels, levels[1:]):
            self.assertLessEqual(after, before + 1, levels)
        names = self.browser.run(
            "return [...document.querySelectorAll('img, svg')].filter(e => !e.closest('[aria-hidden]')).map("
            "e => e.getAttribute('alt') || e.getAttribute('aria-label'))")
        self.assertGreater(len(names), 8)
        self.assertTrue(all(names), names)
        self.assertTrue(self.browser.run("return [...document.images].every(i => i.complete && i.naturalWidth > 0)"))
        # Every element that others name is there, and once.
        self.assertEqual(self.browser.run(
            "return [...document.querySelectorAll('[aria-labelledby]')].map(e => e.getAttribute('aria-labelledby'))"
            ".filter(id => document.querySelectorAll('#' + id).length !== 1)"), [])

    def test_hostile_names_are_text(self):
        folder = self.folder / HOSTILE.replace("/", "")
        folder.mkdir()
        (folder / "in.nv12").write_bytes(b"\x80" * (16 * 8 * 3 // 2) * 3)
        producer, key = HOSTILE + "\u202e\0", HOSTILE
        detection = {"w": 9, "h": 9, "class_id": HOSTILE, "label": HOSTILE, "score": 1, "class_info": "SEG1|4|2|Dw=="}
        (folder / "d.jsonl").write_text(json.dumps({"frame": 0, "producer": producer, "detections": [detection]}))
        report, _ = render(folder, "--input", folder / "in.nv12", "--size", "16x8", "--detections", folder / "d.jsonl",
                           "--config", json.dumps({key: HOSTILE}), "--output", os.fsencode(folder) + b"/\xff<b>.nv12")
        self.show(report, WIDTHS["phone_small"])
        self.assertEqual(self.browser.run("return document.querySelectorAll('script, b:not(.badge), iframe, link').length"), 0)
        self.assertEqual(self.browser.run("return document.querySelector('h1').textContent"), "\ufffd<b>.nv12")
        shown = HOSTILE.replace("\x1b", "\u241b")
        text = self.browser.run("return document.body.innerText")
        self.assertIn(shown + "\u202e\u2400", text)
        self.assertIn(folder.name.replace("\x1b", "\u241b") + "/in.nv12", text)
        self.assertIn(key[:20], self.browser.run("return document.querySelector('#configuration ~ .scroll').innerText"))
        self.assertEqual(self.browser.run(TOO_WIDE), [])

    def test_the_page_fetches_nothing_and_runs_no_script(self):
        page = self.report.read_text()
        changed = self.folder / "changed.html"
        changed.write_text(page.replace("</main>", "<img src=\"file:///etc/none.png\"><script>document.title = 'ran'</script></main>"))
        self.browser.show(changed)
        messages = [message["message"] for message in self.browser.messages()]
        self.assertEqual(len([m for m in messages if "Content Security Policy" in m]), 2, messages)
        self.assertNotEqual(self.browser.run("return document.title"), "ran")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[6:]])
