"""Images that go into a tool."""

from dataclasses import dataclass
from typing import Any, Callable, Literal, Optional, Union

import numpy
from numpy.typing import NDArray

#: The pixels of an image: uint8 or uint16; of a mask also bool.
Array = NDArray[Any]

ChannelOrder = Literal["gray", "RGB", "BGR", "RGBA", "BGRA"]


@dataclass
class Image:
    """An array with the order of its channels, for arrays that are not RGB or RGBA.

        frame = telvar.Image(cv2.imread("part.png"), "BGR")

    Wherever an image is taken, an array alone means gray (one channel), RGB (three) or RGBA (four).

    The array is used in place: its pixels must lie side by side in rows from top to bottom, which holds for cut-outs
    (`frame[100:300, 50:250]`) and not for transposed, mirrored or thinned-out views; those are a ValueError. Only a
    cut-out whose last row, with the bytes up to the next row, ends beyond the memory of the array that it is cut from
    is copied. The array must not change during a call.
    """

    #: uint8 or uint16 in native byte order; (height, width) or (height, width, channels) with 1, 3 or 4 channels.
    pixels: Array
    #: None: by the number of channels.
    channel_order: Optional[ChannelOrder] = None


Pixels = Union[Array, Image]

#: Fetches the image of an identifier. None makes the engine refuse that image. What it raises comes out of the call.
#: It must not use the tool that calls it. A mask may also be an array of bool.
ImageLoader = Callable[[str], Optional[Pixels]]

#: Is told, while a tool trains, the share of the training that is done, 0..1 (None: not known, while images are
#: fetched), and the last score on held-out samples, 0..1 (None: not measured yet). Returning False cancels the training;
#: what it raises does too, and comes out of the call. It is called many times a second, possibly on another thread, one
#: call at a time, and must not use the tool.
Progress = Callable[[Optional[float], Optional[float]], Optional[bool]]

#: What the segmenter makes: uint8, (height, width).
ResultImage = NDArray[numpy.uint8]
