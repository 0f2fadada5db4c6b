"""What a state file says of itself, as the program telvar writes it.

    {"categories": [...], "trainings": [{"time", "program", "images", "counts", "score", "seconds"}, ...]}

`categories` is missing where an earlier training said nothing of itself. `counts` are images by category, characters for
the reader.
"""

from collections import Counter
from datetime import datetime, timezone
from typing import Any, Dict, Iterable, Optional, Union

from telvar import _native
from telvar.records import Data

About = Dict[str, Any]

_MOST_TRAININGS = 100


def is_about(value: Any) -> bool:
    """Whether a value out of JSON has the form above, as far as this package relies on it."""
    if not isinstance(value, dict) or not isinstance(value.get("trainings"), list):
        return False
    categories = value.get("categories", [])
    return isinstance(categories, list) and all(isinstance(category, str) for category in categories)


def about_of(data: Data, about: Optional[About]) -> About:
    """What is known of a tool: what its state file says, or else nothing, unless it was never trained."""
    if about is not None:
        return about
    return {"trainings": []} if data.artifact else {"categories": [], "trainings": []}


def with_training(
    about: About, images: int, categories: Iterable[Union[str, bytes]], score: float, seconds: float
) -> About:
    """`about` and a training that ended now; the last 100 are kept. `categories` has one for each label."""
    counts = Counter(map(_shown, categories))
    training = {
        "time": datetime.now(timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ"),
        "program": _native.version,
        "images": images,
        "counts": dict(sorted(counts.items())),
        "score": score,
        "seconds": seconds,
    }
    trainings = [*about.get("trainings", []), training][-_MOST_TRAININGS:]
    known = {"categories": sorted({*about["categories"], *counts})} if "categories" in about else {}
    return {**about, **known, "trainings": trainings}


def _shown(identifier: Union[str, bytes]) -> str:
    """As JSON can have it: what is no UTF-8 becomes U+FFFD."""
    if isinstance(identifier, str):
        identifier = identifier.encode("utf-8", "surrogateescape")
    return identifier.decode("utf-8", "replace")
