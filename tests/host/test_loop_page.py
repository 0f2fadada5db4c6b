"""The commands of docs/loop.md, in their order, with the engine that learns: what the page promises comes true."""
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import unittest

from support import PROGRAM, HostTest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def commands_of(page):
    """The lines of its sh blocks, continued ones joined."""
    blocks = re.findall(r"^```sh\n(.*?)^```", page.read_text("utf-8"), re.MULTILINE | re.DOTALL)
    return "".join(blocks).replace("\\\n", " ").splitlines()


class LoopPage(HostTest):
    def run_command(self, command):
        """What the program says; of other commands nothing."""
        words = shlex.split(command)
        if words[0] == "telvar":
            return self.in_scratch([PROGRAM, *words[1:], "--json"], json.loads)
        self.in_scratch(["sh", "-c", command.replace("python3 ", f"{shlex.quote(sys.executable)} -B ", 1)], str)
        return None

    def in_scratch(self, words, parse):
        done = subprocess.run(words, cwd=self.scratch, capture_output=True, text=True, encoding="utf-8", timeout=600)
        self.assertEqual(done.returncode, 0, f"{words}\n{done.stdout}\n{done.stderr}")
        return parse(done.stdout)

    def test_correcting_what_was_predicted_makes_the_tool_better(self):
        os.symlink(ROOT / "examples", self.scratch / "examples")
        said = [(command, self.run_command(command)) for command in commands_of(ROOT / "docs/loop.md")]
        trained, doubtful, measured = ([answer for command, answer in said if command.startswith(f"telvar {name} ")]
                                       for name in ("train", "batch", "evaluate"))
        self.assertEqual([answer["images"] for answer in trained], [5, len(doubtful[0]["doubtful"])])
        before, after = (answer["mean_iou"] for answer in measured)
        self.assertGreater(after, before + 0.1)
        self.assertGreater(after, 0.55)


if __name__ == "__main__":
    unittest.main()
