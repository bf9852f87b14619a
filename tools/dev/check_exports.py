#!/usr/bin/env python3
"""Checks a built opengl32.dll: the exported names are exactly those of the entry table, an alias shares the address of
its base name, and every imported library belongs to the system.

usage: check_exports.py DLL ENTRIES_DEF
Exit code 0 when all holds, 1 with one line a finding when not, 2 when a file cannot be read.
"""
import re
import struct
import sys

SYSTEM_LIBRARIES = {
    "kernel32.dll", "user32.dll", "gdi32.dll", "advapi32.dll", "msvcrt.dll", "comctl32.dll", "ole32.dll", "d3d11.dll",
    "dxgi.dll", "d2d1.dll", "dwrite.dll", "shell32.dll", "winmm.dll", "ntdll.dll", "uxtheme.dll", "shcore.dll",
    "api-ms-win-core-synch-l1-2-0.dll", "kernelbase.dll",
}
MACHINE_I386 = 0x14C
MACHINE_AMD64 = 0x8664


class Image:
    """The parts of a PE file that name what it gives and takes."""

    def __init__(self, data):
        self.data = data
        if data[:2] != b"MZ":
            raise ValueError("no MZ header")
        pe = self.u32(0x3C)
        if data[pe:pe + 4] != b"PE\0\0":
            raise ValueError("no PE header")
        self.machine, sections = struct.unpack_from("<HH", data, pe + 4)
        optional_size = self.u16(pe + 20)
        optional = pe + 24
        wide = self.u16(optional) == 0x20B
        self.directories = optional + (112 if wide else 96)
        self.wide = wide
        self.sections = []
        table = optional + optional_size
        for i in range(sections):
            size, address, raw_size, raw = struct.unpack_from("<IIII", data, table + 40 * i + 8)
            self.sections.append((address, max(size, raw_size), raw))

    def u16(self, at):
        return struct.unpack_from("<H", self.data, at)[0]

    def u32(self, at):
        return struct.unpack_from("<I", self.data, at)[0]

    def offset(self, address):
        for start, size, raw in self.sections:
            if start <= address < start + size:
                return raw + address - start
        raise ValueError("address 0x%X lies in no section" % address)

    def text(self, address):
        at = self.offset(address)
        return self.data[at:self.data.index(b"\0", at)].decode("ascii")

    def directory(self, index):
        return struct.unpack_from("<II", self.data, self.directories + 8 * index)

    def exports(self):
        """Name to address."""
        address, _ = self.directory(0)
        if address == 0:
            return {}
        at = self.offset(address)
        _, name_count, functions, names, ordinals = struct.unpack_from("<IIIII", self.data, at + 20)
        found = {}
        for i in range(name_count):
            name = self.text(self.u32(self.offset(names) + 4 * i))
            ordinal = self.u16(self.offset(ordinals) + 2 * i)
            found[name] = self.u32(self.offset(functions) + 4 * ordinal)
        return found

    def imports(self):
        """Names of the imported libraries, lower case."""
        address, _ = self.directory(1)
        found = []
        at = self.offset(address) if address else None
        while at is not None and self.u32(at + 12) != 0:
            found.append(self.text(self.u32(at + 12)).lower())
            at += 20
        return found


def table_rows(text):
    """(base name, aliases) of each row."""
    rows = []
    for kind, arguments in re.findall(r"^TLR2_(GL|WGL|WGL_STEM)\(([^)]*)", text, re.MULTILINE):
        fields = [field.strip() for field in arguments.split(",")]
        if kind == "GL":
            rows.append(("gl" + fields[0], ["_tlr2%s@%s" % (fields[0], fields[1])]))
        elif kind == "WGL":
            rows.append(("wgl" + fields[0], ["_vwgl2%s@%s" % (fields[0], fields[1])]))
        else:
            rows.append(("wgl" + fields[0], ["_vwgl2%s@%s" % (fields[1], fields[2]),
                                             "_vwgl2%s@%s" % (fields[0], fields[2])]))
    return rows


def findings(image, rows):
    exports = image.exports()
    with_aliases = image.machine == MACHINE_I386
    wanted = set()
    for base, aliases in rows:
        wanted.add(base)
        if not with_aliases:
            continue
        wanted.update(aliases)
        for alias in aliases:
            if base in exports and alias in exports and exports[base] != exports[alias]:
                yield "%s and %s are two functions" % (base, alias)
    if with_aliases and len(wanted) != 728:
        yield "the table gives %d names, not 728" % len(wanted)
    if len(rows) != 363:
        yield "the table has %d rows, not 363" % len(rows)
    for name in sorted(wanted - set(exports)):
        yield "not exported: " + name
    for name in sorted(set(exports) - wanted):
        yield "exported beside the table: " + name
    for name in image.imports():
        if name not in SYSTEM_LIBRARIES and not name.startswith("api-ms-win-"):
            yield "imports from " + name


def main(arguments):
    if len(arguments) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    try:
        with open(arguments[1], "rb") as file:
            image = Image(file.read())
        with open(arguments[2], encoding="ascii") as file:
            rows = table_rows(file.read())
    except (OSError, ValueError) as error:
        print("check_exports: %s" % error, file=sys.stderr)
        return 2
    found = list(findings(image, rows))
    for line in found:
        print(line)
    if not found:
        print("%d names on %d functions; imports: %s" % (len(image.exports()), len(set(image.exports().values())),
                                                         ", ".join(image.imports())))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
