"""Seeded renderer of the images that the built-in network learns from."""
