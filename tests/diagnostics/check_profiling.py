#!/usr/bin/env python3
"""Looks for the profiler in object files and libraries.

Usage: check_profiling.py NM on|off FILE...   With "off" not one symbol and not one scope's name may be left; with "on"
both must be there, in the files together. Prints what is not so; exit 1 then.
"""
import pathlib
import re
import subprocess
import sys

SYMBOL = re.compile(r"ScopeTimer|ScopeSeries|Profile(Node|Summary|Report|Reset|Mark|Root)|MergedProfile")
SCOPE = re.compile(rb"(?:tlr2|RJQ)(?:::\w+)+\0")


def main() -> int:
    nm, wanted, files = sys.argv[1], sys.argv[2] == "on", sys.argv[3:]
    symbols, scopes = set(), set()
    for file in files:
        listing = subprocess.run([nm, "-C", file], check=True, capture_output=True, text=True).stdout
        symbols |= {line.split(maxsplit=1)[-1] for line in listing.splitlines() if SYMBOL.search(line)}
        scopes |= {name[:-1].decode() for name in SCOPE.findall(pathlib.Path(file).read_bytes())}
    if wanted:
        findings = [] if symbols and len(scopes) >= 10 else [f"symbols {sorted(symbols)}, scopes {sorted(scopes)}"]
    else:
        findings = sorted(symbols | scopes)
    for finding in findings:
        print(finding)
    return 1 if findings or not files else 0


if __name__ == "__main__":
    sys.exit(main())
