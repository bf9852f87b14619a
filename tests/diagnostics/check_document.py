#!/usr/bin/env python3
"""Compares the lists of docs/diagnostics.md with the sources that they tell of.

Usage: check_document.py ROOT. Prints one line a difference; exit 1 when there is any.
"""
import pathlib
import re
import sys


def main() -> int:
    root = pathlib.Path(sys.argv[1])
    document = (root / "docs/diagnostics.md").read_text(encoding="utf-8")
    sources = {path: path.read_text(encoding="utf-8") for path in sorted((root / "src").rglob("*.cpp"))}
    code = "\n".join(sources.values())
    findings = []

    def compare(what: str, told: set, real: set) -> None:
        if not real:
            findings.append(f"{what}: none found in the sources")
        findings.extend(f"{what}: {name} is not told" for name in sorted(real - told))
        findings.extend(f"{what}: there is no {name}" for name in sorted(told - real))

    def section(title: str) -> str:
        return re.search(rf"^##+ {title}\n(.*?)(?=^##|\Z)", document, re.MULTILINE | re.DOTALL).group(1)

    def row(name: str) -> set:
        return set(re.findall(r"`([^`]+)`", re.search(rf"^\| `{name}` \|(.*)\|$", document, re.MULTILINE).group(1)))

    environment = set(re.findall(r"^\| `(TLR2_\w+)` \|", section("Environment"), re.MULTILINE))
    compare("variables", environment, set(re.findall(r'ReadEnvironment\w*\("(TLR2_\w+)"', code)))
    scopes = set(re.findall(r"^\| `([\w:]+)` \|", section("Scopes"), re.MULTILINE))
    compare("scopes", scopes, set(re.findall(r'(?:ScopeTimer|ScopeSeries|DividedScopes) \w+\("([^"]+)"', code)))
    files = set(re.findall(r"^\| `(TLR2_[^`]+)` \|", document[:document.index("## The call summary")], re.MULTILINE))
    compare("files", files, set(re.findall(r'"(TLR2_[^"]+\.(?:log|tlr2-\w+))"', code)))

    config = sources[root / "src/tiles/runtime_config.cpp"]
    cutoffs = config[config.index("kCutoffSpellings[]"):]
    cutoffs = set(re.findall(r'"([^"]+)"', cutoffs[:cutoffs.index("};")]))
    compare("cutoffs", row("TLR2_PIPELINE_CUTOFF"), cutoffs)
    targets = config[config.index("kIsaSpellings[]"):]
    targets = set(re.findall(r'\{"([^"]+)"', targets[:targets.index("};")]))
    compare("targets", row("TLR2_ISA"), targets)
    readme = set(re.findall(r"^\| `(TLR2_\w+)` \|", (root / "README.md").read_text(encoding="utf-8"), re.MULTILINE))
    compare("variables of README.md", readme, environment)

    print("\n".join(findings), end="\n" if findings else "")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
