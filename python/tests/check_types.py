"""check_types.py FOLDER: the package and a host of it type-check, and the stubs are what the module has."""
import importlib.util
import os
import subprocess
import sys
import tempfile

HOST = """
import numpy
import telvar
from telvar import ocr

reader = telvar.SmartOCR()
reader.train(ocr.Dataset(18, 24, [ocr.TrainData("a", [ocr.TrainDataAssignment(1, 2, "A")])]), lambda name: None)
text: str = reader.process(numpy.zeros((9, 9), numpy.uint8), telvar.ROI(0, 0, 9, 9)).sample.lines[0].text
reader.process("image")  # type: ignore[arg-type]
text = reader.get_data().artifact  # type: ignore[assignment]
"""

if importlib.util.find_spec("mypy") is None:
    print("skipped: mypy is not installed")
    sys.exit(77)
with tempfile.TemporaryDirectory() as folder:
    host = os.path.join(folder, "host.py")
    with open(host, "w") as file:
        file.write(HOST)
    cache = ["--cache-dir", os.path.join(folder, "cache")]
    # The classes' metaclass is the binding's own.
    allowed = os.path.join(folder, "allowed")
    with open(allowed, "w") as file:
        file.write("telvar._native.Smart(OCR|Classifier|Segmenter)\n")
    # An ignored error that is none would be reported: that the stubs are seen at all.
    checks = [["mypy", *cache, "--strict", "--warn-unused-ignores", os.path.join(sys.argv[1], "telvar"), host],
              ["mypy.stubtest", "telvar._native", "--ignore-missing-stub", "--allowlist", allowed]]
    codes = [subprocess.run([sys.executable, "-m", *check], cwd=folder, env={**os.environ, "MYPYPATH": sys.argv[1]}).returncode
             for check in checks]
sys.exit(any(codes))
