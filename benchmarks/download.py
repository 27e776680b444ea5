#!/usr/bin/env python3
"""Fetches 200 MB from the virtual cloud service with the program's HTTP client.

    tools/env benchmarks/download.py [BUILD]

BUILD is build/release. Prints time, memory and the longest stall of the main thread, beside those of a file of 1 MB; ends
with 1 where the memory grows by twice the file.
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
SIZES_MB = 1, 200
MOST_OF_FILE = 2.0


def main():
    build = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build/release")
    service = subprocess.Popen([sys.executable, ROOT / "emulator/cloud/vexo_cloud.py"], stdin=subprocess.PIPE,
                               stdout=subprocess.PIPE, text=True)
    port = json.loads(service.stdout.readline())["port"]
    kept = True
    with tempfile.TemporaryDirectory() as folder:
        for size in SIZES_MB:
            service.stdin.write(f"file a {size << 20}\n")
            service.stdin.flush()
            path = json.loads(service.stdout.readline())["path"]
            done = subprocess.run([build / "benchmarks/vexo_download_benchmark", f"http://127.0.0.1:{port}{path}",
                                   f"{folder}/a"], check=True, capture_output=True, text=True)
            print(done.stdout, end="")
            kept = float(re.search(r"\(([\d.]+) of the file", done.stdout)[1]) < MOST_OF_FILE
    service.stdin.close()
    service.wait()
    return 0 if kept else 1


if __name__ == "__main__":
    sys.exit(main())
