import pytest

import tarvguitar
from tarvguitar import Instrument, Tuning


def test_default_is_the_standard_guitar_tuning():
    tuning = Tuning()
    assert tuning == Tuning.standard()
    assert str(tuning) == "E2 A2 D3 G3 B3 E4"
    assert tuning.pitches == ("E4", "B3", "G3", "D3", "A2", "E2")
    assert tuning.frets == 22
    assert tuning.capo == 0
    assert tuning.string_count == 6
    assert tuning.note_string == "EADGBE"
    assert tuning.name == "Standard"


def test_custom_tuning_from_text_or_sequence():
    tuning = Tuning("D2 A2 D3 G3 B3 E4", name="Drop D", capo=2, frets=20)
    assert tuning.pitches[-1] == "D2"
    assert tuning.name == "Drop D"
    assert (tuning.frets, tuning.capo) == (20, 2)
    assert Tuning(["G4", "C4", "E4", "A4"]) == Tuning("G4,C4,E4,A4")
    assert Tuning("G4 C4 E4 A4").name == "Custom"
    assert Tuning("G4 C4 E4 A4").ascii_note_string == "GCEA"


def test_equal_tunings_hash_alike_and_differ_by_capo():
    assert Tuning("E2 A2 D3 G3 B3 E4") == Tuning("E2 A2 D3 G3 B3 E4")
    assert hash(Tuning("D2 A2 D3", name="x")) == hash(Tuning("D2 A2 D3", name="x"))
    assert Tuning(capo=1) != Tuning()
    assert Tuning() != "E2 A2 D3 G3 B3 E4"


def test_replace_and_repr():
    tuning = Tuning().replace(capo=3)
    assert tuning.capo == 3 and tuning.name == "Standard"
    assert repr(tuning) == "Tuning('E2 A2 D3 G3 B3 E4', frets=22, capo=3, name='Standard')"
    assert eval(repr(tuning), {"Tuning": Tuning}).capo == 3
    with pytest.raises(AttributeError):
        tuning.capo = 2


@pytest.mark.parametrize(
    "pitches, message",
    [
        ("E2 Q3 D3", 'cannot read the pitch "Q3"'),
        ("E A D G B E", 'cannot read the pitch "E"'),
        ("", "has no strings"),
        (" , ", "has no strings"),
        (["E2", "X9"], 'cannot read the pitch "X9"'),
        (" ".join(["E2"] * 256), "at most 255"),
    ],
)
def test_bad_pitches_raise_value_error(pitches, message):
    with pytest.raises(ValueError, match=message):
        Tuning(pitches)


@pytest.mark.parametrize(
    "arguments, message",
    [
        ({"capo": -1}, "capo -1 is outside 0 to 255"),
        ({"capo": 256}, "capo 256 is outside 0 to 255"),
        ({"frets": 300}, "frets 300 is outside 0 to 255"),
        ({"capo": 23}, r"capo 23 is above the last fret \(22\)"),
        ({"frets": 5, "capo": 6}, "above the last fret"),
    ],
)
def test_frets_and_capo_out_of_range_raise_value_error(arguments, message):
    with pytest.raises(ValueError, match=message):
        Tuning(**arguments)
    with pytest.raises(ValueError, match=message):
        Tuning("G4 C4 E4 A4", **arguments)


def test_wrong_types_raise_type_error():
    with pytest.raises(TypeError):
        Tuning(42)
    with pytest.raises(TypeError):
        Tuning(["E2", 3])


def test_instruments_of_the_sample_settings():
    instruments = Instrument.all_from_settings()
    names = [instrument.name for instrument in instruments]
    assert names[0] == "Guitar"
    assert "Ukulele" in names
    guitar = Instrument.from_settings()
    assert guitar == instruments[0]
    assert guitar.frets == 22
    assert guitar.tunings[0] == Tuning.standard().replace(name=guitar.tunings[0].name)
    assert str(guitar.tuning("Drop D")) == "D2 A2 D3 G3 B3 E4"
    assert guitar.tuning("Drop D", capo=2).capo == 2
    assert "Guitar" in repr(guitar)
    ukulele = Instrument.from_settings(tarvguitar.default_settings_path(), name="Ukulele")
    assert ukulele.frets == 18
    assert ukulele.tunings[0].frets == 18
    assert all(isinstance(capo, str) for capo in ukulele.capos)


def test_settings_errors_raise_value_error(tmp_path):
    with pytest.raises(ValueError, match="cannot read the settings file"):
        Instrument.from_settings(str(tmp_path / "missing.plist"))
    garbage = tmp_path / "garbage.plist"
    garbage.write_text("not a property list")
    with pytest.raises(ValueError, match="does not decode"):
        Instrument.from_settings(str(garbage))
    with pytest.raises(ValueError, match='has no instrument "Theorbo"'):
        Instrument.from_settings(name="Theorbo")
    with pytest.raises(ValueError, match='has no tuning "Nashville"'):
        Instrument.from_settings().tuning("Nashville")
    with pytest.raises(ValueError, match="capo 40 is above the last fret"):
        Instrument.from_settings().tuning(capo=40)


BAD_NOTE_SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict><key>tablature</key><dict><key>instruments</key><array>
<dict><key>name</key><string>Odd</string><key>frets</key><integer>{frets}</integer>
<key>capo</key><array/><key>tunings</key><array><dict><key>name</key><string>Odd</string>
<key>noteString</key><string>EA</string><key>notes</key><array>
<dict><key>note</key><string>{note}</string><key>octave</key><integer>{octave}</integer></dict>
</array></dict></array></dict></array></dict></dict></plist>
"""


@pytest.mark.parametrize(
    "values, message",
    [
        ({"note": "H", "octave": 2, "frets": 22}, 'the note name "H" names no note'),
        ({"note": "E", "octave": 400, "frets": 22}, "octave 400"),
        ({"note": "E", "octave": 2, "frets": 999}, "fret count 999"),
    ],
)
def test_settings_values_no_tuning_can_have_raise_value_error(tmp_path, values, message):
    path = tmp_path / "odd.plist"
    path.write_text(BAD_NOTE_SETTINGS.format(**values))
    try:
        Instrument.all_from_settings(str(path))
    except ValueError as error:
        assert message in str(error)
    else:
        pytest.fail("no ValueError")


def test_tunings_and_instruments_pickle():
    import pickle

    tuning = Tuning("D2 A2 D3 G3 B3 E4", name="Drop D", capo=3, frets=20)
    assert pickle.loads(pickle.dumps(tuning)) == tuning
    instrument = Instrument.from_settings(name="Ukulele")
    assert pickle.loads(pickle.dumps(instrument)) == instrument
