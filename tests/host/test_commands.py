"""Every command end to end, on data small enough to know the answers."""
import base64
import gzip
import html
import json
import os
import pathlib
import struct
import unittest

from support import HostTest, flat, png


class ClassifierCommands(HostTest):
    def test_check_train_process_evaluate(self):
        data = self.brightness_set()
        checked = self.ok("check", "--tool", "classifier", "--data", data)
        self.assertEqual(checked["counts"], {"dark é": 3, "light": 3})
        state = self.train("classifier", data)
        self.assertEqual(self.ok("inspect", "--state", state)["tool"], "classifier")

        # A dark image filed under the bright ones is the one mistake.
        self.file("probe/light/1.png", flat(190))
        self.file("probe/light/2.png", flat(30))
        self.file("probe/dark é/3.png", flat(10))
        found = self.ok("evaluate", "--state", state, "--data", self.scratch / "probe")
        self.assertAlmostEqual(found["accuracy"], 2 / 3)
        self.assertEqual(found["confusion"], {"dark é": {"dark é": 1}, "light": {"dark é": 1, "light": 1}})
        self.assertEqual([m["file"] for m in found["mistakes"]], ["light/2.png"])
        self.assertGreaterEqual(found["milliseconds_p95"], found["milliseconds_median"])

        image = self.file("image 16.png", png(9, 9, lambda x, y: 52000, bits=16, channels=3))
        out = self.scratch / "out"
        item = self.ok("process", "--state", state, "--out", out, image)["images"][0]
        self.assertEqual((item["file"], item["category"]), (str(image), "light"))
        self.assertTrue((out / "image 16.png").read_bytes().startswith(b"\x89PNG"))

    def test_csv_and_train_test_folders(self):
        for part, values in (("train", (10, 14, 210, 214)), ("test", (20, 220))):
            rows = ["file,category"]
            for value in values:
                self.file(f"split/{part}/p,{value}.png", flat(value))
                rows.append(f'"p,{value}.png",{"dark" if value < 100 else "light"}')
            self.file(f"split/{part}/labels.csv", "\r\n".join(rows) + "\r\n")
        data = self.scratch / "split"
        self.assertEqual(self.ok("check", "--tool", "classifier", "--data", data)["images"], 6)
        state = self.train("classifier", data)
        found = self.ok("evaluate", "--state", state, "--data", data)
        self.assertEqual((found["counts"]["images"], found["accuracy"]), (2, 1))


