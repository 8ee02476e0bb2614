"""Writes the instruments of a settings property list as JSON, for the web page.

Each instrument: {"name", "frets", "capos", "tunings": [{"name", "noteString", "pitches"}]}, with
"pitches" from the lowest string to the highest, as the package's `tuning` option reads them.
"""
import json
import plistlib
import sys

with open(sys.argv[1], "rb") as source:
    settings = plistlib.load(source)

instruments = []
for instrument in settings["tablature"]["instruments"]:
    tunings = []
    for tuning in instrument.get("tunings", []):
        pitches = [f"{note['note']}{note['octave']}" for note in reversed(tuning["notes"])]
        tunings.append({"name": tuning["name"], "noteString": tuning.get("noteString", ""),
                        "pitches": " ".join(pitches)})
    instruments.append({"name": instrument["name"], "frets": instrument.get("frets", 22),
                        "capos": [int(capo) for capo in instrument.get("capo", ["0"])],
                        "tunings": tunings})
json.dump(instruments, sys.stdout, indent=1)
sys.stdout.write("\n")
