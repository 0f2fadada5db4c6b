"""Real training of all three tools on drawn images, seconds each."""
import numpy
import pytest

import telvar
from telvar import classifier, ocr, segmenter


def noise(seed, height, width):
    return numpy.random.default_rng(seed).integers(30, 60, (height, width), numpy.uint8)


def striped(seed, upright):
    image = noise(seed, 32, 32)
    (image.T if upright else image)[seed % 4::8] = 220
    return image


def disc(seed):
    """An image and its mask."""
    image = noise(seed, 96, 96)
    x, y = numpy.random.default_rng(seed + 100).integers(25, 70, 2)
    rows, columns = numpy.ogrid[:96, :96]
    mask = (columns - x) ** 2 + (rows - y) ** 2 <= 15 ** 2
    image[mask] += 150
    return image, mask


GLYPHS = {
    "H": [(0, 0, 4, 24), (12, 0, 16, 24), (0, 10, 16, 14)],
    "T": [(0, 0, 16, 4), (6, 0, 10, 24)],
    "U": [(0, 0, 4, 24), (12, 0, 16, 24), (0, 20, 16, 24)],
}


def word(text, seed):
    """The text in glyphs of 16 x 24 px, a centre every 26 px."""
    image = noise(seed, 56, 40 + 26 * len(text))
    for position, letter in enumerate(text):
        for left, top, right, bottom in GLYPHS[letter]:
            image[16 + top:16 + bottom, 25 + 26 * position + left:25 + 26 * position + right] = 210
    return image


def centre(position):
    return 33 + 26 * position, 28


def test_the_classifier_learns_and_its_state_is_taken_up_again(tmp_path):
    images = {f"{kind}{i}": striped(i, kind == "upright") for kind in ("upright", "level") for i in range(6)}
    tool = telvar.SmartClassifier()
    with pytest.raises(telvar.InvalidTrainingArtifactException, match="empty"):
        tool.process(images["level0"])
    data = classifier.Dataset({name: classifier.Sample(name, name[:-1]) for name in images})
    assert tool.train(data, images.__getitem__).overall_score > 0.8

    new = {"a": striped(50, True), "b": striped(51, False)}
    scores = tool.batch_process({key: key for key in new}, new.__getitem__)
    assert [max(scores[key], key=lambda s: s.score).category_id for key in "ab"] == ["upright", "level"]
    tool.save(tmp_path / "stripes.telvar")
    assert telvar.SmartClassifier.load(tmp_path / "stripes.telvar").process(new["a"]) == scores["a"]


def test_a_training_tells_how_far_it_is_and_can_be_cancelled():
    images = {f"{kind}{i}": striped(i, kind == "upright") for kind in ("upright", "level") for i in range(6)}
    data = classifier.Dataset({name: classifier.Sample(name, name[:-1]) for name in images})
    told = []

    def cancels(fraction, score):
        told.append((fraction, score))
        return fraction is None or fraction < 0.3

    def raises(fraction, score):
        if fraction:
            raise KeyboardInterrupt

    tool = telvar.SmartClassifier()
    before = tool.get_data()
    with pytest.raises(telvar.InvalidOperationException, match="^cancelled by the host$"):
        tool.train(data, images.__getitem__, progress=cancels, threads=1)
    with pytest.raises(KeyboardInterrupt):
        tool.train(data, images.__getitem__, progress=raises)
    with pytest.raises(TypeError, match="progress must be callable"):
        tool.train(data, images.__getitem__, progress=1)
    assert (tool.get_data(), tool.about["trainings"]) == (before, [])
    fractions = [fraction for fraction, score in told if fraction is not None]
    assert told[0] == (None, None) and fractions == sorted(fractions) and 0.3 <= fractions[-1] < 0.5


def test_the_segmenter_learns_in_an_image_and_in_a_region():
    drawn = {str(i): disc(i) for i in range(6)}
    tool = telvar.SmartSegmenter()
    data = segmenter.Dataset(["disc"], [segmenter.Sample(name, {"disc": name}) for name in drawn])
    tool.train(data, lambda name: drawn[name][0], lambda name: drawn[name][1])
    image, mask = disc(40)
    found = tool.process(image)["disc"] > 127
    assert (found & mask).sum() / (found | mask).sum() > 0.7
    part = tool.process(image, telvar.ROI(10, 10, 80, 70))["disc"]
    assert part.shape == (70, 80)


def test_the_reader_learns_and_a_pattern_decides():
    images = {str(i): word(text, i) for i, text in enumerate(["HTUHT", "UTHUT", "THUUH", "HUTTU", "UHTHT", "TUHTH"])}
    texts = dict(zip(images, ["HTUHT", "UTHUT", "THUUH", "HUTTU", "UHTHT", "TUHTH"]))
    labels = {name: [ocr.TrainDataAssignment(*centre(i), letter) for i, letter in enumerate(text)]
              for name, text in texts.items()}
    reader = telvar.SmartOCR()
    reader.train(ocr.Dataset(16, 24, [ocr.TrainData(name, of_image) for name, of_image in labels.items()]),
                 images.__getitem__)
    read = reader.process(word("TUH", 77), fielding=ocr.BasicFielding("HTU", 3))
    assert [line.text for line in read.sample.lines] == ["TUH"]
    assert abs(read.sample.characters[read.sample.lines[0].indexes[0]].x - centre(0)[0]) < 3
    assert read.fielding_result.sample.lines[0].text == "TUH"
    with pytest.raises(telvar.InvalidArgumentException, match="No matching Fielding pattern was found"):
        reader.process(word("TUH", 77), fielding=ocr.BasicFielding("HTU", 4))


def test_the_engine_names_the_image_it_refuses():
    data = classifier.Dataset({str(i): classifier.Sample("none.png", "ab"[i % 2]) for i in range(6)})
    with pytest.raises(telvar.InvalidImageSizeException, match="image 'none.png'.* empty"):
        telvar.SmartClassifier().train(data, lambda name: None)
    with pytest.raises(telvar.InvalidROIException):
        telvar.SmartSegmenter().train(
            segmenter.Dataset(["c"], [segmenter.Sample(name, {"c": name}, telvar.ROI(1e6, 0, 9, 9)) for name in "abc"]),
            lambda name: noise(1, 40, 40), lambda name: noise(1, 40, 40))


def test_points_become_lines():
    assert telvar.SmartOCR().sort_characters([(30, 11), (10, 10), (12, 60)], 24) == [[1, 0], [2]]