class SegmenterCommands(HostTest):
    def test_check_train_process_evaluate_batch(self):
        data = self.bright_set()
        checked = self.ok("check", "--tool", "segmenter", "--data", data)
        self.assertEqual((checked["images"], checked["counts"]), (3, {"spot": 3}))
        state = self.train("segmenter", data)
        found = self.ok("evaluate", "--state", state, "--data", data)
        # Pixels summed over all images: 16 + 24 + 16 found, all right, of 16 + 24 + 24 true ones.
        self.assertAlmostEqual(found["iou"]["spot"], 56 / 64)
        self.assertAlmostEqual(found["mean_iou"], 56 / 64)
        self.assertEqual([(m["file"], m["wrong_pixels"]) for m in found["mistakes"]], [("images/2.png", 8)])
        item = self.ok("process", "--state", state, "--roi", "2,1,0,0,8,6", data / "images/0.png")["images"][0]
        self.assertEqual(item["categories"]["spot"]["pixels"], 6)
        out = self.scratch / "stapel"
        self.ok("batch", "--state", state, "--data", data, "--out", out)
        self.assertEqual(len(list(out.glob("masks/spot/images/*.png"))), 3)
        for part in "train", "test":
            self.bright_set(f"whole/{part}")
        self.ok("batch", "--state", state, "--data", self.scratch / "whole", "--out", out, "--force")
        self.assertEqual(len(list(out.glob("masks/spot/t*/images/*.png"))), 6)
        self.assertEqual(json.loads((out / "results.json").read_text("utf-8"))["images"][5]["file"], "train/images/2.png")

    def test_index_masks(self):
        for i in range(2):
            self.file(f"index/images/{i}.png", png(8, 8, lambda x, y: 250 if x < 4 else i))
            self.file(f"index/masks/{i}.png", png(8, 8, lambda x, y: 2 if x < 4 else (7 if y < 1 + i else 0)))
        self.file("index/classes.txt", "0 background\n2 left\n7 top right\n")
        data = self.scratch / "index"
        self.assertEqual(self.ok("check", "--tool", "segmenter", "--data", data)["counts"],
                         {"left": 2, "top right": 2})
        found = self.ok("evaluate", "--state", self.train("segmenter", data), "--data", data)
        self.assertAlmostEqual(found["iou"]["left"], 1)
        self.assertAlmostEqual(found["iou"]["top right"], 0)
        self.assertAlmostEqual(found["mean_iou"], 0.5)

    def test_masks_that_show_classes_by_colours(self):
        # The usual palette's colours of classes 1 and 2, and its border; colours that a label map names.
        palette = {0: (0, 0, 0), 1: (128, 0, 0), 2: (0, 128, 0), 9: (224, 224, 192)}
        mapped = {0: (0, 0, 0), 1: (10, 20, 30), 2: (250, 0, 250), 9: (0, 0, 0)}
        shown = lambda x, y: (1 if x < 3 else 2) if y < 4 else 9 if x == 5 else 0
        for name, colours, file, text in (("palette", palette, "classes.txt", "1 left\n2 right\n"),
                                          ("map", mapped, "labelmap.txt",
                                           "# label:color_rgb:parts:actions\nbackground:0,0,0::\n"
                                           "left:10,20,30::\nright:250,0,250::\n")):
            with self.subTest(name):
                for i in range(2):
                    self.file(f"{name}/images/{i}.png", png(8, 8, lambda x, y: 250 if y < 4 and x < 3 else 7 + i))
                    self.file(f"{name}/masks/{i}.png", png(8, 8, lambda x, y: colours[shown(x, y)], channels=3))
                self.file(f"{name}/{file}", text)
                data = self.scratch / name
                self.assertEqual(self.ok("check", "--tool", "segmenter", "--data", data)["counts"], {"left": 2, "right": 2})
                state = self.train("segmenter", data, f"{name}.telvar")
                # The stand-in finds what is bright for every category: 12 pixels of "left", none of "right".
                self.assertEqual(self.ok("evaluate", "--state", state, "--data", data)["iou"], {"left": 1, "right": 0})
                self.file(f"{name}/masks/1.png", png(8, 8, lambda x, y: (1, 2, 3) if x == 0 else (0, 0, 0), channels=3))
                found = self.run_host("check", "--tool", "segmenter", "--data", data, "--json")
                self.assertIn(("mask_value", f"has 8 pixels of no class in {file}, such as of a colour that is no class's"),
                              [(p["kind"], p["why"]) for p in json.loads(found.out)["problems"]])

    def test_categories_of_data_and_model_count_alike(self):
        state = self.train("segmenter", self.bright_set())
        # The model's "spot" is found at 16 pixels where the data knows none; its "rest" is found nowhere.
        data = self.bright_set("other")
        (data / "masks/spot").rename(data / "masks/rest")
        found = self.ok("evaluate", "--state", state, "--data", data)
        self.assertEqual((found["iou"], found["mean_iou"]), ({"spot": 0, "rest": 0}, 0))
        for i in range(3):
            self.file(f"dark/images/{i}.png", flat(9 + i))
            self.file(f"dark/masks/rest/{i}.png", png(12, 12, lambda x, y: 0))
        found = self.ok("evaluate", "--state", state, "--data", self.scratch / "dark")
        self.assertEqual((found["iou"], found["mean_iou"]), ({"spot": None, "rest": None}, None))


    def test_categories_alike_as_file_names(self):
        for i in range(2):
            self.file(f"pair/images/{i}.png", flat(200 + i))
            self.file(f"pair/masks/{i}.png", png(12, 12, lambda x, y: x % 3))
        self.file("pair/classes.txt", "1 a/b\n2 a:b\n")
        data = self.scratch / "pair"
        state = self.train("segmenter", data)
        out = self.scratch / "stapel"
        self.ok("batch", "--state", state, "--data", data, "--out", out)
        images = json.loads((out / "results.json").read_text("utf-8"))["images"]
        masks = [category["mask"] for image in images for category in image["categories"].values()]
        self.assertEqual(len({(out / mask).resolve(strict=True) for mask in masks}), 4)
        # The second image would take the name of the first one's mask.
        other = self.file("0.a_b.png", flat(9))
        self.ok("process", "--state", state, "--out", self.scratch / "out", data / "images/0.png", other)
        self.assertEqual(len(list((self.scratch / "out").iterdir())), 6)


