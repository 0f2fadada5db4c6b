"""The report page in a real browser: figures, one decoded image per wrong item, worst first, nothing fetched."""
import html
import json
import re
import shutil
import subprocess
import unittest

from support import HostTest, flat, png

BROWSER = shutil.which("chromium")

# Every image is decoded before the page is printed; a page that printed itself without this says so.
PROBE = """<script>
Promise.all([...document.images].map(i => { i.loading = 'eager'; return i.decode().then(() => i.naturalWidth, () => 0); }))
  .then(widths => { document.title = 'decoded ' + widths.join(' '); });
</script>"""


@unittest.skipUnless(BROWSER, "SKIPPED: no chromium to open the report with")
class Report(HostTest):
    def opened(self, report):
        """(widths of the decoded images, the page's text) after a browser without network has drawn it."""
        page = report.read_text("utf-8")
        self.assertIsNone(re.search(r"""(src|href)=["'](?!data:|#)""", page), "the page refers to something outside")
        probed = self.file("probed é.html", page.replace("</body>", PROBE + "</body>"))
        # Virtual time does not wait for the threads that decode: on a busy machine the page may be printed too early.
        for _ in range(5):
            dom = subprocess.run([BROWSER, "--headless", "--no-sandbox", "--disable-gpu", "--virtual-time-budget=20000",
                                  "--host-resolver-rules=MAP * ~NOTFOUND", f"--user-data-dir={self.scratch}/profile",
                                  "--dump-dom", probed.as_uri()], capture_output=True, timeout=300).stdout.decode("utf-8")
            title = re.search("<title>decoded ?(.*?)</title>", dom)
            if title:
                break
        self.assertIsNotNone(title, dom[:2000])
        return [int(w) for w in title.group(1).split()], html.unescape(re.sub("<style>.*?</style>|<[^>]+>", " ", dom.replace("<wbr>", ""),
                                                                 flags=re.S))

    def evaluated(self, tool, train, test):
        state = self.train(tool, train)
        out = self.scratch / "bericht"
        found = self.ok("evaluate", "--state", state, "--data", test, "--out", out)
        self.assertEqual(json.loads((out / "results.json").read_text("utf-8"))["mistakes"], found["mistakes"])
        widths, text = self.opened(out / "report.html")
        self.assertNotIn(0, widths)
        return found, widths, text

    def test_classifier(self):
        data = self.brightness_set()
        for value in (20, 60, 90):
            self.file(f"probe/light/wrong <{value}>.png", flat(value))
        self.file("probe/light/right.png", flat(201))
        self.file("probe/dark é/right.png", flat(80))
        for value in (25, 240):
            self.file(f"probe/unknown/{value}.png", flat(value))
        found, widths, text = self.evaluated("classifier", data, self.scratch / "probe")
        self.assertIn("28.6 %", text)
        self.assertEqual(len(widths), 5)
        # What the surer right answer reaches, and what both do.
        self.assertEqual([share for share, _ in found["foreign_curve"]], [0.5, 1])
        self.assertIn("Images of categories that it does not know", text)
        places = [text.index(m["file"]) for m in found["mistakes"]]
        self.assertEqual(places, sorted(places))
        scores = [m["score"] for m in found["mistakes"]]
        self.assertEqual(scores, sorted(scores, reverse=True))

    def test_segmenter(self):
        data = self.bright_set()
        _, widths, text = self.evaluated("segmenter", data, data)
        self.assertEqual(len(widths), 1)
        self.assertIn("0.875", text)
        self.assertIn("8 wrong pixels images/2.png", re.sub(r"\s+", " ", text))

    def test_reader(self):
        self.text_set()
        page = self.text_set("probe", shown="ABÇ")
        labels = json.loads((page / "labels.json").read_text("utf-8"))
        # A second image, of which nothing is read, and a third that is read wholly.
        self.file("probe/empty.png", png(60, 60, lambda x, y: 255))
        shutil.copy(self.scratch / "texts/page.png", page / "whole.png")
        labels["images"] += [{**labels["images"][0], "file": name} for name in ("empty.png", "whole.png")]
        self.file("probe/labels.json", json.dumps(labels))
        found, widths, text = self.evaluated("ocr", self.scratch / "texts", page)
        self.assertIn("41.67 %", text)  # 1 + 4 of 12
        self.assertIn("ÇD", text.replace(" ", ""))
        self.assertIn("Errors left when doubtful images are rejected", text)
        # Without the image of which nothing was read, one error of 8 characters is left.
        self.assertEqual(found["reject_curve"], [[0, 5 / 12], [1 / 3, 1 / 8]])
        self.assertEqual(len(widths), 6)  # three wrong lines, and the pages as they were read


if __name__ == "__main__":
    unittest.main()
