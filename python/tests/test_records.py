"""Data sets, regions and results, value by value."""
import numpy
import pytest

import telvar
from telvar import classifier, ocr, segmenter

IMAGE = numpy.full((8, 9), 5, numpy.uint8)
ROI = telvar.ROI(1.5, -2, 3, 4, angle=0.25, skew=0.5)
ANY_BYTES = b"caf\xe9 \xff".decode("utf-8", "surrogateescape")


def load(_):
    return IMAGE


def test_classifier_records_arrive_and_return():
    asked = []
    data = classifier.Dataset({"k": classifier.Sample("ä.png", "good"), ANY_BYTES: classifier.Sample(ANY_BYTES, b"\xfe")})
    tool = telvar.SmartClassifier()
    result = tool.train(data, lambda name: asked.append(name) or IMAGE)
    assert sorted(asked) == sorted(["ä.png", ANY_BYTES])
    assert result.overall_score == 2
    assert result.samples["k"] == [("ä.png", 0), ("good", 1)]
    assert [score.category_id for score in result.samples[ANY_BYTES]] == [ANY_BYTES, "\udcfe"]
    assert tool.get_data() == telvar.Data(b"trained", b"")
    scores = tool.batch_process({"a": "1", "b": "1"}, load)
    assert {key: dict(values)["width"] for key, values in scores.items()} == {"a": 9, "b": 9}


def test_segmenter_records_arrive_and_return():
    masks = {"m": IMAGE > 9, "n": numpy.eye(8, 9, dtype=bool), "o": IMAGE.astype(numpy.uint16)}
    data = segmenter.Dataset(["x", "y"], [segmenter.Sample("1", {"x": "m", "y": "n"}, ROI), segmenter.Sample("2", {"x": "o"})])
    tool = telvar.SmartSegmenter()
    # Two categories, the region's width, the eye's diagonal, one byte of each pixel.
    assert tool.train(data, load, masks.__getitem__).score == 2000 + 3 + 8 + 72
    assert [m.shape for m in tool.process(IMAGE, ROI).values()] == [(4, 3)] * 2
    results = tool.batch_process({"key": "name"}, load)
    assert list(results) == ["name"] and (results["name"]["first"] == 5).all()


def test_reader_records_arrive_and_return():
    labels = [ocr.TrainDataAssignment(1.5, 2, "Ä"), ocr.TrainDataAssignment(numpy.float32(3), numpy.int64(4), "b")]
    reader = telvar.SmartOCR()
    result = reader.train(ocr.Dataset(18, 24, [ocr.TrainData("p", labels, ROI), ocr.TrainData("q")]), load)
    assert (result.training_time, result.result_value) == (18, 24)
    assert result.labeled_sample_results == {"p": [0.5, 1.5, 2, 2, 3, 4, 1], "q": []}

    read = reader.process(IMAGE, ROI)  # the size of the training
    assert (read.processing_time, read.sample.mean_score, read.sample.lowest_score) == (9, 18, 24)
    [character] = read.sample.characters
    assert (character.x, character.y, character.strength) == (1.5, -2, 0.25)
    assert character.category_results == [("Ä", 0.75), ("\udcff", 0.25)]
    assert read.sample.lines == [ocr.Line("Ä", [0])]
    assert read.fielding_result is None


@pytest.mark.parametrize("fielding, name", [
    (ocr.BasicFielding("0Ä", -3), "0Ä-3"),
    (ocr.AdvancedFielding({"n": [["AB", "1"], ["Ä"]]}), "n:AB,1,;Ä,;"),
    (ocr.AdvancedFielding(), ""),
])
def test_fielding_arrives(fielding, name):
    result = telvar.SmartOCR().process(IMAGE, size=(3, 4), fielding=fielding).fielding_result
    assert (result.pattern_name, result.sample.lowest_score) == (name, 4)


def test_points_are_sorted_as_the_library_says():
    assert telvar.SmartOCR().sort_characters(numpy.array([[1, 2], [3, 4]]), 5) == [[1, 2], [3, 4]]


def train_reader(assignment):
    telvar.SmartOCR().train(ocr.Dataset(1, 2, [ocr.TrainData("a"), ocr.TrainData("b", [assignment])]), load)


def roi(**values):
    return lambda: telvar.SmartSegmenter().process(IMAGE, telvar.ROI(**{**vars(ROI), **values}))


@pytest.mark.parametrize("call, kind, text", [
    (lambda: train_reader(ocr.TrainDataAssignment("3", 4, "c")), TypeError,
     r"dataset.train_data\[1\].assignments\[0\].x must be a number, not str"),
    (lambda: train_reader((3, 4, "c")), TypeError, r"assignments\[0\] must be a record with x, not tuple"),
    (lambda: train_reader(ocr.TrainDataAssignment(3, 4, None)), TypeError, r"category_id must be str or bytes, not NoneType"),
    (lambda: telvar.SmartOCR().train(classifier.Dataset(), load), TypeError, "dataset must be a record with width, not Dataset"),
    (lambda: telvar.SmartClassifier().train(classifier.Dataset({3: None}), load), TypeError,
     "key 3 of dataset.samples must be str or bytes"),
    (lambda: telvar.SmartClassifier().train(classifier.Dataset([1]), load), TypeError, "dataset.samples must be a mapping, not list"),
    (lambda: telvar.SmartClassifier().batch_process({"k": 7}, load), TypeError, r"samples\['k'\] must be str or bytes, not int"),
    (lambda: telvar.SmartSegmenter().train(segmenter.Dataset("scratch"), load, load), TypeError,
     "dataset.categories must be a sequence, not str"),
    (lambda: telvar.SmartOCR().process(IMAGE, size=(1, 2), fielding=ocr.AdvancedFielding({"p": ["AB"]})), TypeError,
     r"fielding.patterns\['p'\]\[0\] must be a sequence, not str"),
    (lambda: telvar.SmartOCR().process(IMAGE, size=(1, 2), fielding=ocr.BasicFielding("a", 2**31)), ValueError,
     "fielding.count must be from -2147483648 to 2147483647, not 2147483648"),
    (lambda: telvar.SmartOCR().process(IMAGE, size=(1, 2, 3)), TypeError, "size must be two numbers"),
    (lambda: telvar.SmartOCR().process(IMAGE), ValueError, "size: give the nominal width and height"),
    (lambda: telvar.SmartOCR(telvar.Data("text", b"")), TypeError, "data.artifact must be bytes, not str"),
    (roi(width=-1), ValueError, "roi.width must be from 0 to 4294967295, not -1"),
    (roi(height=2.5), TypeError, "roi.height must be an integer, not float"),
    (roi(angle=None), TypeError, "roi.angle must be a number, not NoneType"),
    (lambda: telvar.SmartClassifier().batch_process({}, 3), TypeError, "load_image must be callable, not int"),
])
def test_a_wrong_record_is_named(call, kind, text):
    with pytest.raises(kind, match=text):
        call()