class ReaderCommands(HostTest):
    def test_train_process_with_and_without_fielding(self):
        data = self.text_set()
        state = self.train("ocr", data)
        self.assertEqual(self.ok("inspect", "--state", state)["size"], [20, 30])
        page = data / "page.png"
        self.assertEqual(self.ok("process", "--state", state, page)["images"][0]["text"], ["AB", "ÇD"])
        self.ok("process", "--state", state, "--allow", "ABÇD", "--count", 4, page)
        patterns = self.file("patterns.json", '{"two": [["A", "B"], ["Ç", "D"]]}')
        item = self.ok("process", "--state", state, "--patterns", patterns, page)["images"][0]
        self.assertEqual(item["pattern"], "two")
        refused = self.run_host("process", "--state", state, "--allow", "AB", "--count", 3, page, page, "--json")
        self.assertEqual(refused.code, 3)
        self.assertEqual([i["error"] for i in json.loads(refused.out)["images"]],
                         ["No matching Fielding pattern was found"] * 2)

    def test_evaluation_counts_characters_and_lines(self):
        state = self.train("ocr", self.text_set())
        # name, truth, what the page shows, expected errors of characters, exact and stray lines
        for name, truth, shown, errors, exact, stray in [
            ("all right", ["A B", "ÇD"], "ABÇD", 0, 2, 0),
            ("a character is missing", ["AB", "ÇD"], "ABD", 1, 1, 0),
            ("a line is missing", ["AB", "ÇD"], "AB", 2, 1, 0),
            ("a line too many", ["AB"], "ABÇD", 2, 1, 1),
            ("other text", ["AX", "ÇD"], "ABÇD", 1, 1, 0),
            ("empty lines", ["", "AB", " ", "ÇD"], "ABÇD", 0, 2, 0),
        ]:
            with self.subTest(name):
                page = self.text_set("probe", shown=shown)
                labels = page / "labels.json"
                content = json.loads(labels.read_text("utf-8"))
                content["images"][0]["text"] = truth
                labels.write_text(json.dumps(content), "utf-8")
                found = self.ok("evaluate", "--state", state, "--data", page)
                letters = len("".join(truth).replace(" ", ""))
                lines = sum(bool(line.strip()) for line in truth)
                self.assertAlmostEqual(found["character_error_rate"], errors / letters)
                self.assertAlmostEqual(found["exact_line_rate"], exact / (lines + stray))
                self.assertEqual(len(found["mistakes"]), lines + stray - exact)

    def test_partial_marks_are_scored_alone(self):
        state = self.train("ocr", self.text_set())
        page = self.text_set("part", shown="ABÇ", partial=True)
        labels = page / "labels.json"
        content = json.loads(labels.read_text("utf-8"))
        marks = content["images"][0]["characters"]
        content["images"][0].update(text=[], characters=[marks[0], {**marks[1], "category": "X"}, marks[3]])
        labels.write_text(json.dumps(content), "utf-8")
        found = self.ok("evaluate", "--state", state, "--data", page)
        self.assertEqual(found["counts"]["characters"], 3)
        self.assertEqual(found["counts"]["character_errors"], 2)  # B is marked X, D is not there; Ç is free
        self.assertIsNone(found["exact_line_rate"])

    def test_labels_are_turned_into_region_pixels(self):
        page = self.text_set()
        labels = page / "labels.json"
        content = json.loads(labels.read_text("utf-8"))
        content["images"][0]["roi"] = [60, 5, 90, 0, 50, 55]
        labels.write_text(json.dumps(content), "utf-8")
        self.train("ocr", page)
        state = (self.scratch / "state.telvar").read_bytes()
        # The quarter turn about (60, 5) takes image (15, 15) to region (10, 45).
        self.assertIn(b"\n10 45 A\n", b"\n" + state[64:])

    def test_tables_with_boxes(self):
        self.file("tab/page.png", png(60, 60, lambda x, y: 0 if (x, y) in {(15, 15), (35, 15)} else 255))
        self.file("tab/chars.tsv", "x0\ty0\tx1\ty1\tchar\n10\t5\t21\t26\tA\n\n30\t5\t41\t26\t B\n")
        self.file("tab/lines.tsv", "text\nAB\n")
        self.file("tab/size.txt", "20x30\n")
        data = self.scratch / "tab"
        checked = self.run_host("check", "--tool", "ocr", "--data", data, "--json")
        self.assertEqual(json.loads(checked.out)["counts"], {"A": 1, "B": 1})
        found = self.ok("evaluate", "--state", self.train("ocr", data), "--data", data)
        self.assertEqual((found["character_error_rate"], found["exact_line_rate"]), (0, 1))

    def test_sort(self):
        points = self.file("points.csv", "x,y\n30,10\n5,12\n6,50\n")
        self.assertEqual(self.ok("sort", "--points", points, "--height", 30)["lines"], [[1, 0], [2]])
        self.assertEqual(self.ok("sort", "--points", "-", "--height", 30, stdin=b"1,2\n")["lines"], [[0]])


