"""What the recipe promises: nothing kept by the bench, repeatable images, labels on the marks."""

import unittest

try:
    import numpy as np
    from rendering import fonts, grounds, scene, shapes, texts
    for _package in ("fonts-liberation", "fonts-pc-extra"):
        fonts._files_of(_package)
    MISSING = None
except (ImportError, FileNotFoundError) as error:
    MISSING = str(error)


@unittest.skipIf(MISSING, MISSING)
class ExclusionTest(unittest.TestCase):
    def test_no_package_of_the_bench_is_in_the_recipe(self):
        fonts.check_packages()
        self.assertGreater(len(fonts.packages_of(fonts.BENCH_PACKAGES)), 10)

    def test_a_shared_package_is_refused(self):
        recipe, fonts.PACKAGES = fonts.PACKAGES, fonts.BENCH_PACKAGES
        try:
            with self.assertRaisesRegex(ValueError, "fonts-allerta"):
                fonts.check_packages()
        finally:
            fonts.PACKAGES = recipe

    def test_a_clone_is_like_its_model_and_another_face_is_not(self):
        mono, sans = (fonts._portrait(path) for path in fonts._files_of("fonts-liberation")
                      if path.endswith(("Mono-Regular.ttf", "Sans-Regular.ttf")))
        self.assertGreater(fonts.likeness(sans, np.array([mono, sans])), 0.999)
        self.assertLess(fonts.likeness(sans, np.array([mono])), fonts._CLONE)


@unittest.skipIf(MISSING, MISSING)
class ImageTest(unittest.TestCase):
    def setUp(self):
        faces = [fonts._examine("fonts-liberation", path)
                 for path in fonts._files_of("fonts-liberation")]
        pixels = [fonts._examine("fonts-pc-extra", path)
                  for path in fonts._files_of("fonts-pc-extra")[:3]]
        self.chooser = scene.FontChooser(faces + pixels)

    def test_the_same_seed_gives_the_same_image_and_labels(self):
        for number in range(6):
            first, again = (scene.render(np.random.default_rng([5, number]), self.chooser)
                            for _ in range(2))
            self.assertTrue(np.array_equal(first[0], again[0]))
            self.assertEqual(first[1], again[1])

    def test_marks_change_the_image_where_the_labels_are(self):
        """The brightness varies more at labelled places than in the image's empty ones."""
        near, far = [], []
        for number in range(12):
            pixels, lines = scene.render(np.random.default_rng([6, number]), self.chooser)
            dy, dx = np.gradient(pixels.astype(float))
            change, mask = np.hypot(dx, dy), np.zeros(pixels.shape, bool)
            for character in (c for line in lines for c in line):
                y, x = int(character.y), int(character.x)
                mask[max(y - 8, 0):y + 9, max(x - 8, 0):x + 9] = True
            near.append(change[mask].mean())
            far.append(change[~mask].mean())
        self.assertGreater(np.mean(near), 1.3 * np.mean(far))

    def test_all_textures_vary_by_about_one(self):
        for texture in grounds.TEXTURES:
            with self.subTest(texture=texture.__name__):
                field = texture(np.random.default_rng(1), (120, 300))
                self.assertEqual(field.shape, (120, 300))
                self.assertTrue(np.isfinite(field).all())
                self.assertTrue(0.02 < field.std() < 3)


@unittest.skipIf(MISSING, MISSING)
class ShapesTest(unittest.TestCase):
    def test_dots_stand_on_the_grid_of_a_bitmap_face(self):
        path = next(p for p in fonts._files_of("fonts-pc-extra") if "ATI_8x8.ttf" in p)
        face = fonts._examine("fonts-pc-extra", path)
        self.assertTrue(face.pixel)
        x, y, _ = shapes.Dots(np.random.default_rng(1), face, 35)._grid("I")
        self.assertEqual(len(set(np.round(y, 3))), 7)  # a capital has seven rows

    def test_lines_hold_drawable_characters_only(self):
        rng = np.random.default_rng(2)
        for _ in range(300):
            line = texts.random_line(rng, "ABC012-", 9)
            self.assertTrue(line and len(line) <= 9 and set(line) <= set("ABC012- "), line)


if __name__ == "__main__":
    unittest.main()
