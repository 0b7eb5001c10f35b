#!/usr/bin/env python3
"""Runs a shell command several times and prints the median of its processor time and of its elapsed time in seconds, and
the highest peak memory in MiB.

    measure.py [-n RUNS] [-b 'command before each run'] 'command'
"""
import argparse
import os
import statistics
import subprocess
import time


def run(command):
    start = time.monotonic()
    process = subprocess.Popen(["bash", "-c", command], stdin=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        raise SystemExit(f"'{command}' ended with status {status}")
    return usage.ru_utime + usage.ru_stime, time.monotonic() - start, usage.ru_maxrss / 1024


parser = argparse.ArgumentParser()
parser.add_argument("-n", type=int, default=5)
parser.add_argument("-b", default="true")
parser.add_argument("command")
options = parser.parse_args()
results = []
for _ in range(options.n):
    subprocess.run(["bash", "-c", options.b], check=True, stdin=subprocess.DEVNULL)
    results.append(run(options.command))
print(
    f"{statistics.median(r[0] for r in results):.3f} {statistics.median(r[1] for r in results):.3f} "
    f"{max(r[2] for r in results):.1f}"
)
