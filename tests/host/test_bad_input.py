"""What is wrong is refused with the documented exit code, by a line that names it, and nothing is written."""
import json
import os
import struct
import subprocess
import unittest
import zlib

from support import HostTest, PROGRAM, flat, png

USAGE, BAD_DATA, NO_LIBRARY = 2, 3, 4


class BadInput(HostTest):
    def refused(self, code, named, *args):
        with self.subTest(" ".join(map(str, args))):
            before = self.files()
            done = self.run_host(*args, "--json")
            self.assertEqual(done.code, code, str(done))
            error = json.loads(done.out)["error"]
            self.assertEqual(error["code"], code)
            self.assertIn(str(named), error["message"])
            self.assertEqual(self.files(), before)
            plain = self.run_host(*args)
            self.assertEqual((plain.code, plain.out), (code, ""))
            self.assertIn(error["message"].splitlines()[0], plain.err)

    def test_usage(self):
        dark = self.brightness_set()
        state = self.train("classifier", dark)
        reader = self.train("ocr", self.text_set(), "reader.telvar")
        new = self.scratch / "new.telvar"
        page = self.scratch / "texts/page.png"
        for named, *args in [
            ("subcommand", ),
            ("--wrong", "inspect", "--state", state, "--wrong"),
            ("--state", "inspect"),
            ("--tool", "check", "--tool", "painter", "--data", dark),
            ("--size", "train", "--tool", "classifier", "--data", dark, "--state", new, "--size", "3x4"),
            ("3x", "train", "--tool", "ocr", "--data", dark, "--state", new, "--size", "3x"),
            ("ocr", "train", "--tool", "classifier", "--data", dark, "--state", new, "--from", reader),
            ("--force", "train", "--tool", "classifier", "--data", dark, "--state", state),
            ("nobody", "train", "--tool", "classifier", "--data", dark, "--state", self.scratch / "nobody/z"),
            ("--roi", "process", "--state", state, "--roi", "0,0,0,0,5,5", page),
            ("--allow", "process", "--state", state, "--allow", "AB", page),
            ("--allow", "process", "--state", reader, "--count", "3", page),
            ("1,2,3", "process", "--state", reader, "--roi", "1,2,3", page),
            ("width", "process", "--state", reader, "--roi", "0,0,0,0,0,5", page),
            ("skew", "process", "--state", reader, "--roi", "0,0,0,90,4,5", page),
            ("4/3", "batch", "--state", state, "--data", dark, "--out", new, "--shard", "4/3"),
            ("not empty", "batch", "--state", state, "--data", dark, "--out", dark),
            ("--size", "evaluate", "--state", state, "--data", dark, "--size", "3x4"),
            ("--height", "sort", "--points", page, "--height", "-1"),
            ("classifier", "convert", "--from", "coco", "--tool", "classifier", "--labels", page, "--out", new),
            ("not empty", "demo", "--labels", dark, "--out", dark),
            ("--force", "process", "--state", state, "--force", page),
            ("--force", "evaluate", "--state", state, "--data", dark, "--force"),
            ("--from: must not be empty", "train", "--tool", "classifier", "--data", dark, "--state", new, "--from", ""),
            ("--roi: must not be empty", "process", "--state", reader, "--roi", "", page),
            ("--allow: must not be empty", "process", "--state", reader, "--allow=", page),
            ("--out: must not be empty", "evaluate", "--state", state, "--data", dark, "--out", ""),
            ("--shard: must not be empty", "batch", "--state", state, "--data", dark, "--out", new, "--shard", ""),
        ]:
            self.refused(USAGE, named, *args)

    def test_data_sets(self):
        nowhere = self.scratch / "nowhere"
        empty = self.scratch / "empty"
        empty.mkdir()
        self.file("csv/labels.csv", 'file,category\n"offen,a\n')
        self.file("no classes/images/a.png", flat(9))
        self.file("no classes/masks/a.png", flat(1))
        self.file("classes/images/a.png", flat(9))
        self.file("classes/masks/a.png", flat(1))
        self.file("classes/classes.txt", "0 none\none part\n")
        self.file("names/images/a.png", flat(9))
        self.file("names/masks/a.png", flat(1))
        self.file("names/classes.txt", "1 part\n2  part\n")
        for name, labels in [("json", "{"), ("field", '{"images": [{"file": "a.png", "colour": 1}]}'),
                             ("number", '{"images": [{"file": "a.png", "characters": [{"x": "1"}]}]}'),
                             ("mark", '{"images": [{"file": "a.png", "characters": [{"x": 1, "colour": 1}]}]}'),
                             ("region", '{"images": [{"file": "a.png", "roi": [0, 0, 0, 0, 0, 4]}]}'),
                             ("three", '{"size": [1, 2, 3], "images": []}')]:
            self.file(f"{name}/labels.json", labels)
        self.file("tab/chars.tsv", "file\tchar\tx\ty\n")
        self.file("tab/size.txt", "12\n")
        state = self.scratch / "z.telvar"
        for named, tool, data in [
            (nowhere, "classifier", nowhere), (empty, "classifier", empty), (nowhere, "segmenter", nowhere),
            ("images/", "segmenter", empty), ("labels.json", "ocr", empty),
            ("line 2: a quote", "classifier", self.scratch / "csv"),
            ("classes.txt", "segmenter", self.scratch / "no classes"),
            ("line 2", "segmenter", self.scratch / "classes"),
            ("line 2: the name 'part'", "segmenter", self.scratch / "names"),
            ("no valid JSON", "ocr", self.scratch / "json"),
            ("images[0]: unknown key 'colour'", "ocr", self.scratch / "field"),
            ("images[0].characters[0].x", "ocr", self.scratch / "number"),
            ("images[0].characters[0]: unknown key 'colour'", "ocr", self.scratch / "mark"),
            ("images[0].roi", "ocr", self.scratch / "region"),
            ("size: expected [w, h]", "ocr", self.scratch / "three"),
            ("tab/size.txt: '12'", "ocr", self.scratch / "tab"),
            ("size.txt: is a file, not a folder", "segmenter", self.scratch / "tab/size.txt"),
        ]:
            self.refused(BAD_DATA, named, "check", "--tool", tool, "--data", data)
            self.refused(BAD_DATA, named, "train", "--tool", tool, "--data", data, "--state", state)

    def test_check_names_every_bad_file(self):
        self.file("k/a/good.png", flat(50))
        self.file("k/a/alike.png", flat(50))
        self.file("k/a/empty.png", b"")
        self.file("k/a/half.png", flat(60)[:-30])
        self.file("k/b/single.png", flat(70))
        (self.scratch / "k/c").mkdir()
        for link, target in ("ring", "ring"), ("a/ring.png", "ring.png"), ("a/gone.png", "nowhere.png"):
            (self.scratch / "k" / link).symlink_to(target)
        # Two more of "a", but only to evaluate on.
        for i, name in enumerate(["train/a/one", "train/b/1", "train/b/2", "test/a/3", "test/a/4"]):
            self.file(f"t/{name}.png", flat(5 * i))
        # "x" and " x" are one category, of two images.
        self.file("l/labels.csv", "file, category\nhere.png,x\nabsent.png,x\nhere.png,\n./here.png,x\ntwo.png, x\n")
        self.file("l/here.png", flat(1))
        self.file("l/two.png", flat(2))
        # Capitals, white space and invisible letters; but not the letters a and A, nor two ways to store an é.
        for i, name in enumerate(["Scratch", "scratch", "two  Parts", "two\u200b parts", "a", "A", "e\u0301", "\u00e9"]):
            for k in range(2):
                self.file(f"g/{name}/{i}-{k}.png", flat(10 * i + 2 * k))
        self.bright_set("s")
        self.file("s/masks/spot/0.png", png(9, 9, lambda x, y: 255))
        self.file("s/masks/spot/1.png", png(20, 16, lambda x, y: 255, channels=3))
        self.file("s/masks/spot/alone.png", flat(254))
        (self.scratch / "s/masks/spot/2.png").rename(self.scratch / "s/masks/spot/2.JPG")
        self.file("i/images/a.png", flat(9))
        self.file("i/images/b.png", flat(19))
        self.file("i/masks/a.png", png(12, 12, lambda x, y: x % 3))
        self.file("i/classes.txt", "1 part\n")
        self.text_set("o")
        labels = self.scratch / "o/labels.json"
        content = json.loads(labels.read_text("utf-8"))
        content["images"][0]["characters"] += [{"x": 15, "y": 15, "category": ""},
                                               {"x": 15, "y": 15, "category": "A"},
                                               {"x": 900, "y": 15, "category": "A"}]
        content["images"] += [{"file": "page.png", "roi": [-9, -9, 0, 0, 50, 50],
                               "characters": [{"x": x, "y": 9, "category": "A"} for x in (-5, 5)]}]
        labels.write_text(json.dumps(content), "utf-8")
        for tool, data, expected in [
            ("classifier", "k", [("good.png", "duplicate"), ("empty.png", "unreadable"), ("half.png", "unreadable"),
                                 ("ring", "unreadable"), ("ring.png", "unreadable"), ("gone.png", "unreadable"),
                                 ("single.png", "single_sample"), ("c", "empty_category")]),
            ("classifier", "l", [("absent.png", "missing"), ("here.png", "empty_label"), ("here.png", "duplicate"),
                                 ("l", "single_category")]),
            ("classifier", "t", [("one.png", "single_sample")]),
            ("classifier", "g", [("g", "alike"), ("g", "alike")]),
            ("segmenter", "s", [("0.png", "mask_size"), ("1.png", "mask_channels"),
                                ("alone.png", "mask_without_image"), ("2.JPG", "mask_lossy")]),
            ("segmenter", "i", [("b.png", "missing_mask"), ("a.png", "mask_value")]),
            ("ocr", "o", [("page.png", kind) for kind in ("empty_label", "duplicate", "outside", "outside")]),
        ]:
            with self.subTest(data):
                done = self.run_host("check", "--tool", tool, "--data", self.scratch / data, "--json")
                self.assertEqual(done.code, BAD_DATA, str(done))
                answer = json.loads(done.out)
                found = [(p["path"].rsplit("/", 1)[-1], p["kind"]) for p in answer["problems"]]
                self.assertEqual(sorted(found), sorted(expected))
                self.assertEqual([p["kind"] for p in answer["advice"]],
                                 ["single_sample"] * {"s": 1, "i": 1, "o": 3}.get(data, 0))
                plain = self.run_host("check", "--tool", tool, "--data", self.scratch / data)
                self.assertIn(f"\n{len(expected)} problem{'s' if len(expected) > 1 else ''}:\n", plain.out)
                for name, _ in expected:
                    self.assertIn(name, plain.out)

    def test_check_notes_what_is_not_used(self):
        light = self.brightness_set()
        self.file("brightness/light/zebra.GIF", b"?")
        self.file("brightness/loose.png", flat(9))
        (light / "light/more").symlink_to(light / "dark é")
        self.brightness_set("split/train")
        self.brightness_set("split/test", dark=(33, ), light=())
        self.file("split/light/beside.png", flat(9))
        for i in (1, 2):
            self.file(f"index/images/{i}.png", flat(9 * i))
            self.file(f"index/masks/{i}.png", png(12, 12, lambda x, y: x % 2))
        self.file("index/masks/part/1.png", flat(9))
        self.file("index/classes.txt", "1 part\n")
        for tool, data, expected in [("classifier", "brightness", ["light/more", "light/zebra.GIF", "loose.png"]),
                                     ("classifier", "split", ["light/beside.png"]),
                                     ("segmenter", "index", ["masks/part/1.png"])]:
            with self.subTest(data):
                found = self.ok("check", "--tool", tool, "--data", self.scratch / data)
                self.assertEqual(sorted(note["path"] for note in found["unused"]),
                                 [str(self.scratch / data / name) for name in expected])
                self.assertTrue(found["ok"])

    def test_images(self):
        state = self.train("classifier", self.brightness_set())
        jpeg = self.file("ab.jpg", b"\xff\xd8\xff\xe0" + b"\0" * 90)
        # No pixels of it are there, and none are asked for: the header says enough.
        size = b"IHDR" + struct.pack(">II", 30000, 30000) + b"\x08\2\0\0\0"
        huge = self.file("huge.png", b"\x89PNG\r\n\x1a\n\0\0\0\r" + size + struct.pack(">I", zlib.crc32(size)) +
                         b"\0\0\1\0IDAT")
        os.mkfifo(self.scratch / "pipe.png")
        thin = self.file("thin é.png", png(1, 4, lambda x, y: 9))
        good = self.file("good.png", flat(9))
        done = self.run_host("process", "--state", state, jpeg, thin, self.scratch / "absent.png", huge, self.scratch / "pipe.png",
                             good, "--json")
        self.assertEqual(done.code, BAD_DATA)
        errors = [item.get("error", "") for item in json.loads(done.out)["images"]]
        for part, error in zip(["cut off", "width 1", "no such file", "30000 x 30000", "is a pipe"], errors):
            self.assertIn(part, error)
        self.assertEqual(errors[5], "")
        self.refused(BAD_DATA, "ab.jpg", "evaluate", "--state", state, "--data", self.one_image(jpeg),
                     "--out", f"{self.scratch}/new/deep/")

    def test_all_unreadable_files_are_named_or_left_out(self):
        data = self.brightness_set()
        self.file("brightness/light/half.png", flat(9, side=90)[:-30])
        self.file("brightness/dark é/empty.png", b"")
        train = ["train", "--tool", "classifier", "--data", data, "--state", self.scratch / "z"]
        self.refused(BAD_DATA, "2 files cannot be read", *train)
        message = self.run_host(*train).err
        self.assertIn("half.png", message)
        self.assertIn("empty.png: is empty", message)
        state = self.train("classifier", self.brightness_set("whole"))
        self.refused(BAD_DATA, "2 files cannot be read; ", "evaluate", "--state", state, "--data", data)
        trained = self.ok(*train, "--skip-bad")
        self.assertEqual((trained["images"], len(trained["skipped"])), (6, 2))
        mask = self.bright_set() / "masks/spot/1.png"
        mask.write_bytes(b"?")
        trained = self.ok("train", "--tool", "segmenter", "--data", self.scratch / "spots", "--state", self.scratch / "s",
                          "--skip-bad")
        self.assertEqual((trained["images"], trained["counts"]), (2, {"spot": 2}))

    def test_what_is_misspelt_gets_a_suggestion(self):
        for named, arguments in [("'predict' is no command; did you mean 'process'? telvar", ["predict", "--help"]),
                                 ("'proces' is no command; did you mean 'process'?", ["proces", "--data", "x"]),
                                 ("'trian' is no command; did you mean 'train'?", ["trian"]),
                                 ("--state is required; 'x.telvar' was given without", ["inspect", "x.telvar"]),
                                 ("'telvar' has no option --verzion; did you mean '--version'?", ["--verzion"]),
                                 ("'train' has no option -x; telvar train --help", ["train", "-x"]),
                                 ("--data needs a value", ["train", "--tool", "ocr", "--data"]),
                                 ("'' is no command", [""]),
                                 ("'xyzzyxyzzy' is no command; telvar --help", ["xyzzyxyzzy"]),
                                 ("'train' has no option --sate; did you mean '--state'?",
                                  ["train", "--tool", "ocr", "--data", "x", "--sate", "y"]),
                                 ("'batch' has no option --shrad; did you mean '--shard'?", ["batch", "--shrad=1/2"]),
                                 ("'inspect' has no option --quite; did you mean '--quiet'?", ["inspect", "--quite"]),
                                 ("'inspect' has no option --xyzzyxyzzy; telvar inspect --help",
                                  ["inspect", "--state", "z", "--xyzzyxyzzy"])]:
            done = subprocess.run([PROGRAM, *arguments], capture_output=True)
            self.assertEqual(done.returncode, USAGE)
            self.assertIn(named, done.stderr.decode())


    def test_what_a_command_does_not_take_names_the_one_that_does(self):
        self.refused(BAD_DATA, "is a folder; a state is a file, which telvar train writes", "process", "--state",
                     self.scratch, "a.png")
        image = self.file("nur images/a.png", flat(9))
        for tool in ("ocr", "classifier", "segmenter"):
            self.refused(BAD_DATA, "telvar convert makes a data set of other programs' labels", "train", "--tool", tool,
                         "--data", image.parent, "--state", self.scratch / "z")
        state = self.train("classifier", self.brightness_set())
        self.refused(BAD_DATA, "telvar process takes single images", "batch", "--state", state, "--data", image,
                     "--out", self.scratch / "out")

    def test_masks(self):
        data = self.bright_set()
        state = self.train("segmenter", data)
        mask = self.file("spots/masks/spot/1.png", png(9, 9, lambda x, y: 255))
        self.refused(BAD_DATA, f"{mask}: is 9 x 9, its image 20 x 16", "evaluate", "--state", state, "--data", data)
        self.refused(BAD_DATA, f"mask '{mask} (spot)'", "train", "--tool", "segmenter", "--data", data,
                     "--state", self.scratch / "new.telvar")

    def test_points(self):
        for named, content in [("record 2", "1,2\n3,four\n"), ("record 1", "1,2,3\n"), ("line 1: a quote", '"1,2\n')]:
            self.refused(BAD_DATA, named, "sort", "--points", self.file("points.csv", content), "--height", 3)

    def test_convert(self):
        self.file("c/image.png", png(10, 8, lambda x, y: 9))
        labels = self.scratch / "c/labels.json"
        square = [[2, 1, 6, 1, 6, 4, 2, 4]]
        # what the message names, tool, outline of every label, names of the categories, image
        for named, tool, outline, names, image in [
            ("absent.png: no such file", "segmenter", square, ["part"], "absent.png"),
            ("counts: the runs cover 20 pixels", "segmenter", {"counts": "a03", "size": [8, 10]}, ["part"], "image.png"),
            *(("counts: is no list of compressed runs", "segmenter", {"counts": counts, "size": [8, 10]}, ["part"],
               "image.png") for counts in ("a", "3 5", "ppp", "N", 20 * "o" + "0", "PPPPPP8")),
            ("counts: the runs cover 20 pixels", "segmenter", {"counts": [17, 3], "size": [8, 10]}, ["part"], "image.png"),
            ("is 10 x 8, but the runs", "segmenter", {"counts": [17, 63], "size": [10, 8]}, ["part"], "image.png"),
            ("image.png: has a shape with an empty label", "segmenter", square, [" "], "image.png"),
            ("image.png: has a shape with an empty label", "ocr", square, [""], "image.png"),
            ("'a/b' and 'a:b' would both lie in masks/a_b", "segmenter", square, ["a/b", "a:b"], "image.png"),
            ("image.png: a label 'A' has no box", "ocr", square, ["A"], "image.png"),
            ("image.png: a label 'A' has no outline", "segmenter", None, ["A"], "image.png"),
            ("image.png: has no labels", "segmenter", square, [], "image.png"),
        ]:
            labels.write_text(json.dumps({
                "images": [{"id": 4, "file_name": image}],
                "categories": [{"id": i, "name": name} for i, name in enumerate(names)],
                "annotations": [{"image_id": 4, "category_id": i, "bbox": [], "segmentation": outline}
                                for i in range(len(names))],
            }), "utf-8")
            self.refused(BAD_DATA, named, "convert", "--from", "coco", "--tool", tool, "--labels", labels,
                         "--out", self.scratch / "new")
        self.refused(BAD_DATA, f"{labels}: is a file, not a folder", "convert", "--from", "labelme", "--tool", "ocr",
                     "--labels", labels, "--out", self.scratch / "new")
        labels.write_text("{", "utf-8")
        for source, where in ("coco", labels), ("labelme", labels.parent):
            self.refused(BAD_DATA, f"{labels}: is no valid JSON", "convert", "--from", source, "--tool", "ocr",
                         "--labels", where, "--out", self.scratch / "new")

    def one_image(self, file):
        self.file("one/x/" + file.name, file.read_bytes())
        return self.scratch / "one"

    def test_patterns(self):
        reader = self.train("ocr", self.text_set())
        for named, content in [("no valid JSON", "["), ("at least one", "{}"), ("a: is a pattern without", '{"a": []}'),
                               ("a[0]: is a line", '{"a": [[]]}'), ("a[0][1]: allows", '{"a": [["x", ""]]}'),
                               ("a[0]: expected an array", '{"a": ["x"]}')]:
            file = self.file("patterns.json", content)
            self.refused(BAD_DATA, named, "process", "--state", reader, "--patterns", file, reader)

    def test_library(self):
        other = self.file("libOther.so", b"no library")
        for named, library in [("no such file", self.scratch / "absent.so"), ("libOther.so", other)]:
            done = self.run_host("sort", "--points", "-", "--height", 3, "--library", library, "--json", stdin=b"")
            # The last --library of two is a usage error, so ask with one alone.
            alone = subprocess.run([PROGRAM, "sort", "--points", "-", "--height", "3", "--library", str(library),
                                    "--json"], capture_output=True, input=b"")
            self.assertEqual(alone.returncode, NO_LIBRARY)
            self.assertIn(named, json.loads(alone.stdout)["error"]["message"])
            self.assertEqual(done.code, USAGE)
        self.refused(USAGE, "means nothing to 'inspect'", "inspect", "--state", other, "--library", other)


if __name__ == "__main__":
    unittest.main()
