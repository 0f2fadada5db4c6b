"""What numpy arrays become, by a library that says what it was given."""
import numpy
import pytest

import telvar


def seen(image):
    return dict(telvar.SmartClassifier().process(image))


def gray(height=4, width=6, dtype=numpy.uint8):
    return numpy.arange(height * width, dtype=dtype).reshape(height, width)


COLOUR = numpy.arange(4 * 6 * 3, dtype=numpy.uint8).reshape(4, 6, 3)
WIDE = gray(20, 30)


@pytest.mark.parametrize("image, layout", [
    (gray(), (6, 4, 6, 1, 8, 0)),
    (gray(dtype=numpy.uint16), (6, 4, 12, 1, 16, 0)),
    (gray()[:, :, None], (6, 4, 6, 1, 8, 0)),
    (COLOUR, (6, 4, 18, 3, 8, 2)),
    (telvar.Image(COLOUR, "BGR"), (6, 4, 18, 3, 8, 1)),
    (numpy.zeros((4, 6, 4), numpy.uint16), (6, 4, 48, 4, 16, 4)),
    (telvar.Image(numpy.zeros((4, 6, 4), numpy.uint8), "BGRA"), (6, 4, 24, 4, 8, 3)),
    (WIDE[2:6, 3:9], (6, 4, 30, 1, 8, 0)),
    (WIDE[::2], (30, 10, 60, 1, 8, 0)),
    (numpy.zeros((5, 6, 3), numpy.uint8)[:4, 1:5], (4, 4, 18, 3, 8, 2)),
    (numpy.asfortranarray(gray(1, 6)), (6, 1, 6, 1, 8, 0)),
    (gray(10, 1)[::2], (1, 5, 2, 1, 8, 0)),
    (gray(1, 6)[::-1], (6, 1, 6, 1, 8, 0)),
])
def test_an_array_is_used_in_place(image, layout):
    got = seen(image)
    pixels = image.pixels if isinstance(image, telvar.Image) else image
    assert tuple(got[name] for name in ("width", "height", "stride", "channels", "bits", "order")) == layout
    assert got["address"] == pixels.ctypes.data


def test_a_cut_out_is_copied_only_where_whole_rows_would_reach_beyond_the_memory():
    parent = numpy.arange(100, dtype=numpy.uint8).reshape(10, 10)
    inner, corner = parent[2:6, 4:9], parent[7:, 6:]
    assert seen(inner)["address"] == inner.ctypes.data
    copied = seen(corner)
    assert copied["address"] != corner.ctypes.data
    assert (copied["stride"], copied["all bytes"]) == (4, corner.sum())
    assert seen(corner[:, :2][:1])["last row"] == corner[0, 0]


def test_an_empty_array_is_left_to_the_engine():
    got = seen(numpy.zeros((0, 7), numpy.uint8))
    assert (got["width"], got["height"], got["address"]) == (7, 0, 0)


@pytest.mark.parametrize("image, kind, text", [
    (gray().T, ValueError, r"image has the strides \(1, 6\): its pixels do not lie side by side.*ascontiguousarray"),
    (gray()[:, ::2], ValueError, r"strides \(6, 2\)"),
    (gray()[:, ::-1], ValueError, r"strides \(6, -1\)"),
    (gray()[::-1], ValueError, r"strides \(-6, 1\)"),
    (COLOUR[..., ::-1], ValueError, r"strides \(18, 3, -1\)"),
    (numpy.broadcast_to(gray(1, 6), (4, 6)), ValueError, r"strides \(0, 1\)"),
    (numpy.frombuffer(bytes(33), numpy.uint16, 16, 1).reshape(4, 4), ValueError, "strides"),
    (gray().astype(float), TypeError, r"image has the type dtype\('float64'\); uint8 or uint16 is needed"),
    (gray().astype(">u2"), TypeError, r"'>u2'.*native byte order"),
    (gray() > 3, TypeError, "bool"),
    (gray().ravel(), ValueError, r"shape \(24,\)"),
    (numpy.zeros((4, 6, 2), numpy.uint8), ValueError, r"shape \(4, 6, 2\); \(height, width\)"),
    (numpy.zeros((2, 2, 2, 2), numpy.uint8), ValueError, r"shape \(2, 2, 2, 2\)"),
    ([[1, 2]], TypeError, "image must be a numpy array or a telvar.Image, not list"),
    (None, TypeError, "not NoneType"),
    (telvar.Image([[1]]), TypeError, "not list"),
    (telvar.Image(COLOUR, "RGBA"), ValueError, "image: the channel order 'RGBA' does not fit 3 channels"),
    (telvar.Image(gray(), "blue"), ValueError, "'blue'"),
    (telvar.Image(COLOUR, 7), TypeError, r"image.channel_order must be str or bytes, not int"),
])
def test_what_no_layout_describes_is_refused_by_name(image, kind, text):
    with pytest.raises(kind, match=text):
        seen(image)


def test_result_images_are_arrays_over_the_librarys_memory_and_outlive_it():
    maps = telvar.SmartSegmenter().process(numpy.full((5, 7), 9, numpy.uint8))
    assert list(maps) == ["first", "second"]
    assert [(m.dtype, m.shape, m.strides) for m in maps.values()] == [(numpy.uint8, (5, 7), (10, 1))] * 2
    first = maps.pop("first")
    del maps
    assert (first == 9).all() and not first.flags.owndata
