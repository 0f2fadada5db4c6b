"""Seeded scenes that the segmenter's built-in network learns from."""
