#!/usr/bin/env python3
"""Measures the table against rivals in the same run, judges each figure, and writes figures.json and index.html."""
import argparse
import datetime
import json
import os
import platform
import shutil
import subprocess
import sys
from pathlib import Path

from charts import beside, nanoseconds, number
from page import page
from processes import run_start
from programs import run_drawing, run_google_benchmark, series_of
from rows import KEPT_SCENE_ROW, PROGRAMS, ROW_TITLES, SCALED_WORKS, SCENES, SHARED_WORKS, figures_of

ROOT = Path(__file__).resolve().parents[2]


def read_arguments(words):
    parser = argparse.ArgumentParser(
        prog="tools/bench", description="Builds the release preset, measures every figure against its rival, and writes figures.json "
        "and index.html.", epilog="Exit code: 0 when every figure was measured (missed targets are shown in the page and on the "
        "terminal), 1 when one was not or the build fails, 2 for a wrong command line. How to read the page: docs/performance.md.")
    parser.add_argument("--only", metavar="ROW", action="append", type=int, default=[],
                        help="measure this row only; may be given several times")
    parser.add_argument("--out", metavar="DIR", type=Path, default=ROOT / "build" / "figures",
                        help="where to write (build/figures)")
    parser.add_argument("--smoke", action="store_true", help="run everything once in small sizes, to see that it runs; judges nothing")
    parser.add_argument("--seed", type=int, default=1, help="of everything that is drawn by lot (1)")
    parser.add_argument("--scene", choices=sorted(SCENES.values()), help="measure the drawing of this scene only")
    parser.add_argument("--size", type=int, default=0,
                        help="widgets, items, contacts, groups or spaces instead of each figure's own; judges nothing")
    parser.add_argument("--rounds", type=int, default=0, help="ratios of which the median counts (21)")
    parser.add_argument("--build", metavar="DIR", type=Path, help="measure what was built there, and build nothing")
    arguments = parser.parse_args(words)
    if arguments.scene:
        arguments.only += [row for row, scene in SCENES.items() if scene == arguments.scene]
    unknown = sorted(set(arguments.only) - set(ROW_TITLES))
    if unknown:
        parser.error(f"there is no row {unknown[0]}; rows are {', '.join(map(str, sorted(ROW_TITLES)))}")
    if min(arguments.seed, arguments.size, arguments.rounds) < 0:
        parser.error("--seed, --size and --rounds are not negative")
    if arguments.build and not (arguments.build / "bin").is_dir():
        parser.error(f"nothing was built in {arguments.build}: leave --build out, or give the folder of a build with "
                     "-DTAVOLA_BENCHMARKS=ON")
    return arguments


def build():
    """Builds the release preset with everything that measures, and returns its folder. Raises CalledProcessError."""
    folder = ROOT / "build" / "release"
    launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
    subprocess.run([ROOT / "tools" / "setup"], check=True)
    print("Building …", flush=True)
    subprocess.run(["cmake", "--preset", "release", "-DTAVOLA_BENCHMARKS=ON", *launcher], cwd=ROOT, stdout=subprocess.DEVNULL, check=True)
    subprocess.run(["cmake", "--build", folder], check=True)
    return folder


def machine():
    """Kind of processor and number of cores; nothing that tells one machine from another of its kind."""
    processor = platform.processor() or platform.machine()
    try:
        for line in Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
            if line.startswith("model name"):
                processor = line.split(":", 1)[1].strip()
                break
    except OSError:
        pass
    return {"processor": processor, "cores": os.cpu_count()}


