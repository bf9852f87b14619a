#!/usr/bin/env python3
"""Runs command lines of tlr2_replay and compares what they print and how they end with what stands beside them.

Usage: run.py TOOL CASES [--update] [--through COMMAND] [--skip NAME]... [NAME...]
A case is NAME.sh, run by sh in a folder of its own with the captures of make_captures.py and the tool in its path.
Beside it stand NAME.stdout and NAME.stderr, each left out when empty, and NAME.exit, left out for 0. --update writes
them. In them, a line "..." stands for any lines. --through runs the tool by a command, as for programs of Windows.
"""
import argparse
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent


def expected(path: pathlib.Path) -> str:
    return path.read_text(encoding="utf-8") if path.exists() else ""


def matches(text: str, pattern: str) -> bool:
    if "\n...\n" not in "\n" + pattern:
        return text == pattern
    parts = ("\n" + pattern).split("\n...\n")
    text = "\n" + text
    if not text.startswith(parts[0] + "\n") and text.rstrip("\n") != parts[0]:
        return False
    at = len(parts[0])
    for part in parts[1:-1]:
        at = text.find("\n" + part + "\n", at)
        if at < 0:
            return False
        at += len(part) + 1
    return text.endswith(("\n" if parts[-1] else "") + parts[-1]) and len(text) - len(parts[-1]) >= at


def write(path: pathlib.Path, text: str) -> None:
    if text:
        path.write_text(text, encoding="utf-8")
    elif path.exists():
        path.unlink()


def wrap(folder: pathlib.Path, command: str, tool: pathlib.Path) -> pathlib.Path:
    """A script under the tool's name that runs it by `command`."""
    wrapper = folder / "tlr2_replay"
    wrapper.write_text(f'#!/bin/sh\nexec {command} {shlex.quote(str(tool))} "$@"\n', encoding="utf-8")
    wrapper.chmod(0o755)
    return wrapper


def run_case(script: pathlib.Path, tool: pathlib.Path) -> tuple[str, str, str]:
    with tempfile.TemporaryDirectory(prefix="tlr2-cli-") as folder:
        subprocess.run([sys.executable, HERE / "make_captures.py", folder], check=True)
        environment = dict(os.environ, PATH=f"{tool.parent}{os.pathsep}{os.environ['PATH']}", LC_ALL="C")
        done = subprocess.run(["sh", script.resolve()], cwd=folder, env=environment, stdin=subprocess.DEVNULL, timeout=300,
                              capture_output=True)
    code = "" if done.returncode == 0 else f"{done.returncode}\n"
    return done.stdout.decode("utf-8", "replace"), done.stderr.decode("utf-8", "replace"), code


def main() -> int:
    parser = argparse.ArgumentParser()
    parser.add_argument("tool", type=pathlib.Path)
    parser.add_argument("cases", type=pathlib.Path)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--through")
    parser.add_argument("--skip", action="append", default=[])
    parser.add_argument("names", nargs="*")
    arguments = parser.parse_intermixed_args()
    scripts = [script for script in sorted(arguments.cases.glob("*.sh")) if script.stem not in arguments.skip]
    if arguments.names:
        scripts = [script for script in scripts if script.stem in arguments.names]
        if missing := set(arguments.names) - {script.stem for script in scripts}:
            parser.error(f"no case {', '.join(sorted(missing))}")
    tool = arguments.tool.resolve()
    with tempfile.TemporaryDirectory(prefix="tlr2-cli-tool-") as folder:
        if arguments.through:
            tool = wrap(pathlib.Path(folder), arguments.through, tool)
        return run_all(scripts, tool, arguments.update)


def run_all(scripts: list[pathlib.Path], tool: pathlib.Path, update: bool) -> int:
    failed = 0
    for script in scripts:
        results = run_case(script, tool)
        for suffix, got in zip((".stdout", ".stderr", ".exit"), results):
            beside = script.with_suffix(suffix)
            wanted = expected(beside)
            if update:
                if not matches(got, wanted):
                    write(beside, got)
            elif not matches(got, wanted):
                failed += 1
                print(f"{script.stem}{suffix}:\n--- expected\n{wanted}--- got\n{got}")
    print(f"{len(scripts)} cases, {failed} differences")
    return 1 if failed or not scripts else 0


if __name__ == "__main__":
    sys.exit(main())
