"""Whole folders: batch for each tool, shards and their merge, going on, streams of images."""
import csv
import json
import os
import shutil
import signal
import time
import unittest

from support import HostTest, flat, png


class Batch(HostTest):
    def results(self, folder):
        found = json.loads((folder / "results.json").read_text("utf-8"))
        with open(folder / "results.csv", newline="", encoding="utf-8") as stream:
            return {image["file"]: image for image in found["images"]}, {r["file"]: r for r in csv.DictReader(stream)}

    def many(self):
        for value in range(0, 250, 25):
            self.file(f"all/deep/{value}.png", flat(value))
        self.file("all/broken.png", b"no image")
        (self.scratch / "all/ring.png").symlink_to("ring.png")
        return self.scratch / "all"

    def test_classifier_with_images_that_cannot_be_read(self):
        state = self.train("classifier", self.brightness_set())
        out = self.scratch / "whole"
        batch = ["batch", "--state", state, "--data", self.many(), "--out", out, "--json"]
        done = self.run_host(*batch)
        self.assertEqual((done.code, json.loads(done.out)["failed"]), (3, 2), str(done))
        images, rows = self.results(out)
        self.assertEqual((len(images), sorted(images)), (12, sorted(rows)))
        self.assertIn("is no readable image", rows["broken.png"]["error"])
        self.assertEqual((rows["deep/225.png"]["category"], images["deep/225.png"]["category"]), ("light", "light"))
        # The same again is done already, and told so; other images or settings are another run.
        before = (out / "results.json").stat().st_mtime_ns
        again = self.run_host(*batch)
        self.assertEqual((again.code, json.loads(again.out)), (3, json.loads(done.out)))
        self.assertIn("done before", again.err)
        self.assertEqual((out / "results.json").stat().st_mtime_ns, before)
        self.file("all/new.png", flat(3))
        self.assertEqual(self.run_host(*batch).code, 2)
        self.assertEqual(json.loads(self.run_host(*batch, "--force").out)["images"], 13)

    def test_reader(self):
        data = self.text_set()
        self.file("texts/empty.png", png(60, 60, lambda x, y: 255))
        state = self.train("ocr", data)
        out = self.scratch / "gelesen"
        self.ok("batch", "--state", state, "--data", data, "--out", out)
        images, rows = self.results(out)
        self.assertEqual((images["page.png"]["text"], rows["page.png"]["text"]), (["AB", "ÇD"], "AB\nÇD"))
        self.assertEqual((images["empty.png"]["text"], images["empty.png"]["certainty"]), ([], 0))
        refused = self.run_host("batch", "--state", state, "--data", data, "--out", self.scratch / "patterns",
                                "--allow", "ABÇD", "--count", 4, "--json")
        self.assertEqual((refused.code, json.loads(refused.out)["failed"]), (3, 1))  # the blank page

    def test_shards_do_not_depend_on_each_other_and_merge_checks_them(self):
        state = self.train("classifier", self.brightness_set())
        data, out = self.many(), self.scratch / "teile"
        merge = ["merge", "--out", out]
        shard = lambda i, *more: self.run_host("batch", "--state", state, "--data", data, "--out", out, "--shard",
                                               f"{i}/3", *more)
        for i in (1, 3):
            shard(i)
        done = self.run_host(*merge)
        self.assertEqual(done.code, 3)
        self.assertIn("missing or unfinished: 2", done.err)
        shard(2)
        self.assertEqual(self.run_host(*merge).code, 3)  # two images failed
        merged, rows = self.results(out)
        self.run_host("batch", "--state", state, "--data", data, "--out", self.scratch / "whole")
        self.assertEqual((merged, rows), self.results(self.scratch / "whole"))
        self.assertEqual(self.run_host(*merge).code, 3)  # the same once more
        # What each shard has does not change when images come; but then they do not fit together.
        before = {i: set(self.results(out / f"shard-{i}-of-3")[0]) for i in (1, 2, 3)}
        self.file("all/000 new.png", flat(7))
        for named, i in ("shard-2-of-3: was made from other images", 2), ("", 1), ("", 3):
            shard(i, "--force")
            after = set(self.results(out / f"shard-{i}-of-3")[0])
            self.assertEqual(after - {"000 new.png"}, before[i])
            if named:
                self.assertIn(named, self.run_host(*merge, "--force").err)
        self.assertEqual(json.loads(self.run_host(*merge, "--force", "--json").out)["images"], 13)
        other = self.train("classifier", self.brightness_set("other", dark=(50, 54)), "other.telvar")
        self.run_host("batch", "--state", other, "--data", data, "--out", out, "--shard", "2/3", "--force")
        self.assertIn("shard-2-of-3: was made with another state", self.run_host(*merge, "--force").err)

    def test_merged_masks_are_where_the_results_say(self):
        data = self.bright_set()
        state = self.train("segmenter", data)
        out = self.scratch / "teile"
        for i in (1, 2):
            self.ok("batch", "--state", state, "--data", data, "--out", out, "--shard", f"{i}/2")
        self.ok("merge", "--out", out)
        images, rows = self.results(out)
        self.assertEqual({name: int(row["pixels:spot"]) for name, row in rows.items()},
                         {"images/0.png": 16, "images/1.png": 24, "images/2.png": 16})
        for image in images.values():
            (out / image["categories"]["spot"]["mask"]).resolve(strict=True)

    def test_an_unfinished_run_goes_on_only_with_the_same_state_and_settings(self):
        data = self.text_set()
        for i in range(300):
            shutil.copy(data / "page.png", data / f"{i}.png")
        state = self.train("ocr", data)
        out = self.scratch / "out"
        batch = ["batch", "--state", state, "--data", data, "--out", out]
        process = self.start(*batch)
        while not (out / "unfinished/.results").exists():
            self.assertIsNone(process.poll(), "ended by itself")
        self.assertIn("another run is at work", self.run_host(*batch).err)
        os.kill(process.pid, signal.SIGINT)
        process.communicate(timeout=60)
        kept = out / "unfinished/.results"
        first = json.loads(kept.read_text("utf-8").splitlines()[0])
        # A result of its own shows what is taken over; a cut line is what a killed run leaves.
        first["result"]["text"] = ["taken över"]
        kept.write_text(json.dumps(first) + "\n" + '{"bytes": 5, "resu', "utf-8")
        refused = self.run_host(*batch, "--size", "10x10")
        self.assertEqual(refused.code, 2)
        self.assertIn("another state or other settings", refused.err)
        self.assertEqual(self.ok(*batch)["images"], 301)
        images, _ = self.results(out)
        self.assertEqual(sum(image["text"] == ["taken över"] for image in images.values()), 1)
        self.assertEqual(sum(image["text"] == ["AB", "ÇD"] for image in images.values()), 300)


