"""The installed package finds the library and calls it."""
import numpy
import telvar

try:
    telvar.SmartClassifier().process(numpy.zeros((32, 32), numpy.uint8))
except telvar.InvalidTrainingArtifactException as error:
    print(error)
else:
    raise SystemExit("an untrained classifier answered")
