"""Plays a visit twice, written as TUIO 1.1 and as TUIO 2.0, and says where the reports differ: they must not.

usage: same_in_both.py --build DIR --visit NAME --out DIR
"""
import argparse
import json
import os
import subprocess
import sys

DEMO = os.path.join(os.path.dirname(os.path.abspath(__file__)), "demo.py")


def differences(one, two, place="", names=("in TUIO 1.1", "in TUIO 2.0")):
    """The places at which two JSON values are not the same."""
    if isinstance(one, dict) and isinstance(two, dict):
        for key in sorted(set(one) | set(two)):
            yield from differences(one.get(key), two.get(key), f"{place}/{key}", names)
    elif isinstance(one, list) and isinstance(two, list) and len(one) == len(two):
        for index, pair in enumerate(zip(one, two)):
            yield from differences(*pair, f"{place}[{index}]", names)
    elif one != two:
        yield "{}: {} {}, {} {}".format(place, *(part for value, name in zip((one, two), names)
                                                 for part in (json.dumps(value, ensure_ascii=False), name)))


def main():
    parser = argparse.ArgumentParser(description="Plays a visit as TUIO 1.1 and as TUIO 2.0 and compares the reports.")
    for option in ("--build", "--visit", "--out"):
        parser.add_argument(option, required=True)
    options = parser.parse_args()
    reports = []
    for version in ("1.1", "2.0"):
        out = os.path.join(options.out, version)
        played = subprocess.call([sys.executable, DEMO, "--build", options.build, "--visit", options.visit,
                                  "--tuio-version", version, "--out", out])
        if played != 0:
            print(f"the visit \"{options.visit}\" fails in TUIO {version}", file=sys.stderr)
            return 1
        with open(os.path.join(out, "report.json"), encoding="utf-8") as file:
            reports.append(json.load(file))
    if not reports[0].get("outcomes"):
        print(f"the visit \"{options.visit}\" reports no outcomes that could be compared", file=sys.stderr)
        return 1
    found = list(differences(*reports))
    for line in found:
        print(line, file=sys.stderr)
    print("The reports are the same." if not found else "The reports differ.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
