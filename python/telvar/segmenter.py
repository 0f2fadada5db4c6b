"""The pixel segmenter and its records."""

import time
from dataclasses import dataclass, field
from typing import Dict, Mapping, Optional, Sequence

from telvar import _native
from telvar.about import About, about_of, with_training
from telvar.images import ImageLoader, Pixels, Progress, ResultImage
from telvar.records import ROI, Data
from telvar.state import Path, State, read_state_of, write_state

__all__ = ["Dataset", "Sample", "SmartSegmenter", "TrainingResult"]


@dataclass
class Sample:
    """One image with its masks."""

    #: What the image loader is asked for. Of two samples with one identifier the later replaces the earlier.
    image_id: str
    #: By category, what the mask loader is asked for. A mask has its image's size; a pixel that is not 0 belongs to the
    #: category. No entry: none of the category in this image.
    category_masks: Mapping[str, str] = field(default_factory=dict)
    #: The part of the image to train on; None: the whole image.
    roi: Optional[ROI] = None


@dataclass
class Dataset:
    """The images of one training."""

    #: The categories to learn, not empty; they may overlap in an image or leave pixels free.
    categories: Sequence[str] = ()
    samples: Sequence[Sample] = ()


@dataclass
class TrainingResult:
    """How a training went."""

    #: Mean intersection over union on held-out samples, 0..1.
    score: float


class SmartSegmenter:
    """Finds, per pixel, the categories it was trained on.

    Its answers are, by category in ascending order, an array of uint8, (height, width), in the size of the region or
    image: the probability 0..255 that the pixel belongs to the category.
    """

    #: What `save` writes of the tool's trainings: see `telvar.about`. Kept up to date by `train`.
    about: About

    def __init__(self, data: Optional[Data] = None, about: Optional[About] = None) -> None:
        """From a stored state; None: untrained. A bad artifact shows at the first call that needs it."""
        data = data or Data()
        self.about = about_of(data, about)
        self._tool = _native.SmartSegmenter(data.artifact, data.train_cache)

    @classmethod
    def load(cls, path: Path) -> "SmartSegmenter":
        """From a state file. Raises OSError and StateError."""
        state = read_state_of("segmenter", path)
        return cls(state.data, state.about)

    def save(self, path: Path) -> None:
        """Writes the state file, whole or not at all; replaces what is there. Raises OSError."""
        write_state(path, State("segmenter", self.get_data(), about=self.about))

    def get_data(self) -> Data:
        """The current state, to be stored."""
        return Data(*self._tool.get_data())

    def train(
        self,
        dataset: Dataset,
        load_image: ImageLoader,
        load_mask: ImageLoader,
        progress: Optional[Progress] = None,
        threads: int = 0,
    ) -> TrainingResult:
        """Trains from the current state and installs what was learned.

        `progress` is told how far the training is (see `telvar.images.Progress`) and may cancel it, as Ctrl-C does in the
        main thread; `threads` is the most threads that work at it, 0: as many as the process may use. A cancelled
        training raises InvalidOperationException "cancelled by the host" and leaves the tool as it was.

        Raises InvalidArgumentException, the image, region and artifact exceptions, and what the loaders raise; artifact
        and model are then as before, the train cache may have changed.
        """
        start = time.monotonic()
        result = self._tool.train(dataset, load_image, load_mask, progress, threads)
        categories = [category for sample in dataset.samples for category in sample.category_masks]
        self.about = with_training(
            self.about, len(dataset.samples), categories, result.score, time.monotonic() - start)
        return result

    def process(self, image: Pixels, roi: Optional[ROI] = None) -> Dict[str, ResultImage]:
        """Segments the image inside `roi` (None: the whole image). The first call builds the model.

        Raises the artifact exceptions (an untrained segmenter included), the image and region exceptions.
        """
        return self._tool.process(image, roi)

    def batch_process(self, samples: Mapping[str, str], load_image: ImageLoader) -> Dict[str, Dict[str, ResultImage]]:
        """Segments many images, given as image identifiers by sample key; gives answers by image identifier.

        Raises what `process` raises, InvalidArgumentException, and what `load_image` raises.
        """
        return self._tool.batch_process(samples, load_image)
