#!/usr/bin/env python3
"""document.py PAGE FOLDER: puts what was measured into docs/performance.md.

What stands in PAGE between two marks is replaced by FOLDER's tables, and the plots are
copied to the folder beside PAGE that has its name.
"""

import pathlib
import platform
import shutil
import sys

BEGIN, END = "<!-- measured by scripts/bench --document -->", "<!-- end -->"
FEATURES = "sse4_2 pclmulqdq avx2 bmi2 avx512f avx512bw avx512vbmi vpclmulqdq".split()


def processor():
    fields = {}
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        name, _, value = line.partition(":")
        fields.setdefault(name.strip(), value.strip())
    has = [feature for feature in FEATURES if feature in fields["flags"].split()]
    cache = pathlib.Path("/sys/devices/system/cpu/cpu0/cache/index2/size")
    second = f", {cache.read_text().strip()} of second-level cache" if cache.exists() else ""
    system = ".".join(platform.release().split(".")[:2])
    return f"{fields['model name']} with {', '.join(has)}{second}; Linux {system}"


def main():
    page, folder = map(pathlib.Path, sys.argv[1:])
    text = page.read_text()
    before, rest = text.split(BEGIN)
    after = rest.split(END)[1]
    measured = "\n\n".join(
        [
            processor() + ".",
            (folder / "table.md").read_text().strip(),
            (folder / "growth.md").read_text().strip(),
        ]
    )
    page.write_text(f"{before}{BEGIN}\n\n{measured}\n\n{END}{after}")
    plots = page.with_suffix("")
    plots.mkdir(exist_ok=True)
    for plot in ("growth-sections.svg", "growth.svg"):
        shutil.copy(folder / plot, plots)


if __name__ == "__main__":
    main()
