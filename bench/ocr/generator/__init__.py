"""Seeded generator of images of marked codes, with the place of every character."""
