"""A batch spread by the scripts and lines of examples/cluster; exit code 77 where there is no Slurm."""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import slurm
from support import LIBRARY, PROGRAM, HostTest, flat

EXAMPLE = pathlib.Path(__file__).resolve().parents[2] / "examples" / "cluster"
SHARDS = 4

# What stands for `telvar` on the nodes: notes every call; a shard named in FOLDER/break-I ends as if its node had failed,
# as often as that file has lines.
NODE_PROGRAM = """#!/usr/bin/env bash
echo "$*" >>"{folder}/calls"
[ "$1" = batch ] || exec "{program}" "$@"
shard=${{@: -1}}
ill={folder}/break-${{shard%/*}}
if [ -s "$ill" ]; then
  sed -i 1d "$ill"
  kill -9 $$
fi
exec "{program}" "$@" --library "{library}"
"""


class ClusterTest(HostTest):
    @classmethod
    def setUpClass(cls):
        cls.slurm_folder = tempfile.mkdtemp(prefix="telvar-slurm-")
        cls.slurm = slurm.Slurm(cls.slurm_folder)
        cls.slurm.start()

    @classmethod
    def tearDownClass(cls):
        cls.slurm.stop()
        shutil.rmtree(cls.slurm_folder, ignore_errors=True)

    def setUp(self):
        super().setUp()
        for i in range(12):
            self.file(f"data/{i}.png", flat(20 * i))
        for category, value in (("dark", 10), ("light", 240)):
            for i in range(3):
                self.file(f"labelled/{category}/{i}.png", flat(value))
        self.ok("train", "--tool", "classifier", "--data", self.scratch / "labelled", "--state", self.scratch / "s.telvar")
        # sed and bash take this path apart no further than at its end.
        self.bin = pathlib.Path(tempfile.mkdtemp(prefix="telvar-bin-"))
        self.addCleanup(shutil.rmtree, self.bin)
        program = self.bin / "telvar"
        program.write_text(NODE_PROGRAM.format(folder=self.bin, program=PROGRAM, library=LIBRARY))
        program.chmod(0o755)

    def run_shell(self, *command, **variables):
        environment = {**self.slurm.environment, "PATH": f"{self.bin}:{os.environ['PATH']}", **variables}
        return subprocess.run(command, cwd=self.scratch, env=environment, capture_output=True, text=True, timeout=90)

    def run_example(self, **variables):
        return self.run_shell(EXAMPLE / "run.sh", str(SHARDS), "s.telvar", "data", "out", "--time=5", **variables)

    def break_shard(self, shard, times):
        (self.bin / f"break-{shard}").write_text("once\n" * times)

    def shards_run(self):
        """Every --shard that was asked for, in order of its number."""
        return sorted(re.findall(r"--shard (\S+)", (self.bin / "calls").read_text()))

    def merged(self):
        return json.loads((self.scratch / "out" / "results.json").read_text())["images"]

    def test_a_failed_shard_is_repeated_and_a_broken_image_named(self):
        self.file("data/broken.png", b"no image")
        self.break_shard(3, times=1)
        done = self.run_example()
        self.assertEqual(done.returncode, 3, done.stdout + done.stderr)
        # The repeated shard is 3 of 4 again although its array has one task; the broken image repeats nothing.
        self.assertEqual(self.shards_run(), ["1/4", "2/4", "3/4", "3/4", "4/4"])
        self.assertIn("round 1: shards 1-4\nround 2: shards 3\n", done.stdout)
        images = {entry["file"]: entry for entry in self.merged()}
        self.assertEqual(set(images), {f"{i}.png" for i in range(12)} | {"broken.png"})
        self.assertEqual([name for name, entry in images.items() if "error" in entry], ["broken.png"])

    def test_a_shard_that_always_fails_is_named_and_the_same_command_goes_on(self):
        self.break_shard(2, times=2)
        done = self.run_example(ROUNDS="2")
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertIn("without results after 2 rounds: shards 2 of 4; see out/shard-*.log", done.stderr)
        self.assertFalse((self.scratch / "out" / "results.json").exists())
        self.assertEqual(self.run_example().returncode, 0)
        self.assertEqual(len(self.merged()), 12)

    def test_the_line_for_gnu_parallel(self):
        if shutil.which("parallel") is None:
            self.skipTest("GNU parallel is not installed")
        [line] = re.findall(r"^parallel .*$", (EXAMPLE / "README.md").read_text(), re.M)
        line = line.replace("--sshloginfile nodes.txt --wd . ", "").replace("parts.telvar", "s.telvar")
        line = line.replace("today/", "data/").replace("results/", "out/")
        self.break_shard(5, times=2)
        done = self.run_shell("bash", "-c", line)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertEqual(self.shards_run().count("5/16"), 3)
        self.assertEqual(len(self.merged()), 12)


if __name__ == "__main__":
    if not slurm.is_installed():
        print("skipped: Slurm is not installed")
        sys.exit(77)
    unittest.main()