class Conversion(HostTest):
    def test_coco_polygons_and_runs_become_masks(self):
        # Without the ending of an image it is written as PNG.
        self.file("c/image", png(10, 8, lambda x, y: 250 if 2 <= x < 6 and 1 <= y < 4 else 9))
        square = {"segmentation": [[2, 1, 6, 1, 6, 4, 2, 4]], "bbox": [2, 1]}
        runs = {"segmentation": {"counts": [17, 3, 5, 3, 5, 3, 5, 3, 36], "size": [8, 10]}, "bbox": [2, 1, 4, 3]}
        # The same after an empty run: 10 0 7 3 5-7 3-3 5-5 ... 36-5.
        packed = {"segmentation": {"counts": ":073N00000o0", "size": [8, 10]}}
        for name, shape in (("polygon", square), ("runs", runs), ("packed", packed)):
            with self.subTest(name):
                labels = {"images": [{"id": 4, "file_name": "image"}], "categories": [{"id": 9, "name": "part"}],
                          "annotations": [{"image_id": 4, "category_id": 9, **shape}]}
                source = self.file("c/labels.json", json.dumps(labels))
                out = self.scratch / name
                self.ok("convert", "--from", "coco", "--tool", "segmenter", "--labels", source, "--out", out)
                state = self.train("segmenter", out, f"{name}.telvar")
                self.assertEqual(self.ok("evaluate", "--state", state, "--data", out)["iou"], {"part": 1})
        labels["annotations"][0].update(segmentation=None, bbox=[2, 1, 4, 3])
        source = self.file("c/labels.json", json.dumps(labels))
        self.ok("convert", "--from", "coco", "--tool", "ocr", "--labels", source, "--out", self.scratch / "reader")
        written = json.loads((self.scratch / "reader/labels.json").read_text("utf-8"))["images"]
        self.assertEqual(written, [{"file": "image.png", "characters": [{"x": 3.5, "y": 2, "w": 4, "h": 3, "category": "part"}]}])

    def test_yolo(self):
        self.file("y/images/a.png", png(20, 10, lambda x, y: 250 if 5 <= x < 10 and 2 <= y < 8 else 9))
        self.file("y/classes.txt", "A\nÖ\n")
        self.file("y/labels/a.txt", "1 0.375 0.5 0.25 0.6\n")
        convert = ["convert", "--from", "yolo", "--labels", self.scratch / "y/labels", "--images", self.scratch / "y/images"]
        self.ok(*convert, "--tool", "ocr", "--out", self.scratch / "reader")
        written = json.loads((self.scratch / "reader/labels.json").read_text("utf-8"))["images"]
        self.assertEqual(written, [{"file": "a.png", "characters": [{"x": 7, "y": 4.5, "w": 5, "h": 6, "category": "Ö"}]}])
        # A polygon of the same corners.
        for name, line in ("box", "1 0.375 0.5 0.25 0.6"), ("polygon", "1 0.25 0.2 0.5 0.2 0.5 0.8 0.25 0.8"):
            self.file("y/labels/a.txt", line + "\n\n")
            self.ok(*convert, "--tool", "segmenter", "--out", self.scratch / name)
            state = self.train("segmenter", self.scratch / name, name + ".telvar")
            self.assertEqual(self.ok("evaluate", "--state", state, "--data", self.scratch / name)["iou"], {"Ö": 1})
        for named, line in [("a.txt: line 1: there is no class 2 among the 2 names", "2 0 0 1 1"), ("'x' is no number", "1 x"),
                            ("expected a class and a box", "1 0.1 0.2 0.3"), ("there is no class", "0.5 0 0 1 1")]:
            self.file("y/labels/a.txt", line)
            refused = self.run_host(*convert, "--tool", "ocr", "--out", self.scratch / "new")
            self.assertEqual(refused.code, 3)
            self.assertIn(named, refused.err)
        self.file("y/labels/a.txt", "")
        self.file("y/labels/foreign.txt", "0 0 0 1 1")
        self.assertIn("foreign.*: no such image", self.run_host(*convert, "--tool", "ocr", "--out", self.scratch / "new").err)

    def test_cvat(self):
        self.file("c/deep/a.png", png(20, 10, lambda x, y: 250 if 5 <= x < 10 and 2 <= y < 8 else 9))
        shapes = {"box": '<box label=" O\u0308 " xtl="5" ytl="2" xbr="10" ybr="8"><attribute name="x">1</attribute></box>',
                  "turned": '<box label="O\u0308" xtl="4.5" ytl="2.5" xbr="10.5" ybr="7.5" rotation="90"/>',
                  "polygon": '<polygon label="O\u0308" points="5,2;10,2;10,8;5,8"/>',
                  "mask": '<mask label="O\u0308" rle="0, 30" left="5" top="2" width="5" height="6"/>'}

        def write(inside):
            image = f'<image id="0" name="deep/a.png" width="20" height="10"><tag label="good"/>{inside}</image>'
            return self.file("c/annotations.xml", f'<?xml version="1.0"?><annotations><version>1.1</version>{image}</annotations>')

        convert = ["convert", "--from", "cvat", "--labels", self.scratch / "c/annotations.xml"]
        write(shapes["box"])
        self.ok(*convert, "--tool", "ocr", "--out", self.scratch / "reader")
        written = json.loads((self.scratch / "reader/labels.json").read_text("utf-8"))["images"]
        mark = {"x": 7, "y": 4.5, "w": 5, "h": 6, "category": "Ö"}
        self.assertEqual([image["characters"] for image in written], [[mark]])
        self.ok(*convert, "--tool", "classifier", "--out", self.scratch / "classes")
        self.assertEqual([path.parent.name for path in (self.scratch / "classes").rglob("*.png")], ["good"])
        for name, shape in shapes.items():
            write(shape)
            self.ok(*convert, "--tool", "segmenter", "--out", self.scratch / name)
            state = self.train("segmenter", self.scratch / name, name + ".telvar")
            self.assertEqual(self.ok("evaluate", "--state", state, "--data", self.scratch / name)["iou"], {"Ö": 1})
        for named, inside in [("deep/a.png, box: 'xtl' is missing", '<box label="a"/>'), ("'x' in 'points' is no number",
                              '<polygon label="a" points="x,1;2,3;4,5"/>'), ("not understood", '<cuboid label="a"/>'),
                              ("is longer than the box", '<mask label="a" rle="0,9" left="0" top="0" width="2" height="2"/>'),
                              ("lies outside its image", '<mask label="a" rle="0,9" left="19" top="0" width="2" height="2"/>'),
                              ("is no XML", "<box")]:
            write(inside)
            refused = self.run_host(*convert, "--tool", "segmenter", "--out", self.scratch / "new")
            self.assertEqual(refused.code, 3)
            self.assertIn(named, refused.err)
        self.file("c/annotations.xml", "<annotations><track/></annotations>")
        self.assertIn("labels a video", self.run_host(*convert, "--tool", "ocr", "--out", self.scratch / "new").err)

    def test_labelme_files_that_hold_their_image(self):
        image = png(20, 16, lambda x, y: 200 if x < 4 and y < 4 else 30)
        shapes = [{"label": "part", "shape_type": "polygon", "points": [[0, 0], [4, 0], [4, 4], [0, 4]]}]
        content = {"imagePath": "..\\gone\\image.png", "imageData": base64.b64encode(image).decode(), "shapes": shapes}
        labels = self.file("l/image.json", json.dumps(content)).parent
        out = self.scratch / "new"
        self.ok("convert", "--from", "labelme", "--tool", "segmenter", "--labels", labels, "--out", out)
        self.assertEqual((out / "images/image.png").read_bytes(), image)
        state = self.train("segmenter", out)
        self.assertEqual(self.ok("evaluate", "--state", state, "--data", out)["iou"], {"part": 1})
        self.file("l/image.json", json.dumps({**content, "imageData": "no image!"}))
        refused = self.run_host("convert", "--from", "labelme", "--tool", "segmenter", "--labels", labels, "--out", self.scratch / "x")
        self.assertIn("imageData: is no base64", refused.err)

    def test_labelme_boxes_become_characters(self):
        self.file("l/page.png", png(40, 30, lambda x, y: 0 if (x, y) == (12, 10) else 255))
        shapes = [{"label": "Ä", "shape_type": "rectangle", "points": [[5, 3], [20, 18]]}]
        self.file("l/page.json", json.dumps({"imagePath": "page.png", "shapes": shapes}))
        out = self.scratch / "new"
        self.ok("convert", "--from", "labelme", "--tool", "ocr", "--labels", self.scratch / "l", "--out", out)
        labels = json.loads((out / "labels.json").read_text("utf-8"))
        self.assertEqual(labels["images"][0]["characters"], [{"x": 12, "y": 10, "w": 15, "h": 15, "category": "Ä"}])
        state = self.train("ocr", out, "z.telvar")
        self.assertEqual(self.ok("inspect", "--state", state)["size"], [15, 15])  # the median box
        self.assertEqual(self.ok("evaluate", "--state", state, "--data", out)["character_error_rate"], 0)


