#!/usr/bin/env python3
"""Every command of csctl where it cannot do its work: what it ends with, and what stays.

    bad_input.py CSCTL

A row is a command on a host with the example types and objects, and how it ends
there when all is well, without a store, with another program writing, and without
permission. A command that fails says in text and as JSON what to do next; after
each round the store holds what it held before.
"""

import hashlib
import json
import os
import pathlib
import re
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from contextlib import contextmanager

TREE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TREE / "tests" / "docs"))
from manual_test import commands_of  # noqa: E402

OBJECT, TYPE, INSTANCE = "clockd/sync/time_source", "accessd/local/user_account", "accessd/local/user_account@edwin"
OTHER = "no/such/type"
SETTINGS = "examples/objects/time_source.json"
DOCUMENT = "document.json"
UNUSED = None  # the host is not asked, or the answer is no failure of the command

# The words of a command, then how it ends: well, without a store, of an unknown type, busy, denied.
COMMANDS = [
    ("init", "", 0, 0, UNUSED, 0, 5),
    ("schema add", "examples/components/clockd/schema/time_source.json", 0, 7, UNUSED, 0, 5),
    ("schema lint", "examples/components/clockd/schema/time_source.json", 0, 0, UNUSED, 0, 0),
    ("schema doc", OBJECT, 0, 7, 4, 0, 5),
    ("schema export", f"{OBJECT} --json-schema", 0, 7, 4, 0, 5),
    ("types", "", 0, 7, UNUSED, 0, 5),
    ("describe", OBJECT, 0, 7, 4, 0, 5),
    ("set", f"{OBJECT} -f {SETTINGS}", 0, 7, 4, 7, 5),
    ("update", f"{OBJECT} -f {SETTINGS}", 0, 7, 4, 7, 5),
    ("replace", f"{TYPE} -f instances.json", 0, 7, 4, 7, 5),
    ("unset", f"{OBJECT} enabled", 0, 7, 4, 7, 5),
    ("edit", OBJECT, 0, 7, 4, 0, 5),
    ("import", DOCUMENT, 0, 7, UNUSED, 7, 5),
    ("apply", f"-f {DOCUMENT}", 0, 7, UNUSED, 7, 5),
    ("delete", INSTANCE, 0, 7, 4, 7, 5),
    ("get", OBJECT, 0, 7, 4, 0, 5),
    ("layers", OBJECT, 0, 7, 4, 0, 5),
    ("explain", OBJECT, 0, 7, 4, 0, 5),
    ("ls", TYPE, 0, 7, 4, 0, 5),
    ("diff", "user store", 1, 7, UNUSED, 1, 5),
    ("check", "", 0, 7, UNUSED, 0, 5),
    ("validate", DOCUMENT, 0, 7, UNUSED, 0, 5),
    ("export", TYPE, 0, 7, 4, 0, 5),
    ("find", f"{TYPE} -f pattern.json", 0, 7, 4, 0, 5),
    ("watch", "--count 1", UNUSED, 7, UNUSED, UNUSED, 5),
    ("load", "", 0, 0, UNUSED, 7, 5),
    ("boot begin", "", 0, 7, UNUSED, 7, 5),
    ("boot end", "", 0, 7, UNUSED, 0, 5),
    ("boot status", "", 1, 7, UNUSED, 1, 5),
    ("boot mode", "apply", 0, 7, UNUSED, 7, 5),
    ("boot preview", "", 0, 7, UNUSED, 0, 5),
    ("stage set", f"-f {DOCUMENT}", 0, 7, UNUSED, 7, 5),
    ("stage show", "", 0, 7, UNUSED, 0, 5),
    ("stage drop", "", 0, 7, UNUSED, 7, 5),
    ("confirm", OBJECT, 0, 7, 4, 7, 5),
    ("status", "", 0, 7, UNUSED, 0, 5),
    ("backup", "", 0, 7, UNUSED, 0, 5),
    ("restore", "/backup", 0, 2, UNUSED, 7, 5),
    ("defaults load", "", 0, 7, UNUSED, 7, 5),
    ("refresh", "", 0, 0, UNUSED, 7, 5),
    ("upgrade run", "clockd", 5, 7, UNUSED, 5, 5),
    ("upgrade status", "clockd", 4, 7, UNUSED, 4, 5),
    ("ramdisk", "", 0, 0, UNUSED, 0, 5),
]


