"""Records that all tools share."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Data:
    """A tool's whole state, two byte strings that only the engine understands. Never trained: both empty."""

    #: All that processing needs.
    artifact: bytes = b""
    #: Makes the next training cheaper, changes no result, and may be dropped.
    train_cache: bytes = b""

    def __post_init__(self) -> None:
        for name in ("artifact", "train_cache"):
            value = getattr(self, name)
            if not isinstance(value, bytes):
                raise TypeError(f"data.{name} must be bytes, not {type(value).__name__}")


@dataclass
class ROI:
    """A region of interest: a rotated and skewed rectangle in an image, with a pixel grid of its own.

    Region pixel (u, v) lies in the image at
    ( cos(angle) u - sin(angle + skew) v + x, sin(angle) u + cos(angle + skew) v + y ).
    What a tool finds in a region is reported in region pixels.
    """

    #: Place of region pixel (0, 0), image pixels.
    x: float
    y: float
    #: Extent, region pixels.
    width: int
    height: int
    #: Direction of the first axis, radians; positive turns from +x towards +y.
    angle: float = 0.0
    #: How much further than a quarter turn the second axis is turned from the first, radians.
    skew: float = 0.0
