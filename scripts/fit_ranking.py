"""Fits the playability model: a linear score under which each well-known shape of the reference
data outranks the other voicings of its chord (pairwise logistic loss, Newton's method), and
reports leave-one-root-out cross-validation of the ranking the library then gives."""

import argparse
import json
import os
import subprocess
import sys
import tempfile

import numpy as np

FEATURES = [
    "reach", "position", "fingers", "barre", "barreStrings", "stretch", "crossing", "thumb",
    "open", "mutedBass", "mutedTreble", "mutedInner", "thinVoicing", "doubled", "dropped",
    "rootNotInBass", "register", "fretRange", "openWithHighFrets", "openAwayFromNut",
    "familiarForm", "mutedOpenTone", "highPosition", "rootless", "tolerated", "familiarFrets",
    "otherRootInBass",
]
FAMILIAR = FEATURES.index("familiarForm")
FAMILIAR_FRETS = FEATURES.index("familiarFrets")
REGULARISATION = 1.0
ITERATIONS = 40


def log(*args):
    print(*args, file=sys.stderr)


def load_data(tool):
    out = subprocess.run([tool, "ranking-data"], check=True, capture_output=True, text=True)
    return [json.loads(line) for line in out.stdout.splitlines() if line]


def forms_of(chords):
    """For each tuning signature and quality: how many roots print each form, each shape with
    open strings ("@" and its frets) and each fretted form ("~" and its fretted notes)."""
    counts, roots = {}, {}
    for chord in chords:
        group = counts.setdefault(chord["group"], {})
        for key in (chord["form"], chord["openShape"], chord["frettedForm"]):
            if key:
                group[key] = group.get(key, 0) + 1
        roots.setdefault(chord["group"], set()).add(chord["root"])
    return counts, roots


def familiar(chord, counts, roots, training):
    """The familiar-form feature of every voicing of `chord`: the share of roots whose printed
    shape has the voicing's form, plus for a voicing with open strings the share that print
    that very shape. A training chord's own shape is left out of its own count."""
    group = counts.get(chord["group"], {})
    n = len(roots.get(chord["group"], ()))
    own = (chord["form"], chord["openShape"]) if training else ()
    if training:
        n -= 1
    values = []
    for form, shape in zip(chord["forms"], chord["openShapes"]):
        count = 0
        for key in (form, shape):
            if key:
                count += group.get(key, 0) - (1 if key in own else 0)
        values.append(count / n if n > 0 else 0.0)
    return np.asarray(values)


def familiar_frets(chord, counts, roots, training):
    """The familiar-frets feature of every voicing of `chord`: the share of roots whose printed
    shape frets what the voicing frets, open and muted strings aside, the training chord's own
    left out as in `familiar`."""
    group = counts.get(chord["group"], {})
    n = len(roots.get(chord["group"], ())) - (1 if training else 0)
    own = chord["frettedForm"] if training else None
    values = []
    for key in chord["frettedForms"]:
        count = group.get(key, 0) - (1 if key and key == own else 0) if key else 0
        values.append(count / n if n > 0 else 0.0)
    return np.asarray(values)


def features_of(chord, counts, roots, training):
    x = np.asarray(chord["features"], dtype=float)
    x[:, FAMILIAR] = familiar(chord, counts, roots, training)
    x[:, FAMILIAR_FRETS] = familiar_frets(chord, counts, roots, training)
    return x


def fit(chords):
    """Listwise: maximise, over the chords, the softmax probability of the well-known shape
    among all voicings of its chord when the score is the negative logit."""
    counts, roots = forms_of(chords)
    groups = []
    for chord in chords:
        if chord["found"] and len(chord["features"]) > 1:
            x = features_of(chord, counts, roots, True)
            groups.append((x, chord["wellKnown"]))
    stacked = np.vstack([x for x, _ in groups])
    scale = stacked.std(axis=0)
    scale[scale == 0] = 1.0
    groups = [(x / scale, k) for x, k in groups]
    def objective(beta):
        total = 0.5 * REGULARISATION * beta @ beta
        for x, k in groups:
            scores = x @ beta
            low = scores.min()
            total += scores[k] - low + np.log(np.exp(-(scores - low)).sum())
        return total

    beta = np.zeros(stacked.shape[1])
    current = objective(beta)
    for _ in range(ITERATIONS):
        gradient = REGULARISATION * beta
        hessian = REGULARISATION * np.eye(len(beta))
        for x, k in groups:
            logits = -(x @ beta)
            logits -= logits.max()
            p = np.exp(logits)
            p /= p.sum()
            mean = p @ x
            gradient += x[k] - mean
            centred = x - mean
            hessian += (centred * p[:, None]).T @ centred
        step = np.linalg.solve(hessian, gradient)
        # Damped Newton: halve the step until the objective falls.
        for _ in range(30):
            candidate = beta - step
            value = objective(candidate)
            if value < current:
                break
            step = step / 2
        else:
            break
        beta, improvement, current = candidate, current - value, value
        if improvement < 1e-6:
            break
    return beta / scale


def fit_model(chords):
    families = {}
    for family in ("long", "short"):
        members = [c for c in chords if c["family"] == family]
        beta = fit(members)
        families[family] = {"weights": {name: round(float(value), 6)
                                        for name, value in zip(FEATURES, beta)}}
    counts, roots = forms_of(chords)
    forms = {}
    for group, table in sorted(counts.items()):
        n = len(roots[group])
        forms[group] = {form: round(count / n, 6) for form, count in sorted(table.items())}
    return json.dumps({"families": families, "forms": forms}, indent=1, sort_keys=True) + "\n"


def check(tool, weights_text, roots):
    with tempfile.NamedTemporaryFile("w", suffix=".json", delete=False) as file:
        file.write(weights_text)
        path = file.name
    try:
        command = [tool, "ranking-data", "--check", path]
        for root in roots:
            command += ["--roots", str(root)]
        out = subprocess.run(command, check=True, capture_output=True, text=True)
    finally:
        os.unlink(path)
    return [json.loads(line) for line in out.stdout.splitlines() if line]


def report(results, title):
    print(title)
    print(f"{'instrument':<12} {'chords':>6} {'first':>7} {'top 5':>7} {'found':>7}")
    instruments = sorted({r["instrument"] for r in results})
    for instrument in instruments + ["all"]:
        rows = [r for r in results if instrument in ("all", r["instrument"])]
        n = len(rows)
        first = sum(r["rank"] == 1 for r in rows) / n
        top5 = sum(1 <= r["rank"] <= 5 for r in rows) / n
        listed = sum(r["rank"] >= 1 for r in rows) / n
        print(f"{instrument:<12} {n:>6} {first:>7.1%} {top5:>7.1%} {listed:>7.1%}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tool", required=True)
    parser.add_argument("--model", required=True)
    parser.add_argument("--check-only", action="store_true")
    args = parser.parse_args()

    chords = load_data(args.tool)
    log(f"fit-ranking: {len(chords)} well-known chords, "
        f"{sum(c['found'] for c in chords)} of their shapes within the search's rules")

    folds = []
    for root in range(12):
        model = fit_model([c for c in chords if c["root"] != root])
        folds += check(args.tool, model, [root])
        log(f"fit-ranking: fold {root} done")
    report(folds, "Leave-one-root-out cross-validation (fitted on 11 roots, ranked on the 12th):")

    text = fit_model(chords)
    print()
    report(check(args.tool, text, []), "Fitted on every root (the shipped weights):")
    if not args.check_only:
        with open(args.model, "w") as file:
            file.write(text)
        log(f"fit-ranking: wrote {args.model}")


if __name__ == "__main__":
    main()
