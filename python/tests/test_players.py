"""Naming shapes, progressions and the capo: what players ask, answered as the tool answers."""

import json
from concurrent.futures import ThreadPoolExecutor

import pytest

import tarvguitar
from gil_share import counting_share_during


def symbols(names):
    return [name.symbol for name in names]


# --- Naming a shape ---------------------------------------------------------------------------


@pytest.mark.parametrize(
    "frets, first",
    [
        ("x,3,2,0,1,0", "C"),
        ("x,0,2,2,1,0", "Am"),
        ("x,0,2,0,1,0", "Am7"),
        ("x,x,0,2,1,2", "D7"),
        ("0,3,2,0,1,0", "C/E"),
    ],
)
def test_names_of_familiar_shapes(frets, first):
    assert tarvguitar.names(frets)[0].symbol == first


def test_names_come_best_first_with_their_kind():
    am7 = tarvguitar.names("x,0,2,0,1,0")
    assert symbols(am7)[:2] == ["Am7", "C6/A"]
    assert am7[0].kind == "root position"
    assert am7[1].kind == "inversion"
    c_over_e = tarvguitar.names("0,3,2,0,1,0")[0]
    assert c_over_e.kind == "inversion"
    assert c_over_e.chord == tarvguitar.chord("C/E")
    assert [name.cost for name in am7] == sorted(name.cost for name in am7)
    assert tarvguitar.names("x,3,2,0,1,0")[0].omitted_notes == ()


LETTERS = {"C": 0, "D": 2, "E": 4, "F": 5, "G": 7, "A": 9, "B": 11}


def pitch_class(note):
    return (LETTERS[note[0]] + note.count("#") - note.count("b")) % 12


def test_names_read_back_to_the_notes_the_shape_sounds():
    shapes = tarvguitar.shapes("C9", limit=5) + tarvguitar.shapes("F#m7b5", limit=5)
    rootless = 0
    for shape in shapes + [tarvguitar.notation("0,3,2,0,1,0")]:
        sounding = {pitch_class(note) for note in shape.notes}
        names = tarvguitar.names(shape.frets)
        assert names, shape.frets
        kinds = [name.kind for name in names]
        # Rootless readings come last.
        first_rootless = kinds.index("rootless") if "rootless" in kinds else len(kinds)
        assert set(kinds[first_rootless:]) <= {"rootless"}, kinds
        rootless += len(kinds) - first_rootless
        for name in names:
            chord = tarvguitar.chord(name.symbol)
            assert chord == name.chord
            # Every note that sounds is in the chord; the omitted notes (and the root of a
            # rootless reading) are all it misses.
            tones = {pitch_class(note) for note in chord.notes}
            missing = {pitch_class(note) for note in name.omitted_notes}
            if name.kind == "rootless":
                missing.add(pitch_class(chord.root))
            assert sounding <= tones, (shape.frets, name)
            assert tones - sounding == missing, (shape.frets, name)
    assert rootless > 0


def test_omitted_notes_are_listed():
    c7 = tarvguitar.names("x,3,2,3,1,x")  # C E Bb C: C7 without its fifth
    assert c7[0].symbol == "C7"
    assert c7[0].omitted_notes == ("G",)
    assert repr(c7[0]) == "ChordName('C7', kind='root position', omitted_notes=('G',))"


def test_names_with_a_capo_are_read_as_fingered_and_sound_higher():
    plain = tarvguitar.names("x,3,2,0,1,0")
    assert plain[0].sounds_as == "C"
    capo = tarvguitar.names("x,3,2,0,1,0", capo=2)
    assert symbols(capo) == symbols(plain)
    assert capo[0].sounds_as == "D"
    assert tarvguitar.names("0,3,2,0,1,0", capo=2)[0].sounds_as == "D/F#"
    drop_d = tarvguitar.Tuning("D2 A2 D3 G3 B3 E4", capo=3)
    assert tarvguitar.names("0,0,0,2,3,2", tuning=drop_d)[0].symbol == "D"
    assert tarvguitar.names("0,0,0,2,3,2", tuning=drop_d)[0].sounds_as == "F"


def test_names_equal_the_tools_json(tool):
    cases = [
        ("x,3,2,0,1,0", []),
        ("x,0,2,0,1,0", []),
        ("x,x,0,2,1,2", ["--capo", "2"]),
        ("0,3,2,0,1,0", ["--capo", "5"]),
        ("0,0,0,2", ["--tuning", "G4 C4 E4 A4", "--frets", "18"]),
        ("2,2,3,x", ["--tuning", "G4 C4 E4 A4", "--frets", "18", "--capo", "3"]),
    ]
    for frets, arguments in cases:
        answer = json.loads(tool("name", frets, "--format", "json", *arguments))
        options = dict(zip(arguments[::2], arguments[1::2]))
        tuning = tarvguitar.Tuning(
            options.get("--tuning"), frets=int(options["--frets"]) if "--frets" in options else None
        )
        capo = int(options["--capo"]) if "--capo" in options else None
        names = tarvguitar.names(frets, tuning=tuning, capo=capo)
        assert [name.to_dict() for name in names] == answer["names"], (frets, arguments)
        assert len(names) >= 1


