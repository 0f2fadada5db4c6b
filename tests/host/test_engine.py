"""The program with the library it finds by itself, and the engine that is behind it."""
import json
import random
import struct
import unittest

from support import HostTest, png, xxh64


def stripes(seed, upright):
    noise = random.Random(seed)
    shift = noise.randrange(6)
    return png(24, 24, lambda x, y: (150 if ((x if upright else y) + shift) // 3 % 2 else 60) + noise.randrange(40))


class Engine(HostTest):
    def test_classifier_learns_and_goes_on(self):
        for part, first, count in (("train", 0, 14), ("test", 500, 8)):
            for i in range(count):
                self.file(f"split/{part}/upright/{i}.png", stripes(first + i, True))
                self.file(f"split/{part}/across/{i}.png", stripes(first + 100 + i, False))
        data = self.scratch / "split"
        state = self.train("classifier", data)
        found = self.ok("evaluate", "--state", state, "--data", data)
        self.assertGreaterEqual(found["accuracy"], 0.85)
        further = self.scratch / "further.telvar"
        again = self.ok("train", "--tool", "classifier", "--data", data, "--from", state, "--state", further)
        self.assertEqual(again["artifact_bytes"], self.ok("inspect", "--state", further)["artifact_bytes"])
        self.assertEqual([training["images"] for training in self.ok("inspect", "--state", further)["trainings"]], [28, 28])
        self.assertGreaterEqual(self.ok("evaluate", "--state", further, "--data", data)["accuracy"], 0.85)
        out = self.scratch / "out"
        self.ok("batch", "--state", state, "--data", data / "test", "--out", out)
        batch = json.loads((out / "results.json").read_text("utf-8"))["images"]
        right = sum(image["file"].startswith(image["category"] + "/") for image in batch)
        self.assertAlmostEqual(right / len(batch), found["accuracy"])

    def test_an_artifact_of_another_kind_is_refused(self):
        state = self.text_state()
        done = self.run_host("process", "--state", state, self.file("a.png", stripes(1, True)), "--json")
        self.assertEqual(done.code, 3, str(done))

    def text_state(self):
        """A whole state file whose artifact is none."""
        artifact = b"no artifact at all"
        head = b"TLVSTATE" + struct.pack("<IIffQQQQ", 1, 2, 0, 0, len(artifact), xxh64(artifact), 0, xxh64(b""))
        return self.file("foreign.telvar", head + struct.pack("<Q", xxh64(head)) + artifact)

    def test_sort(self):
        lines = self.ok("sort", "--points", "-", "--height", 20, stdin=b"40,11\n10,9\n12,60\n")["lines"]
        self.assertEqual(lines, [[1, 0], [2]])


if __name__ == "__main__":
    unittest.main()
