"""Chord diagrams for fretted instruments.

tarvguitar reads chord symbols, finds the shapes that play them on any fretted instrument and
draws them as chord diagrams::

    >>> import tarvguitar
    >>> best = tarvguitar.shapes("Cmaj7")[0]
    >>> best.frets
    'x,3,2,0,0,0'
    >>> tarvguitar.names("x,0,2,0,1,0")[0].symbol
    'Am7'
    >>> tarvguitar.progression("Eb Ab Bb Cm", capo="auto")[0].capo
    3

Strings are numbered as chord diagrams number them: string 0 is the last pitch of a tuning
text (the highest string of a guitar). Per-string tuples (``Tuning.pitches``, ``Shape.fingers``)
start at string 0; fret texts and tuning texts run from the lowest string to the highest.

Bad input raises ValueError (TypeError for a value of the wrong type) with a message that says
what is wrong. The library releases the GIL while it searches, so a thread pool over many
chords runs in parallel.
"""

import os as _os

_resources = _os.path.join(_os.path.dirname(__file__), "resources")
if "TARV_GUITAR_RESOURCE_DIR" not in _os.environ and _os.path.isdir(_resources):
    # An installed package carries the library's resources (shape caches, sample settings).
    _os.environ["TARV_GUITAR_RESOURCE_DIR"] = _resources

from ._core import (  # noqa: E402
    Arrangement,
    Barre,
    CapoChoice,
    Chord,
    ChordName,
    Instrument,
    Shape,
    Tuning,
    capo_choices,
    chord,
    default_settings_path,
    generate,
    library_version,
    names,
    notation,
    progression,
    shapes,
    supported_qualities,
)

__version__ = library_version
__all__ = [
    "Arrangement",
    "Barre",
    "CapoChoice",
    "Chord",
    "ChordName",
    "Instrument",
    "Shape",
    "Tuning",
    "capo_choices",
    "chord",
    "default_settings_path",
    "generate",
    "names",
    "notation",
    "progression",
    "shapes",
    "supported_qualities",
]
