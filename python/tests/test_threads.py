from concurrent.futures import ThreadPoolExecutor

import tarvguitar
from gil_share import counting_share_during
from chords import chord_symbols

LONG_SEARCH = ("C13", "E2 A2 D3 G3 B3 E4 A4 D5 G5 C6")
TUNINGS = ["E2 A2 D3 G3 B3 E4", "D2 A2 D3 G3 B3 E4", "G4 C4 E4 A4", "B1 E2 A2 D3 G3 B3 E4"]


def answer(symbol, tuning):
    return [(shape.frets, shape.score, shape.fingering) for shape in
            tarvguitar.shapes(symbol, tuning=tuning, limit=10)]


def test_four_threads_answer_as_one_thread_over_1000_chords():
    work = [(symbol, TUNINGS[index % len(TUNINGS)])
            for index, symbol in enumerate(chord_symbols(1000))]
    one = [answer(symbol, tuning) for symbol, tuning in work]
    with ThreadPoolExecutor(max_workers=4) as pool:
        four = list(pool.map(lambda item: answer(*item), work))
    assert sum(1 for shapes in one if shapes) > 900
    assert four == one


def test_the_search_lets_other_threads_run():
    """A Python thread keeps counting while a long search runs: the GIL is released.

    Holding the GIL, the search would let the counter run only between searches, for at most a
    switch interval each; released, the counter runs through the whole search.
    """
    share = counting_share_during(lambda: tarvguitar.shapes(*LONG_SEARCH, frets=24))
    assert share > 0.2, share
