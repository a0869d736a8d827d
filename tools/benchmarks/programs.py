"""Runs the programs that measure, and reads their figures as {benchmark: {counter: number}}."""
import json
import os
import subprocess
import sys
import tempfile

from rows import ON_A_SCREEN

# Numbers that Google Benchmark writes for each benchmark beside the counters.
_OWN_NUMBERS = {"family_index", "per_family_instance_index", "repetitions", "repetition_index", "threads", "iterations",
                "real_time", "cpu_time"}


def options_of(arguments):
    """The options that every program understands."""
    options = [f"--seed={arguments.seed}"]
    if arguments.smoke:
        options.append("--smoke")
    elif arguments.rounds:
        options.append(f"--rounds={arguments.rounds}")
    if arguments.size:
        options.append(f"--size={arguments.size}")
    return options


def run_google_benchmark(program, row, arguments):
    """The figures of the benchmarks of a row in the program; prints what went wrong."""
    if not os.path.exists(program):
        print(f"{program} does not exist: build it, or leave --build out", file=sys.stderr)
        return {}
    with tempfile.TemporaryDirectory(prefix="tavola-bench-") as folder:
        out = os.path.join(folder, "out.json")
        command = [program, f"--benchmark_filter=^row{row:02d}/", f"--benchmark_out={out}", "--benchmark_out_format=json",
                   *options_of(arguments)]
        environment = _environment()
        if os.path.basename(program) in ON_A_SCREEN:
            command = ["xvfb-run", "--auto-servernum", *command]
            environment |= {"QT_QPA_PLATFORM": "xcb", "LIBGL_ALWAYS_SOFTWARE": "1"}
        done = subprocess.run(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
        try:
            with open(out, encoding="utf-8") as file:
                benchmarks = json.load(file)["benchmarks"]
        except (OSError, ValueError):
            benchmarks = []
    if done.returncode != 0:
        print(f"{done.stderr}{os.path.basename(program)} ended with code {done.returncode}", file=sys.stderr)
    for entry in benchmarks:
        if "error_message" in entry:
            print(f"{base_name(entry['name'])}: {entry['error_message']}", file=sys.stderr)
    return {base_name(entry["name"]): counters_of(entry) for entry in benchmarks if "error_message" not in entry}


def run_drawing(program, prefix, scene, arguments, *more):
    """The figures of one scene, measured with `more` options, under names that begin with `prefix`; none when the two pictures are
    not the same."""
    if not os.path.exists(program):
        print(f"{program} does not exist: build it, or leave --build out", file=sys.stderr)
        return {}
    command = [program, "--json", "--scene", scene, "--seed", str(arguments.seed), *more]
    if arguments.smoke:
        command += ["--rounds", "1", "--frames", "1"]  # the scenes in full: small ones are all edges, which the two blend differently
    elif arguments.rounds:
        command += ["--rounds", str(arguments.rounds)]
    if arguments.size:
        command += ["--count", str(arguments.size)]
    done = subprocess.run(command, env=_environment(), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
    if done.returncode != 0:
        print(f"{done.stderr}{os.path.basename(program)} ended with code {done.returncode}", file=sys.stderr)
        return {}
    return {f"{prefix}/{figure['work']}": {"ratio": figure["ratio"], "ours_ns": figure["milliseconds"] * 1e6,
                                               "rival_ns": figure["rivalMilliseconds"] * 1e6,
                                               "pixels_that_differ": figure["pixelsThatDiffer"],
                                               "changed_pixels_that_differ": figure["changedPixelsThatDiffer"]}
            for figure in json.loads(done.stdout)["figures"]}


def _environment():
    return {**os.environ, "QT_QPA_PLATFORM": "offscreen", "QT_HASH_SEED": "0"}


def base_name(name):
    """Without what Google Benchmark appends: "row01/name/iterations:1" is "row01/name"."""
    return "/".join(part for part in name.split("/") if ":" not in part)


def counters_of(entry):
    return {key: value for key, value in entry.items() if isinstance(value, (int, float)) and key not in _OWN_NUMBERS}


def series_of(measured):
    """Growth over size: {name without size: [(size, counters)]} for benchmarks whose names end in a number."""
    series = {}
    for name, counters in measured.items():
        stem, _, size = name.rpartition("/")
        if size.isdigit():
            series.setdefault(stem, []).append((int(size), counters))
    return {stem: sorted(points, key=lambda point: point[0]) for stem, points in series.items() if len(points) > 1}
