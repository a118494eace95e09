"""Loads the pages of kst_usage, of kst_iotrack and of a run in a headless browser. No error
of a script may reach it; plots have to be painted in the colours of the mode, a page no
wider than its window, and names no elements."""

import html
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree

GOLDEN = pathlib.Path(__file__).parent.parent / "tools" / "golden"
CHROMIUM = shutil.which("chromium")

# The first series' colours in page/style.css.
LIGHT = [0x2F, 0x6F, 0xB2]
DARK = [0x6A, 0xA9, 0xE9]

# More than a square of the legend has, in pixels.
PAINTED = 200

# Waits until the page has settled, and tells the frame around it what it finds.
PROBE = """
<script>
addEventListener("load", () => setTimeout(() => {
  const painted = (canvas, colour) => {
    const copy = document.createElement("canvas");
    [copy.width, copy.height] = [canvas.width, canvas.height];
    const context = copy.getContext("2d");
    context.drawImage(canvas, 0, 0);
    const pixels = context.getImageData(0, 0, copy.width, copy.height).data;
    let count = 0;
    for (let i = 0; i < pixels.length; i += 4) {
      count += colour.every((part, k) => pixels[i + k] === part) ? 1 : 0;
    }
    return count;
  };
  const canvases = Array.from(document.querySelectorAll("canvas"));
  // Names beside bars that are wider than their room.
  const clipped = (canvas) => {
    const scale = Chart.getChart(canvas).scales.y;
    const pen = document.createElement("canvas").getContext("2d");
    pen.font = Chart.defaults.font.size + "px " + Chart.defaults.font.family;
    return scale.ticks.filter((tick) => pen.measureText(tick.label).width > scale.width);
  };
  const found = {
    clipped: canvases.flatMap(clipped).map((tick) => tick.label),
    window: innerWidth,
    page: document.documentElement.scrollWidth,
    plots: canvases.map((canvas) => painted(canvas, COLOUR)),
    tables: document.querySelectorAll("table").length,
    scripts: document.scripts.length,
    images: document.images.length + document.querySelectorAll("b, i, link").length,
  };
  dispatchEvent(new Event("beforeprint"));
  found.printed = canvases.map((canvas) => painted(canvas, LIGHT));
  found.widest = Math.max(0, ...canvases.map((canvas) => canvas.clientWidth));
  dispatchEvent(new Event("afterprint"));
  found.again = canvases.map((canvas) => painted(canvas, COLOUR));
  parent.postMessage(JSON.stringify(found), "*");
}, 200));
</script>
</body>
"""

# A window has at least some 500 pixels, a frame in it any number.
FRAME = """<!DOCTYPE html>
<iframe src="probed.html" width="WIDTH" height="1200" style="border: 0"></iframe>
<pre id="found"></pre>
<script>
addEventListener("message", (message) => {
  document.getElementById("found").textContent = message.data;
});
</script>
"""


def log(labels):
    """A resource log that is cut off after marks of these names."""
    text = "!Snapshot = s\n!Version = v\n!Host = h\n"
    for number, label in enumerate(["a-Start"] + labels, 1):
        numbers = f"{number}.0 0.5 {number % 99 << 20} {number % 99 << 20} {number}.5"
        text += f"a.{number} {3 * number} {label:>40} {numbers} 0 0 0 0 9 9 0 0 0 7 \n"
    return text


