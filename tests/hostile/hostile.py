#!/usr/bin/env python3
"""Plays a hostile venue: floods, malformed input, slow clients, kills, against the real programs on this machine.

usage: hostile.py --build DIRECTORY [SCENARIO ...]     all scenarios without a name; --list names them

Each scenario starts programs of its own on free ports, in a temporary folder, prints its figures beside their limits and
ends with an exit code of 1 when a limit is passed. Nothing leaves this machine.
"""
import argparse
import os
import sys
import tempfile
import traceback

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "demonstration"))
sys.path.insert(0, HERE)

import server_scenarios  # noqa: E402
import table_scenarios  # noqa: E402
from programs import Failure  # noqa: E402

SCENARIOS = {**server_scenarios.SCENARIOS, **table_scenarios.SCENARIOS}


def play(name, build):
    with tempfile.TemporaryDirectory(prefix="tavola-hostile-") as folder:
        try:
            SCENARIOS[name](build, folder)
            print(f"{name}: holds")
            return True
        except (Failure, AssertionError) as failure:
            print(f"{name}: {failure}")
        except Exception:  # a fault of the scenario itself is a failure, too
            traceback.print_exc()
        return False


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", help="the build directory, with bin/ in it")
    parser.add_argument("--list", action="store_true", help="name the scenarios")
    parser.add_argument("scenario", nargs="*", choices=[[], *SCENARIOS], metavar="SCENARIO")
    arguments = parser.parse_args()
    if arguments.list:
        print("\n".join(SCENARIOS))
        return 0
    if not arguments.build:
        parser.error("give --build")
    results = [play(name, os.path.abspath(arguments.build)) for name in arguments.scenario or SCENARIOS]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
