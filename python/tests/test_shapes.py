import json

import pytest

import tarvguitar
from tarvguitar import Barre, Chord, Shape, Tuning


def test_shapes_of_a_chord_best_first():
    shapes = tarvguitar.shapes("Cmaj7", tuning="E2 A2 D3 G3 B3 E4", capo=0, frets=22,
                               rank="playable", limit=20)
    assert 0 < len(shapes) <= 20
    assert all(isinstance(shape, Shape) for shape in shapes)
    assert [shape.rank for shape in shapes] == list(range(1, len(shapes) + 1))
    assert "x,3,2,0,0,0" in [shape.frets for shape in shapes[:5]]
    for shape in shapes:
        assert shape.chord == tarvguitar.chord("Cmaj7")
        assert shape.tuning == Tuning("E2 A2 D3 G3 B3 E4")
        assert set(shape.notes) <= set(shape.chord.notes)
        assert len(shape.fingers) == 6
        assert all(0 <= finger <= 5 for finger in shape.fingers)
        assert isinstance(shape.score, float)
        assert shape.badness is None


def test_shape_attributes_of_an_open_chord():
    shape = next(s for s in tarvguitar.shapes("C") if s.frets == "x,3,2,0,1,0")
    assert shape.base_fret == 0
    assert shape.barres == ()
    # String 0 (high E) open, string 1 (B) first finger, ... string 5 (low E) muted.
    assert shape.fingers == (0, 1, 0, 2, 3, 0)
    assert shape.fingering == "-,3,2,-,1,-"
    assert sorted(shape.notes) == sorted(["E", "C", "G", "E", "C"])
    assert "x,3,2,0,1,0" in repr(shape) and "chord='C'" in repr(shape)


def test_barre_shapes_have_barres():
    shapes = tarvguitar.shapes("F#m", limit=20)
    barred = [shape for shape in shapes if shape.barres]
    assert barred
    barre = barred[0].barres[0]
    assert isinstance(barre, Barre)
    assert 0 <= barre.low_string < barre.high_string <= 5
    assert barre.fret >= 1 and barre.finger in (1, 2, 3, 4, 5)
    assert barre == barred[0].barres[0] and hash(barre) == hash(barred[0].barres[0])
    assert repr(barre).startswith("Barre(fret=")


def test_limit_and_capo():
    assert len(tarvguitar.shapes("G", limit=3)) == 3
    capo = tarvguitar.shapes("A", capo=2)
    assert capo and capo[0].tuning.capo == 2
    assert tarvguitar.shapes("A", tuning=Tuning(capo=2)) == capo


def test_spec_rank_answers_the_generator_shapes():
    shapes = tarvguitar.shapes("C", rank="spec")
    assert shapes and all(shape.badness is not None for shape in shapes)
    assert [shape.frets for shape in shapes] == [
        shape.frets for shape in tarvguitar.generate("C", cached=True)
    ][: len(shapes)]
    assert len(tarvguitar.shapes("C", rank="spec", limit=2)) == 2


def test_chord_and_tuning_objects_are_accepted():
    chord = Chord("Dm7")
    tuning = Tuning("G4 C4 E4 A4", frets=18, name="Ukulele")
    shapes = tarvguitar.shapes(chord, tuning=tuning)
    assert shapes and shapes[0].tuning == tuning and len(shapes[0].fingers) == 4


def test_a_chord_nothing_plays_gives_an_empty_list():
    assert tarvguitar.shapes("C13#11", tuning="C4", limit=5) == []


def test_generate_is_the_generator_alone():
    shapes = tarvguitar.generate("Am", "E2 A2 D3 G3 B3 E4")
    assert 0 < len(shapes) <= 20
    badness = [shape.badness for shape in shapes]
    assert badness == sorted(badness)
    assert [shape.frets for shape in tarvguitar.generate("Am")] == [s.frets for s in shapes]
    assert tarvguitar.generate("Am", Tuning.standard()) == tarvguitar.generate("Am")
    cached = tarvguitar.generate("Am", cached=True)
    assert cached and all(shape.badness is not None for shape in cached)


def test_notation_reads_a_fret_text():
    shape = tarvguitar.notation("x,3,2,0,1,0")
    assert shape.frets == "x,3,2,0,1,0"
    assert shape.chord is None
    assert shape.fingering == "-,3,2,-,1,-"
    assert tarvguitar.notation("x32010").frets == "x,3,2,0,1,0"
    assert tarvguitar.notation(" x, 3 ,2,0,1,0 ").frets == "x,3,2,0,1,0"
    scored = tarvguitar.notation("x,3,2,0,1,0", chord="C")
    assert scored.chord == Chord("C")
    # Scored as the ranking scores the same voicing; without a chord there is no score.
    ranked = next(s for s in tarvguitar.shapes("C") if s.frets == "x,3,2,0,1,0")
    assert scored.score == ranked.score != 0
    assert shape.score == 0
    ukulele = tarvguitar.notation("0,0,0,3", tuning="G4 C4 E4 A4")
    assert sorted(ukulele.notes) == ["C", "C", "E", "G"]


