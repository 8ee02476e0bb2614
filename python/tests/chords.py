"""Chord symbols for tests that run over many chords."""

import tarvguitar

ROOTS = ["C", "C#", "Db", "D", "Eb", "E", "F", "F#", "Gb", "G", "Ab", "A", "Bb", "B"]


def chord_symbols(count):
    """`count` different chord symbols: every quality on rotating roots, then slash chords."""
    qualities = tarvguitar.supported_qualities()
    symbols = []
    seen = set()
    round_number = 0
    while len(symbols) < count:
        for index, quality in enumerate(qualities):
            root = ROOTS[(index * 5 + round_number * 3) % len(ROOTS)]
            symbol = root + quality
            if round_number >= len(ROOTS):
                symbol += "/" + ROOTS[(index + round_number) % len(ROOTS)]
            if symbol not in seen:
                seen.add(symbol)
                symbols.append(symbol)
                if len(symbols) == count:
                    break
        round_number += 1
    return symbols
