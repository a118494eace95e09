#!/usr/bin/env python3
"""instructions.py REFERENCE FOLDER [--update]: compares counts of instructions.

FOLDER holds, for each benchmark program, the names of its works in PROGRAM.works and
callgrind's count of the n-th of them in PROGRAM.n. Works that differ from REFERENCE by
more than 5 %, are new there or are missing are told; that is no error, and the reader
decides. With --update REFERENCE is written.
"""

import csv
import pathlib
import re
import sys

MOVED = 0.05


def counts(folder):
    """{work: instructions}"""
    found = {}
    for names in sorted(folder.glob("*.works")):
        for number, work in enumerate(names.read_text().splitlines(), 1):
            text = names.with_suffix(f".{number}").read_text()
            found[work] = int(re.search(r"^(?:summary|totals): (\d+)", text, re.M)[1])
    return found


def main():
    reference_path, folder = map(pathlib.Path, sys.argv[1:3])
    found = counts(folder)
    if "--update" in sys.argv:
        with reference_path.open("w", newline="") as file:
            writer = csv.writer(file, lineterminator="\n")
            writer.writerow(["work", "instructions"])
            writer.writerows(sorted(found.items()))
        print(f"{len(found)} works are in {reference_path.name} now.")
        return
    with reference_path.open() as file:
        reference = {row["work"]: int(row["instructions"]) for row in csv.DictReader(file)}
    moved = 0
    for work in sorted(found.keys() | reference.keys()):
        before, now = reference.get(work), found.get(work)
        if before is None or now is None:
            print(f"{work}: {'new' if before is None else 'gone'}")
        elif abs(now - before) > MOVED * before:
            print(f"{work}: {before} -> {now} ({now / before - 1:+.1%})")
        else:
            continue
        moved += 1
    print(f"{moved} of {len(found)} works moved by more than {MOVED:.0%}.")


if __name__ == "__main__":
    main()
