"""Numbers under a locale that writes them with a comma. Alone in its file, since ctest skips a file as a whole."""
import re
import shutil
import subprocess
import unittest

from support import HostTest


class Locale(HostTest):
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
        page = self.scratch / "texts/page.png"
        points = self.file("points.csv", "0.5,10.25\n0.25,10\n")
        for arguments in [["train", "--tool", "ocr", "--data", self.scratch / "texts", "--size", "20.5x30.25", "--state",
                           state, "--force"],
                          ["process", "--state", state, "--roi", "0.5,0.25,0,0,50,50", page],
                          ["evaluate", "--state", state, "--data", self.scratch / "texts", "--size", "20.5x29.5"],
                          ["sort", "--points", points, "--height", "20.5"]]:
            for form in ([], ["--json"]):
                plain, german = self.run_host(*arguments, *form), self.run_host(*arguments, *form, env=env)
                self.assertEqual((plain.code, german.code), (0, 0), str(german))
                times = r'[0-9]+\.[0-9e-]+( s\b|,?$)|median .*'  # measured, so never the same twice
                self.assertEqual(re.sub(times, "", plain.out, flags=re.M), re.sub(times, "", german.out, flags=re.M))
        self.assertEqual(self.ok("inspect", "--state", state)["size"], [20.5, 30.25])


if __name__ == "__main__":
    unittest.main()
