#!/usr/bin/python3
"""Parses a file of history answer lines with pandas' C reader, as a yardstick for the parser.

Prints one line: "pandas seconds=<s> maxrss_kb=<kb> rows=<n>", the time taken inside
read_csv and the peak resident size of this process.
"""
import resource
import sys
import time

import pandas


def main() -> int:
    if len(sys.argv) != 2:
        print("usage: pandas_parse.py FILE", file=sys.stderr)
        return 2
    start = time.perf_counter()
    frame = pandas.read_csv(sys.argv[1], header=None, engine="c")
    seconds = time.perf_counter() - start
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    print(f"pandas seconds={seconds:.4f} maxrss_kb={peak} rows={len(frame)}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