def test_names_refuse_bad_input():
    refusals = [
        (lambda: tarvguitar.names("x,3,2"), "has 3 strings but the tuning has 6"),
        (lambda: tarvguitar.names("x,3,q,0,1,0"), "fret"),
        (lambda: tarvguitar.names("x,25,2,0,1,0"), "reaches fret 25 but the neck has 22 frets"),
        (lambda: tarvguitar.names("x,21,2,0,1,0", capo=2), "20 frets above the capo"),
        (lambda: tarvguitar.names("x,3,2,0,1,0", capo=300), "outside 0 to 255"),
        (lambda: tarvguitar.names("x,3,2,0,1,0", tuning="E2 A2 Q3"), "Q3"),
    ]
    for call, message in refusals:
        with pytest.raises(ValueError, match=message):
            call()
    assert tarvguitar.names("x,x,x,x,x,0") == []


def test_chord_name_repr_and_equality():
    name = tarvguitar.names("x,3,2,0,1,0", capo=2)[0]
    assert repr(name) == "ChordName('C', kind='root position', sounds_as='D')"
    assert str(name) == "C"
    assert name == tarvguitar.names("x,3,2,0,1,0", capo=2)[0]
    assert name != tarvguitar.names("x,3,2,0,1,0")[0]
    assert len({name, tarvguitar.names("x,3,2,0,1,0", capo=2)[0]}) == 1


# --- Progressions -----------------------------------------------------------------------------


def tool_progression(tool, *arguments):
    return json.loads(tool("progression", *arguments, "--format", "json"))


def test_progression_equals_the_tools_json(tool):
    answer = tool_progression(tool, "C Am F G")
    arrangements = tarvguitar.progression("C Am F G")
    assert len(arrangements) == 1
    best = arrangements[0]
    assert [shape.to_dict() for shape in best.shapes] == [
        chord["shape"] for chord in answer["arrangements"][0]["chords"]
    ]
    assert [best.to_dict()] == answer["arrangements"]
    assert [chord.name for chord in best.chords] == ["C", "Am", "F", "G"]
    assert best.sounds_as == ("C", "Am", "F", "G")
    assert best.capo == 0
    assert best.movements[0] == 0
    assert best.cost == pytest.approx(
        sum(shape.score for shape in best.shapes) + sum(best.movements)
    )
    assert [shape.chord.name for shape in best.shapes] == ["C", "Am", "F", "G"]


def test_alternatives_and_transposition_equal_the_tools_json(tool):
    answer = tool_progression(tool, "C Am F G", "--alternatives", "3")
    arrangements = tarvguitar.progression("C Am F G", alternatives=3)
    assert [arrangement.to_dict() for arrangement in arrangements] == answer["arrangements"]
    assert [a.cost for a in arrangements] == sorted(a.cost for a in arrangements)

    answer = tool_progression(
        tool, "C | G | Am | F", "--transpose", "2", "--tuning", "G4 C4 E4 A4", "--frets", "18",
        "--candidates", "5",
    )
    ukulele = tarvguitar.Tuning("G4 C4 E4 A4", frets=18)
    arrangements = tarvguitar.progression(
        ["C", "G", tarvguitar.chord("Am"), "F"], tuning=ukulele, transpose=2, candidates=5
    )
    assert [arrangement.to_dict() for arrangement in arrangements] == answer["arrangements"]
    assert arrangements[0].sounds_as == ("D", "A", "Bm", "G")


def test_progression_texts_are_read_with_blanks_commas_and_bar_lines():
    expected = tarvguitar.progression(["C", "Am", "F", "G"])
    for text in ["C Am F G", "C,Am,F,G", "| C | Am | F | G |", "  C\tAm,, F|G  "]:
        assert tarvguitar.progression(text) == expected, text


def test_capo_auto_finds_capo_3_for_eb_ab_bb_cm(tool):
    arrangements = tarvguitar.progression("Eb Ab Bb Cm", capo="auto")
    best = arrangements[0]
    assert best.capo == 3
    assert [chord.name for chord in best.chords] == ["C", "F", "G", "Am"]
    assert best.sounds_as == ("Eb", "Ab", "Bb", "Cm")
    assert best.tuning.capo == 3
    answer = tool_progression(tool, "Eb Ab Bb Cm", "--capo", "auto")
    assert answer["tuning"]["capo"] == 3
    assert [arrangement.to_dict() for arrangement in arrangements] == answer["arrangements"]

    choices = tarvguitar.capo_choices("Eb Ab Bb Cm")
    assert choices[0].capo == 3
    assert [chord.name for chord in choices[0].chords] == ["C", "F", "G", "Am"]
    assert [choice.to_dict() for choice in choices] == answer["capoChoices"]
    assert [choice.cost for choice in choices] == sorted(choice.cost for choice in choices)
    assert {choice.capo for choice in choices} <= set(range(8))
    assert choices[0].arrangement.to_dict() == answer["arrangements"][0]
    assert repr(choices[0]).startswith("CapoChoice(capo=3, chords=['C', 'F', 'G', 'Am'], cost=")


