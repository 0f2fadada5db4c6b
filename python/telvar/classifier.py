"""The image classifier and its records."""

import time
from dataclasses import dataclass, field
from typing import Dict, List, Mapping, NamedTuple, Optional

from telvar import _native
from telvar.about import About, about_of, with_training
from telvar.images import ImageLoader, Pixels, Progress
from telvar.records import Data
from telvar.state import Path, State, read_state_of, write_state

__all__ = ["CategoryScore", "Dataset", "Sample", "SmartClassifier", "TrainingResult"]


@dataclass
class Sample:
    """One labelled image."""

    #: What the image loader is asked for.
    image_id: str
    #: The category that the image belongs to; not empty.
    category_id: str


@dataclass
class Dataset:
    """The labelled images of one training, by sample key. The order carries no meaning."""

    samples: Mapping[str, Sample] = field(default_factory=dict)


class CategoryScore(NamedTuple):
    """How well one category fits one image."""

    category_id: str
    #: Probability, 0..1; the scores of an image sum to 1.
    score: float


@dataclass
class TrainingResult:
    """How a training went."""

    #: Share of right answers, 0..1, on held-out samples, or cross-validated when there are few.
    overall_score: float
    #: By sample key, the scores that the trained model gives its image.
    samples: Dict[str, List[CategoryScore]]


class SmartClassifier:
    """Scores whole images against the categories it was trained on."""

    #: What `save` writes of the tool's trainings: see `telvar.about`. Kept up to date by `train`.
    about: About

    def __init__(self, data: Optional[Data] = None, about: Optional[About] = None) -> None:
        """From a stored state; None: untrained. A bad artifact shows at the first call that needs it."""
        data = data or Data()
        self.about = about_of(data, about)
        self._tool = _native.SmartClassifier(data.artifact, data.train_cache)

    @classmethod
    def load(cls, path: Path) -> "SmartClassifier":
        """From a state file. Raises OSError and StateError."""
        state = read_state_of("classifier", path)
        return cls(state.data, state.about)

    def save(self, path: Path) -> None:
        """Writes the state file, whole or not at all; replaces what is there. Raises OSError."""
        write_state(path, State("classifier", self.get_data(), about=self.about))

    def get_data(self) -> Data:
        """The current state, to be stored."""
        return Data(*self._tool.get_data())

    def train(
        self,
        dataset: Dataset,
        load_image: ImageLoader,
        progress: Optional[Progress] = None,
        threads: int = 0,
    ) -> TrainingResult:
        """Trains from the current state and installs what was learned.

        `progress` is told how far the training is (see `telvar.images.Progress`) and may cancel it, as Ctrl-C does in the
        main thread; `threads` is the most threads that work at it, 0: as many as the process may use. A cancelled
        training raises InvalidOperationException "cancelled by the host" and leaves the tool as it was.

        Raises InvalidArgumentException, InvalidLabelException, the image and artifact exceptions, and what `load_image`
        raises; artifact and model are then as before, the train cache may have changed.
        """
        start = time.monotonic()
        result = self._tool.train(dataset, load_image, progress, threads)
        categories = [sample.category_id for sample in dataset.samples.values()]
        self.about = with_training(
            self.about, len(categories), categories, result.overall_score, time.monotonic() - start)
        return result

    def process(self, image: Pixels) -> List[CategoryScore]:
        """Scores one image: one entry a category, by ascending category. The first call builds the model.

        Raises the artifact exceptions (an untrained classifier included) and the image exceptions.
        """
        return self._tool.process(image)

    def batch_process(self, samples: Mapping[str, str], load_image: ImageLoader) -> Dict[str, List[CategoryScore]]:
        """Scores many images, given as image identifiers by sample key; gives scores by sample key.

        Raises what `process` raises, InvalidArgumentException, and what `load_image` raises.
        """
        return self._tool.batch_process(samples, load_image)
