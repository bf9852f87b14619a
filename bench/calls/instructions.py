"""For gdb: the instructions of one call in the middle of a run, by source line.

usage: gdb -q -batch -x bench/calls/instructions.py --args bench_calls LIBRARY --rounds 2 --only glVertex3f
It counts what a profiler counts over many calls, also in the 32-bit library: valgrind offers 32-bit programs no
SSE4.1, without which the driver does not load.
"""
import collections
import os

import gdb

WARM_UP = 5000  # into the second round: the thread is known, all is reserved


def frame_line():
    sal = gdb.selected_frame().find_sal()
    if sal.symtab is None:
        return "?"
    return f"{os.path.basename(sal.symtab.filename)}:{sal.line}"


def main():
    arguments = gdb.execute("show args", to_string=True).rsplit('"', 2)[1].split()
    name = arguments[arguments.index("--only") + 1]
    gdb.execute("set breakpoint pending on")
    gdb.execute("set pagination off")
    gdb.execute("set confirm off")
    point = gdb.Breakpoint(name)
    point.ignore_count = WARM_UP
    gdb.execute("run", to_string=True)
    # The breakpoint stands behind what sets up the frame: the next call is counted from its first instruction.
    point.delete()
    entry = gdb.Breakpoint(f"*{name}")
    gdb.execute("continue", to_string=True)
    entry.delete()
    gdb.execute("set suppress-cli-notifications on")  # each step would be told
    stack = int(gdb.parse_and_eval("$sp"))
    lines, order = collections.Counter(), []
    while int(gdb.parse_and_eval("$sp")) <= stack:
        line = frame_line()
        if line not in lines:
            order.append((line, gdb.selected_frame().find_sal()))
        lines[line] += 1
        gdb.execute("stepi", to_string=True)
    print(f"{sum(lines.values())} instructions of {name}")
    for line, sal in order:
        source = ""
        if sal.symtab is not None and os.path.exists(sal.symtab.fullname()):
            with open(sal.symtab.fullname(), encoding="utf-8") as file:
                source = file.read().splitlines()[sal.line - 1].strip()
        print(f"{lines[line]:5}  {line:28} {source}")
    gdb.execute("kill", to_string=True)


main()
