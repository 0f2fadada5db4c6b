"""State files, and tools out of them."""
import json
import os
import struct
import subprocess

import pytest

import telvar
from telvar import _native, classifier, ocr

DATA = telvar.Data(b"artifact \0\xff", b"cache")


def edited(content, offset, value):
    """The file with other bytes in its header, whose checksum is right again."""
    header = bytearray(content[:56])
    header[offset:offset + len(value)] = value
    return bytes(header) + struct.pack("<Q", _native.xxh64(bytes(header))) + content[64:]


@pytest.fixture
def path(tmp_path):
    return tmp_path / "pärts.telvar"


@pytest.mark.parametrize("tool, size", [("ocr", (18.5, 24.0)), ("ocr", None), ("classifier", None), ("segmenter", None)])
def test_a_state_is_read_as_it_was_written(path, tool, size):
    state = telvar.State(tool, DATA, size)
    telvar.write_state(path, state)
    assert telvar.read_state(os.fspath(path)) == state
    assert path.stat().st_size == 64 + len(DATA.artifact) + len(DATA.train_cache)


def test_a_description_is_kept_and_checked(path):
    state = telvar.State("classifier", DATA, about={"categories": ["ä"], "trainings": []})
    telvar.write_state(path, state)
    assert telvar.read_state(path) == state
    whole = path.read_bytes()
    for damaged, text in ((whole[:-1], "the description has"), (whole[:-2] + b" }", "the description's checksum is wrong"),
                          (whole[:80], "and a description")):
        path.write_bytes(damaged)
        with pytest.raises(telvar.StateError, match=text):
            telvar.read_state(path)


def test_the_bytes_are_those_of_the_documented_layout(path):
    telvar.write_state(path, telvar.State("ocr", telvar.Data(), (1.0, 2.0)))
    fields = struct.pack("<8sIIffQQQQ", b"TLVSTATE", 1, 1, 1, 2, 0, 0xEF46DB3751D8E999, 0, 0xEF46DB3751D8E999)
    assert path.read_bytes() == fields + struct.pack("<Q", _native.xxh64(fields))


def test_tools_are_saved_and_loaded(path):
    telvar.SmartClassifier(DATA).save(path)
    assert telvar.SmartClassifier.load(path).get_data() == DATA
    with pytest.raises(telvar.StateError, match=r"pärts.telvar: state file of the tool classifier, not segmenter"):
        telvar.SmartSegmenter.load(path)
    os.chmod(path, 0o640)
    telvar.SmartOCR(DATA, (3, 4)).save(path)
    assert telvar.SmartOCR.load(path).size == (3, 4)
    assert path.stat().st_mode & 0o777 == 0o640


@pytest.mark.parametrize("damage, text", [
    (lambda c: b"PNG" + c, "is no telvar state file"),
    (lambda c: c[:40], r"the header is cut off \(40 of 64 bytes\)"),
    (lambda c: c[:30] + b"\1" + c[31:], "the header's checksum is wrong"),
    (lambda c: edited(c, 8, b"\3"), "format version 3; this package reads versions 1 and 2"),
    (lambda c: edited(c, 12, b"\7"), r"unknown tool \(7\)"),
    (lambda c: edited(c, 16, struct.pack("<f", float("nan"))), "the character size of nan x"),
    (lambda c: edited(c, 24, struct.pack("<Q", 2**63)), r"16 bytes follow the header, which announces 9223372036854775808 \+ 5"),
    (lambda c: c + b"x", r"17 bytes follow the header, which announces 11 \+ 5"),
    (lambda c: c[:64] + b"A" + c[65:], "the artifact's checksum is wrong"),
    (lambda c: c[:-1] + b"A", "the train cache's checksum is wrong"),
])
def test_damage_is_named(path, damage, text):
    telvar.write_state(path, telvar.State("ocr", DATA))
    path.write_bytes(damage(path.read_bytes()))
    with pytest.raises(telvar.StateError, match="pärts.telvar: .*" + text):
        telvar.read_state(path)


def test_a_description_of_another_form_is_refused(path):
    telvar.write_state(path, telvar.State("classifier", DATA, about={"categories": [3], "trainings": []}))
    with pytest.raises(telvar.StateError, match="the description is not of its form"):
        telvar.read_state(path)


def test_a_tool_keeps_account_of_its_trainings(path):
    samples = {key: classifier.Sample(key, category) for key, category in zip("abcd", ["x", "y", "x", b"\xff"])}
    tool = telvar.SmartClassifier()
    tool.train(classifier.Dataset(samples), lambda name: None)
    tool.save(path)
    again = telvar.SmartClassifier.load(path)
    assert again.about == tool.about
    again.train(classifier.Dataset({"e": classifier.Sample("e", "z")}), lambda name: None)
    assert again.about["categories"] == ["x", "y", "z", "\ufffd"]
    assert [(t["images"], t["counts"]) for t in again.about["trainings"]] == [(4, {"x": 2, "y": 1, "\ufffd": 1}), (1, {"z": 1})]
    # What the two strings alone have learned is not known.
    unknown = telvar.SmartClassifier(DATA)
    unknown.train(classifier.Dataset(samples), lambda name: None)
    assert "categories" not in unknown.about and len(unknown.about["trainings"]) == 1


def test_what_cannot_be_written_leaves_what_was_there(path):
    telvar.write_state(path, telvar.State("ocr", DATA))
    before = path.read_bytes()
    for state, text in ((telvar.State("reader", DATA), "state.tool must be one of ocr, classifier, segmenter, not 'reader'"),
                        (telvar.State("classifier", DATA, (1, 2)), "cannot be"),
                        (telvar.State("ocr", DATA, (float("inf"), 2)), "cannot be")):
        with pytest.raises(ValueError, match=text):
            telvar.write_state(path, state)
    with pytest.raises(FileNotFoundError):
        telvar.SmartOCR().save(path.parent / "none" / "x.telvar")
    with pytest.raises(IsADirectoryError):
        telvar.SmartOCR().save(path.parent)
    assert path.read_bytes() == before
    assert os.listdir(path.parent) == [path.name]


def test_a_missing_state_is_the_systems_error(path):
    with pytest.raises(FileNotFoundError):
        telvar.SmartOCR.load(path)


@pytest.mark.skipif("TELVAR_PROGRAM" not in os.environ, reason="the program telvar is not built")
def test_the_program_finds_the_same_in_the_file(path):
    reader = telvar.SmartOCR(size=(18.5, 24))
    labels = [ocr.TrainDataAssignment(1, 2, category) for category in ("Ä", "b", "b")]
    reader.train(ocr.Dataset(18.5, 24, [ocr.TrainData("p", labels)]), lambda name: None)
    telvar.write_state(path, telvar.State("ocr", DATA, reader.size, reader.about))
    said = json.loads(subprocess.run([os.environ["TELVAR_PROGRAM"], "inspect", "--state", path, "--json"],
                                     check=True, capture_output=True).stdout)
    assert (said["tool"], said["size"]) == ("ocr", [18.5, 24])
    assert (said["categories"], said["trainings"]) == (["b", "Ä"], reader.about["trainings"])
    assert said["trainings"][0]["counts"] == {"b": 2, "Ä": 1}
    assert (said["artifact_bytes"], said["train_cache_bytes"]) == (len(DATA.artifact), len(DATA.train_cache))
