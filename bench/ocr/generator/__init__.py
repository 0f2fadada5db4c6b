"""Seeded generator of pictures of marked codes, with the place of every character."""
