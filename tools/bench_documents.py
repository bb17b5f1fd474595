"""The figures of docs/figures.json, and the marked places in documents that show them.

Such a place lies between <!-- begin NAME --> and <!-- end NAME -->. Nobody edits it by hand:
`tools/bench --update` writes it and `tools/bench --check` compares it.
"""
import json
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent
FIGURES = ROOT / "docs/figures.json"
PERFORMANCE = ROOT / "docs/performance.md"
README = ROOT / "README.md"

KINDS = ("tables", "means", "gains", "commands")
NOTHING = "–"
UNITS = {"µs": 1e-6, "ms": 1e-3, "s": 1, "min": 60, "h": 3600}

# The rows of the README's tables. The mean time of a search of 1024 bits is measured; of
# larger sizes it is computed from the cost of a candidate.
TIMES = (1024, 2048, 4096, 8192)
PEERS = (("libcrypto, `openssl prime -generate -safe`", "safe", "libcrypto",
          (512, 1024, 2048)),
         ("Botan, `random_safe_prime`", "safe", "botan", (512, 1024)),
         ("libcrypto, `openssl prime -generate`", "plain", "libcrypto", (512, 1024, 2048)),
         ("Botan, `random_prime`", "plain", "botan", (512, 1024, 2048)),
         ("GMP, `mpz_nextprime`", "plain", "gmp", (512, 1024, 2048)))
COMMANDS = (("openssl dhparam", "`openssl dhparam`", "PEM file"),
            ("ssh-keygen -M", "`ssh-keygen -M`", "line of `moduli`"))
WHOLE = """The first rows are of whole commands, with all that they start, against norvctl on
all processors. The others are of searches in one process, against norv's search."""
WORDS = {"safe": "safe prime", "plain": "prime"}


# The figures.

def load():
    return json.loads(FIGURES.read_text()) if FIGURES.exists() else {}


def merge(figures, files):
    """Adds the figures of runs; a later one replaces an earlier one."""
    for file in files:
        run = json.loads(pathlib.Path(file).read_text())
        merged = figures.setdefault(run["series"], {})
        for kind in KINDS:
            replaced = merged.setdefault(kind, {})
            for name, values in run.get(kind, {}).items():
                if kind == "commands":  # a size is measured at a time
                    values = {**replaced.get(name, {}), **values}
                replaced[name] = values
    return figures


def save(figures):
    FIGURES.write_text(json.dumps(figures, indent=1, ensure_ascii=False) + "\n")


def table(header, rows):
    """Lines of a table in Markdown."""
    return "\n".join("| " + " | ".join(line) + " |"
                     for line in (header, ["---"] * len(header), *rows))


def with_places_filled(text, places):
    """The text with what belongs between its marks; places that it lacks are left out."""
    for name, content in places.items():
        begin, end = f"<!-- begin {name} -->", f"<!-- end {name} -->"
        if begin in text and end in text:
            text = text[:text.index(begin) + len(begin)] + f"\n{content}\n" + \
                text[text.index(end):]
    return text


# The documents.

def performance_places(figures):
    places = {f"{name} {series}": text for series, run in figures.items()
              for name, text in run["tables"].items()}
    places.update((f"commands {series}", commands(run.get("commands", {})))
                  for series, run in figures.items())
    return places


def commands(measured):
    """The table of whole commands, with CPU times."""
    if not measured:
        return "Not measured yet."
    return table(["instead of", "bits", "norvctl", "the other", "the other / norvctl"],
                 [[name, bits, with_error(row["norvctl"]), with_error(row["peer"]),
                   shown_ratio(row["ratio"])]
                  for key, name, _ in COMMANDS
                  for bits, row in sorted(measured.get(key, {}).items(),
                                          key=lambda item: int(item[0]))])


def with_error(pair):
    return f"{shown_seconds(pair[0])} ± {100 * pair[1] / pair[0]:.0f} %"


