#!/usr/bin/env python3
"""Plays a hostile venue: floods, malformed input, slow clients, kills, against the real programs on this machine.

usage: hostile.py --build DIRECTORY [SCENARIO ...]     all scenarios without a name; --list names them

Each scenario starts programs of its own on free ports, in a temporary folder, prints its figures beside their limits and
ends with an exit code of 1 when a limit is passed. Nothing leaves this machine. Scenarios with a disk of their own need name
spaces of users and mounts; where the machine has none they are left out, and 77 is the exit code when nothing else was played.
"""
import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import traceback

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "tools", "demonstration"))
sys.path.insert(0, HERE)

import answer_scenarios  # noqa: E402
import disk_scenarios  # noqa: E402
import secret_scenarios  # noqa: E402
import server_scenarios  # noqa: E402
import table_scenarios  # noqa: E402
from programs import Failure  # noqa: E402

SCENARIOS = {**server_scenarios.SCENARIOS, **table_scenarios.SCENARIOS, **answer_scenarios.SCENARIOS,
             **disk_scenarios.SCENARIOS, **secret_scenarios.SCENARIOS}


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


def with_mounts(arguments):
    """Goes on as the same program in a name space of its own, in which it may mount. Returns where there is none."""
    if os.environ.get("HOSTILE_MAY_MOUNT"):
        return True
    alone = ["unshare", "--user", "--map-root-user", "--mount"]
    if shutil.which("unshare") is None or subprocess.run([*alone, "mount", "-t", "tmpfs", "try", "/mnt"], capture_output=True).returncode:
        return False
    os.environ["HOSTILE_MAY_MOUNT"] = "1"
    os.execvp(alone[0], [*alone, sys.executable, *arguments])


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
    names = arguments.scenario or list(SCENARIOS)
    if disk_scenarios.NEED_MOUNTS & set(names) and not with_mounts(sys.argv):
        print("left out, because nothing can be mounted here: " + ", ".join(disk_scenarios.NEED_MOUNTS & set(names)))
        names = [name for name in names if name not in disk_scenarios.NEED_MOUNTS]
        if not names:
            return 77
    results = [play(name, os.path.abspath(arguments.build)) for name in names]
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
