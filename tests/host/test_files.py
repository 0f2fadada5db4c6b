"""State files, output that is whole or not there, interrupts, locales."""
import json
import os
import pty
import re
import shutil
import signal
import struct
import subprocess
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
    def comma_locale(self):
        """The environment of a German user; the stand-in library makes the process follow it."""
        made = subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", self.scratch / "de_DE.UTF-8"],
                              capture_output=True) if shutil.which("localedef") else None
        if made is None or made.returncode != 0:
            self.skipTest("SKIPPED: no localedef or no definition of de_DE to make a locale with")
        return {"LC_ALL": "de_DE.UTF-8", "LOCPATH": str(self.scratch)}

    def test_a_decimal_comma_changes_nothing(self):
        env = self.comma_locale()
        state = self.train("ocr", self.text_set(), "z.telvar", "--size", "20.5x30.25")
        page = self.scratch / "schrift/seite.png"
        points = self.file("punkte.csv", "0.5,10.25\n0.25,10\n")
        for arguments in [["train", "--tool", "ocr", "--data", self.scratch / "schrift", "--size", "20.5x30.25", "--state",
                           state, "--force"],
                          ["process", "--state", state, "--roi", "0.5,0.25,0,0,50,50", page],
                          ["evaluate", "--state", state, "--data", self.scratch / "schrift", "--size", "20.5x29.5"],
                          ["sort", "--points", points, "--height", "20.5"]]:
            for form in ([], ["--json"]):
                plain, german = self.run_host(*arguments, *form), self.run_host(*arguments, *form, env=env)
                self.assertEqual((plain.code, german.code), (0, 0), str(german))
                times = r'[0-9]+\.[0-9e-]+( s\b|,?$)|median .*'  # measured, so never the same twice
                self.assertEqual(re.sub(times, "", plain.out, flags=re.M), re.sub(times, "", german.out, flags=re.M))
        self.assertEqual(self.ok("inspect", "--state", state)["size"], [20.5, 30.25])

    def test_the_progress_line_moves_on_a_terminal_only(self):
        data = self.brightness_set()
        master, slave = pty.openpty()
        done = subprocess.run(self.arguments("check", "--tool", "classifier", "--data", data), stderr=slave,
                              stdout=subprocess.DEVNULL)
        os.close(slave)
        shown = os.read(master, 65536).decode("utf-8")
        os.close(master)
        self.assertEqual(done.returncode, 0)
        self.assertIn("\r", shown.replace("\r\n", ""))
        self.assertRegex(shown, "[0-6] of 6 pictures|checking  0:00")
        self.assertNotIn("\r", self.run_host("check", "--tool", "classifier", "--data", data).err)

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
            done = subprocess.run(self.arguments("check", "--tool", "classifier", "--data", self.brightness_set()),
                                  stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 1)


if __name__ == "__main__":
    unittest.main()
