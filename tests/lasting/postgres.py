#!/usr/bin/env python3
"""Runs tests on a PostgreSQL server of their own.

usage: postgres.py PROGRAM [ARGUMENT ...]

Starts a new server by Debian's pg_virtualenv, with the durability of a real one, gives the program its address in
TAVOLA_TEST_POSTGRES, and removes the server afterwards. Ends with the program's exit code.
"""

import os
import random
import shutil
import socket
import subprocess
import sys
import tempfile
from pathlib import Path

POSTGRES = "TAVOLA_TEST_POSTGRES"
STARTED = "TAVOLA_POSTGRES_STARTED"  # a file that is made when the server has started
PORTS = range(20000, 32000)  # below those that the system gives to connections
ATTEMPTS = 5


def free_port():
    """At random: of two servers that start at once, both of which find a port free, one fails. So does PostgreSQL's own choice."""
    while True:
        port = random.choice(PORTS)
        with socket.socket() as tried:
            try:
                tried.bind(("127.0.0.1", port))
                return port
            except OSError:
                continue


def restart(arguments):
    """Runs this very program with those arguments inside a server of its own."""
    tool = shutil.which("pg_virtualenv")
    if not tool:
        sys.exit("postgres.py: pg_virtualenv is missing; tools/setup installs it")
    with tempfile.TemporaryDirectory(prefix="tavola-postgres-") as folder:
        started = os.path.join(folder, "started")
        for _ in range(ATTEMPTS):
            environment = {**os.environ, "PGPORT": str(free_port()), STARTED: started}
            code = subprocess.run([tool, "-t", "-o", "fsync=on", sys.executable, *arguments], env=environment, check=False).returncode
            if os.path.exists(started):
                return code
    sys.exit(f"postgres.py: no server has started in {ATTEMPTS} attempts; the reasons are above")


def address():
    """The address of the server that pg_virtualenv has started; PGPASSWORD goes along in the environment."""
    user = os.environ.get("PGUSER", "postgres")
    return f"postgres://{user}@{os.environ.get('PGHOST', 'localhost')}:{os.environ['PGPORT']}/postgres"


def main():
    if "PG_CLUSTER_CONF_ROOT" not in os.environ:
        return restart([str(Path(__file__).resolve()), *sys.argv[1:]])
    if STARTED in os.environ:
        Path(os.environ[STARTED]).touch()
    return subprocess.run(sys.argv[1:], env={**os.environ, POSTGRES: address()}, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
