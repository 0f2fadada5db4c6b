"""Exceptions, loaders, threads."""
import gc
import pickle
import threading
import weakref

import numpy
import pytest

import telvar

IMAGE = numpy.full((8, 9), 5, numpy.uint8)
NAMES = ["InvalidArgumentException", "InvalidImageException", "InvalidImageSizeException", "InvalidLabelException",
         "InvalidOperationException", "InvalidROIException", "InvalidTrainingArtifactException",
         "UnsupportedTrainingArtifactVersionException", "TelvarException"]


def tool(instruction):
    return telvar.SmartClassifier(telvar.Data(instruction.encode("utf-8", "surrogateescape")))


@pytest.mark.parametrize("name", NAMES)
def test_the_librarys_exceptions_arrive_as_classes_of_their_names(name):
    with pytest.raises(telvar.TelvarException) as caught:
        tool(f"raise {name} Größe \udcff: 'a.png'").process(IMAGE)
    assert caught.type is getattr(telvar, name)
    assert str(caught.value) == "Größe \udcff: 'a.png'"
    assert caught.type.__module__ == "telvar" and caught.type.__doc__
    assert pickle.loads(pickle.dumps(caught.value)).args == caught.value.args
    assert caught.type.__bases__ == ((Exception,) if name == "TelvarException" else (telvar.TelvarException,))


def test_other_exceptions_of_the_library_are_pythons_own():
    with pytest.raises(MemoryError):
        tool("raise bad_alloc ").process(IMAGE)
    with pytest.raises(RuntimeError, match="^cannot be written$"):
        tool("fail cannot be written").get_data()
    with pytest.raises(RuntimeError, match="^height must be positive$"):
        telvar.SmartOCR().sort_characters([], 0)


class Mine(BaseException):
    pass


@pytest.mark.parametrize("instruction", ["", "thread"])
def test_a_loaders_exception_comes_out_as_itself(instruction):
    def load(name):
        raise raised

    raised = Mine("kept")
    with pytest.raises(Mine) as caught:
        tool(instruction).batch_process({"a": "b"}, load)
    assert caught.value is raised
    assert "load" in [entry.name for entry in caught.traceback]


@pytest.mark.parametrize("instruction", ["", "thread"])
def test_loaded_images_are_used_in_place_and_released(instruction):
    made = []

    class Watched(numpy.ndarray):
        pass

    def load(name):
        image = numpy.full((3, 4), int(name), numpy.uint8).view(Watched)
        made.append(weakref.ref(image))
        return image

    scores = tool(instruction).batch_process({"a": "1", "b": "2"}, load)
    assert {key: dict(values)["all bytes"] for key, values in scores.items()} == {"a": 12, "b": 24}
    gc.collect()
    assert [image() for image in made] == [None, None]


@pytest.mark.parametrize("image, kind, text", [
    ([1], TypeError, "image 'x.png' must be a numpy array or a telvar.Image, not list"),
    (IMAGE.T, ValueError, "image 'x.png' has the strides"),
])
def test_a_loader_that_returns_something_else_is_told_for_which_image(image, kind, text):
    with pytest.raises(kind, match=text):
        tool("").batch_process({"a": "x.png"}, lambda name: image)


def test_no_image_reaches_the_engine():
    assert tool("").batch_process({"a": "b"}, lambda name: None) == {"a": [("none", 1)]}


def test_a_call_lets_other_threads_run():
    waiting = threading.Thread(target=lambda: results.append(tool("wait").process(IMAGE)))
    results = []
    waiting.start()
    tool("signal").process(IMAGE)
    waiting.join(30)
    assert len(results) == 1


def test_calls_of_one_tool_wait_for_each_other_and_its_loader_cannot_use_it():
    shared = tool("")
    with pytest.raises(RuntimeError, match="cannot be used by its own image loader"):
        shared.batch_process({"a": "b"}, lambda name: shared.process(IMAGE))

    inside = []

    def load(name):
        inside.append(1)
        assert inside == [1]
        threading.Event().wait(0.01)
        inside.pop()
        return IMAGE

    def use():
        for _ in range(5):
            done.append(shared.batch_process({"a": "b"}, load))

    done = []
    threads = [threading.Thread(target=use) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(30)
    assert len(done) == 20