@pytest.mark.parametrize(
    "text, message",
    [
        ("", "it is empty"),
        ("x,3,2,0,1", "has 5 strings but the tuning has 6"),
        ("x,3,2,0,q,0", '"q" is not a fret or x'),
        ("x,3,2,,1,0", "a string has no fret"),
        ("x,3,2,0,1,200", "fret 200 is above 127"),
        ("x,3,2,0,1,-1", '"-1" is not a fret or x'),
    ],
)
def test_bad_fret_text_raises_value_error(text, message):
    with pytest.raises(ValueError, match=message):
        tarvguitar.notation(text)


def test_notation_no_hand_can_hold_raises_value_error():
    with pytest.raises(ValueError, match="no hand can hold"):
        tarvguitar.notation("1,3,5,7,9,11", chord="C")
    unscored = tarvguitar.notation("1,3,5,7,9,11")
    assert (unscored.score, unscored.fingers, unscored.fingering) == (0, (0,) * 6, "")


@pytest.mark.parametrize(
    "call, message",
    [
        (lambda: tarvguitar.shapes("H7"), "cannot read the chord symbol"),
        (lambda: tarvguitar.shapes("C", tuning="E2 A2 Z3"), 'cannot read the pitch "Z3"'),
        (lambda: tarvguitar.shapes("C", capo=-1), "capo -1 is outside 0 to 255"),
        (lambda: tarvguitar.shapes("C", capo=23), "above the last fret"),
        (lambda: tarvguitar.shapes("C", frets=256), "frets 256 is outside 0 to 255"),
        (lambda: tarvguitar.shapes("C", rank="best"), 'rank must be "playable"'),
        (lambda: tarvguitar.shapes("C", limit=0), "limit must be 1 or more"),
        (lambda: tarvguitar.generate("Cq"), "cannot read the chord symbol"),
        (lambda: tarvguitar.generate("C", "E2 A2 D3 G3 B3 E4", capo=300), "outside 0 to 255"),
        (lambda: tarvguitar.notation("x32010", chord="Cz"), "cannot read the chord symbol"),
        (lambda: tarvguitar.notation("x32010", tuning=""), "has no strings"),
    ],
)
def test_bad_input_raises_value_error(call, message):
    with pytest.raises(ValueError, match=message):
        call()


def test_wrong_types_raise_type_error():
    with pytest.raises(TypeError):
        tarvguitar.shapes(42)
    with pytest.raises(TypeError):
        tarvguitar.shapes("C", tuning=6)


def test_shape_is_immutable_and_hashable():
    shape = tarvguitar.shapes("C")[0]
    with pytest.raises(AttributeError):
        shape.frets = "0,0,0,0,0,0"
    assert shape == tarvguitar.shapes("C")[0]
    assert hash(shape) == hash(tarvguitar.shapes("C")[0])
    assert shape != tarvguitar.shapes("C")[1]


def test_to_dict_is_the_tools_shape_object():
    shape = tarvguitar.shapes("Cmaj7")[0]
    dictionary = shape.to_dict()
    assert isinstance(dictionary, dict)
    assert dictionary["frets"] == shape.frets
    assert json.loads(json.dumps(dictionary)) == dictionary


@pytest.mark.parametrize("symbol", ["C", "Bm7", "F", "Gsus4/D", "Ebmaj9"])
def test_attributes_agree_with_to_dict(symbol):
    for shape in tarvguitar.shapes(symbol, limit=8) + tarvguitar.generate(symbol):
        dictionary = shape.to_dict()
        assert dictionary["rank"] == shape.rank
        assert dictionary["frets"] == shape.frets
        assert dictionary["score"] == pytest.approx(shape.score, abs=0.0005)
        assert dictionary.get("badness") == shape.badness
        assert tuple(dictionary["fingers"]) == shape.fingers
        assert tuple(dictionary["notes"]) == shape.notes
        assert [(b["fret"], b["lowString"], b["highString"], b["finger"])
                for b in dictionary["barres"]] == [
            (b.fret, b.low_string, b.high_string, b.finger) for b in shape.barres]


def test_shape_copies_are_the_shape_and_barres_pickle():
    import copy
    import pickle

    shape = tarvguitar.shapes("Bm")[0]
    assert copy.copy(shape) is shape and copy.deepcopy(shape) is shape
    for barre in shape.barres:
        assert pickle.loads(pickle.dumps(barre)) == barre
