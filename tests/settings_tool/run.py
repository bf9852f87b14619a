#!/usr/bin/env python3
"""Runs tlr2_settings against a store of its own and compares the document of settings with what it lists.

usage: run.py DOCUMENT COMMAND...
"""
import os
import re
import subprocess
import sys
import tempfile

document, command = sys.argv[1], sys.argv[2:]
failures = 0


def check(good, what):
    global failures
    print(("ok     " if good else "FAILED ") + what)
    failures += 0 if good else 1


def run(*arguments):
    # Files, not pipes: Wine's own server, when a launch starts it, holds a pipe open for seconds after the tool's end.
    with tempfile.TemporaryFile("w+") as out, tempfile.TemporaryFile("w+") as err:
        code = subprocess.run(command + list(arguments), stdin=subprocess.DEVNULL, stdout=out, stderr=err).returncode
        out.seek(0)
        err.seek(0)
        printed, told = out.read(), err.read()
    # Wine and its display have things of their own to say.
    errors = [line for line in told.splitlines() if line.startswith(("tlr2_settings", "usage", "  "))]
    return code, printed.replace("\r", "").splitlines(), errors


def refused(what, *arguments):
    code, lines, errors = run(*arguments)
    check(code == 2 and lines == [] and len(errors) == 1, "%s: one line and exit code 2, got %d, %s" % (what, code, errors))
    return errors[0] if errors else ""


def listed():
    code, lines, _ = run("list")
    check(code == 0 and lines[0].split() == ["Name", "Value", "Range", "Built-in", "Effect"], "list has its heading")
    rows = [re.match(r"(\w+) +(-?\d+)  (-?\d+ to -?\d+) +(-?\d+)  (.+)$", line) for line in lines[1:]]
    check(all(rows), "list has a line a setting")
    return [row.groups() for row in rows if row]


store = tempfile.TemporaryDirectory()
os.environ["XDG_CONFIG_HOME"] = store.name
run("reset")

rows = listed()
check(len(rows) == 18, "eighteen settings")
check(all(value == built_in for _, value, _, built_in, _ in rows), "without a store they have their built-in values")

# A launch takes its time under Wine: there, what the registry could change is looked at for two of the first kind of
# range and the one below zero, and the others are stored and listed.
windows = command[-1].endswith(".exe")
for name, _, limits, built_in, _ in rows if not windows else rows[13:15] + rows[-1:]:
    least, most = limits.split(" to ")
    for value in (least, most):
        check(run("set", name, value)[0] == 0, "set %s %s" % (name, value))
        check(run("get", name)[1] == [value], "get %s gives it back" % name)
    message = refused("above", "set", name, str(int(most) + 1))
    check(name in message and limits.replace(" to ", " to ") in message, "the line names the setting and its range")
    refused("below", "set", name, str(int(least) - 1))
    check(run("get", name)[1] == [most], "a refused value changes nothing")
    check(run("reset", name)[0] == 0 and run("get", name)[1] == [built_in], "reset %s" % name)

# Last first, and each at the end of its range that it does not have by itself.
stored = {}
for name, _, limits, built_in, _ in reversed(rows):
    least, most = limits.split(" to ")
    stored[name] = least if built_in == most else most
    check(run("set", name, stored[name])[0] == 0, "set %s among others" % name)
check({row[0]: row[1] for row in listed()} == stored, "all eighteen stand beside one another")
check(run("reset")[0] == 0 and all(row[1] == row[3] for row in listed()), "reset forgets all eighteen")

check("NoSuchName" in refused("an unknown name, got", "get", "NoSuchName"), "the line has the name")
refused("an unknown name, set", "set", "NoSuchName", "1")
refused("an unknown name, reset", "reset", "GammaX100", "NoSuchName")
for text in ("", "12x", "x", "-", "0x10", "99999999999999999999", "1.5"):
    refused("'%s'" % text, "set", "WorkerLimit", text)
check(run("set", "gammax100", "130")[0] == 0 and run("get", "GAMMAX100")[1] == ["130"], "names have no case")
check(run("set", "HueDeg", "-20")[0] == 0 and run("get", "HueDeg")[1] == ["-20"], "negative values")
check({row[0]: row[1] for row in listed()}["HueDeg"] == "-20", "list shows what is stored")
check(run("reset")[0] == 0, "reset of all")
check(all(value == built_in for _, value, _, built_in, _ in listed()), "forgets all")
for arguments in ((), ("get",), ("set", "HueDeg"), ("list", "x"), ("unknown",)):
    code, lines, errors = run(*arguments)
    check(code == 2 and lines == [] and errors and errors[0].startswith("usage"), "usage for %s" % (arguments,))
check(run("--help")[0] == 0 and run("--help")[1][0].startswith("usage"), "help is no error")

if not windows:
    config = os.path.join(store.name, "tlr2", "driver.conf")
    os.makedirs(os.path.dirname(config), exist_ok=True)
    with open(config, "w", encoding="utf-8") as file:
        file.write("# mine\nGammaX100=dword:900\nForceFilter=text\n")
    check(run("get", "GammaX100")[1] == ["150"], "a value beyond the range loads as its end")
    check(run("get", "ForceFilter")[1] == ["0"], "a text loads as nothing")
    run("reset", "GammaX100")
    with open(config, encoding="utf-8") as file:
        check(file.read() == "# mine\nForceFilter=text\n", "reset leaves the other lines")
    os.environ["XDG_CONFIG_HOME"] = "/proc/nowhere"
    code, _, errors = run("set", "GammaX100", "120")
    check(code == 1 and len(errors) == 1, "a store that cannot be written is told, exit code 1")

with open(document, encoding="utf-8") as file:
    told = [[cell.strip() for cell in line.strip().strip("|").split("|")] for line in file if line.startswith("| `")]
told = [cells for cells in told if len(cells) == 4]
check([(cells[0].strip("`"), cells[1], cells[2], cells[3]) for cells in told]
      == [(name, limits, built_in, effect) for name, _, limits, built_in, effect in rows],
      "the document tells each setting as the tool does")
print("%d failed" % failures)
sys.exit(1 if failures else 0)