@unittest.skipIf(CHROMIUM is None, "chromium is not installed")
class BrowserTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def make(self, tool, *arguments):
        """The text of the page that a tool writes about files beside the golden pages."""
        page = self.folder / "page.html"
        command = [os.environ[tool], "--html", page, *arguments]
        made = subprocess.run(command, cwd=GOLDEN, capture_output=True, text=True)
        self.assertLess(made.returncode, 2, made.stderr)
        return page.read_text(encoding="utf-8")

    def browse(self, page, is_dark):
        """The browser's text of a page, which must be loaded without a complaint."""
        command = [
            CHROMIUM, "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run",
            "--disable-background-networking", "--disable-component-update",
            "--disable-dev-shm-usage", "--disable-sync", "--enable-logging=stderr",
            "--v=0", "--virtual-time-budget=5000", "--window-size=1400,1300",
            f"--user-data-dir={self.folder / 'profile'}",
            f"--blink-settings=preferredColorScheme={0 if is_dark else 1}",
            "--dump-dom", page.as_uri(),
        ]
        environment = dict(os.environ, HOME=str(self.folder))
        shown = subprocess.run(
            command, env=environment, capture_output=True, text=True, timeout=120
        )
        said = [line for line in shown.stderr.splitlines() if "CONSOLE" in line]
        self.assertEqual(said, [])
        return shown.stdout

    def load(self, text, width, is_dark):
        """What the probe finds in a page."""
        probe = PROBE.replace("COLOUR", str(DARK if is_dark else LIGHT))
        probe = probe.replace("LIGHT", str(LIGHT))
        probed = self.folder / "probed.html"
        probed.write_text(text.replace("</body>\n", probe), encoding="utf-8")
        frame = self.folder / "frame.html"
        frame.write_text(FRAME.replace("WIDTH", str(width)))
        shown = self.browse(frame, is_dark)
        found = re.search('<pre id="found">(.+)</pre>', shown)
        self.assertIsNotNone(found, shown[-500:])
        return json.loads(html.unescape(found[1]))

    def check(self, text, plots, tables, windows=((360, False),)):
        """Looks at the page in windows of a width, dark or not."""
        for width, is_dark in windows:
            with self.subTest(width=width):
                found = self.load(text, width, is_dark)
                self.assertEqual(found["window"], width)
                self.assertLessEqual(found["page"], width)
                self.assertEqual(len(found["plots"]), plots)
                for kind in ("plots", "printed", "again"):
                    self.assertGreater(min(found[kind], default=1000), PAINTED, kind)
                self.assertLessEqual(found["widest"], 680)
                self.assertEqual(found["tables"], tables)
                self.assertEqual(found["scripts"], 4, "data, library, plots, probe")
                self.assertEqual(found["images"], 0)
                self.assertEqual(found["clipped"], [])

    def test_usage(self):
        self.check(self.make("KST_USAGE", "beam.use"), 3, 3, ((360, True), (1280, False)))

    def test_difference(self):
        text = self.make("KST_USAGE", "--diff", "beam.use", "beam.use")
        self.check(text, plots=4, tables=4)

    def test_ranks(self):
        text = self.make("KST_USAGE", *["beam.use"] * 8)
        self.check(text, plots=5, tables=4)

    def test_iotrack(self):
        self.check(self.make("KST_IOTRACK", "beam"), 5, 3, ((360, False), (1280, True)))

    def test_jobs(self):
        self.check(self.make("KST_IOTRACK", "beam", "beam"), plots=7, tables=4)

    def test_strange_and_many_names(self):
        names = ["</script><script>throw 1</script>", "<!--", "<b>x", "<img src=x>"]
        names += ["x" * 5000, "\u00e4" * 300, "\U0001f600 {}[]\"'\\"]
        # Letters that are wider than others, and the largest bar of all.
        names += ["\U0001f600" * 100] * 2
        path = self.folder / "a.use"
        path.write_text(log(names + [f"step {i}" for i in range(3000)]), "utf-8")
        self.check(self.make("KST_USAGE", path), plots=2, tables=2)

    def test_nothing(self):
        path = self.folder / "a.use"
        path.write_text(log([]))
        self.check(self.make("KST_USAGE", path), plots=0, tables=1)

    def test_page_of_a_run(self):
        """What ./run makes, without its build."""
        truss = GOLDEN.parent.parent.parent / "examples" / "truss"
        command = [
            os.environ["KST_TRUSS"], "-job", "job", "-outdir", self.folder,
            "-svg", self.folder / "picture.svg", truss / "decks" / "space_truss.deck",
        ]
        environment = dict(os.environ, KES_RESOURCE_MONITOR="ON", KES_IO_TRACK="1")
        subprocess.run(command, env=environment, check=True, capture_output=True)
        picture = xml.etree.ElementTree.parse(self.folder / "picture.svg")
        self.assertEqual(len(list(picture.iter("{http://www.w3.org/2000/svg}line"))), 51)
        usage = self.make("KST_USAGE", self.folder / "job.use")
        (self.folder / "usage.html").write_text(usage, encoding="utf-8")
        tracked = self.make("KST_IOTRACK", self.folder / "job")
        (self.folder / "io.html").write_text(tracked, encoding="utf-8")
        page = (truss / "page.html").read_text(encoding="utf-8")
        probe = """<script>addEventListener("load", () => {
          const picture = document.images[0];
          picture.alt = [picture.complete, picture.naturalWidth > 0, frames.length];
        });</script></body>"""
        whole = self.folder / "index.html"
        whole.write_text(page.replace("</body>", probe), encoding="utf-8")
        self.assertIn('alt="true,true,2"', self.browse(whole, True))

    def test_errors_are_seen(self):
        """That the test would see an error of a script, and a plot that is not drawn."""
        text = self.make("KST_USAGE", "beam.use")
        with self.assertRaises(AssertionError):
            self.load(text.replace("draw();", "draw(); nothing();", 1), 1280, False)
        empty = text.replace('"values":[12.0,83.0,0.0]', '"values":[null,null,null]')
        self.assertNotEqual(empty, text)
        self.assertLess(self.load(empty, 1280, False)["plots"][0], PAINTED)


if __name__ == "__main__":
    unittest.main()
