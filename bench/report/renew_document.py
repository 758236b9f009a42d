#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""renew_document.py DOCUMENT README SPEED.json COUNTS WORST.json PLOTS: writes the measured tables of the
document anew, between its lines <!-- begin NAME --> and <!-- end NAME -->, the item "Fast." of the
README, and the data of the plots. COUNTS is the folder of host.json, armhf.json, armhf-plain.json
and memory.json."""

import json
import pathlib
import re
import statistics
import sys
import textwrap

import speed

PUBLIC_WORKS = ["extract/256x360", "extract/152x200", "verify/40-minutiae",
                "match-next/40-minutiae", "index-score/template", "search/100000", "enroll/three",
                "improve"]

# Title, works of measure_speed, and the functions of the library that do it in an extraction.
EXTRACTION_STAGES = [
    ("`SmoothImage` and `BoxSmooth`", ["SmoothImage", "BoxSmooth"], ["Mean3x3Apart"]),
    ("`NormalizeImage`", ["NormalizeImage"], ["Normalize9x9"]),
    ("`PuttyImage`", ["PuttyImage"], ["PuttyImageApart"]),
    ("`CalcDirA`", ["CalcDirA"], ["CalcDirA"]),
    ("`SmoothRidge`, twice", ["SmoothRidge-first", "SmoothRidge-second"], ["SmoothRidgeOf"]),
    ("`BinImageA`", ["BinImageA"], ["BinImageA"]),
    ("`CalcDirB`", ["CalcDirB"], ["CalcDirBOf"]),
    ("`BinImageB`", ["BinImageB"], ["BinImageBToBits"]),
    ("`RemoveNoise`", ["RemoveNoise"], ["RemoveNoiseFromBits"]),
    ("`GetRidgeDensity`", ["GetRidgeDensity"], ["GetRidgeDensity"]),
    ("`Thinning`", ["Thinning"], ["ThinBits"]),
    ("minutiae detection",
     ["ScanCandidates", "RepairBrokenRidges", "RefineCandidates", "FilterCandidates",
      "AssembleMinutiae", "EncodeTemplate"],
     ["ScanCandidates", "RepairBrokenRidges", "RefineCandidates", "CompactCandidates",
      "DeleteCrowded", "DeleteClosePairs", "AssembleMinutiae", "EncodeTemplate"]),
    ("`CreateIndex`", ["CreateIndex"], ["CreateIndex"]),
]


# Functions of other calls, with what they call.
OTHER_PARTS = [
    ("`QORFP_Verify`", "verify/40-minutiae",
     ["DecodeTemplate", "MakeFirstInfo", "Alignment", "MakeBar", "GetRotationAngle",
      "EstimateMoveVector", "GetSimScore"]),
    ("`QORFP_Search` in 100,000", "search/100000",
     ["ISetIndex", "IGetScoreA", "quickSortEx", "IMatch"]),
    ("`QORFP_Enroll`", "enroll/three",
     ["MakeFirstInfo", "Alignment", "ArrangeMinutiaIndex", "GetConvexHull", "ICreateIndex"]),
    ("`QORFP_Improve`", "improve", ["MakeFirstInfo", "Alignment", "ICreateIndex"]),
]


class Document:
    """A text with named blocks between comments."""

    def __init__(self, path):
        self.path = pathlib.Path(path)
        self.text = self.path.read_text(encoding="utf-8")

    def put(self, name, lines):
        """Replaces the lines of a block."""
        begin, end = f"<!-- begin {name} -->\n", f"<!-- end {name} -->"
        pattern = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.DOTALL)
        if not pattern.search(self.text):
            raise SystemExit(f"{self.path}: no block {name}")
        block = begin + "".join(line + "\n" for line in lines) + end
        self.text = pattern.sub(lambda _: block, self.text)

    def save(self):
        """Writes the document back."""
        self.path.write_text(self.text, encoding="utf-8")


class Measured:
    """Everything that was measured."""

    def __init__(self, speed_file, counts):
        self.context, self.works = speed.read(speed_file)
        self.counts = {path.stem: json.loads(path.read_text())
                       for path in pathlib.Path(counts).glob("*.json")}

    def time(self, work):
        """Median nanoseconds of processor time of a work; None where it was not measured."""
        runs = self.works.get(work)
        return statistics.median(runs.cpu) if runs else None

    def instructions(self, machine, work):
        """Instructions of a call, or None."""
        return self.counts[machine].get(work, {}).get("instructions")

    def sum_of(self, machine, names, key="inclusive", work="extract/256x360"):
        """Sum over functions of a work."""
        functions = self.counts[machine][work]["functions"]
        if not any(name in functions for name in names):
            raise SystemExit(f"{work} on {machine} calls none of {', '.join(names)}")
        return sum(functions.get(name, {}).get(key, 0) for name in names)


def number(value):
    """12345.6 -> '12,346'; a dash for None."""
    return "—" if value is None else f"{value:,.0f}"


def time_text(value):
    """Nanoseconds with their unit; a dash for None."""
    return "—" if value is None else speed.time_text(value).replace("us", "µs")


def share(part, whole):
    """Part of a whole in per cent."""
    return f"{100 * part / whole:.1f} %"


def machine_lines(measured):
    """Where and how."""
    context = measured.context
    load = ", ".join(f"{value:.1f}" for value in context.get("load_avg", []))
    return [f"- machine: {context.get('machine', '?')}, {context['num_cpus']} cores at "
            f"{context['mhz_per_cpu']} MHz; one core used",
            f"- load averages at the start: {load}",
            f"- compiler: {context.get('compiler', '?')}, no `-march`; revision "
            f"{context.get('revision', '?')}, {context['date'][:10]}"]


def target_lines(measured):
    """The targets that are times."""
    lines = ["| Work | Target | Median | Spread | Processor | Runs | Met |",
             "|---|---:|---:|---:|---:|---:|---|"]
    for work, target in speed.targets().items():
        limit = speed.limit_of(target, measured.works)
        runs = measured.works.get(work)
        if runs is None or limit is None:
            lines.append(f"| {target['what']} | | not measured | | | | |")
            continue
        median = statistics.median(runs.wall)
        lines.append(f"| {target['what']} | {time_text(limit)} | {time_text(median)} | "
                     f"±{100 * runs.spread():.1f} % | {time_text(statistics.median(runs.cpu))} | "
                     f"{len(runs.wall)} | "
                     f"{'yes' if median <= limit else '**no**'} |")
    return lines


def instruction_lines(measured):
    """Instructions of the public calls."""
    lines = ["| Work | x86-64 | ARMv7-A, NEON | ARMv7-A, plain | Divisions on ARM |",
             "|---|---:|---:|---:|---:|"]
    for work in PUBLIC_WORKS:
        divisions = measured.counts["armhf"].get(work, {}).get("divisions")
        lines.append(f"| {work} | " + " | ".join(
            number(measured.instructions(machine, work))
            for machine in ("host", "armhf", "armhf-plain")) + f" | {number(divisions)} |")
    target = speed.targets()["extract/256x360"]
    lines.append(f"| *target of the first line* | *{target['instructions']:,}* | "
                 f"*{target['armhf_instructions']:,}* | | *{target['armhf_divisions']:,}* |")
    return lines


def stage_lines(measured):
    """Where the time of an extraction goes."""
    def time_of(works):
        return sum(measured.time("stage/" + work) or 0 for work in works)

    whole_time = sum(time_of(works) for _, works, _ in EXTRACTION_STAGES)
    wholes = {machine: measured.instructions(machine, "extract/256x360")
              for machine in ("host", "armhf")}
    lines = ["| Stage | Time | Share | x86-64 | Share | ARMv7-A, NEON | Share | Divisions |",
             "|---|---:|---:|---:|---:|---:|---:|---:|"]
    for title, works, functions in EXTRACTION_STAGES:
        cells = [time_text(time_of(works)), share(time_of(works), whole_time)]
        for machine, whole in wholes.items():
            count = measured.sum_of(machine, functions)
            cells += [number(count), share(count, whole)]
        cells.append(number(measured.sum_of("armhf", functions, "divisions")))
        lines.append(f"| {title} | " + " | ".join(cells) + " |")
    return lines


def part_lines(measured):
    """Where the instructions of the other calls go."""
    lines = ["| Call | Part | x86-64 | Share | ARMv7-A, NEON | Share |",
             "|---|---|---:|---:|---:|---:|"]
    for call, work, functions in OTHER_PARTS:
        for function in functions:
            cells = []
            for machine in ("host", "armhf"):
                whole = measured.instructions(machine, work)
                count = whole and measured.sum_of(machine, [function], work=work)
                cells += [number(count), share(count, whole) if whole else ""]
            lines.append(f"| {call} | `{function}` | " + " | ".join(cells) + " |")
            call = ""
    return lines


def traffic_lines(measured):
    """Data read and written, and fetched from behind small caches."""
    lines = ["| Work | Reads | Writes | From L2, KiB | From memory, KiB |",
             "|---|---:|---:|---:|---:|"]
    for work in PUBLIC_WORKS:
        events = measured.counts["memory"].get(work)
        if events:
            kibibytes = [(events[f"D{level}mr"] + events[f"D{level}mw"]) * 32 / 1024
                         for level in ("1", "L")]
            lines.append(f"| {work} | {number(events['Dr'])} | {number(events['Dw'])} | "
                         + " | ".join(f"{value:,.2f}" if value < 10 else f"{value:,.0f}"
                                      for value in kibibytes) + " |")
    return lines


def growth(measured, kind):
    """Size and time of a growth series."""
    prefix = f"growth/{kind}/"
    for work in measured.works:
        if work.startswith(prefix):
            sides = [int(side) for side in work[len(prefix):].split("x")]
            yield sides[0] * (sides[1] if len(sides) > 1 else 1), measured.time(work)


def growth_lines(measured):
    """The smallest and the largest of each series, a unit of input."""
    lines = ["| Work | From | To | Time | Of one unit of input |", "|---|---:|---:|---:|---:|"]
    for kind, title, unit in (("extract", "extraction", "pixels"),
                              ("verify", "verification", "minutiae"),
                              ("search", "search", "templates")):
        points = list(growth(measured, kind))
        if points:
            (first, first_time), (last, last_time) = points[0], points[-1]
            lines.append(
                f"| {title} | {first:,} {unit} | {last:,} {unit} | {time_text(first_time)} to "
                f"{time_text(last_time)} | {time_text(first_time / first)} to "
                f"{time_text(last_time / last)} |")
    return lines


def worst_lines(table):
    """The worst inputs of every call."""
    lines = ["| Call | Ordinary | Worst | Ratio | Of times | Worst input |",
             "|---|---:|---:|---:|---:|---|"]
    for call, row in table.items():
        lines.append(f"| {call} | {number(row['ordinary'])} | {number(row['worst'])} | "
                     f"{row['ratio']:.1f} | {row['time_ratio']:.1f} | {row['input']} |")
    return lines


def renew_readme(path, measured):
    """Writes the list item with the most important figures."""
    context = measured.context
    machine = re.sub(r"\(R\)|\(TM\)| Processor| CPU| @.*", "", context.get("machine", "?"))
    item = (f"- **Fast.** On one core of an {machine} at {context['mhz_per_cpu'] / 1000:.1f} GHz: "
            f"a template in {time_text(measured.time('extract/256x360'))}, a comparison in "
            f"{time_text(measured.time('verify/40-minutiae'))}, a search in 100,000 in "
            f"{time_text(measured.time('search/100000'))}, processor time "
            "([more](docs/performance.md)).")
    lines = textwrap.wrap(item, 102, subsequent_indent="  ", break_long_words=False,
                          break_on_hyphens=False)
    readme = pathlib.Path(path)
    text, found = re.subn(r"- \*\*Fast\.\*\*.*?\n(?! )", lambda _: "\n".join(lines) + "\n",
                          readme.read_text(encoding="utf-8"), flags=re.DOTALL)
    if found != 1:
        raise SystemExit(f"{path}: no item \"Fast.\"")
    readme.write_text(text, encoding="utf-8")


def main():
    document_path, readme, speed_file, counts, worst, plots = sys.argv[1:]
    measured = Measured(speed_file, counts)
    document = Document(document_path)
    document.put("machine", machine_lines(measured))
    document.put("targets", target_lines(measured))
    document.put("instructions", instruction_lines(measured))
    document.put("stages", stage_lines(measured))
    document.put("parts", part_lines(measured))
    document.put("traffic", traffic_lines(measured))
    document.put("growth", growth_lines(measured))
    document.put("worst", worst_lines(json.loads(pathlib.Path(worst).read_text(encoding="utf-8"))))
    document.save()
    renew_readme(readme, measured)
    for kind in ("extract", "verify", "search"):
        pathlib.Path(plots, f"growth-{kind}.txt").write_text(
            "".join(f"{size} {time}\n" for size, time in growth(measured, kind)),
            encoding="utf-8")


if __name__ == "__main__":
    main()