def readme_places(figures):
    series = [name for name, run in figures.items() if run["means"]]
    machines = "\n".join(f"- libcrypto {name}: {figures[name]['tables']['machine']}"
                         for name in series)
    return {"machines": machines, "times": times(figures, series),
            "faster": faster(figures, series)}


def cells(text):
    """The cells of a table's lines."""
    return [[cell.strip() for cell in line.strip("|").split("|")]
            for line in text.splitlines()[2:]]


def shown_seconds(value):
    """With two digits: more would claim to know a mean better than it is known."""
    for unit, least in (("h", 2 * 3600), ("min", 120), ("s", 0.995), ("ms", 0)):
        if value >= least:
            count = value / UNITS[unit]
            return f"{count:.0f} {unit}" if count >= 9.95 else f"{count:.1f} {unit}"
    return NOTHING


def search_seconds(run, mode, bits):
    """CPU seconds of a mean search; None where there is no figure."""
    variant = "unwatched" if mode == "safe" else "watched"
    for row in cells(run["tables"].get("expect", "")):
        if row[:3] == [str(bits), mode, variant]:
            value, unit = row[-1].split()
            return float(value) * UNITS[unit]
    measured = run["means"].get(mode, {}).get(str(bits), {}).get(variant)
    return measured[0] if measured else None


def times(figures, series):
    columns = [(mode, name) for mode in ("safe", "plain") for name in series]
    rows = []
    for bits in TIMES:
        values = [search_seconds(figures[name], mode, bits) for mode, name in columns]
        if any(values):
            rows.append([str(bits), *(shown_seconds(value) if value else NOTHING
                                      for value in values)])
    return table(["bits", *(f"{WORDS[mode]}, libcrypto {name}" for mode, name in columns)],
                 rows)


def shown_ratio(pair):
    value, error = pair
    digits = 2 if error < 0.095 else 1 if error < 0.95 else 0
    return f"{value:.{digits}f} ± {error:.{digits}f}"


def faster(figures, series):
    rows = []
    for key, name, what in COMMANDS:
        sizes = sorted({int(bits) for run in series
                        for bits in figures[run].get("commands", {}).get(key, {})})
        for bits in sizes:
            found = [figures[run].get("commands", {}).get(key, {}).get(str(bits))
                     for run in series]
            rows.append([name, what, str(bits), *(
                shown_ratio(row["ratio"]) if row else NOTHING for row in found)])
    commands_measured = bool(rows)
    for name, mode, peer, sizes in PEERS:
        for bits in sizes:
            pairs = [figures[run]["gains"].get(mode, {}).get(str(bits), {}).get(peer)
                     for run in series]
            rows.append([name, WORDS[mode], str(bits),
                         *(shown_ratio(pair) if pair else NOTHING for pair in pairs)])
    text = table(["instead of", "for one", "bits",
                  *(f"libcrypto {name}" for name in series)], rows)
    return text + ("\n\n" + WHOLE if commands_measured else "")


def documents(figures):
    """The documents as they should be, by path."""
    return {PERFORMANCE: with_places_filled(PERFORMANCE.read_text(),
                                            performance_places(figures)),
            README: with_places_filled(README.read_text(), readme_places(figures))}


def differences(figures):
    """What a reader would be told wrongly, one line each."""
    wrong = [f"{name_of(path)} shows other figures than {name_of(FIGURES)}"
             for path, text in documents(figures).items() if path.read_text() != text]
    for path, places in ((PERFORMANCE, performance_places(figures)),
                         (README, readme_places(figures))):
        marked = set(re.findall(r"<!-- begin (.*) -->", path.read_text()))
        wrong += [f"{name_of(path)}: nothing in {name_of(FIGURES)} fills '{name}'"
                  for name in sorted(marked - set(places))]
    missing = set(readme_places(figures)) - set(
        re.findall(r"<!-- begin (.*) -->", README.read_text()))
    return wrong + [f"{name_of(README)} has no place for '{name}'"
                    for name in sorted(missing)]


def name_of(path):
    return str(path.relative_to(ROOT))
