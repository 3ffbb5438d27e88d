#!/usr/bin/env python3
"""Completes command lines of csctl in the shells that are installed.

    completion_test.py DIRECTORY-OF-CSCTL

Each shell loads its completion from packaging/completion, on a host with the
example types and a few objects. bash and zsh sit at a terminal, as for a user:
the line is typed with a tab behind it, and what the shell makes of it is run with
an "echo" in front. fish lists its candidates itself.
"""

import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import time

TREE = pathlib.Path(__file__).resolve().parents[2]
COMPLETION = TREE / "packaging" / "completion"

# A line as it is typed, and what a tab makes of it; without one, candidates that "csctl complete" offers.
COMPLETED = [
    ("csctl descr", "csctl describe"),
    ("csctl boot pre", "csctl boot preview"),
    ("csctl get clockd", "csctl get clockd/sync/time_source"),
    ("csctl get accessd/local/user_account@e", "csctl get accessd/local/user_account@edwin"),
    ("csctl find accessd/lo", "csctl find accessd/local/user_account"),
    ("csctl set clockd/sync/time_source --layer vi", "csctl set clockd/sync/time_source --layer vital"),
    ("csctl --js", "csctl --json"),
    ("csctl schema add examples/objects/time_s", "csctl schema add examples/objects/time_source.json"),
]
OFFERED = [
    (["boot", "mode", ""], ["apply", "normal"]),
    (["get", "clockd/sync/time_source", "--sh"], ["--show-secrets"]),
    (["explain", "clockd/sync/time_source#/met"], ["clockd/sync/time_source#/method"]),
    (["set", "clockd/sync/time_source", "/meth"], ["/method="]),
    (["set", "clockd/sync/time_source", "method="], ["method=manual", "method=ntp", "method=ptp"]),
    (["set", "clockd/sync/time_source", "ntp/server/192.0.2.1/burst="],
     ["ntp/server/192.0.2.1/burst=false", "ntp/server/192.0.2.1/burst=true"]),
    (["unset", "clockd/sync/time_source", "/ntp/server/192.0.2.1/"],
     ["/ntp/server/192.0.2.1/address", "/ntp/server/192.0.2.1/burst", "/ntp/server/192.0.2.1/stratum_seen"]),
    (["--root", "/nowhere", "types", "x"], []),
    (["get", "no/such/type#/"], []),
    (["backup", ""], [":files"]),
]

SHELLS = ["bash", "zsh", "fish"]
AT_TERMINAL = {
    "bash": (["bash", "--norc", "--noprofile", "-i"], f". {COMPLETION}/csctl.bash"),
    "zsh": (["zsh", "-f", "-i"], f"fpath=({COMPLETION} $fpath); autoload -Uz compinit; compinit -u -D"),
}


def run(*words, **options):
    return subprocess.run(words, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, **options).stdout.decode()


def at_terminal(command, prepare, lines):
    """Returns what the shell makes of each line with a tab behind it.

    "echo" is then put in front, and the line is run. The marks are put together by
    the shell, so that an echo of what is typed is none of them.
    """
    pid, terminal = pty.fork()
    if pid == 0:
        os.execvp(command[0], command)

    def type_until(text, mark):
        os.write(terminal, text.encode())
        seen, end = "", time.monotonic() + 60
        while not re.search(mark, seen) and time.monotonic() < end:
            if select.select([terminal], [], [], 0.5)[0]:
                seen += os.read(terminal, 4096).decode(errors="replace")
        return re.search(mark, seen)

    try:
        type_until(prepare + "; echo READ''Y\n", "READY\r\n")
        made = [type_until(f"{line}\t\x01echo LI''NE: \n", "LINE: (.*?) *\r\n") for line in lines]
        return [match and match[1] for match in made]
    finally:
        os.close(terminal)
        os.waitpid(pid, 0)


def complete_lines(shell, lines):
    if shell in AT_TERMINAL:
        return at_terminal(*AT_TERMINAL[shell], lines)
    made = []
    for line in lines:
        shown = run("fish", "-c", f"source {COMPLETION}/csctl.fish; complete -C '{line}'").splitlines()
        made.append(line.rpartition(" ")[0] + " " + " ".join(entry.split("\t")[0] for entry in shown))
    return made


def main():
    directory = sys.argv[1]
    failures = []
    with tempfile.TemporaryDirectory() as work:
        os.chdir(work)
        os.mkdir("host")
        shutil.copytree(TREE / "examples", "examples")
        os.environ.update(PATH=f"{directory}:/usr/bin:/bin", HALDEN_ROOT=f"{work}/host", HOME=work, TERM="dumb",
                          XDG_CONFIG_HOME=work, XDG_DATA_HOME=work)
        run("csctl", "init")
        run("csctl", "schema", "add", *map(str, pathlib.Path("examples/components").glob("*/schema/*.json")))
        run("csctl", "set", "clockd/sync/time_source", "-f", "examples/objects/time_source.json")
        run("csctl", "set", "accessd/local/user_account@edwin", "-f", "examples/objects/user_account_secret.json")

        for words, expected in OFFERED:
            offered = run("csctl", "complete", *words).splitlines()
            if offered != expected:
                failures.append(f"csctl complete {words}: {offered}, not {expected}")

        for shell in SHELLS:
            if shutil.which(shell) is None:
                print(f"left out, no {shell}")
                continue
            for (line, expected), made in zip(COMPLETED, complete_lines(shell, [line for line, _ in COMPLETED])):
                if made != expected:
                    failures.append(f"{shell}: {line!r} becomes {made!r}, not {expected!r}")
    print("\n".join(failures) or "every line is completed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
