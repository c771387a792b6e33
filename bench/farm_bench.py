#!/usr/bin/python3
"""How long a submission, a status and a resume of 10,000 tiny frames take, on the cluster of
tests/jobs/farm_test.py.

usage: farm_bench.py ZELK PICTURE
"""

import pathlib
import re
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "jobs"))
sys.dont_write_bytecode = True

from farm_test import PARTITION, Case, call, running_cluster  # noqa: E402


def ten_thousand(root):
    """How long the commands take, not the frames: the partition is down while tasks wait."""
    count = 10000
    case = Case(root, "tiny", frames=count, size=(16, 16))

    def row(name, start):
        print(f"| {name} | {time.monotonic() - start:.2f} |", flush=True)

    def timed(name, *words):
        start = time.monotonic()
        said = case.zelk(*words, check=False)
        counts = dict(re.findall(r"^  (done|waiting) +(\d+)", said.stdout, re.M))
        row(name + "".join(f", {word} {count}" for word, count in counts.items() if count != "0"), start)
        return said.stdout

    submit = ("submit", "shot.zelk.json", "--engine", "slurm", "--memory", 100)
    job = case.job
    call(["scontrol", "update", f"partition={PARTITION}", "state=down"])
    timed("submit, 1000 tasks of 10", *submit, "--chunk", 10)
    timed("status", "submit", "status", job)
    timed("cancel", "submit", "cancel", job)
    timed("resume, 10,000 tasks of 1 (10 arrays)", "submit", "resume", job, "--chunk", 1)
    timed("status", "submit", "status", job)
    timed("cancel", "submit", "cancel", job)
    call(["scontrol", "update", f"partition={PARTITION}", "state=up"])
    timed("resume, 8 tasks of 1250", "submit", "resume", job, "--chunk", 1250)
    start = time.monotonic()
    case.await_end(1200)
    row("(the frames themselves, two cores)", start)
    timed("status", "submit", "status", job)
    timed("status --verify", "submit", "status", job, "--verify")
    for frame in (1, 5000, 10000):
        (case.folder / "out" / f"o.{frame:05}.png").unlink()
    said = timed("resume, 3 files removed", "submit", "resume", job)
    case.await_end()
    print(f"\n{said.splitlines()[0]}; {len(case.sums())} files at the end")


print("| 10,000 frames of 16x16 | seconds |\n|---|---|")
with running_cluster() as (folder, _):
    ten_thousand(folder)