class Demonstration(HostTest):
    def demo(self, root, labels=None, code=1):
        out = self.scratch / "schau"
        done = self.run_host("demo", "--root", root, "--labels", labels or pathlib.Path(__file__).parents[2] / "examples/data",
                             "--out", out, "--budget", "small", "--force", "--json")
        self.assertEqual(done.code, code, str(done))
        found = json.loads(done.out)
        page = (out / "report.html").read_text("utf-8")
        for failed in (item["error"] for item in found.values() if "error" in item):
            self.assertIn(failed, html.unescape(page))
        return found

    def clothes(self):
        for part in ("train", "t10k"):
            labels = bytes([0, 9] * 3)
            pixels = b"".join(bytes([30 + 180 * (label == 9) + i]) * 16 for i, label in enumerate(labels))
            for name, header, values in [("labels-idx1", (0x801, 6), labels), ("images-idx3", (0x803, 6, 4, 4), pixels)]:
                self.file(f"root/usr/share/datasets/fashion-mnist/{part}-{name}-ubyte.gz",
                          gzip.compress(struct.pack(f">{len(header)}I", *header) + values))

    def scenes(self):
        """A bare gray photograph of each scene that codes are drawn on."""
        for scene in "cube", "mbt/cube", "mbt-depth/castel/castel", "Solvay", "Klimt":
            self.file(f"root/usr/share/visp-images-data/ViSP-images/{scene}/1.pgm",
                      b"P5 208 84 255\n" + bytes([180]) * 208 * 84)

    def test_all_three_are_trained_measured_and_shown(self):
        self.clothes()
        self.file("marks/segmenter_discs/classes.txt", "1 disc\n")
        for part, name in ("train", "0000"), ("train", "0001"), ("train", "0002"), ("test", "0003"):
            disc = lambda x, y: 200 if (x - 8) ** 2 + (y - 6) ** 2 < 20 else 0
            self.file(f"marks/segmenter_discs/{part}/masks/{name}.png", png(16, 12, lambda x, y: int(disc(x, y) > 0)))
            pixels = bytes(disc(x, y) for y in range(12) for x in range(16))
            self.file(f"root/usr/share/visp-images-data/ViSP-images/mire-2/image.{name}.pgm", b"P5 16 12 255\n" + pixels)
        self.scenes()
        found = self.demo(self.scratch / "root", self.scratch / "marks", 0)
        self.assertEqual((found["classifier"]["accuracy"], found["segmenter"]["mean_iou"]), (1, 1))
        # Ten images to read. The stand-in reads where it was trained, so hardly anything, with a pattern or without.
        self.assertEqual((found["ocr"]["counts"]["lines"], found["ocr"]["counts"]["characters"]), (20, 160))
        for key in "exact_line_rate", "exact_line_rate_without_patterns":
            self.assertIn(key, found["ocr"])
        self.assertIn("data:image/png;base64,", (self.scratch / "schau/report.html").read_text("utf-8"))

    def test_codes_to_read_are_others_than_those_to_learn_from(self):
        self.scenes()
        self.demo(self.scratch / "root")
        codes = {}
        for part in "train", "test":
            folder = self.scratch / "schau/data/ocr" / part
            items = json.loads((folder / "labels.json").read_text("utf-8"))["images"]
            codes[part] = [item["text"] for item in items]
            for item in items:
                self.assertEqual("".join(mark["category"] for mark in item["characters"]), "".join(item["text"]))
            for lot, date in codes[part]:
                self.assertRegex(lot, r"^[A-Z]{4}[0-9]{4}$")
                self.assertRegex(date, r"^[012][0-9]\.[01][0-9]\.[23][0-9]$")
        self.assertFalse({lot for lot, _ in codes["train"]} & {lot for lot, _ in codes["test"]})
        letters = "".join(lot[:4] for lot, _ in codes["train"])
        self.assertEqual(len(set(letters)), 26)  # eight images of four letters: each at least once

    def test_what_is_missing_is_named_and_the_rest_done(self):
        found = self.demo(self.scratch / "empty")
        for tool, package in [("classifier", "dataset-fashion-mnist"), ("segmenter", "visp-images-data"),
                              ("ocr", "visp-images-data")]:
            self.assertIn(package, found[tool]["error"])
        self.clothes()
        found = self.demo(self.scratch / "root")
        self.assertEqual((found["classifier"]["training_images"], found["classifier"]["accuracy"]), (6, 1))
        self.assertIn("visp-images-data", found["segmenter"]["error"])


if __name__ == "__main__":
    unittest.main()