def measure(arguments):
    rows = arguments.only or sorted(ROW_TITLES)
    measured = {}
    programs = arguments.build.resolve() / "bin"
    for program, held in PROGRAMS.items():
        # Each row has a process of its own, whose heap no other row has used.
        for row in sorted(held.intersection(rows)):
            measured.update(run_google_benchmark(str(programs / program), row, arguments))
    for row, scene in SCENES.items():
        if row in rows:
            measured.update(run_drawing(str(programs / "draw_bench"), f"row{row:02d}", scene, arguments))
    if KEPT_SCENE_ROW in rows:
        scene = SCENES[KEPT_SCENE_ROW]
        scaled = [word for work, _ in SCALED_WORKS for word in ("--only", work)]
        measured.update(run_drawing(str(programs / "draw_bench"), "row08/kept", scene, arguments, "--rival-cache", "groups"))
        measured.update(run_drawing(str(programs / "draw_bench"), "row08/scaled", scene, arguments, "--scale", "1.25", *scaled))
    if 9 in rows:
        for scene, work, _ in SHARED_WORKS:
            measured.update(run_drawing(str(programs / "draw_bench"), "row09", scene, arguments, "--threads", "2", "--only", work))
            measured.update(run_drawing(str(programs / "draw_bench"), "row09/paused", scene, arguments,
                                        "--threads", "2", "--only", work, "--pause", "1" if arguments.smoke else "16"))
    if 16 in rows:
        measured.update(run_start(arguments.build.resolve(), ROOT, arguments))
    return measured


def judge(measured, arguments):
    """A list of figures with value and verdict; nothing is judged whose size is not the figure's own."""
    judged = []
    for figure in figures_of(arguments.only):
        counters = measured.get(figure.key, {})
        value = counters.get(figure.counter)
        may_judge = value is not None and not arguments.smoke and not arguments.size
        judged.append({"row": figure.row, "key": figure.key, "title": figure.title, "rival": figure.rival, "unit": figure.unit,
                       "target": figure.target, "counter": figure.counter, "value": value, "met": figure.meets(value) if may_judge else None,
                       "counters": counters})
    return judged


def print_table(figures):
    print("\n| row | work | rival | figure | target | |\n|---|---|---|---|---|---|")
    for figure in figures:
        value = "not measured" if figure["value"] is None else f"{beside(figure['value'], figure['target'])} {figure['unit']}".strip()
        if figure["counter"] == "ratio" and "rival_ns" in figure["counters"]:
            value += f" ({nanoseconds(figure['counters']['ours_ns'])} / {nanoseconds(figure['counters']['rival_ns'])})"
        target = "" if figure["target"] is None else f"≤ {number(figure['target'])}"
        verdict = {True: "met", False: "**missed**", None: ""}[figure["met"]]
        print(f"| {figure['row']} | {figure['title']} | {figure['rival']} | {value} | {target} | {verdict} |")


def main(words):
    arguments = read_arguments(words)
    if not arguments.build:
        arguments.build = build()
    measured = measure(arguments)
    figures = judge(measured, arguments)
    # The names of benchmarks say the sizes that figures have of their own.
    has_own_sizes = not arguments.smoke and not arguments.size
    result = {"date": datetime.date.today().isoformat(), "machine": machine(), "seed": arguments.seed, "smoke": arguments.smoke,
              "size": arguments.size, "figures": figures, "series": series_of(measured) if has_own_sizes else {}}
    arguments.out.mkdir(parents=True, exist_ok=True)
    (arguments.out / "figures.json").write_text(json.dumps(result, indent=1, ensure_ascii=False) + "\n", encoding="utf-8")
    (arguments.out / "index.html").write_text(page(result, ROW_TITLES), encoding="utf-8")
    print_table(figures)
    missing = [figure["key"] for figure in figures if figure["value"] is None]
    judged = [figure for figure in figures if figure["met"] is not None]
    verdict = f"{sum(figure['met'] for figure in judged)} of {len(judged)} targets met" if judged else "nothing is judged"
    print(f"\n{verdict}; written to {arguments.out}/index.html")
    if missing:
        print(f"tools/bench: not measured: {', '.join(missing)}", file=sys.stderr)
    return 1 if missing else 0


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except KeyboardInterrupt:
        print("\ntools/bench: interrupted; nothing was written", file=sys.stderr)
        sys.exit(130)
    except subprocess.CalledProcessError as failure:
        print(f"tools/bench: {failure}; nothing was measured", file=sys.stderr)
        sys.exit(1)
