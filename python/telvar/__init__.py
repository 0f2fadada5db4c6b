"""Trainable machine-vision tools: a character reader, an image classifier and a pixel segmenter.

    import telvar
    from telvar import classifier

    tool = telvar.SmartClassifier()
    tool.train(classifier.Dataset({name: classifier.Sample(name, label) for name, label in labels.items()}), load)
    print(tool.process(load("new.png")))
    tool.save("parts.telvar")

Each tool has a module with its records: `telvar.ocr`, `telvar.classifier`, `telvar.segmenter`.

Images are numpy arrays of uint8 or uint16, (height, width) or (height, width, channels), see `Image`. Identifiers are
str; bytes that are no UTF-8 stand in them as in file names (`surrogateescape`). All positions are (x, y) in pixels,
pixel centres at integers, x to the right, y down.

Failures of the library are `TelvarException` and its subclasses. A record of the wrong type is a TypeError, a value
that the library cannot be given a ValueError, both naming the place; out of memory is MemoryError. What an image loader
raises comes out of the call as it is.

Calls release the GIL. Distinct tools may work at once in distinct threads; calls of one tool wait for each other.
Ctrl-C in the main thread cancels a training, which leaves the tool as it was.
"""

from telvar._native import (
    InvalidArgumentException,
    InvalidImageException,
    InvalidImageSizeException,
    InvalidLabelException,
    InvalidOperationException,
    InvalidROIException,
    InvalidTrainingArtifactException,
    TelvarException,
    UnsupportedTrainingArtifactVersionException,
)
from telvar._native import version as __version__
from telvar.classifier import SmartClassifier
from telvar.images import Image, ImageLoader, Pixels, Progress
from telvar.ocr import SmartOCR
from telvar.records import ROI, Data
from telvar.segmenter import SmartSegmenter
from telvar.state import State, StateError, read_state, write_state

__all__ = [
    "Data",
    "Image",
    "ImageLoader",
    "InvalidArgumentException",
    "InvalidImageException",
    "InvalidImageSizeException",
    "InvalidLabelException",
    "InvalidOperationException",
    "InvalidROIException",
    "InvalidTrainingArtifactException",
    "Pixels",
    "Progress",
    "ROI",
    "SmartClassifier",
    "SmartOCR",
    "SmartSegmenter",
    "State",
    "StateError",
    "TelvarException",
    "UnsupportedTrainingArtifactVersionException",
    "__version__",
    "read_state",
    "write_state",
]
