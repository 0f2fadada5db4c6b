"""Includes that point the wrong way, planted into the order that the repository has, are found."""
import unittest

from check_layers import check, read_table


class PlantedIncludes(unittest.TestCase):
    def faults(self, source, include, target):
        areas, public = read_table()
        found, _ = check({source: f"#pragma once\n#include {include}\n", target: ""}, areas, public)
        return found

    def test_downward_includes_pass_and_others_are_named(self):
        for fault, source, include, target in [
            (False, "host/commands/a.cpp", '"files/b.h"', "host/files/b.h"),
            (False, "host/tools/a.cpp", '"tools/b.h"', "host/tools/b.h"),
            (False, "host/library/a.cpp", "<TelvarTypes/ROI.h>", "types/include/TelvarTypes/ROI.h"),
            (False, "engine/src/ocr/a.cpp", '"text/b.h"', "engine/src/text/b.h"),
            (False, "ocr/a.cpp", '"bridge/b.h"', "bridge/b.h"),
            (False, "tests/unit/a.cpp", '"ocr/b.h"', "ocr/b.h"),
            # Upwards.
            (True, "host/files/a.cpp", '"commands/b.h"', "host/commands/b.h"),
            (True, "engine/src/core/a.h", '"nn/b.h"', "engine/src/nn/b.h"),
            (True, "bridge/a.h", '"ocr/b.h"', "ocr/b.h"),
            (True, "host/app/a.h", '"../files/b.h"', "host/files/b.h"),
            # Sideways.
            (True, "engine/src/ocr/a.cpp", '"classifier/b.h"', "engine/src/classifier/b.h"),
            (True, "segmenter/a.cpp", '"ocr/b.h"', "ocr/b.h"),
            (True, "host/images/a.cpp", '"library/b.h"', "host/library/b.h"),
            # Downwards, but hidden from this folder.
            (True, "host/tools/a.cpp", '"telvar/b.h"', "engine/include/telvar/b.h"),
            (True, "engine/src/core/a.cpp", "<TelvarTypes/ROI.h>", "types/include/TelvarTypes/ROI.h"),
            # Out of the order altogether.
            (True, "factory/a.cpp", '"tests/b.h"', "tests/b.h"),
        ]:
            with self.subTest(source, include=include):
                expected = [f"{source}: must not include {target}"] if fault else []
                self.assertEqual(self.faults(source, include, target), expected)

    def test_a_folder_that_no_row_has_is_named(self):
        self.assertEqual(self.faults("host/stray/a.cpp", "<vector>", "host/app/b.h"),
                         ["host/stray/a.cpp: stands in no folder of the order of host/"])


if __name__ == "__main__":
    unittest.main()
