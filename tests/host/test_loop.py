"""Label, train, predict, correct, train again: what is predicted comes back as labels, and as what it was."""
import json
import shutil
import unittest

from support import HostTest, flat, png


class Loop(HostTest):
    def test_correcting_the_doubtful_makes_a_classifier_better(self):
        state = self.train("classifier", self.brightness_set(dark=(20, 24), light=(200, 204, 208)))
        for value in (10, 60, 90, 100, 210):
            self.file(f"new/{value}.png", flat(value))
        self.file("probe/dark é/1.png", flat(15))
        self.file("probe/light/2.png", flat(95))
        before = self.ok("evaluate", "--state", state, "--data", self.scratch / "probe")["accuracy"]
        out = self.scratch / "out"
        found = self.ok("batch", "--state", state, "--data", self.scratch / "new", "--out", out, "--below", 0.996,
                        "--write-labels", "dataset")
        # The nearer to the middle (113), the less certain; 10 and 210 are certain enough.
        self.assertEqual([image["file"] for image in found["doubtful"]], ["100.png", "90.png", "60.png"])
        labels = out / "labels"
        self.assertEqual(sorted(str(p.relative_to(labels)) for p in labels.rglob("*.png")),
                         ["dark é/100.png", "dark é/60.png", "dark é/90.png"])
        (labels / "light").mkdir()
        for name in ("90.png", "100.png"):
            (labels / "dark é" / name).rename(labels / "light" / name)
        shutil.copy(self.scratch / "new/10.png", labels / "dark é")
        self.ok("check", "--tool", "classifier", "--data", labels)
        again = self.train("classifier", labels, "better.telvar", "--from", state)
        after = self.ok("evaluate", "--state", again, "--data", self.scratch / "probe")["accuracy"]
        self.assertEqual((before, after), (0.5, 1))

    def test_masks_in_every_format(self):
        # A square with a hole, and one that stands alone; what is predicted of the stand-in is what is bright.
        bright = lambda x, y: (3 <= x < 15 and 2 <= y < 12 and not (6 <= x < 11 and 5 <= y < 8)) or (17 <= x and y >= 13)
        self.bright_set()
        state = self.train("segmenter", self.scratch / "spots")
        for i in range(2):
            self.file(f"new/{i}.png", png(20, 16, lambda x, y: 200 if bright(x, y) else 30 + i))
            self.file(f"true/images/{i}.png", (self.scratch / f"new/{i}.png").read_bytes())
            self.file(f"true/masks/spot/{i}.png", png(20, 16, lambda x, y: 255 if bright(x, y) else 0))
        truth = self.ok("evaluate", "--state", state, "--data", self.scratch / "true")["iou"]
        self.assertEqual(truth, {"spot": 1})
        for command in ("batch", "--data"), ("process",):
            for written in ("dataset", "labelme", "coco"):
                with self.subTest(command=command[0], written=written):
                    out = self.scratch / f"{command[0]} {written}"
                    self.ok(*command[:1], "--state", state, "--out", out, "--write-labels", written, *command[1:],
                            self.scratch / "new")
                    labels = self.converted(written, "segmenter", out / "labels")
                    # Against the true masks: exact outlines keep the hole and touch no other pixel.
                    for i in range(2):
                        shutil.copy(labels / f"masks/spot/{i}.png", self.scratch / f"true/masks/spot/{i}.png")
                    self.assertEqual(self.ok("evaluate", "--state", state, "--data", self.scratch / "true")["iou"], truth)
                    self.assertEqual(self.ok("check", "--tool", "segmenter", "--data", labels)["images"], 2)

    def converted(self, written, tool, labels):
        if written == "dataset":
            return labels
        out = labels.parent / "gewandelt"
        source = labels / "annotations.json" if written == "coco" else labels
        self.ok("convert", "--from", written, "--tool", tool, "--labels", source, "--out", out)
        return out

    def test_characters_in_every_format(self):
        state = self.train("ocr", self.text_set())
        truth = [(15, 15, "A"), (35, 15, "B"), (15, 45, "Ç"), (35, 45, "D")]
        for written in ("dataset", "labelme", "coco"):
            with self.subTest(written):
                out = self.scratch / f"out {written}"
                self.ok("process", "--state", state, "--out", out, "--write-labels", written,
                        self.scratch / "texts/page.png")
                labels = self.converted(written, "ocr", out / "labels")
                content = json.loads((labels / "labels.json").read_text("utf-8"))
                marks = content["images"][0]["characters"]
                self.assertEqual([(m["x"], m["y"], m["category"], m["w"], m["h"]) for m in marks],
                                 [(x, y, c, 20, 30) for x, y, c in truth])
                self.ok("check", "--tool", "ocr", "--data", labels, "--from", state)
                self.train("ocr", labels, f"{written}.telvar")  # the size is that of the boxes
                self.assertEqual(self.ok("inspect", "--state", self.scratch / f"{written}.telvar")["size"], [20, 30])
        marks = json.loads((self.scratch / "out dataset/labels/labels.json").read_text("utf-8"))["images"][0]["characters"]
        self.assertEqual({m["score"] for m in marks}, {0.9})

    def test_typed_text_gets_places(self):
        state = self.train("ocr", self.text_set())
        # name, typed lines, what the page shows, (x, y, category) that are placed, whether to look at it
        for name, typed, shown, placed, look in [
            ("all", ["A B", "", "ÇD"], "ABÇD", [(15, 15, "A"), (35, 15, "B"), (15, 45, "Ç"), (35, 45, "D")], None),
            ("other", ["AX", "ÇD"], "ABÇD", [(15, 15, "A"), (35, 15, "X"), (15, 45, "Ç"), (35, 45, "D")], (4, 4, 1)),
            ("one is missing", ["AB", "ÇD"], "ABD", [(15, 15, "A"), (35, 15, "B"), (35, 45, "D")], (4, 3, 0)),
            ("one too many", ["B", "ÇD"], "ABÇD", [(35, 15, "B"), (15, 45, "Ç"), (35, 45, "D")], None),
            ("nothing", ["UVW"], "", [], (3, 0, 0)),
        ]:
            with self.subTest(name):
                data = self.text_set(name, shown=shown)
                image = {"file": "page.png", "text": typed}
                (data / "labels.json").write_text(json.dumps({"images": [image]}), "utf-8")
                refused = self.run_host("train", "--tool", "ocr", "--data", data, "--size", "20x30", "--state", data / "z")
                self.assertEqual(refused.code, 3)
                self.assertIn("telvar label", refused.err)
                out = self.scratch / f"{name} gesetzt"
                found = self.ok("label", "--state", state, "--data", data, "--out", out)
                written = json.loads((out / "labels.json").read_text("utf-8"))
                marks = written["images"][0]["characters"]
                self.assertEqual([(m["x"], m["y"], m["category"]) for m in marks], placed)
                self.assertEqual(written["size"], [20, 30])
                self.assertEqual(written["images"][0].get("partial", False), len(placed) < sum(map(len, "".join(typed).split())))
                self.assertEqual([(d["letters"], d["placed"], d["doubtful"]) for d in found["doubtful"]], [look] if look else [])
        refused = self.run_host("label", "--state", state, "--data", self.scratch / "texts", "--out", self.scratch / "x")
        self.assertIn("has no image with text but without characters", refused.err)

    def test_regions(self):
        state = self.train("ocr", self.text_set())
        page = self.file("moved.png", png(80, 70, lambda x, y: 0 if (x, y) in {(22, 18), (42, 18)} else 255))
        out = self.scratch / "out"
        self.ok("process", "--state", state, "--roi", "7,3,0,0,60,60", "--out", out, "--write-labels", "dataset", page)
        image = json.loads((out / "labels/labels.json").read_text("utf-8"))["images"][0]
        self.assertEqual(image["roi"], [7, 3, 0, 0, 60, 60])
        self.assertEqual([(m["x"], m["y"], m["category"]) for m in image["characters"]], [(22, 18, "A"), (42, 18, "B")])
        state = self.train("segmenter", self.bright_set(), "segmenter.telvar")
        spot = self.file("spot.png", png(20, 16, lambda x, y: 200 if 8 <= x < 11 and 5 <= y < 7 else 9))
        self.ok("process", "--state", state, "--roi", "6,4,0,0,10,8", "--out", self.scratch / "mask", "--write-labels",
                "dataset", spot)
        found = self.ok("evaluate", "--state", state, "--data", self.scratch / "mask/labels")
        self.assertEqual(found["iou"], {"spot": 1})

    def test_what_cannot_be_written_is_refused(self):
        state = self.train("classifier", self.brightness_set())
        image = self.file("image.png", flat(9))
        for named, more in [("does not apply to the tool classifier", ["--out", self.scratch / "a", "--write-labels", "coco"]),
                            ("--out", ["--write-labels", "dataset"]), ("--below", ["--below", 2])]:
            refused = self.run_host("process", "--state", state, image, *more)
            self.assertEqual(refused.code, 2, str(refused))
            self.assertIn(named, refused.err)
        self.file("slash/labels.csv", "1.png,a/b\n2.png,a/b\n3.png,c\n4.png,c\n")
        for i in range(1, 5):
            self.file(f"slash/{i}.png", flat(60 * i))
        state = self.train("classifier", self.scratch / "slash", "slash.telvar")
        refused = self.run_host("process", "--state", state, image, "--out", self.scratch / "b", "--write-labels", "dataset")
        self.assertEqual(refused.code, 3)
        self.assertIn("the category 'a/b' cannot be the name of a folder", refused.err)
        self.assertFalse((self.scratch / "b").exists())


if __name__ == "__main__":
    unittest.main()
