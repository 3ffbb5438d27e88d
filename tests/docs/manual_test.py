#!/usr/bin/env python3
"""Compares csctl(1) with what csctl says of itself, and the README with the tests.

    manual_test.py CSCTL

In the manual a command is a line of the section COMMANDS that begins with its
words in bold; its options are those named down to the next command. Global
options and exit codes are compared as well. Each test that the README names must
be there.
"""

import pathlib
import re
import subprocess
import sys

TREE = pathlib.Path(__file__).resolve().parents[2]
OPTION = re.compile(r"--[a-z][a-z-]*")
EVERYWHERE = {"--help", "--version"}


def ask(csctl, *words):
    return subprocess.run([csctl, *words, "--help"], check=True, stdout=subprocess.PIPE).stdout.decode()


def section(text, name):
    """Returns the lines of a section of a help text."""
    lines = text.splitlines()
    begin = lines.index(name) + 1 if name in lines else len(lines)
    end = next((i for i in range(begin, len(lines)) if not lines[i].startswith(" ")), len(lines))
    return lines[begin:end]


def options_of(text):
    """Returns the options that a help text lists: those at the beginning of a line."""
    listed = (re.match(r"  (?:-\w,)?(--[a-z-]+)", line) for line in section(text, "Options:"))
    return {match[1] for match in listed if match} - EVERYWHERE


def commands_of(csctl, *words):
    """Returns the options of every command, by its words."""
    text = ask(csctl, *words)
    below = [line.split()[0] for line in section(text, "Subcommands:") if line[2:3] != " "]
    if not below:
        return {" ".join(words): options_of(text)}
    found = {}
    for name in below:
        found.update(commands_of(csctl, *words, name))
    return found


def commands_in(manual):
    """Returns the options that the manual gives to each of its commands."""
    found, current = {}, []
    text = re.search(r"\n# COMMANDS\n(.*?)\n# ", manual, re.S)[1]
    for line in text.splitlines():
        head = re.match(r"\*([a-z][a-z ]*)\*", line)
        if head:
            current = found.setdefault(head[1], set())
        if head or line.startswith("\t"):
            current |= set(OPTION.findall(line))
    return found


def main():
    csctl = sys.argv[1]
    manual = (TREE / "docs/man/csctl.1.scd").read_text()
    faults = []

    known, described = commands_of(csctl), commands_in(manual)
    for name in sorted(known.keys() | described.keys()):
        if name not in described or name not in known:
            faults.append(f'"{name}" is {"not in csctl(1)" if name in known else "no command of csctl"}')
        elif known[name] != described[name]:
            faults.append(f'"{name}" has {sorted(known[name])}, in csctl(1) {sorted(described[name])}')

    top = ask(csctl)
    named = set(OPTION.findall(re.search(r"\n# GLOBAL OPTIONS\n(.*?)\n# ", manual, re.S)[1])) - EVERYWHERE
    if named != options_of(top):
        faults.append(f"the global options are {sorted(options_of(top))}, in csctl(1) {sorted(named)}")
    for line in section(top, "Exit codes:"):
        code, meaning = line.split(None, 1)
        if f"*{code}*\n\t{meaning}\n" not in manual:
            faults.append(f"csctl(1) does not say that {code} means: {meaning}")

    tests = "\n".join(file.read_text() for file in (TREE / "tests").rglob("*.*") if file.suffix in (".cpp", ".txt"))
    for suite, name in re.findall(r"`([A-Z]\w+)\.([A-Z]\w+)`", (TREE / "README.md").read_text()):
        if f"({suite}, {name})" not in tests and f"{suite}.{name}" not in tests:
            faults.append(f"the README names {suite}.{name}, which is no test")

    print("\n".join(faults) or f"{len(known)} commands are described")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
