"""State files, output that is whole or not there, interrupts, locales."""
import json
import os
import signal
import struct
import time
import unittest

from support import HostTest, flat


class StateFiles(HostTest):
    def test_damage_is_named(self):
        state = self.train("ocr", self.text_set())
        whole = state.read_bytes()
        artifact, = struct.unpack_from("<Q", whole, 24)

        def flipped(at):
            return whole[:at] + bytes([whole[at] ^ 1]) + whole[at + 1:]

        for part, content in [("magic", b""), ("magic", flipped(0)), ("cut off", whole[:40]),
                              ("header's checksum", flipped(16)), ("header's checksum", flipped(60)),
                              ("bytes follow the header", whole[:-1]), ("bytes follow the header", whole + b"x"),
                              ("artifact's checksum", flipped(64)),
                              ("train cache's checksum", flipped(64 + artifact))]:
            with self.subTest(part):
                damaged = self.file("kaputt.telvar", content)
                done = self.run_host("inspect", "--state", damaged, "--json")
                self.assertEqual(done.code, 3)
                self.assertIn(part, json.loads(done.out)["error"]["message"])
                self.assertIn("kaputt.telvar", done.out)

    def test_nothing_is_overwritten_without_force(self):
        data = self.brightness_set()
        state = self.train("classifier", data)
        before = state.read_bytes()
        again = ["train", "--tool", "classifier", "--data", data, "--state", state]
        self.assertEqual(self.run_host(*again).code, 2)
        self.assertEqual(state.read_bytes(), before)
        self.ok(*again, "--from", state, "--force")

        out = self.scratch / "aus"
        evaluate = ["evaluate", "--state", state, "--data", data, "--out", out]
        self.ok(*evaluate)
        other = self.file("aus/notiz.txt", "bleibt")
        report = (out / "report.html")
        report.write_text("alt")
        self.assertEqual(self.run_host(*evaluate).code, 2)
        self.assertEqual(report.read_text(), "alt")
        self.ok(*evaluate, "--force")
        self.assertIn("<html", report.read_text("utf-8"))
        self.assertEqual(other.read_text(), "bleibt")

    def test_a_failed_training_leaves_the_old_state(self):
        data = self.brightness_set()
        state = self.train("classifier", data)
        before = state.read_bytes()
        self.file("licht/hell/kaputt.png", b"?")
        files = self.files()
        done = self.run_host("train", "--tool", "classifier", "--data", data, "--state", state, "--force")
        self.assertEqual(done.code, 3)
        self.assertIn("kaputt.png", done.err)
        self.assertEqual((state.read_bytes(), self.files()), (before, files))


class Interrupts(HostTest):
    def interrupted(self, process, when):
        deadline = time.monotonic() + 60
        while not when():
            self.assertIsNone(process.poll(), "ended by itself")
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)
        os.kill(process.pid, signal.SIGINT)
        out, _ = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 130)
        self.assertEqual(json.loads(out)["error"]["code"], 130)

    def test_training(self):
        state = self.train("classifier", self.brightness_set())
        before = state.read_bytes()
        self.brightness_set("träge")
        self.file("träge/slow/1.png", flat(99))
        files = self.files()
        started = time.monotonic()
        process = self.start("train", "--tool", "classifier", "--data", self.scratch / "träge", "--state", state,
                             "--force", "--json")
        self.interrupted(process, lambda: time.monotonic() > started + 2)
        self.assertEqual((state.read_bytes(), self.files()), (before, files))

    def test_batch_at_many_moments(self):
        state = self.train("classifier", self.brightness_set())
        for i in range(400):
            self.file(f"viele/{i}.png", flat(i % 250, side=60))
        files = self.files()
        for count in range(5):
            process = self.start("batch", "--state", state, "--data", self.scratch / "viele", "--out",
                                 self.scratch / "aus", "--json")
            seen = time.monotonic()
            # The hidden folder shows that the run has begun.
            self.interrupted(process, lambda: len(self.files()) > len(files) and time.monotonic() > seen + 0.01 * count)
            self.assertEqual(self.files(), files)


class Environment(HostTest):
    def test_a_decimal_comma_changes_nothing(self):
        state = self.train("ocr", self.text_set(), "z.telvar", "--size", "20.5x30.25")
        self.assertEqual(self.ok("inspect", "--state", state)["size"], [20.5, 30.25])
        page = self.scratch / "schrift/seite.png"
        arguments = ["process", "--state", state, "--roi", "0.5,0.25,0,0,50,50", page]
        for locale in ("de_DE.UTF-8", "C"):
            env = {"LC_ALL": locale, "LANG": locale}
            self.assertEqual(self.ok(*arguments, env=env)["images"], self.ok(*arguments)["images"])
            self.assertEqual(self.run_host(*arguments, env=env).out, self.run_host(*arguments).out)

    def test_streams(self):
        data = self.brightness_set()
        arguments = ["check", "--tool", "classifier", "--data", data]
        self.assertIn("6 pictures", self.run_host(*arguments).err)
        self.assertEqual(self.run_host(*arguments, "--quiet").err, "")
        self.assertIn("hell", self.run_host(*arguments, "--quiet").out)
        for command in ("check", "train", "process", "batch", "evaluate", "inspect", "sort", "convert", "demo"):
            self.assertIn("Example:\n  telvar " + command, self.run_host(command, "--help").out)

    def test_a_full_disk_is_an_error(self):
        with open("/dev/full", "wb") as full:
            import subprocess
            done = subprocess.run(self.arguments("check", "--tool", "classifier", "--data", self.brightness_set()),
                                  stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 1)


if __name__ == "__main__":
    unittest.main()
