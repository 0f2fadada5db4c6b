"""State files, output that is whole or not there, interrupts, streams."""
import json
import os
import pty
import resource
import shutil
import signal
import struct
import subprocess
import time
import unittest

from support import HostTest, flat, xxh64


class StateFiles(HostTest):
    def test_damage_is_named(self):
        state = self.train("ocr", self.text_set())
        whole = state.read_bytes()
        artifact, cache = (struct.unpack_from("<Q", whole, at)[0] for at in (24, 40))
        about = 64 + artifact + cache

        def flipped(at):
            return whole[:at] + bytes([whole[at] ^ 1]) + whole[at + 1:]

        def sealed(at, bytes):
            """With other bytes in the header, and its checksum over them."""
            header = whole[:at] + bytes + whole[at + len(bytes):56]
            return header + struct.pack("<Q", xxh64(header)) + whole[64:]

        for part, content in [("magic", b""), ("magic", flipped(0)), ("cut off", whole[:40]),
                              ("header's checksum", flipped(16)), ("header's checksum", flipped(60)),
                              ("bytes follow the header", whole[:about + 10]),
                              ("the description has", whole[:-1]), ("the description has", whole + b"x"),
                              ("the description's checksum", flipped(about + 20)),
                              ("more than any state has", sealed(24, struct.pack("<Q", 1 << 60))),
                              ("the character size of -1.0 x", sealed(16, struct.pack("<f", -1))),
                              ("reads versions 1 and 2", sealed(8, struct.pack("<I", 3))),
                              ("artifact's checksum", flipped(64)),
                              ("train cache's checksum", flipped(64 + artifact))]:
            with self.subTest(part):
                damaged = self.file("broken.telvar", content)
                done = self.run_host("inspect", "--state", damaged, "--json")
                self.assertEqual(done.code, 3)
                self.assertIn(part, json.loads(done.out)["error"]["message"])
                self.assertIn("broken.telvar", done.out)

    def test_a_state_says_what_it_knows(self):
        state = self.train("classifier", self.brightness_set())
        self.file("more/light/1.png", flat(210))
        self.file("more/half é/2.png", flat(110))
        more = ["--tool", "classifier", "--data", self.scratch / "more"]
        checked = self.run_host("check", *more, "--from", state, "--json")
        found = json.loads(checked.out)
        # One more of what the state knows is enough; of what it does not know, one is too few.
        self.assertEqual([problem["kind"] for problem in found["problems"]], ["single_sample"])
        self.assertIn("half é", found["problems"][0]["why"])
        self.assertEqual(found["new_categories"], ["half é"])
        measured = self.ok("evaluate", "--state", state, "--data", self.scratch / "more")
        self.assertEqual(measured["unknown_categories"], ["half é"])
        self.ok("train", *more, "--from", state, "--state", self.scratch / "weiter.telvar")
        artifact = self.scratch / "artefakt"
        about = self.ok("inspect", "--state", self.scratch / "weiter.telvar", "--extract", artifact)
        self.assertEqual(about["categories"], ["dark é", "half é", "light"])
        self.assertEqual([training["images"] for training in about["trainings"]], [6, 2])
        self.assertEqual(about["trainings"][1]["counts"], {"half é": 1, "light": 1})
        self.assertIn(b"\tlight\n", artifact.read_bytes())
        self.assertEqual(len(artifact.read_bytes()), about["artifact_bytes"])

    def test_a_state_of_the_first_format_still_serves(self):
        whole = self.train("classifier", self.brightness_set()).read_bytes()
        artifact, cache = (struct.unpack_from("<Q", whole, at)[0] for at in (24, 40))
        header = whole[:8] + struct.pack("<I", 1) + whole[12:56]
        old = self.file("old.telvar", header + struct.pack("<Q", xxh64(header)) + whole[64:64 + artifact + cache])
        about = self.ok("inspect", "--state", old)
        self.assertEqual((about["format_version"], about["categories"], about["trainings"]), (1, None, []))
        more = ["--tool", "classifier", "--data", self.scratch / "brightness", "--from", old]
        self.assertIn("does not say which categories", self.run_host("check", *more).err)
        self.ok("train", *more, "--state", self.scratch / "weiter.telvar")
        about = self.ok("inspect", "--state", self.scratch / "weiter.telvar")
        self.assertEqual((about["categories"], len(about["trainings"])), (None, 1))

    def test_nothing_is_overwritten_without_force(self):
        data = self.brightness_set()
        state = self.train("classifier", data)
        before = state.read_bytes()
        again = ["train", "--tool", "classifier", "--data", data, "--state", state]
        self.assertEqual(self.run_host(*again).code, 2)
        self.assertEqual(state.read_bytes(), before)
        self.ok(*again, "--from", state, "--force")

        out = self.scratch / "out"
        evaluate = ["evaluate", "--state", state, "--data", data, "--out", out]
        self.ok(*evaluate)
        other = self.file("out/note.txt", "stays")
        report = (out / "report.html")
        report.write_text("old")
        self.assertEqual(self.run_host(*evaluate).code, 2)
        self.assertEqual(report.read_text(), "old")
        self.ok(*evaluate, "--force")
        self.assertIn("<html", report.read_text("utf-8"))
        self.assertEqual(other.read_text(), "stays")

    def test_a_failed_training_leaves_the_old_state(self):
        data = self.brightness_set()
        state = self.train("classifier", data)
        before = state.read_bytes()
        self.file("brightness/light/broken.png", b"?")
        files = self.files()
        done = self.run_host("train", "--tool", "classifier", "--data", data, "--state", state, "--force")
        self.assertEqual(done.code, 3)
        self.assertIn("broken.png", done.err)
        self.assertEqual((state.read_bytes(), self.files()), (before, files))


