#!/usr/bin/env python3
"""Runs tests on a PostgreSQL server of their own.

usage: postgres.py PROGRAM [ARGUMENT ...]

Starts a new server by Debian's pg_virtualenv, with the durability of a real one, gives the program its address in
TAVOLA_TEST_POSTGRES, and removes the server afterwards. Ends with the program's exit code.
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

POSTGRES = "TAVOLA_TEST_POSTGRES"


def restart(arguments):
    """Runs this very program with those arguments inside a server of its own."""
    tool = shutil.which("pg_virtualenv")
    if not tool:
        sys.exit("postgres.py: pg_virtualenv is missing; tools/setup installs it")
    return subprocess.run([tool, "-t", "-o", "fsync=on", sys.executable, *arguments], check=False).returncode


def address():
    """The address of the server that pg_virtualenv has started; PGPASSWORD goes along in the environment."""
    user = os.environ.get("PGUSER", "postgres")
    return f"postgres://{user}@{os.environ.get('PGHOST', 'localhost')}:{os.environ['PGPORT']}/postgres"


def main():
    if "PG_CLUSTER_CONF_ROOT" not in os.environ:
        return restart([str(Path(__file__).resolve()), *sys.argv[1:]])
    return subprocess.run(sys.argv[1:], env={**os.environ, POSTGRES: address()}, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
