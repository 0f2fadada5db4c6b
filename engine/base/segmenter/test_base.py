"""What the recipe promises: repeatable scenes, labels of their own task alone, marks where the labels are."""

import unittest

try:
    import numpy as np
    import render
    from scenes import tasks, textures
    MISSING = None
except ImportError as error:
    MISSING = str(error)


def _catalogue():
    """Stand-ins for the packages' textures: brownish noise of many grains and contrasts."""
    rng, found = np.random.default_rng(3), []
    for i in range(60):
        noise = rng.standard_normal((256 // (i % 8 + 1) + 1, 256)).repeat(i % 8 + 1, 0)[:256]
        gray = 0.5 + (0.03 + 0.002 * i) * noise
        found.append((str(i), np.clip(gray[:, :, None] * (1, 0.9, 0.8), 0, 1).astype(np.float32)))
    return found


@unittest.skipIf(MISSING, MISSING)
class SceneTest(unittest.TestCase):
    def setUp(self):
        self.library = render.Library(_catalogue())

    def test_the_same_seed_gives_the_same_scene(self):
        for number in range(12):
            first, again = (render.render(np.random.default_rng([5, number]), self.library) for _ in range(2))
            self.assertTrue(np.array_equal(first[0], again[0]))
            self.assertTrue(np.array_equal(first[1], again[1]))

    def test_some_scenes_are_gray_but_none_that_tell_hues(self):
        gray = {names: set() for _, names, _ in tasks.TASKS}
        for number in range(80):
            pixels, _, names = render.render(np.random.default_rng([7, number]), self.library)
            gray[names].add(bool((pixels == pixels[:, :, :1]).all()))
        self.assertEqual(gray[tasks.HUES], {False})
        self.assertEqual(gray[tasks.TEXTURES], {False, True})

    def test_every_task_labels_its_own_categories_and_shows_them(self):
        for draw, names, _ in tasks.TASKS:
            with self.subTest(task=draw.__name__):
                shown = set()
                for number in range(30):
                    pixels, masks = draw(np.random.default_rng([6, number]), self.library, render.SIDE)
                    self.assertEqual(pixels.shape, (render.SIDE, render.SIDE, 3))
                    self.assertTrue(np.isfinite(pixels).all())
                    shown |= {name for name, mask in masks.items() if mask.any()}
                self.assertLessEqual(shown, set(names))
                self.assertGreater(len(shown), len(names) // 2)

    def test_shares_are_those_of_a_whole_and_categories_fit_a_tile(self):
        self.assertAlmostEqual(sum(share for _, _, share in tasks.TASKS), 1)
        self.assertLessEqual(len(tasks.CATEGORIES), 64)
        self.assertEqual(len(set(tasks.CATEGORIES)), len(tasks.CATEGORIES))


@unittest.skipIf(MISSING, MISSING)
class TextureTest(unittest.TestCase):
    def test_a_picture_whose_quarters_differ_is_no_texture(self):
        texture = _catalogue()[30][1]
        picture = texture.copy()
        picture[:128, :128] = 0.5
        self.assertTrue(textures.is_texture(texture))
        self.assertFalse(textures.is_texture(picture))
        self.assertFalse(textures.is_texture(np.full_like(texture, 0.5)))


if __name__ == "__main__":
    unittest.main()