def test_a_given_capo_is_played_as_the_tool_plays_it(tool):
    answer = tool_progression(tool, "D G A", "--capo", "2")
    arrangements = tarvguitar.progression("D G A", capo=2)
    assert [arrangement.to_dict() for arrangement in arrangements] == answer["arrangements"]
    assert [chord.name for chord in arrangements[0].chords] == ["C", "F", "G"]
    assert arrangements[0].shapes[0].svg().count("capo 2") == 1


def test_progression_refuses_bad_input():
    refusals = [
        (lambda: tarvguitar.progression("C Hm7 G"), 'cannot read the chord symbol "Hm7"'),
        (lambda: tarvguitar.progression("C am7 G"), 'did you mean "Am7"'),
        (lambda: tarvguitar.progression(" | , "), "holds no chord"),
        (lambda: tarvguitar.progression([]), "holds no chord"),
        (lambda: tarvguitar.progression("C G", alternatives=0), "alternatives must be from 1 to 20"),
        (lambda: tarvguitar.progression("C G", alternatives=21), "alternatives must be from 1 to 20"),
        (lambda: tarvguitar.progression("C G", candidates=0), "candidates must be from 1 to 40"),
        (lambda: tarvguitar.progression("C G", candidates=41), "candidates must be from 1 to 40"),
        (lambda: tarvguitar.progression("C G", transpose=25), "transpose must be from -24 to 24"),
        (lambda: tarvguitar.progression("C G", transpose=-25), "transpose must be from -24 to 24"),
        (lambda: tarvguitar.progression("C G", capo="top"), 'capo must be a fret number or "auto"'),
        (lambda: tarvguitar.progression("C G", capo=-1), "capo -1 is outside 0 to 255"),
        (lambda: tarvguitar.progression("C G", capo=23), "above the last fret"),
        (lambda: tarvguitar.progression("C G", tuning="E2 A2 Q3"), "Q3"),
        (lambda: tarvguitar.capo_choices("C Hm7"), 'cannot read the chord symbol "Hm7"'),
        (lambda: tarvguitar.capo_choices(""), "holds no chord"),
    ]
    for call, message in refusals:
        with pytest.raises(ValueError, match=message):
            call()
    for call in [
        lambda: tarvguitar.progression(42),
        lambda: tarvguitar.progression("C G", alternatives=1.5),
        lambda: tarvguitar.progression("C G", candidates=True),
        lambda: tarvguitar.progression(["C", 7]),
    ]:
        with pytest.raises(TypeError):
            call()
    # Still answering after the refusals.
    assert tarvguitar.progression("C G")[0].shapes


def test_an_unplayable_chord_gives_no_arrangement():
    # C7#9 has four tones that must sound: a three-string neck has no shape of it.
    assert tarvguitar.progression("C C7#9", tuning="G3 D4 A4") == []


def test_arrangement_repr():
    best = tarvguitar.progression("C G")[0]
    assert repr(best).startswith(
        f"Arrangement([{best.shapes[0].frets!r}, {best.shapes[1].frets!r}], "
        "chords=['C', 'G'], capo=0, cost="
    )


# --- Threads ----------------------------------------------------------------------------------

PROGRESSIONS = ["C Am F G", "Eb Ab Bb Cm", "D A Bm G", "Em C G D", "F Dm Bb C", "A E F#m D",
                "Cmaj7 Am7 Dm7 G7", "G D/F# Em C", "Bb Gm Eb F", "E B C#m A"]


def progression_answer(text):
    return [arrangement.to_dict() for arrangement in tarvguitar.progression(text, alternatives=2)]


def test_a_thread_pool_answers_as_one_thread():
    work = PROGRESSIONS * 2
    one = [progression_answer(text) for text in work]
    with ThreadPoolExecutor(max_workers=4) as pool:
        four = list(pool.map(progression_answer, work))
    assert all(one)
    assert four == one
    with ThreadPoolExecutor(max_workers=4) as pool:
        choices = list(pool.map(tarvguitar.capo_choices, PROGRESSIONS[:4]))
    assert [[choice.to_dict() for choice in found] for found in choices] == [
        [choice.to_dict() for choice in tarvguitar.capo_choices(text)] for text in PROGRESSIONS[:4]
    ]


def test_a_progression_search_lets_other_threads_run():
    """A Python thread keeps counting while capo positions are searched: the GIL is released."""
    share = counting_share_during(
        lambda: tarvguitar.progression("Cmaj7 Am7 Dm7 G7 Em7 A7 Dm7 G7", capo="auto", candidates=20)
    )
    assert share > 0.2, share
