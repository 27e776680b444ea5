"""Runs built fuzz targets and prints a table; see tools/fuzz, which builds them and calls this."""

import argparse
import concurrent.futures
import json
import os
import re
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
CORPORA = ROOT / "tests/fuzz/corpus"
DICTIONARIES = ROOT / "tests/fuzz/dictionaries"
FUZZED = ROOT / "build/asan/tests/fuzz"
COUNTED = ROOT / "build/coverage/tests/fuzz"
# How long one input may take.
LONGEST_INPUT_S = 20
HEADINGS = ("target", "runs", "runs/s", "corpus", "lines", "reached", "found")


def failures(target):
    """The inputs on which the target has failed, in this run or an earlier one."""
    found = FUZZED / f"{target}-found"
    return sorted(path for kind in ("crash", "timeout", "oom", "leak") for path in found.glob(f"{kind}-*"))


def fuzz(target, seconds):
    """Runs the target; returns its log."""
    found = FUZZED / f"{target}-found"
    found.mkdir(exist_ok=True)
    name = target.removeprefix("fuzz_")
    command = [
        FUZZED / target, f"-max_total_time={seconds}", f"-timeout={LONGEST_INPUT_S}", "-print_final_stats=1",
        "-reload=0", f"-artifact_prefix={found}/"]
    if (DICTIONARIES / name).exists():
        command.append(f"-dict={DICTIONARIES / name}")
    log = FUZZED / f"{target}.log"
    with open(log, "wb") as output:
        subprocess.run([*command, found, CORPORA / name], stdout=output, stderr=output, check=False)
    return log.read_text(errors="replace")


def sound_inputs(target, folder):
    """Fills a folder with links to the inputs on which the target has not failed: a failure ends its run."""
    folder.mkdir()
    inputs = [*(CORPORA / target.removeprefix("fuzz_")).iterdir(), *(FUZZED / f"{target}-found").iterdir()]
    for index, path in enumerate(sorted(set(inputs) - set(failures(target)))):
        (folder / str(index)).symlink_to(path)
    return folder


def coverage(target):
    """Counts the lines of the files that the target covers, and those that its inputs reach; nothing where it fails."""
    covered = [str(ROOT / line) for line in (COUNTED / f"{target}.covers").read_text().split()]
    with tempfile.TemporaryDirectory() as folder:
        raw, merged = Path(folder, "raw"), Path(folder, "merged")
        ended = subprocess.run(
            [COUNTED / target, "-runs=0", f"-artifact_prefix={folder}/", sound_inputs(target, Path(folder, "inputs"))],
            check=False, env={**os.environ, "LLVM_PROFILE_FILE": str(raw)}, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        if ended.returncode != 0:
            print(f"fuzz: {target} ended with {ended.returncode} while its lines were counted", flush=True)
            return None
        subprocess.run(["llvm-profdata", "merge", "-sparse", raw, "-o", merged], check=True)
        summary = subprocess.run(
            ["llvm-cov", "export", "-summary-only", f"-instr-profile={merged}", COUNTED / target, *covered],
            check=True, capture_output=True).stdout
    lines = json.loads(summary)["data"][0]["totals"]["lines"]
    return lines["count"], lines["covered"]


def number(pattern, log):
    """The last number of the log that the pattern finds."""
    numbers = re.findall(pattern, log)
    return int(numbers[-1]) if numbers else 0


def measure(target, seconds):
    """Runs one target and returns its row of the table."""
    begin = time.monotonic()
    log = fuzz(target, seconds)
    lasted = max(1, round(time.monotonic() - begin))
    runs = number(r"stat::number_of_executed_units:\s+(\d+)", log) or number(r"(?m)^#(\d+)", log)
    corpus = re.findall(r" corp: (\d+)/(\S+)", log)
    count, reached = coverage(target) or (0, 0)
    found = failures(target)
    row = (
        target.removeprefix("fuzz_"), f"{runs:,}", f"{runs // lasted:,}", "/".join(corpus[-1]) if corpus else "-",
        str(count) if count else "-", f"{100 * reached / count:.1f} %" if count else "-",
        f"{len(found)} inputs" if found else "nothing")
    print(f"fuzz: {row[0]}: {row[1]} runs in {lasted} s, found {row[6]}", flush=True)
    return row


def print_table(rows):
    """Prints the rows in columns."""
    table = [HEADINGS, *rows]
    widths = [max(len(row[column]) for row in table) for column in range(len(HEADINGS))]
    for row in table:
        cells = [row[0].ljust(widths[0])] + [cell.rjust(width) for cell, width in zip(row[1:], widths[1:])]
        print("  ".join(cells))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--minutes", type=float, required=True, help="of the whole run")
    parser.add_argument("targets", nargs="+")
    words = parser.parse_args()
    at_once = min(os.cpu_count() or 1, len(words.targets))
    seconds = max(1, round(words.minutes * 60 * at_once / len(words.targets)))
    print(f"fuzz: {len(words.targets)} targets, {at_once} at once, {seconds} s for each", flush=True)
    with concurrent.futures.ThreadPoolExecutor(at_once) as pool:
        rows = list(pool.map(lambda target: measure(target, seconds), words.targets))
    print_table(rows)
    print("lines: of the parser; reached: those that the corpus runs; documents in QML are not counted")
    for target in words.targets:
        for path in failures(target):
            print(f"fuzz: {target} fails on {path.relative_to(ROOT)}")
    return 1 if any(failures(target) for target in words.targets) else 0


if __name__ == "__main__":
    sys.exit(main())
