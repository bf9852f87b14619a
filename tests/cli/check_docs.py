#!/usr/bin/env python3
"""Compares the lists of docs/replay-tool.md with what the tool says of itself.

Usage: check_docs.py TOOL DOCUMENT
Every command has a section "### <command>", in the tool's order, which names each of its options; every option a
section names is one of the command's; the table of exit codes has the tool's codes.
"""
import re
import subprocess
import sys

COMMON = {"--help", "--max-memory", "--max-seconds"}


def output(*command: str) -> str:
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def main() -> int:
    tool, document = sys.argv[1], open(sys.argv[2], encoding="utf-8").read()
    findings = []
    usage = output(tool, "help")
    commands = [name for name in re.findall(r"^  ([a-z][a-z-]*)  ", usage, re.MULTILINE) if name != "help"]
    sections = dict(re.findall(r"^### ([a-z-]+)\n(.*?)(?=^##|\Z)", document, re.MULTILINE | re.DOTALL))
    if list(sections) != commands:
        findings.append(f"sections {list(sections)}, commands {commands}")
    for name in commands:
        options = set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", output(tool, "help", name))) - COMMON
        told = set(re.findall(r"`(--[a-z][a-z-]*)", sections.get(name, ""))) - COMMON
        for option in sorted(options - told):
            findings.append(f"{name}: {option} is not told")
        for option in sorted(told - options):
            findings.append(f"{name}: there is no {option}")
    for option in sorted(COMMON - set(re.findall(r"`(--[a-z][a-z-]*)", document))):
        findings.append(f"{option} is not told")
    codes = re.findall(r"(\d) [a-z]", usage[usage.index("Exit codes"):])
    told = re.findall(r"^\| (\d) \|", document, re.MULTILINE)
    if codes != told:
        findings.append(f"exit codes {codes}, told {told}")
    for finding in findings:
        print(finding)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