class Host:
    """A host root in a directory of its own, with the examples beside it."""

    def __init__(self, csctl, stocked):
        self.csctl = csctl
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="bad-input-"))
        self.directory.chmod(0o755)
        self.root = self.directory / "host"
        self.root.mkdir()
        shutil.copytree(TREE / "examples", self.directory / "examples")
        account = json.loads((TREE / "examples/objects/user_account.json").read_text())
        (self.directory / "instances.json").write_text(json.dumps([account]))
        (self.directory / "pattern.json").write_text('{"login":"edwin"}')
        (self.directory / DOCUMENT).write_text('{"components":{"clockd":{"sync":{"time_source":{"method":"ntp"}}}}}')
        if stocked:
            self.stock()

    def stock(self):
        schemas = " ".join(str(path) for path in self.directory.glob("examples/components/*/schema/*.json"))
        for command in ("init", f"schema add {schemas}", f"set {OBJECT} -f {SETTINGS}",
                        f"set {INSTANCE} -f examples/objects/user_account_secret.json", "backup /backup"):
            done = self.run(command)
            assert done.returncode == 0, (command, done)

    def store(self):
        return self.root / "etc/halden/configstore/current-store-1"

    def digest(self):
        """Returns what tells one content of the store from another."""
        if not self.store().exists():
            return None
        with sqlite3.connect(f"file:{self.store()}?mode=ro", uri=True) as connection:
            rows = sorted(connection.execute("select * from config").fetchall(), key=repr)
        return hashlib.sha256(repr(rows).encode()).hexdigest()

    def run(self, command, prefix=(), **options):
        options = {"input": b"", "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
        words = [*prefix, self.csctl, "--root", str(self.root), *command.split()]
        return subprocess.run(words, cwd=self.directory, timeout=120, check=False, **options)

    def remove(self):
        shutil.rmtree(self.directory)


class Report:
    def __init__(self):
        self.faults = []

    def expect(self, condition, *what):
        if not condition:
            self.faults.append(" ".join(map(str, what)))

    def ended(self, where, command, done, expected):
        """A command ended as it should, and a failure tells what is next."""
        error = done.stderr.decode()
        self.expect(done.returncode == expected, f"{where}: csctl {command}: {done.returncode}, not {expected}: {error}")
        if done.returncode <= 1:
            return
        if command.endswith("--json"):
            told = json.loads(error)["error"] if error.count("\n") == 1 else {}
            good = told.get("exit") == expected and told.get("message") and told.get("next")
        else:
            good = error.startswith("csctl: ") and "\nnext: " in error
        self.expect(good, f"{where}: csctl {command}: tells nothing of use: {error}")


def line_of(row):
    return f"{row[0]} {row[1]}".strip()


def together(host, report, where, pairs, **options):
    """Runs commands at the same time, each in text and as JSON."""
    lines = [(line + form, expected) for line, expected in pairs for form in ("", " --json")]
    with ThreadPoolExecutor(16) as pool:
        for (line, expected), done in zip(lines, pool.map(lambda pair: host.run(pair[0], **options), lines)):
            report.ended(where, line, done, expected)


# --- the rounds ----------------------------------------------------------------


@contextmanager
def unchanged_host(csctl, report, where):
    """A host with the examples, which holds afterwards what it held before."""
    host = Host(csctl, stocked=True)
    before = host.digest()
    yield host
    report.expect(host.digest() == before, f"{where}: the store has changed")
    host.remove()


def all_is_well(csctl, report):
    for row in COMMANDS:
        if row[2] is not UNUSED:
            host = Host(csctl, stocked=True)
            report.ended("on a host", line_of(row), host.run(line_of(row)), row[2])
            host.remove()


def without_a_store(csctl, report):
    for row in COMMANDS:
        host = Host(csctl, stocked=False)
        line = line_of(row) + " --json"
        report.ended("without a store", line, host.run(line), row[3])
        report.expect(row[3] == 0 or not host.store().exists(), f"without a store: csctl {line} has made one")
        host.remove()


def of_an_unknown_type(csctl, report):
    with unchanged_host(csctl, report, "of an unknown type") as host:
        pairs = [(re.sub(f"{INSTANCE}|{OBJECT}|{TYPE}", OTHER, line_of(row)), row[4])
                 for row in COMMANDS if row[4] is not UNUSED]
        together(host, report, "of an unknown type", pairs)


def while_another_writes(csctl, report):
    with unchanged_host(csctl, report, "a busy store") as host:
        writer = sqlite3.connect(host.store(), isolation_level=None)
        writer.execute("begin immediate")
        pairs = [(line_of(row), row[5]) for row in COMMANDS if row[5] is not UNUSED]
        together(host, report, "while another writes", pairs)
        writer.execute("rollback")
        writer.close()


def without_permission(csctl, report):
    prefix = []
    if os.geteuid() == 0:
        prefix = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
        if shutil.which("setpriv") is None or subprocess.run([*prefix, csctl, "--version"], capture_output=True,
                                                             check=False).returncode != 0:
            print("left out: no other user can run this csctl")
            return
    with unchanged_host(csctl, report, "no permission") as host:
        for path in [host.root, *host.root.rglob("*")]:
            path.chmod(0o755 if prefix and path.is_dir() else 0o500 if path.is_dir() else 0)
        together(host, report, "without permission", [(line_of(row), row[6]) for row in COMMANDS], prefix=prefix)
        for path in [host.root, *host.root.rglob("*")]:
            path.chmod(0o700)


def with_a_full_or_closed_output(csctl, report):
    with unchanged_host(csctl, report, "a full output") as host:
        for row in COMMANDS:
            if row[2] != 0 or row[5] == 7 or row[0] in ("init", "schema add", "schema lint", "ramdisk", "backup"):
                continue  # it prints nothing, or does something first
            with open("/dev/full", "wb") as full:
                report.ended("with a full output", line_of(row), host.run(line_of(row), stdout=full), 8)
            reading, writing = os.pipe()
            os.close(reading)
            done = host.run(line_of(row), stdout=writing)
            os.close(writing)
            report.expect(done.returncode == -signal.SIGPIPE and not done.stderr,
                          f"into a closed pipe: csctl {line_of(row)}: {done.returncode} {done.stderr}")


ROUNDS = [all_is_well, without_a_store, of_an_unknown_type, while_another_writes, without_permission,
          with_a_full_or_closed_output]


def main():
    csctl = sys.argv[1]
    report = Report()
    os.environ["EDITOR"] = os.environ["VISUAL"] = "true"
    known, listed = set(commands_of(csctl)), {row[0] for row in COMMANDS}
    report.expect(known == listed, f"not in this table: {sorted(known - listed)}; no commands: {sorted(listed - known)}")
    for run in ROUNDS:
        run(csctl, report)
    print("\n".join(report.faults) or f"{len(COMMANDS)} commands fail as they should")
    return 1 if report.faults else 0


if __name__ == "__main__":
    sys.exit(main())