class Places(HostTest):
    """Where output goes is tried before the work and left as it was beside the output."""

    def test_states(self):
        train = ["train", "--tool", "classifier", "--data", self.brightness_set(), "--force", "--state"]
        os.mkfifo(self.scratch / "pipe")
        for place, code, text in [(self.scratch / "pipe", 2, "is a device or a pipe"),
                                  ("/proc/state", 1, "cannot create"), (self.scratch, 2, "is a folder")]:
            done = self.run_host(*train, place)
            self.assertEqual(done.code, code, str(done))
            self.assertIn(text, done.err)
            self.assertNotIn(".telvar-", done.err)  # the name of a temporary file
            self.assertNotIn("images", done.err)  # not even loaded
        state = self.file("secret", b"")
        state.chmod(0o600)
        self.ok(*train, state)
        self.assertEqual(state.stat().st_mode & 0o777, 0o600)
        self.assertNotIn(".telvar-", "".join(self.files()))

    def test_room_is_reserved_before_the_training(self):
        def small_files():
            resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, 1 << 20))

        data, state = self.brightness_set(), self.scratch / "z"
        files = self.files()
        done = subprocess.run(self.arguments("train", "--tool", "classifier", "--data", data, "--state", state),
                              preexec_fn=small_files, capture_output=True, text=True)
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertRegex(done.stderr, r"there is no room for .*/z, which may take 33 MiB: File too large")
        self.assertNotIn("images", done.stderr)  # not even loaded
        self.assertEqual(self.files(), files)

    def test_what_a_killed_run_left_is_cleared_by_the_next(self):
        self.file("slow/slow/1.png", flat(99))
        left = lambda: [name for name in self.files() if name.startswith(".z.telvar-")]
        process = self.start("train", "--tool", "classifier", "--data", self.brightness_set("slow"), "--state",
                             self.scratch / "z")
        while not left():
            self.assertIsNone(process.poll(), "ended by itself")
        self.ok("train", "--tool", "classifier", "--data", self.brightness_set(), "--state", self.scratch / "z")
        self.assertEqual(len(left()), 1, "of a run that goes on")
        process.kill()
        process.communicate()
        self.ok("train", "--tool", "classifier", "--data", self.brightness_set(), "--state", self.scratch / "z", "--force")
        self.assertEqual(left(), [])

    def test_what_runs_elsewhere_left_is_cleared_after_a_day(self):
        self.file(".out.telvar-4000000/rest", b"?")
        self.file(".out.telvar-4000001/rest", b"?")
        self.file(".z.telvar-4000000", b"?")
        self.file(".zz.telvar-4000000", b"?")
        for name in (".out.telvar-4000000", ".z.telvar-4000000", ".zz.telvar-4000000"):
            os.utime(self.scratch / name, (time.time() - 90000, ) * 2)
        state = self.train("classifier", self.brightness_set(), "z")
        self.ok("evaluate", "--state", state, "--data", self.scratch / "brightness", "--out", self.scratch / "out")
        # What is young, and what belongs to another output, stays.
        self.assertEqual([name for name in self.files() if ".telvar-" in name],
                         [".out.telvar-4000001", ".out.telvar-4000001/rest", ".zz.telvar-4000000"])

    def test_folders(self):
        state = self.train("classifier", self.brightness_set())
        for i in range(400):
            self.file(f"many/{i}.png", flat(i % 250, side=60))
        out = self.scratch / "out"
        out.mkdir(mode=0o750)
        before = out.stat()
        batch = ["batch", "--state", state, "--data", self.scratch / "many", "--out", out]
        process = self.start(*batch)
        while not list(out.iterdir()):
            self.assertIsNone(process.poll(), "ended by itself")
        foreign = self.file("out/results.csv", "foreign")
        self.assertEqual(self.run_host(*batch).code, 2)
        _, err = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 1)
        self.assertIn(b"results.csv: was written by another program", err)
        self.assertEqual(foreign.read_text(), "foreign")
        self.assertEqual(sorted(path.name for path in out.iterdir()), ["results.csv", "unfinished"])
        foreign.unlink()
        self.ok(*batch)
        self.assertEqual(sorted(path.name for path in out.iterdir()), ["results.csv", "results.json"])
        self.assertEqual((out.stat().st_ino, out.stat().st_mode), (before.st_ino, before.st_mode))


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
        error = json.loads(out)["error"]
        self.assertEqual(error["code"], 130)
        return error

    def test_training(self):
        """One that does not stop by itself is ended, one that tells of its progress is cancelled."""
        state = self.train("classifier", self.brightness_set())
        before = state.read_bytes()
        for kind, said in [("slow", "interrupted"), ("steps", "the training is cancelled, nothing was changed")]:
            with self.subTest(kind):
                data = self.brightness_set("slow é " + kind)
                self.file(f"slow é {kind}/{kind}/1.png", flat(99))
                files = self.files()
                started = time.monotonic()
                process = self.start("train", "--tool", "classifier", "--data", data, "--state", state, "--force",
                                     "--json")
                error = self.interrupted(process, lambda: time.monotonic() > started + 2)
                self.assertIn(said, error["message"])
                self.assertEqual((state.read_bytes(), self.files()), (before, files))

    def test_batch_at_many_moments(self):
        state = self.train("classifier", self.brightness_set())
        for i in range(1000):
            self.file(f"many/{i}.png", flat(i % 250, side=250))
        batch = ["batch", "--state", state, "--data", self.scratch / "many", "--json", "--out"]
        self.ok(*batch[:-2], "--out", self.scratch / "whole")
        whole = json.loads((self.scratch / "whole/results.json").read_text("utf-8"))
        files = self.files()
        kept = 0
        for count, name in enumerate(["out", "out", "out/", "deep/down/out", "deep/down/out/"]):
            out = self.scratch / name
            process = self.start(*batch, out)
            seen = time.monotonic()
            moment = ("unfinished", "unfinished/.results")[count % 2]
            self.interrupted(process, lambda: (out / moment).exists() and time.monotonic() > seen + 0.01 * count)
            # Nothing is left of a run that had no results yet; others keep theirs out of sight.
            done = (out / "unfinished/.results").exists()
            kept += done
            if not done:
                self.assertEqual(self.files(), files)
            else:
                self.assertEqual([path.name for path in out.iterdir()], ["unfinished"])
                self.ok(*batch[:-2], "--out", out)
                self.assertEqual(json.loads((out / "results.json").read_text("utf-8")), whole)
                self.assertEqual(sorted(path.name for path in out.iterdir()), ["results.csv", "results.json"])
            shutil.rmtree(self.scratch / name.split("/")[0], ignore_errors=True)
        self.assertGreater(kept, 0)

    def test_after_the_outcome_it_only_ends_the_program(self):
        data = self.brightness_set()
        self.file("brightness/linger/1.png", flat(99))
        process = self.start("train", "--tool", "classifier", "--data", data, "--state", self.scratch / "z", "--json")
        while process.stdout.readline() not in (b"}\n", b""):
            pass
        os.kill(process.pid, signal.SIGINT)
        out, _ = process.communicate(timeout=60)
        self.assertEqual((process.returncode, out), (0, b""))
        self.assertEqual(self.ok("inspect", "--state", self.scratch / "z")["tool"], "classifier")


