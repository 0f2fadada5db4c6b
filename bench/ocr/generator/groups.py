"""The three groups of styles. They share no marking, font, surface or photograph.

A developer may look at 'develop' as often as needed, tune thresholds and steps on 'choose', and
runs 'final' once, when everything is decided.
"""

from dataclasses import dataclass

from . import (backgrounds, drawn, marks_choose, marks_final, photographs, styles,
               surfaces_choose, surfaces_final)


@dataclass
class Group:
    """`styles` by name; `scenes(frames, split)` gives the photographs behind them."""

    styles: dict
    scenes: object


def _drawn_group(first_number, markings, surfaces, patterns):
    found = (drawn.DrawnStyle(first_number + index, marking, surfaces)
             for index, marking in enumerate(markings))
    return Group({style.name: style for style in found},
                 lambda frames, split: photographs.Photographs(patterns, split))


GROUPS = {
    "develop": Group(styles.STYLES, backgrounds.Frames),
    # Packages mate-backgrounds and lomiri-wallpapers-16.04.
    "choose": _drawn_group(100, marks_choose.MARKINGS, surfaces_choose.SURFACES,
                           ("/usr/share/backgrounds/mate/nature/*.jpg",)),
    "final": _drawn_group(200, marks_final.MARKINGS, surfaces_final.SURFACES,
                          ("/usr/share/backgrounds/*.jpg",)),
}


def group_of(style_name):
    """The name of the group that has the style. Raises ValueError for an unknown one."""
    for name, group in GROUPS.items():
        if style_name in group.styles:
            return name
    raise ValueError(f"no group has a style '{style_name}'")
