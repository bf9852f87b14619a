#!/usr/bin/env python3
"""Ctrl-C in the middle of a Windows program's output ends it with its message and exit code.

Usage: interrupt_test.py TOOL COMMAND...   COMMAND runs the tool
"""
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent


def process_of(tool: str) -> int:
    """The system's process that runs the tool, which is not the one that was started."""
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            words = (folder / "cmdline").read_bytes().split(b"\0")
        except OSError:
            continue
        if words[0] == tool.encode():
            return int(folder.name)
    return 0


def main() -> int:
    tool, command = sys.argv[1], sys.argv[2:]
    with tempfile.TemporaryDirectory(prefix="tlr2-cli-") as folder:
        subprocess.run([sys.executable, HERE / "make_captures.py", folder], check=True)
        # A path of its own, by which the process is known. Nobody reads on, so that the program waits in its output.
        known = os.path.join(folder, "tlr2_replay.exe")
        os.symlink(tool, known)
        program = subprocess.Popen([*command, known, "calls", "endless.tlr2-capture"], cwd=folder,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        program.stdout.read(1)
        time.sleep(0.2)
        process = process_of(known)
        if process:
            os.kill(process, signal.SIGINT)
        _, errors = program.communicate(timeout=120)
    errors = errors.decode("utf-8", "replace")
    print(f"process {process}, exit code {program.returncode}, {errors!r}")
    return 0 if process and program.returncode == 4 and errors == "tlr2_replay: interrupted\n" else 1


if __name__ == "__main__":
    sys.exit(main())
