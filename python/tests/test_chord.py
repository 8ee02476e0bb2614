import pytest

import tarvguitar
from tarvguitar import Chord


def test_chord_reads_root_bass_and_notes():
    chord = tarvguitar.chord("C7(b9)")
    assert isinstance(chord, Chord)
    assert chord.symbol == "C7(b9)"
    assert chord.root == "C"
    assert chord.bass is None
    assert chord.notes == ("C", "E", "G", "Bb", "Db")
    assert set(chord.characteristic_notes) <= set(chord.notes)
    assert "Db" in chord.characteristic_notes


def test_slash_chord_has_a_bass():
    chord = tarvguitar.chord("Am/G")
    assert chord.root == "A"
    assert chord.bass == "G"
    assert chord.notes == ("A", "C", "E", "G")


def test_chord_names_and_quality():
    chord = Chord("F#m7b5")
    assert chord.quality == "m7b5"
    assert chord.name == "F#m7b5"
    assert str(chord) == "F#m7b5"
    assert chord.numeric_note_string


def test_repr_reads_back_as_the_same_chord():
    chord = tarvguitar.chord("Ebmaj7")
    text = repr(chord)
    assert text.startswith("Chord('Ebmaj7'")
    assert "root='Eb'" in text
    assert eval(text.split(",")[0] + ")", {"Chord": Chord}) == chord


def test_chords_with_the_same_notes_are_equal_and_hash_alike():
    assert tarvguitar.chord("C") == tarvguitar.chord("Cmaj")
    assert hash(tarvguitar.chord("C")) == hash(tarvguitar.chord("Cmaj"))
    assert tarvguitar.chord("C") != tarvguitar.chord("Cm")
    assert tarvguitar.chord("C") != "C"
    assert len({tarvguitar.chord("C"), tarvguitar.chord("Cmaj"), tarvguitar.chord("G")}) == 2


def test_chord_is_immutable():
    chord = tarvguitar.chord("C")
    with pytest.raises(AttributeError):
        chord.root = "D"
    with pytest.raises(AttributeError):
        chord.anything = 1


@pytest.mark.parametrize("symbol", ["", "H7", "Cxyz", "C/", "7", "C#b", "C/H"])
def test_bad_symbol_raises_value_error_naming_it(symbol):
    with pytest.raises(ValueError, match="cannot read the chord symbol"):
        tarvguitar.chord(symbol)
    with pytest.raises(ValueError, match="cannot read the chord symbol"):
        Chord(symbol)


def test_non_text_symbol_raises_type_error():
    with pytest.raises(TypeError):
        tarvguitar.chord(7)


def test_supported_qualities_all_read():
    qualities = tarvguitar.supported_qualities()
    assert "" in qualities and "maj7" in qualities
    for quality in qualities:
        assert tarvguitar.chord("C" + quality).quality == quality


def test_chord_pickles_and_copies():
    import copy
    import pickle

    chord = tarvguitar.chord("Am7/G")
    assert pickle.loads(pickle.dumps(chord)) == chord
    assert pickle.loads(pickle.dumps(chord)).symbol == "Am7/G"
    assert copy.deepcopy(chord) == chord
