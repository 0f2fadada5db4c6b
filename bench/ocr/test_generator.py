"""What the tables rely on: groups that share nothing, repeatable images, true labels."""

import unittest
from pathlib import Path

try:
    import numpy as np
    from generator import __main__ as generator
    from generator import drawn, layout, marks_choose, marks_final, texts
    from generator.groups import GROUPS
    MISSING = None
except (ImportError, OSError) as error:  # OSError: a font's package is not installed
    MISSING = str(error)


class EvenGround:
    """Stands in for photographs."""

    def crop(self, rng, width, height):
        return np.full((height, width), 0.5, np.float32)


def styles_of(*groups):
    return [style for group in groups for style in GROUPS[group].styles.values()]


@unittest.skipIf(MISSING, MISSING)
class GroupsTest(unittest.TestCase):
    def test_groups_share_no_font_name_or_package(self):
        develop = {Path(font).parent for style in styles_of("develop")
                   for font in getattr(style, "fonts", ())}
        choose, final = ({Path(font).parent for marking in marks.MARKINGS
                          for font in marking.fonts} for marks in (marks_choose, marks_final))
        self.assertFalse(choose & final | choose & develop | final & develop)
        names = [style.name for style in styles_of(*GROUPS)]
        self.assertEqual(len(names), len(set(names)))
        self.assertTrue(all(len(group.styles) >= 5 for group in GROUPS.values()))

    def test_groups_share_no_photograph(self):
        frames = "/usr/share/visp-images-data/ViSP-images"
        seen = [set(group.scenes(frames, split).files()) for group in GROUPS.values()
                for split in ("train", "test")]
        for index, files in enumerate(seen):
            self.assertTrue(files)
            self.assertFalse(files & set().union(*seen[index + 1:]))


@unittest.skipIf(MISSING, MISSING)
class ImagesTest(unittest.TestCase):
    def test_images_repeat_and_hold_every_character(self):
        for style in styles_of(*GROUPS):
            with self.subTest(style=style.name):
                pixels, rows, patterns = self._image(style)
                again = self._image(style)
                self.assertTrue(np.array_equal(pixels, again[0]))
                self.assertEqual(rows, again[1])
                for _, _, x, y, _, _ in rows:
                    self.assertTrue(0 <= x < pixels.shape[1] and 0 <= y < pixels.shape[0])
                allowed = [position for line in patterns for position in line]
                self.assertEqual(len(allowed), len(rows))
                self.assertTrue(all(row[0] in a for row, a in zip(rows, allowed)))

    def _image(self, style):
        rng = np.random.default_rng([7, style.number])
        return generator.make_image(style, EvenGround(), rng)

    def test_a_label_is_where_the_ink_is(self):
        style = GROUPS["choose"].styles["worn"]  # bright on dark, upright characters
        pixels, rows, _ = self._image(style)
        inside = [pixels[int(y - h / 2):int(y + h / 2) + 1, int(x - w / 2):int(x + w / 2) + 1].max()
                  for _, _, x, y, w, h in rows]
        self.assertGreater(np.mean(inside), np.median(pixels) + 20)


@unittest.skipIf(MISSING, MISSING)
class JobTest(unittest.TestCase):
    def test_the_first_training_images_show_every_letter(self):
        rng = np.random.default_rng(3)
        for seed in range(20):
            job = texts.Job(np.random.default_rng(seed), without="OQ")
            lines = [job.lines(rng, number) for number in range(5)]
            pieces = [piece for image in lines for line in image for piece in line]
            shown = {character for character, _ in pieces}
            wanted = set().union(*(allowed for _, allowed in pieces if len(allowed) == 1))
            wanted |= {c for _, allowed in pieces for c in allowed if c.isalpha()}
            self.assertLessEqual(wanted, shown | {" "})
            self.assertFalse(shown & set("OQ"))

    def test_letters_that_look_like_others_are_left_out(self):
        for style in styles_of("choose", "final"):
            font = layout.load_font(style.font_name, 48)
            for a, b in (("O", "0"), ("I", "1")):
                if drawn.likeness(font, a, b) > 0.97:
                    text = "".join(texts.text_of(line) for number in range(40)
                                   for line in style.lines(np.random.default_rng(1), number))
                    self.assertNotIn(a, text, style.name)


if __name__ == "__main__":
    unittest.main()
