#!/usr/bin/env python3
"""instructions.py KEPT DUMP...: prints the instructions of each path of instructions.cpp from callgrind's dumps, beside
the kept ones. With --keep the file KEPT is written anew."""

import argparse
from pathlib import Path

REQUEST = "desc: Trigger: Client Request: "


def counted(dump):
    """(path, instructions an operation), or None for the dump at the program's end."""
    lines = Path(dump).read_text().splitlines()
    request = next((line for line in lines if line.startswith(REQUEST)), None)
    if request is None:
        return None
    operations, path = request.removeprefix(REQUEST).split(" ", 1)
    total = next(line for line in lines if line.startswith("totals: "))
    return path, int(total.split()[1]) / int(operations)


def main():
    arguments = argparse.ArgumentParser(description=__doc__)
    arguments.add_argument("kept", type=Path)
    arguments.add_argument("dumps", nargs="+", type=Path)
    arguments.add_argument("--keep", action="store_true")
    given = arguments.parse_args()
    dumps = sorted(given.dumps, key=lambda dump: int(dump.suffix[1:]))  # the order of the program
    paths = [path for path in map(counted, dumps) if path is not None]
    if given.keep:
        given.kept.write_text("".join(f"{path}\t{instructions:.1f}\n" for path, instructions in paths))
    kept = dict(line.split("\t") for line in given.kept.read_text().splitlines())
    print("| path | instructions | kept | change |\n|---|--:|--:|--:|")
    for path, instructions in paths:
        before = float(kept.get(path, "nan"))
        print(f"| {path} | {instructions:,.1f} | {before:,.1f} | {instructions / before - 1:+.1%} |")


if __name__ == "__main__":
    main()
