#!/usr/bin/python3
"""Parses a file of history answer lines with pandas' C reader, as a yardstick for the parser.

Prints one line: "pandas seconds=<s> maxrss_kb=<kb> rows=<n>", the time taken inside
read_csv and the peak resident size of this process. With a second argument "header" the file's
first line names its columns.
"""
import resource
import sys
import time

import pandas


def main() -> int:
    if len(sys.argv) not in (2, 3):
        print("usage: pandas_parse.py FILE [header]", file=sys.stderr)
        return 2
    header = 0 if sys.argv[2:] == ["header"] else None
    start = time.perf_counter()
    frame = pandas.read_csv(sys.argv[1], header=header, engine="c")
    seconds = time.perf_counter() - start
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    print(f"pandas seconds={seconds:.4f} maxrss_kb={peak} rows={len(frame)}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
