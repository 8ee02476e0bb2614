"""The module answers exactly as the tarvguitar tool does, shape object for shape object."""

import json

import pytest

import tarvguitar
from chords import chord_symbols

# 50 chords in each of 4 tunings: 200 chord/tuning pairs.
TUNINGS = [
    ["--capo", "0"],
    ["--tuning", "D2 A2 D3 G3 B3 E4"],
    ["--tuning", "G4 C4 E4 A4", "--frets", "18"],
    ["--tuning", "E1 A1 D2 G2", "--frets", "20", "--capo", "2"],
]
CHORDS = chord_symbols(50)


def python_tuning(arguments):
    options = dict(zip(arguments[::2], arguments[1::2]))
    return tarvguitar.Tuning(
        options.get("--tuning"),
        frets=int(options["--frets"]) if "--frets" in options else None,
        capo=int(options["--capo"]) if "--capo" in options else None,
    )


@pytest.mark.parametrize("rank", ["playable", "spec"])
@pytest.mark.parametrize("tuning_arguments", TUNINGS, ids=lambda arguments: " ".join(arguments))
def test_shapes_equal_the_tools_json(tool, rank, tuning_arguments):
    output = tool("shapes", "--format", "json", "--rank", rank, "--limit", "20",
                  *tuning_arguments, "-", stdin="\n".join(CHORDS) + "\n")
    answers = [json.loads(line) for line in output.splitlines()]
    assert len(answers) == len(CHORDS)
    tuning = python_tuning(tuning_arguments)
    found = 0
    for symbol, answer in zip(CHORDS, answers):
        assert answer["chord"]["symbol"] == symbol
        shapes = tarvguitar.shapes(symbol, tuning=tuning, rank=rank, limit=20)
        assert [shape.to_dict() for shape in shapes] == answer["shapes"], symbol
        found += bool(shapes)
    assert found > len(CHORDS) // 2
