"""Draws the benchmark ratio charts from the tables that hw_bench writes with --table_json:
one panel per comparison family, libhw's time divided by each reference's time for every
case (below 1: libhw is faster). Writes the PNG and, with --readme, replaces the chart block
of README.md (between its bench-chart markers) with the picture, the date and the machine.
Usage: bench-chart.py TABLES.json CHART.png [--readme README.md]"""
import json
import re
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

# copy_only is the memory floor, and the instruction-set levels are libhw's own paths: no
# competitor among them.
NOT_REFERENCES = {"libhw", "copy_only", "baseline", "avx2", "avx512"}


def label(case):
    """The case without Google Benchmark's run options ("/min_time:...", "/manual_time")."""
    return case.split("/", 1)[0]


def by_size(case):
    """Cases such as "1000" or "64x1024" in the order of the size they start with."""
    digits = re.match(r"\d*", case).group()
    return (int(digits) if digits else 0, case)


def ratios(family):
    """{reference: [(case, libhw / reference)]} over the cases that have both times."""
    out = {}
    for impl in family["implementations"]:
        if impl in NOT_REFERENCES:
            continue
        out[impl] = [(c["case"], c["ns"]["libhw"] / c["ns"][impl]) for c in family["cases"]
                     if "libhw" in c["ns"] and impl in c["ns"]]
    return {k: v for k, v in out.items() if v}


def draw(tables, png):
    families = [f for f in tables["families"] if ratios(f)]
    if not families:
        sys.exit("no family compares libhw with a reference")
    # Horizontal bars, one row per case, so that families with many cases stay readable.
    rows = [len(f["cases"]) for f in families]
    fig, axes = plt.subplots(len(families), 1, figsize=(10, 1.5 * len(families) + 0.22 * sum(rows)),
                             squeeze=False, gridspec_kw={"height_ratios": [r + 3 for r in rows]})
    for ax, family in zip(axes[:, 0], families):
        series = ratios(family)
        cases = sorted((c["case"] for c in family["cases"]), key=by_size)
        height = 0.8 / len(series)
        for i, (reference, points) in enumerate(sorted(series.items())):
            ys = [cases.index(case) - 0.4 + height * (i + 0.5) for case, _ in points]
            bars = ax.barh(ys, [r for _, r in points], height, label="libhw / " + reference)
            ax.bar_label(bars, fmt="%.2g", fontsize=6, padding=2)
        ax.axvline(1.0, color="black", linewidth=0.8)
        ax.set_xscale("log")
        ax.set_yticks(range(len(cases)))
        ax.set_yticklabels([label(c) for c in cases], fontsize=7)
        ax.set_ylim(len(cases) - 0.5, -0.5)
        ax.set_xlabel("libhw time / reference time (log; below 1: libhw faster)")
        ax.set_title(family["name"])
        ax.legend(fontsize="small", loc="lower right")
        ax.grid(axis="x", which="both", alpha=0.3)
    machine = tables["machine"]
    fig.suptitle("%s, %s (%d cores, %d MHz)" % (tables["date"], machine["cpu"], machine["cores"], machine["mhz"]))
    fig.tight_layout(rect=(0, 0, 1, 1 - 0.4 / fig.get_figheight()))  # room for the title
    fig.savefig(png, dpi=80)


def update_readme(readme, tables, png):
    machine = tables["machine"]
    block = ("<!-- bench-chart:begin -->\n![libhw against the reference implementations](%s)\n\n"
             "Measured %s on %s (%d cores, %d MHz) by `bash scripts/bench-chart.sh`: best of the "
             "repetitions, libhw's time divided by the reference's, so below 1 libhw is faster. "
             "The figures are in [%s](%s).\n<!-- bench-chart:end -->"
             % (png, tables["date"], machine["cpu"], machine["cores"], machine["mhz"],
                png.rsplit(".", 1)[0] + ".json", png.rsplit(".", 1)[0] + ".json"))
    text = open(readme).read()
    pattern = re.compile(r"<!-- bench-chart:begin -->.*?<!-- bench-chart:end -->", re.S)
    if not pattern.search(text):
        sys.exit("%s has no bench-chart block" % readme)
    open(readme, "w").write(pattern.sub(lambda _: block, text))


def main():
    args = sys.argv[1:]
    if len(args) not in (2, 4) or (len(args) == 4 and args[2] != "--readme"):
        sys.exit(__doc__)
    tables = json.load(open(args[0]))
    draw(tables, args[1])
    if len(args) == 4:
        update_readme(args[3], tables, args[1])


if __name__ == "__main__":
    main()
