"""The character reader and its records.

All positions and sizes are in region pixels: those of the region that is read, or of the image where there is none.
"""

import time
from dataclasses import dataclass, field
from typing import Dict, List, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

from telvar import _native
from telvar.about import About, about_of, with_training
from telvar.images import ImageLoader, Pixels, Progress
from telvar.records import ROI, Data
from telvar.state import Path, State, read_state_of, write_state

__all__ = [
    "AdvancedFielding",
    "BasicFielding",
    "CategoryScore",
    "CharacterResult",
    "Dataset",
    "FieldingResult",
    "Line",
    "ProcessResult",
    "Sample",
    "SmartOCR",
    "TrainData",
    "TrainDataAssignment",
    "TrainResult",
]


class TrainDataAssignment(NamedTuple):
    """The label of one character: its centre and its category, usually the character itself."""

    x: float
    y: float
    category_id: str


@dataclass
class TrainData:
    """One labelled image."""

    #: What the image loader is asked for. Of two images with one identifier the later replaces the earlier.
    image_id: str
    #: The labels, in reading order. Not every character needs one; an image without any is left out.
    assignments: Sequence[TrainDataAssignment] = ()
    #: The part of the image that the labels are about; None: the whole image.
    roi: Optional[ROI] = None


@dataclass
class Dataset:
    """The labelled images of one training."""

    #: Nominal size of a character.
    width: float
    height: float
    train_data: Sequence[TrainData] = ()


@dataclass
class TrainResult:
    """How a training went."""

    #: Milliseconds.
    training_time: float
    #: Share of labels read right, 0..1, on images that the network which read them had not learned from: with 8 or more
    #: new images, every fourth of them, held out of the first stage; with fewer, all new ones, in two halves. Less than 0
    #: where no image was new, or only one: its size is then the share that the finished network reads right of what it
    #: has learned from.
    result_value: float
    #: By image identifier, for each of its labels, in their order: detection strength times score of the labelled
    #: category, 0..1, of the character that the finished network reads nearest to the label; 0 when it reads none near.
    labeled_sample_results: Dict[str, List[float]]


@dataclass
class BasicFielding:
    """One class of characters for every position."""

    #: Not empty.
    allowed_characters: str
    #: How many characters there must be; 0: any number.
    count: int = 0


@dataclass
class AdvancedFielding:
    """Named patterns; the best fitting one wins, ties by name.

    By name the pattern's lines, of each line the allowed characters per position:
    `AdvancedFielding({"serial": [["AB", "0123456789", "0123456789"]]})`. Nothing may be empty.
    """

    patterns: Mapping[str, Sequence[Sequence[str]]] = field(default_factory=dict)


class CategoryScore(NamedTuple):
    """How well one category fits one character."""

    category_id: str
    #: Probability, 0..1.
    score: float


@dataclass
class CharacterResult:
    """One character that was read."""

    #: The character's centre.
    x: float
    y: float
    #: Detection strength, 0..1.
    strength: float
    #: A score for every known category, best first, summing to at most 1.
    category_results: List[CategoryScore]


@dataclass
class Line:
    """One line of text."""

    #: The best categories of its characters, in reading order.
    text: str
    #: Positions in the sample's characters, in reading order.
    indexes: List[int]


@dataclass
class Sample:
    """Everything that was read in one image or region."""

    #: Mean and lowest of the characters' best category scores, 0..1; 0 when nothing was read.
    mean_score: float
    lowest_score: float
    characters: List[CharacterResult]
    #: Top to bottom.
    lines: List[Line]


@dataclass
class FieldingResult:
    """The pattern that matched, and the sample as it reads under that pattern."""

    #: The matched characters only, their scores restricted to the allowed categories and summing to 1.
    sample: Sample
    #: Empty for BasicFielding.
    pattern_name: str


@dataclass
class ProcessResult:
    """The outcome of reading one image."""

    #: Milliseconds.
    processing_time: float
    sample: Sample
    #: None when no fielding was asked for.
    fielding_result: Optional[FieldingResult]


class SmartOCR:
    """Reads characters and lines from images, and matches them against patterns."""

    #: Nominal width and height of a character, for calls of `process` that give none: those of the state file or of the
    #: last training; None when neither was.
    size: Optional[Tuple[float, float]]

    #: What `save` writes of the tool's trainings: see `telvar.about`. Kept up to date by `train`.
    about: About

    def __init__(
        self,
        data: Optional[Data] = None,
        size: Optional[Tuple[float, float]] = None,
        about: Optional[About] = None,
    ) -> None:
        """From a stored state; None: untrained. A bad artifact shows at the first call that needs it."""
        data = data or Data()
        self.about = about_of(data, about)
        self._tool = _native.SmartOCR(data.artifact, data.train_cache)
        self.size = size

    @classmethod
    def load(cls, path: Path) -> "SmartOCR":
        """From a state file, with its size. Raises OSError and StateError."""
        state = read_state_of("ocr", path)
        return cls(state.data, state.size, state.about)

    def save(self, path: Path) -> None:
        """Writes the state file with `size`, whole or not at all; replaces what is there. Raises OSError."""
        write_state(path, State("ocr", self.get_data(), self.size, self.about))

    def get_data(self) -> Data:
        """The current state, to be stored."""
        return Data(*self._tool.get_data())

    def train(
        self,
        dataset: Dataset,
        load_image: ImageLoader,
        progress: Optional[Progress] = None,
        threads: int = 0,
    ) -> TrainResult:
        """Trains from the current state and installs what was learned; `size` is then the data set's.

        `progress` is told how far the training is (see `telvar.images.Progress`) and may cancel it, as Ctrl-C does in the
        main thread; `threads` is the most threads that work at it, 0: as many as the process may use. A cancelled
        training raises InvalidOperationException "cancelled by the host" and leaves the tool as it was.

        Raises InvalidArgumentException, InvalidLabelException, the image, region and artifact exceptions, and what
        `load_image` raises; artifact and model are then as before, the train cache may have changed.
        """
        start = time.monotonic()
        result = self._tool.train(dataset, load_image, progress, threads)
        categories = [label.category_id for data in dataset.train_data for label in data.assignments]
        self.about = with_training(
            self.about, len(dataset.train_data), categories, result.result_value, time.monotonic() - start)
        self.size = (dataset.width, dataset.height)
        return result

    def process(
        self,
        image: Pixels,
        roi: Optional[ROI] = None,
        size: Optional[Tuple[float, float]] = None,
        fielding: Union[BasicFielding, AdvancedFielding, None] = None,
    ) -> ProcessResult:
        """Reads the image inside `roi` (None: the whole image), expecting characters of about `size` (None: the tool's).

        The first call builds the model, and so does one of another size. Raises the artifact exceptions (an untrained
        reader included), the image and region exceptions, InvalidArgumentException (size, fielding that is invalid or
        that nothing matches), and ValueError when no size is known.
        """
        size = size if size is not None else self.size
        if size is None:
            raise ValueError("size: give the nominal width and height of a character; the reader was not trained here")
        return self._tool.process(image, roi, size, fielding)

    def sort_characters(self, points: Sequence[Tuple[float, float]], height: float) -> List[List[int]]:
        """Groups points (x, y) into lines of text; `height` is the nominal character height.

        Gives positions in `points`: lines top to bottom, points of a line left to right. Raises RuntimeError when a
        point or `height` is not finite, or `height` is not positive.
        """
        return self._tool.sort_characters(points, height)