class Environment(HostTest):
    def test_a_training_shows_how_far_it_is(self):
        data = self.brightness_set()
        self.file("brightness/steps/1.png", flat(99))
        master, slave = pty.openpty()
        process = subprocess.Popen(self.arguments("train", "--tool", "classifier", "--data", data, "--state",
                                                  self.scratch / "z"), stderr=slave, stdout=subprocess.DEVNULL)
        os.close(slave)
        shown = ""
        while "score so far" not in shown:
            shown += os.read(master, 65536).decode("utf-8", "replace")
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(timeout=60), 128 + signal.SIGTERM)
        os.close(master)
        self.assertRegex(shown, r"training: \d+ %  0:\d\d, at most \d+:\d\d left, score so far 75.0 %")

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
        self.assertRegex(shown, "[0-6] of 6 images|checking  0:00")
        plain = self.run_host("check", "--tool", "classifier", "--data", data).err
        self.assertRegex(plain, r"\Achecking: 6 images\nchecking: \d+\.\d s\n\Z")

    def test_streams(self):
        data = self.brightness_set()
        arguments = ["check", "--tool", "classifier", "--data", data]
        self.assertIn("6 images", self.run_host(*arguments).err)
        self.assertEqual(self.run_host(*arguments, "--quiet").err, "")
        self.assertIn("light", self.run_host(*arguments, "--quiet").out)
        self.file("brightness/light/half.png", flat(9, side=90)[:-30])
        self.assertEqual(self.run_host(*arguments, "--quiet").err, "")  # nothing of the decoder's
        points = self.run_host("sort", "--height", 20, "--points", "/dev/stdin", stdin=b"5,5\n40,5\n")
        self.assertEqual(points.code, 0, str(points))
        for command in ("check", "train", "process", "batch", "evaluate", "inspect", "sort", "convert", "demo"):
            self.assertIn("Example:\n  telvar " + command, self.run_host(command, "--help").out)

        shown = self.run_host("check", "--help", "--json").out
        self.assertIn("--data", json.loads(shown)["help"])

    def test_a_closed_pipe(self):
        data = self.brightness_set()
        train = ["train", "--tool", "classifier", "--data", data, "--state", self.scratch / "z"]
        reader, closed = os.pipe()
        os.close(reader)
        done = subprocess.run(self.arguments(*train), stderr=closed, stdout=subprocess.PIPE)
        self.assertEqual(done.returncode, 0)
        self.assertIn(b"trained classifier", done.stdout)
        done = subprocess.run(self.arguments("inspect", "--state", self.scratch / "z"), stdout=closed, stderr=subprocess.PIPE)
        os.close(closed)
        self.assertEqual((done.returncode, done.stderr), (1, b"telvar: cannot write to standard output\n"))

    def test_a_full_disk_is_an_error(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run(self.arguments("check", "--tool", "classifier", "--data", self.brightness_set()),
                                  stdout=full, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 1)


if __name__ == "__main__":
    unittest.main()
