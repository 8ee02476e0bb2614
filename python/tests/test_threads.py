import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor

import tarvguitar
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

    Holding the GIL, the search would let the counter run only at its two ends, for at most a
    switch interval each; released, the counter runs through the whole search.
    """
    counter = [0]
    stop = threading.Event()

    def count():
        while not stop.is_set():
            counter[0] += 1

    interval = sys.getswitchinterval()
    sys.setswitchinterval(0.0005)
    worker = threading.Thread(target=count)
    worker.start()
    try:
        before = counter[0]
        start = time.perf_counter()
        time.sleep(0.05)
        rate = (counter[0] - before) / (time.perf_counter() - start)

        shares = []
        for _ in range(3):
            before = counter[0]
            start = time.perf_counter()
            shapes = tarvguitar.shapes(*LONG_SEARCH, frets=24)
            duration = time.perf_counter() - start
            assert shapes
            assert duration > 0.02, "the search is too short to tell"
            shares.append((counter[0] - before) / (rate * duration))
    finally:
        stop.set()
        worker.join()
        sys.setswitchinterval(interval)
    # The counter's share of its own speed while a search ran (about 1 with the GIL released,
    # at most a few switch intervals' worth, well under 0.2, with it held).
    assert max(shares) > 0.2, shares
