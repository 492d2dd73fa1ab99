"""Makes Markdown tables and SVG plots of what `bench` and `bench_parts` measured.

usage: bench_report.py MEASURED.tsv PARTS.json DIRECTORY

Prints the tables; the plots go into DIRECTORY.
"""

import collections
import json
import statistics
import subprocess
import sys

PROMPT = "prompt"
BARE = "bare window of the toolkit"
# What the prompt may take, as a share of another program or on its own.
GOALS = {
    "exec to mapped, ms": [(BARE, 1.15), ("yad", 0.4)],
    "processor until painted, ms": [(BARE, 1.15)],
    "proportional memory, kB": [(BARE, 1.1)],
    "own memory, kB": [(BARE, 1.15)],
    "instructions until the first picture, million": [(None, 120)],
    "instructions a tick, million": [(None, 0.7)],
    "context switches a second": [(None, 2)],
    "system calls a second": [(None, 10)],
}


def read_measured(path):
    """The values by measure and by subject, both in the order of the file."""
    measured = collections.defaultdict(lambda: collections.defaultdict(list))
    with open(path, encoding="utf-8") as file:
        for line in file:
            measure, subject, value = line.rstrip("\n").split("\t")
            measured[measure][subject].append(float(value))
    return measured


def spread(values):
    """Half the distance between the quartiles."""
    if len(values) < 2:
        return 0.0
    quartiles = statistics.quantiles(values, n=4, method="inclusive")
    return (quartiles[2] - quartiles[0]) / 2


def number(value):
    """With as many digits as tell something."""
    if value >= 1000:
        return f"{value:,.0f}"
    return f"{value:.3g}" if value < 100 else f"{value:.0f}"


def cell(values):
    if not values:
        return ""
    text = number(statistics.median(values))
    return text if len(values) < 2 else f"{text} ± {number(spread(values))}"


def judgement(measure, subjects):
    """How the prompt compares with each goal of the measure."""
    own = statistics.median(subjects[PROMPT])
    texts = []
    for other, most in GOALS.get(measure, []):
        reached = own if other is None else own / statistics.median(subjects[other])
        of_what = "" if other is None else " × " + ("bare" if other == BARE else other)
        met = "met" if reached <= most else "**not met**"
        texts.append(f"{number(reached)}{of_what} (≤ {most}): {met}")
    return "; ".join(texts)


def row(cells):
    print("| " + " | ".join(cells) + " |")


def table(head, rows):
    row(head)
    row(["---"] * len(head))
    for cells in rows:
        row(cells)
    print()


def print_programs(measured):
    measures = [name for name in measured if PROMPT in measured[name]]
    programs = list(measured["exec to mapped, ms"])
    runs = len(measured["exec to mapped, ms"][PROMPT])
    print(f"Medians of {runs} runs in turns, ± half the distance between the quartiles; values "
          "without ± were taken once, over a longer time.\n")
    table(["", *programs, "prompt and goal"],
          [[name, *(cell(measured[name].get(program)) for program in programs),
            judgement(name, measured[name])] for name in measures])


def print_sizes(measured):
    names = [name for name in measured if ": " in name]
    sizes = sorted({int(size) for name in names for size in measured[name]})
    table(["characters", *names],
          [[f"{size:,}", *(cell(measured[name].get(str(size))) for name in names)]
           for size in sizes])


def read_parts(path):
    """Microseconds of each part by its size."""
    parts = collections.defaultdict(dict)
    with open(path, encoding="utf-8") as file:
        for run in json.load(file)["benchmarks"]:
            part, size = run["name"].split("/")[:2]
            parts[part][int(size)] = run["real_time"]
    return parts


def print_parts(parts):
    sizes = sorted({size for times in parts.values() for size in times})
    table(["microseconds", *(f"{size:,}" for size in sizes)],
          [[part, *(number(times[size]) if size in times else "" for size in sizes)]
           for part, times in parts.items()])


def plot(path, settings, kind, series):
    """`series` are pairs of a title and rows of numbers."""
    script = ["set terminal svg size 760,380 font 'sans-serif,12' background 'white'",
              f"set output '{path}'", *settings]
    script += [f"$data{index} << END\n" + "\n".join(rows) + "\nEND"
               for index, (_, rows) in enumerate(series)]
    script.append("plot " + ", ".join(f"$data{index} {kind} title '{title}'"
                                      for index, (title, _) in enumerate(series)))
    subprocess.run(["gnuplot"], input="\n".join(script), text=True, check=True)


def plot_programs(measured, directory):
    """Bars, one series a measure, each as a multiple of the bare window."""
    shown = ["exec to painted, ms", "processor until painted, ms", "proportional memory, kB",
             "own memory, kB"]
    series = []
    for measure in shown:
        subjects = measured[measure]
        bare = statistics.median(subjects[BARE])
        series.append((measure.split(",")[0],
                       [f'"{name}" {statistics.median(values) / bare}'
                        for name, values in subjects.items()]))
    plot(f"{directory}/performance-programs.svg",
         ["set style data histograms", "set style fill solid 0.8", "set yrange [0:*]",
          "set ylabel 'multiple of the bare window'", "set grid y", "set key top left",
          "set xtics rotate by -20"], "using 2:xtic(1)", series)


def rows_of(values):
    return [f"{size} {value}" for size, value in sorted(values.items()) if size > 0]


def plot_sizes(measured, directory):
    series = [(name.split(":")[0],
               rows_of({int(size): values[0] for size, values in measured[name].items()}))
              for name in measured if ": start" in name]
    plot(f"{directory}/performance-texts.svg",
         ["set logscale xy", "set yrange [50:*]", "set format x '10^{%T}'", "set grid",
          "set xlabel 'characters'", "set ylabel 'million instructions of the start'",
          "set key top left"], "using 1:2 with linespoints", series)


def plot_parts(parts, directory):
    plot(f"{directory}/performance-parts.svg",
         ["set logscale xy", "set format '10^{%T}'", "set grid",
          "set xlabel 'size: characters, bytes of the log, nodes of the search path'",
          "set ylabel 'microseconds'", "set key outside right"],
         "using 1:2 with linespoints", [(part, rows_of(times)) for part, times in parts.items()])


def main():
    measured = read_measured(sys.argv[1])
    parts = read_parts(sys.argv[2])
    print_programs(measured)
    print_sizes(measured)
    print_parts(parts)
    plot_programs(measured, sys.argv[3])
    plot_sizes(measured, sys.argv[3])
    plot_parts(parts, sys.argv[3])


main()
