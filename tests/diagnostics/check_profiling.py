#!/usr/bin/env python3
"""Looks for the profiler in object files and libraries.

Usage: check_profiling.py NM on|off FILE...   With "off" not one symbol, not one scope's name and none of the report's
texts may be left; with "on" all three kinds must be there, in the files together, so that a look for the wrong thing
shows. Prints what is not so; exit 1 then.
"""
import pathlib
import re
import subprocess
import sys

SYMBOL = re.compile(r"ScopeTimer|ScopeSeries|DividedScopes|Profile(Node|Summary|Report|Reset|Mark|Root)|MergedProfile")
SCOPE = re.compile(rb"(?:tlr2|RJQ)(?:::\w+)+\0")
TEXT = re.compile(rb"TLR2 scoped profile|<thread root>|<all threads>")


def main() -> int:
    nm, wanted, files = sys.argv[1], sys.argv[2] == "on", sys.argv[3:]
    symbols, scopes, texts = set(), set(), set()
    for file in files:
        listing = subprocess.run([nm, "-C", file], check=True, capture_output=True, text=True).stdout
        symbols |= {line.split(maxsplit=1)[-1] for line in listing.splitlines() if SYMBOL.search(line)}
        content = pathlib.Path(file).read_bytes()
        scopes |= {name[:-1].decode() for name in SCOPE.findall(content)}
        texts |= {text.decode() for text in TEXT.findall(content)}
    if wanted:
        complete = symbols and len(scopes) >= 10 and len(texts) == 3
        findings = [] if complete else [f"symbols {sorted(symbols)}, scopes {sorted(scopes)}, texts {sorted(texts)}"]
    else:
        findings = sorted(symbols | scopes | texts)
    for finding in findings:
        print(finding)
    return 1 if findings or not files else 0


if __name__ == "__main__":
    sys.exit(main())
