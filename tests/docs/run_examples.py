#!/usr/bin/env python3
"""Runs the examples of documents and compares what they print.

    run_examples.py [--csctl DIRECTORY] [--update] FILE...

An example is a literal block (between lines of ```) that begins with "$ ": each
such line is a command of the shell, continued by lines that begin with "> ", and
the lines up to the next command are what a terminal then shows. The blocks of a
file share one shell, in a scratch directory that holds the tree's "examples", on
a host of its own below it. Identifiers that the store generates and times differ
at each run: one stands for another as long as the same one does throughout.
--update writes into the files what the commands printed.
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

TREE = pathlib.Path(__file__).resolve().parents[2]
CHANGING = re.compile(
    r"(?P<id>[0-9a-f]{8}(?:-[0-9a-f]{4}){3}-[0-9a-f]{12})|(?P<time>\d{4}-\d\d-\d\d[ T]\d\d:\d\d:\d\d)"
)


class Example:
    """One command, and the lines that it is said to print."""

    def __init__(self, line, at):
        self.at = at  # its line number, from 1
        self.source = [line]
        self.expected = []

    def script(self):
        return "\n".join(line[2:] for line in self.source)


def parse(lines):
    """Returns the examples among the lines of a file."""
    examples, inside, first = [], False, False
    for at, line in enumerate(lines, 1):
        if line.startswith("```"):
            inside, first = not inside, True
            current = None
            continue
        if not inside:
            continue
        if line.startswith("$ ") and (first or current):
            current = Example(line, at)
            examples.append(current)
        elif current and not current.expected and line.startswith("> "):
            current.source.append(line)
        elif current:
            current.expected.append(line)
        first = False
    return examples


def run(examples, directory, path):
    """Returns the output lines of each example."""
    mark = "-- end of an example --"
    script = []
    for example in examples:
        script += [example.script(), f"status=$?; printf '%s\\n' '{mark}'; (exit $status)"]
    environment = {**os.environ, "PATH": path, "HOME": str(directory), "LC_ALL": "C.UTF-8",
                   "HALDEN_ROOT": f"{directory}/host"}
    done = subprocess.run(["bash", "-c", "\n".join(script)], cwd=directory, env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120, check=False)
    parts = done.stdout.decode().split(mark + "\n")
    return [part.splitlines() for part in parts[:-1]]


class Likeness:
    """Whether lines are the same but for names and times that differ at each run."""

    def __init__(self):
        self.other = {}

    def same(self, expected, printed):
        if CHANGING.sub("*", expected) != CHANGING.sub("*", printed):
            return False
        for here, there in zip(CHANGING.finditer(expected), CHANGING.finditer(printed)):
            if here["id"] and self.other.setdefault(here["id"], there["id"]) != there["id"]:
                return False
        return True


def check(name, examples, outputs):
    """Reports the first example of a file that does not print what it should."""
    likeness = Likeness()
    for example, printed in zip(examples, outputs):
        expected = example.expected
        if len(expected) == len(printed) and all(map(likeness.same, expected, printed)):
            continue
        print(f"{name}:{example.at}: $ {example.script()}", *(f"  expected | {line}" for line in expected),
              *(f"  printed  | {line}" for line in printed), sep="\n")
        return False
    if len(outputs) != len(examples):
        print(f"{name}:{examples[len(outputs)].at}: the shell did not get past this example")
        return False
    print(f"{name}: {len(examples)} examples")
    return True


def update(file, lines, examples, outputs):
    """Puts what was printed in the place of what the file said, from its end on."""
    for example, printed in reversed(list(zip(examples, outputs))):
        begin = example.at - 1 + len(example.source)
        lines[begin:begin + len(example.expected)] = printed
    file.write_text("\n".join(lines) + "\n")


def main():
    options = argparse.ArgumentParser()
    options.add_argument("--csctl", help="the directory of the tool", default=None)
    options.add_argument("--update", action="store_true")
    options.add_argument("files", nargs="+", type=pathlib.Path)
    chosen = options.parse_args()
    path = ":".join(filter(None, [chosen.csctl, os.environ["PATH"]]))
    good = True
    for file in chosen.files:
        lines = file.read_text().splitlines()
        examples = parse(lines)
        with tempfile.TemporaryDirectory() as directory:
            shutil.copytree(TREE / "examples", pathlib.Path(directory) / "examples")
            (pathlib.Path(directory) / "host").mkdir()
            outputs = run(examples, pathlib.Path(directory), path)
        if chosen.update:
            update(file, lines, examples, outputs)
        else:
            good = check(file, examples, outputs) and good
    if not good:
        print('"scripts/examples --update" writes what is printed now into the documents; look at the change')
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
