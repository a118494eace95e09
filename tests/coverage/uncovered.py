#!/usr/bin/env python3
"""uncovered.py EXPORT EXCLUSIONS ROOT: tells which lines and branches of the library the
tests do not reach, apart from the exclusions, by what `llvm-cov export` wrote.

A branch is a condition, or an operand of "and" and "or", that was never true or never
false. Instances of a template and copies of an inline function count as one. Status 1 if
something is left, or if an exclusion excludes nothing.

An exclusion names code as the list does, "line: TEXT" or "never true: TEXT", or all lines
of a function or statement by the first, "block: TEXT".
"""

import collections
import json
import pathlib
import sys
import tomllib


def line_counts(segments):
    """How often each line that holds code was reached: the greatest count on it."""
    starts = collections.defaultdict(list)
    for segment in segments:
        starts[segment[0]].append(segment)
    counts = {}
    around = None  # the segment that goes on from an earlier line
    for line in range(segments[0][0], segments[-1][0] + 1) if segments else ():
        here = starts.get(line, [])
        entries = [count for _, _, count, counted, entry, gap in here
                   if counted and entry and not gap]
        skipped = here and not here[0][3] and here[0][4]
        if not skipped and (entries or (around and around[3])):
            counts[line] = max(entries + ([around[2]] if around else []))
        around = here[-1] if here else around
    return counts


def text_between(lines, begin, end):
    """A part of a source in one line."""
    part = lines[begin[0] - 1:end[0]]
    part[-1] = part[-1][:end[1] - 1]
    part[0] = part[0][begin[1] - 1:]
    return " ".join(" ".join(part).split())


def uncovered(source, lines):
    """The lines and branches of a file that nothing reached, as (line, kind, text), and the
    numbers of all lines and branches."""
    counts = line_counts(source["segments"])
    found = [(line, "line", " ".join(lines[line - 1].split()))
             for line, count in counts.items()
             if count == 0 and any(map(str.isalnum, lines[line - 1]))]
    branches = collections.defaultdict(lambda: [0, 0])
    for begin, column, end, end_column, true, false, *_ in source["branches"]:
        outcomes = branches[(begin, column), (end, end_column)]
        outcomes[0] += true
        outcomes[1] += false
    for (begin, end), outcomes in branches.items():
        if counts.get(begin[0], 1) == 0:
            continue  # the line says it
        for kind, count in zip(("never true", "never false"), outcomes):
            if count == 0:
                found.append((begin[0], kind, text_between(lines, begin, end)))
    return sorted(found), len(counts), 2 * len(branches)


def block(lines, text):
    """The numbers of the lines from one with this text to the brace below its beginning."""
    for first, line in enumerate(lines):
        if " ".join(line.split()) == text:
            brace = line[:len(line) - len(line.lstrip())] + "}"
            last = next(i for i in range(first + 1, len(lines)) if lines[i].startswith(brace))
            return range(first + 1, last + 2)
    return range(0)


def main(export, exclusions, root):
    files = json.loads(pathlib.Path(export).read_text())["data"][0]["files"]
    excluded = collections.defaultdict(dict)  # by file: what, and how often it was met
    for exclusion in tomllib.loads(pathlib.Path(exclusions).read_text())["exclusion"]:
        for code in exclusion["code"]:
            excluded[exclusion["file"]][code] = int(exclusion.get("sometimes", False))
    all_lines = all_branches = out = left = 0
    missed = collections.Counter()
    for source in sorted(files, key=lambda each: each["filename"]):
        path = pathlib.Path(source["filename"]).resolve()
        name = str(path.relative_to(root))
        lines = path.read_text().splitlines()
        found, line_count, branch_count = uncovered(source, lines)
        all_lines += line_count
        all_branches += branch_count
        codes = excluded[name]
        blocks = {code: block(lines, code.removeprefix("block: "))
                  for code in codes if code.startswith("block: ")}
        for line, kind, text in found:
            missed[kind == "line"] += 1
            met = [code for code in codes
                   if code == f"{kind}: {text}" or line in blocks.get(code, ())]
            for code in met:
                codes[code] += 1
            out += bool(met)
            left += not met
            if not met:
                print(f"{name}:{line}: {kind}: {text}")
    unused = [f"{name}: excludes nothing: {code}" for name, codes in excluded.items()
              for code, times in codes.items() if times == 0]
    print("\n".join(unused), end="\n" * bool(unused))
    print(f"{all_lines - missed[True]} of {all_lines} lines, "
          f"{all_branches - missed[False]} of {all_branches} branches; "
          f"of the others {out} are excluded, {left} are left")
    return 1 if left or unused else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
