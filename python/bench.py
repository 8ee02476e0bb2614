#!/usr/bin/python3
"""Compares tarvguitar.shapes() called from Python with the library's own call on the same chords.

    PYTHONPATH=<build>/python /usr/bin/python3 python/bench.py [--rank playable|spec] [--repeats N]

The C++ side is `_core._time_shapes`, which runs the same library query for every chord in one
call without Python in between. Prints both times per chord and the ratio Python / C++.
"""

import argparse
import os
import sys
import time

# The script's folder holds the package's sources without the extension: import the built one.
sys.path[0] = os.path.join(os.path.dirname(os.path.abspath(__file__)), "tests")

import tarvguitar  # noqa: E402
from tarvguitar import _core  # noqa: E402
from chords import chord_symbols  # noqa: E402


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rank", default="playable", choices=["playable", "spec"])
    parser.add_argument("--chords", type=int, default=200)
    parser.add_argument("--repeats", type=int, default=5)
    parser.add_argument("--limit", type=int, default=20)
    parser.add_argument("--tuning", default="E2 A2 D3 G3 B3 E4")
    arguments = parser.parse_args()

    symbols = chord_symbols(arguments.chords)
    tuning = tarvguitar.Tuning(arguments.tuning)
    # Warm up: shape caches read, first answers stored.
    _core._time_shapes(symbols, tuning, arguments.rank, arguments.limit, 1)
    for symbol in symbols:
        tarvguitar.shapes(symbol, tuning=tuning, rank=arguments.rank, limit=arguments.limit)

    best_cpp = best_python = float("inf")
    for _ in range(arguments.repeats):
        seconds, count = _core._time_shapes(symbols, tuning, arguments.rank, arguments.limit, 1)
        best_cpp = min(best_cpp, seconds)
        start = time.perf_counter()
        shapes = 0
        for symbol in symbols:
            shapes += len(tarvguitar.shapes(symbol, tuning=tuning, rank=arguments.rank,
                                            limit=arguments.limit))
        best_python = min(best_python, time.perf_counter() - start)
        assert shapes == count, (shapes, count)

    per_chord = 1e6 / len(symbols)
    print(f"rank={arguments.rank} chords={len(symbols)} shapes={count} "
          f"(best of {arguments.repeats})")
    print(f"C++    {best_cpp * per_chord:10.1f} us/chord")
    print(f"Python {best_python * per_chord:10.1f} us/chord")
    print(f"ratio  {best_python / best_cpp:10.2f}")


if __name__ == "__main__":
    main()
