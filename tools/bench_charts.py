"""The charts of docs/performance.md, drawn by matplotlib for tools/bench."""

COLOURS = {"off": "#888888", "watched": "#1f6fb4", "unwatched": "#c2410c",
           "libcrypto": "#2e7d32", "gmp": "#7b3fa0", "botan": "#a07800"}
OWN = ("off", "watched", "unwatched")
LINES = ("-", "--", ":")
MARKERS = ("o", "s", "^")


def draw(runs, folder):
    """Draws both charts into a folder.

    runs: by libcrypto's series, each with "means" (CPU seconds of a search) and "gains"
    (a peer's CPU time in norv's): by kind, bits and name, pairs of a value and its error.
    """
    # Only where charts are drawn: measuring systems need no plotting library.
    import matplotlib
    matplotlib.use("svg")
    from matplotlib import pyplot
    # Text as text, and the same file for the same figures.
    matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "norv",
                                "font.size": 9, "axes.grid": True, "grid.color": "#e4e4e4",
                                "axes.axisbelow": True})
    for name, kind, label in (
            ("performance", "means", "CPU time of one prime, seconds"),
            ("performance-peers", "gains", "CPU time of the peer / CPU time of norv")):
        figure, panels = pyplot.subplots(1, 2, figsize=(9.5, 4.2), sharey=True)
        figure.subplots_adjust(left=0.08, right=0.78, bottom=0.13, top=0.92, wspace=0.08)
        for panel, mode in zip(panels, ("safe", "plain")):
            draw_panel(panel, runs, kind, mode)
        panels[0].set_ylabel(label)
        add_legend(figure, panels, runs)
        figure.savefig(folder / f"{name}.svg", metadata={"Date": None})
        pyplot.close(figure)


def draw_panel(panel, runs, kind, mode):
    sizes = set()
    for run, line, marker in zip(runs.values(), LINES, MARKERS):
        values = {int(bits): row for bits, row in run[kind].get(mode, {}).items()}
        sizes.update(values)
        for name, colour in COLOURS.items():
            # A plain prime has no marks that nobody sees.
            if mode == "plain" and name == "unwatched":
                continue
            points = sorted((bits, *row[name]) for bits, row in values.items()
                            if name in row)
            if points:
                bits, heights, errors = zip(*points)
                panel.errorbar(bits, heights, errors, color=colour, linestyle=line,
                               marker=marker, markersize=4, linewidth=1.4)
    panel.set_title(f"{mode} primes")
    panel.set_xscale("log", base=2)
    panel.set_yscale("log", base=10 if kind == "means" else 2)
    panel.set_xticks(sorted(sizes), [str(bits) for bits in sorted(sizes)])
    panel.set_xlabel("bits of the prime")
    panel.minorticks_off()
    if kind == "gains":
        panel.yaxis.set_major_formatter("{x:g}")
        panel.axhline(1, color="#444444", linewidth=1)


def add_legend(figure, panels, runs):
    from matplotlib.lines import Line2D
    drawn = {line.get_color() for panel in panels for line in panel.get_lines()}
    entries = [Line2D([], [], color=colour,
                      label=f"norv, {name}" if name in OWN else name)
               for name, colour in COLOURS.items() if colour in drawn]
    entries += [Line2D([], [], color="black", linestyle=line, marker=marker, markersize=4,
                       label=f"with libcrypto {name}")
                for name, line, marker in zip(runs, LINES, MARKERS)]
    figure.legend(handles=entries, loc="center right", frameon=False)