class Streams(HostTest):
    def test_files_folders_and_lists(self):
        state = self.train("classifier", self.brightness_set())
        lone = self.file("single.png", flat(9))
        listed = self.file("another.png", flat(230))
        found = self.ok("process", "--state", state, lone, self.scratch / "brightness", "-", stdin=f"{listed}\r\n\n".encode())
        files = [image["file"] for image in found["images"]]
        self.assertEqual((files[0], files[-1], len(files)), (str(lone), str(listed), 8))
        self.assertEqual(found["images"][-1]["category"], "light")
        for named, more in [("no image is given", []), ("give no others", ["--watch", self.scratch, lone]),
                            ("--out does not go with --watch", ["--watch", self.scratch, "--out", self.scratch / "x"])]:
            refused = self.run_host("process", "--state", state, *more)
            self.assertEqual(refused.code, 2, str(refused))
            self.assertIn(named, refused.err)

    def test_watching(self):
        state = self.train("classifier", self.brightness_set())
        self.file("inbox/first.png", flat(9))
        process = self.start("process", "--state", state, "--watch", self.scratch / "inbox", "--json")
        first = json.loads(process.stdout.readline())
        self.assertEqual((first["file"], first["category"]), (str(self.scratch / "inbox/first.png"), "dark é"))
        # An image that comes in two parts is taken when it is whole.
        image = flat(230)
        half = self.file("inbox/second.png", image[:40])
        time.sleep(0.3)
        half.write_bytes(image)
        second = json.loads(process.stdout.readline())
        self.assertEqual((second["file"], second.get("category")), (str(half), "light"))
        self.file("inbox/broken.png", b"?")
        self.assertIn("error", json.loads(process.stdout.readline()))
        os.kill(process.pid, signal.SIGTERM)
        out, err = process.communicate(timeout=60)
        self.assertEqual((process.returncode, out), (0, b""), err)


if __name__ == "__main__":
    unittest.main()
