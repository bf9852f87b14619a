#!/usr/bin/env python3
"""Assembles the presentation's two shaders to shader model 4.0 containers and writes them as C++ byte arrays.

    shader_assembler.py                 rewrite src/present/shaders/post_process_shaders.h
    shader_assembler.py --check         fail unless that file is what the sources give
    shader_assembler.py --binary DIR    write the containers as post_process_vs.dxbc and post_process_ps.dxbc
    shader_assembler.py --verify FILE   check the checksum and the chunks of any container, and list them

A source line is a declaration or an instruction; `;` starts a comment. Operands: r temporary, v input, o output,
t texture, s sampler, cbN[M] constant, l(...) literal (with a point: float, without: integer). A source operand has one
component (replicated) or four (a swizzle); a destination has a write mask.
"""
import os
import re
import struct
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
FOLDER = os.path.join(ROOT, "src", "present", "shaders")
HEADER = os.path.join(FOLDER, "post_process_shaders.h")
PROGRAMS = [("post_process_vs", "kPostProcessVertexShader"), ("post_process_ps", "kPostProcessPixelShader")]
CREATOR = "TLR2 shader assembler"

# name: (opcode, destinations, sources)
OPCODES = {
    "add": (0, 1, 2), "and": (1, 1, 2), "dp3": (16, 1, 2), "exp": (25, 1, 1), "ishl": (41, 1, 2), "log": (47, 1, 1),
    "mad": (50, 1, 3), "min": (51, 1, 2), "max": (52, 1, 2), "mov": (54, 1, 1), "mul": (56, 1, 2), "ret": (62, 0, 0),
    "sample": (69, 1, 3), "sincos": (77, 2, 1), "utof": (86, 1, 1),
}
DCL_RESOURCE, DCL_CONSTANT_BUFFER, DCL_SAMPLER, DCL_INPUT, DCL_INPUT_SGV = 88, 89, 90, 95, 96
DCL_INPUT_PS, DCL_INPUT_PS_SIV, DCL_OUTPUT, DCL_OUTPUT_SIV, DCL_TEMPS = 98, 100, 101, 103, 104
SATURATE = 1 << 13
REGISTERS = {"r": 0, "v": 1, "o": 2, "s": 6, "t": 7}
IMMEDIATE, CONSTANT_BUFFER = 4, 8
SYSTEM_VALUES = {"position": 1, "vertex_id": 6}
COMPONENT_TYPES = {"uint": 1, "int": 2, "float": 3}
LINEAR, LINEAR_NOPERSPECTIVE = 2, 4


class SourceError(Exception):
    pass


# ---- Container ---------------------------------------------------------------------------------------------------

def md5_transform(state, block):
    """One round of MD5 over 64 bytes."""
    import math
    shifts = [(7, 12, 17, 22), (5, 9, 14, 20), (4, 11, 16, 23), (6, 10, 15, 21)]
    words = struct.unpack("<16I", block)
    a, b, c, d = state
    for i in range(64):
        if i < 16:
            f, g = (b & c) | (~b & d), i
        elif i < 32:
            f, g = (d & b) | (~d & c), (5 * i + 1) % 16
        elif i < 48:
            f, g = b ^ c ^ d, (3 * i + 5) % 16
        else:
            f, g = c ^ (b | (~d & 0xFFFFFFFF)), (7 * i) % 16
        f = (f + a + int(abs(math.sin(i + 1)) * 4294967296) + words[g]) & 0xFFFFFFFF
        s = shifts[i // 16][i % 4]
        a, d, c, b = d, c, b, (b + ((f << s) | (f >> (32 - s)))) & 0xFFFFFFFF
    return [(x + y) & 0xFFFFFFFF for x, y in zip(state, (a, b, c, d))]


def container_checksum(data):
    """The container's checksum over everything behind it: MD5's rounds with a closing block of its own."""
    state = [0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476]
    whole = len(data) // 64 * 64
    for i in range(0, whole, 64):
        state = md5_transform(state, data[i:i + 64])
    rest = data[whole:]
    bits = struct.pack("<I", len(data) * 8 & 0xFFFFFFFF)
    end = struct.pack("<I", (len(data) * 2 | 1) & 0xFFFFFFFF)
    if len(rest) >= 56:
        state = md5_transform(state, (rest + b"\x80").ljust(64, b"\0"))
        state = md5_transform(state, bits + b"\0" * 56 + end)
    else:
        state = md5_transform(state, (bits + rest + b"\x80").ljust(60, b"\0") + end)
    return struct.pack("<4I", *state)


def container(chunks):
    offset = 32 + 4 * len(chunks)
    offsets, body = [], b""
    for tag, data in chunks:
        offsets.append(offset + len(body))
        body += tag + struct.pack("<I", len(data)) + data
    rest = struct.pack("<III", 1, offset + len(body), len(chunks))
    rest += struct.pack("<%dI" % len(offsets), *offsets) + body
    return b"DXBC" + container_checksum(rest) + rest


def verify(data):
    """Returns the chunks of a container as (tag, bytes); raises SourceError when anything in its frame is wrong."""
    if len(data) < 32 or data[:4] != b"DXBC":
        raise SourceError("no container")
    if data[4:20] != container_checksum(data[20:]):
        raise SourceError("wrong checksum")
    one, size, count = struct.unpack_from("<III", data, 20)
    if one != 1 or size != len(data):
        raise SourceError("wrong version or size")
    chunks = []
    end = 32 + 4 * count
    for offset in struct.unpack_from("<%dI" % count, data, 32):
        if offset != end or offset % 4:
            raise SourceError("chunks do not follow each other")
        tag, length = struct.unpack_from("<4sI", data, offset)
        chunks.append((tag.decode(), data[offset + 8:offset + 8 + length]))
        end = offset + 8 + length
    if end != size:
        raise SourceError("bytes behind the last chunk")
    return chunks


def pad4(data):
    return data + b"\xab" * (-len(data) % 4)


class Strings:
    """Zero-terminated strings behind a fixed-size part, each stored once."""

    def __init__(self, base):
        self.base, self.data, self.known = base, b"", {}

    def offset(self, text):
        if text not in self.known:
            self.known[text] = self.base + len(self.data)
            self.data += text.encode() + b"\0"
        return self.known[text]


def signature(elements):
    strings = Strings(8 + 24 * len(elements))
    body = struct.pack("<II", len(elements), 8)
    for e in elements:
        body += struct.pack("<IIIIIBBH", strings.offset(e["name"]), 0, e["system"], e["type"], e["register"], e["mask"],
                            e["used"], 0)
    return pad4(body + strings.data)


def resource_definitions(program):
    """Names and layout of the bound resources, for tools that look into the container. The order of the parts is the
    usual one, on which readers rely: bindings, their names, buffers, fields, types and names of fields, creator."""
    bindings = [(n, 3, 0, 0, 0, slot, 0) for n, slot in program["samplers"]]
    bindings += [(n, 2, 5, 4, 0xFFFFFFFF, slot, 0xC) for n, slot in program["textures"]]
    bindings += [(b["name"], 0, 0, 0, 0, b["slot"], 0) for b in program["buffers"]]
    names = Strings(28 + 32 * len(bindings))
    binding_part = b"".join(struct.pack("<8I", names.offset(n), kind, ret, dim, samples, slot, 1, flags)
                            for n, kind, ret, dim, samples, slot, flags in bindings)
    binding_part = pad4(binding_part + names.data)

    buffers_at = 28 + len(binding_part)
    fields_at = buffers_at + 24 * len(program["buffers"])
    types_at = fields_at + sum(24 * len(b["fields"]) for b in program["buffers"])
    widths = sorted({f["width"] for b in program["buffers"] for f in b["fields"]})
    field_names = Strings(types_at + 16 * len(widths))
    buffer_part, field_part = b"", b""
    for b in program["buffers"]:
        buffer_part += struct.pack("<6I", names.offset(b["name"]), len(b["fields"]), fields_at + len(field_part),
                                   b["size"], 0, 0)
        for f in b["fields"]:
            field_part += struct.pack("<6I", field_names.offset(f["name"]), f["offset"], 4 * f["width"],
                                      2 if f["used"] else 0, types_at + 16 * widths.index(f["width"]), 0)
    type_part = b"".join(struct.pack("<HHHHHHI", 0 if w == 1 else 1, 3, 1, w, 0, 0, 0) for w in widths)
    body = binding_part + buffer_part + field_part + pad4(type_part + field_names.data)

    target = (0xFFFE if program["stage"] == "vs" else 0xFFFF) << 16 | 0x0400
    head = struct.pack("<7I", len(program["buffers"]), buffers_at if program["buffers"] else 0, len(bindings),
                       28 if bindings else 0, target, 0x100, 28 + len(body))
    return pad4(head + body + CREATOR.encode() + b"\0")


# ---- Tokens ------------------------------------------------------------------------------------------------------

def components(letters):
    if not letters or any(c not in "xyzw" for c in letters):
        raise SourceError("bad components .%s" % letters)
    return ["xyzw".index(c) for c in letters]


def mask_of(letters):
    picked = components(letters)
    if picked != sorted(set(picked)):
        raise SourceError("bad write mask .%s" % letters)
    return sum(1 << c for c in picked)


def register_operand(kind, index, form):
    return [form | kind << 12 | 1 << 20, index]


def parse_register(text):
    match = re.fullmatch(r"([rvost])(\d+)(?:\.([xyzw]+))?", text)
    if not match:
        raise SourceError("bad operand %s" % text)
    return match.group(1), int(match.group(2)), match.group(3)


def destination(text):
    name, index, letters = parse_register(text)
    if name not in "ro" or not letters:
        raise SourceError("bad destination %s" % text)
    return register_operand(REGISTERS[name], index, 2 | mask_of(letters) << 4)


def source_form(letters):
    picked = components(letters)
    if len(picked) == 1:
        return 2 | 2 << 2 | picked[0] << 4
    if len(picked) != 4:
        raise SourceError("a source has one component or four: .%s" % letters)
    return 2 | 1 << 2 | sum(c << 2 * i for i, c in enumerate(picked)) << 4


def literal_word(text):
    text = text.strip()
    return struct.unpack("<I", struct.pack("<f", float(text)))[0] if "." in text else int(text) & 0xFFFFFFFF


def source(text):
    literal = re.fullmatch(r"l\((.*)\)", text)
    if literal:
        words = [literal_word(w) for w in literal.group(1).split(",")]
        if len(words) not in (1, 4):
            raise SourceError("a literal has one component or four: %s" % text)
        return [(1 if len(words) == 1 else 2) | IMMEDIATE << 12] + words
    negated = text.startswith("-")
    text = text.lstrip("-")
    constant = re.fullmatch(r"cb(\d+)\[(\d+)\]\.([xyzw]+)", text)
    if constant:
        tokens = [source_form(constant.group(3)) | CONSTANT_BUFFER << 12 | 2 << 20, int(constant.group(1)),
                  int(constant.group(2))]
    else:
        name, index, letters = parse_register(text)
        form = 0 if name == "s" else source_form(letters or "")
        tokens = register_operand(REGISTERS[name], index, form)
    if negated:
        tokens[0:1] = [tokens[0] | 1 << 31, 1 | 1 << 6]
    return tokens


def instruction(opcode, operands, controls=0):
    body = [token for operand in operands for token in operand]
    return [opcode | controls | (1 + len(body)) << 24] + body


def split_operands(text):
    return [part.strip() for part in re.split(r",(?![^(]*\))", text)] if text else []


# ---- Source ------------------------------------------------------------------------------------------------------

def declare_signature(program, kind, words):
    name, register, type_name = words[:3]
    flags = words[3:]
    letter, index, letters = parse_register(register)
    if letter != kind[0] and not (kind == "input" and letter == "v"):
        raise SourceError("%s in register %s" % (kind, register))
    mask = mask_of(letters)
    system = next((f.split("=")[1] for f in flags if "=" in f), None)
    used = (0 if "unread" in flags else mask) if kind == "input" else 0xF & ~mask
    program[kind + "s"].append({"name": name, "system": SYSTEM_VALUES[system] if system else 0,
                                "type": COMPONENT_TYPES[type_name], "register": index, "mask": mask, "used": used})
    if "unread" in flags:
        return
    operand = register_operand(REGISTERS[letter], index, 2 | mask << 4)
    pixel = program["stage"] == "ps"
    if kind == "input":
        if system:
            opcode = DCL_INPUT_PS_SIV if pixel else DCL_INPUT_SGV
            program["code"] += instruction(opcode, [operand, [SYSTEM_VALUES[system]]],
                                           LINEAR_NOPERSPECTIVE << 11 if pixel else 0)
        else:
            program["code"] += instruction(DCL_INPUT_PS if pixel else DCL_INPUT, [operand], LINEAR << 11 if pixel else 0)
    elif system:
        program["code"] += instruction(DCL_OUTPUT_SIV, [operand, [SYSTEM_VALUES[system]]])
    else:
        program["code"] += instruction(DCL_OUTPUT, [operand])


def line_of_source(program, line):
    words = line.split()
    if words[0] in ("vs_4_0", "ps_4_0"):
        program["stage"] = words[0][:2]
    elif words[0] in ("input", "output"):
        declare_signature(program, words[0], words[1:])
    elif words[0] == "sampler":
        slot = int(words[2][1:])
        program["samplers"].append((words[1], slot))
        program["code"] += instruction(DCL_SAMPLER, [register_operand(REGISTERS["s"], slot, 0)])
    elif words[0] == "texture2d":
        slot = int(words[2][1:])
        program["textures"].append((words[1], slot))
        program["code"] += instruction(DCL_RESOURCE, [register_operand(REGISTERS["t"], slot, 0), [0x5555]], 3 << 11)
    elif words[0] == "cbuffer":
        slot, size = int(words[2][2:]), int(words[3].split("=")[1])
        program["buffers"].append({"name": words[1], "slot": slot, "size": size, "fields": []})
        form = source_form("xyzw") | CONSTANT_BUFFER << 12 | 2 << 20
        program["code"] += instruction(DCL_CONSTANT_BUFFER, [[form, slot, size // 16]])
    elif words[0] == "field":
        width = int(words[3][5:] or 1)
        program["buffers"][-1]["fields"].append({"name": words[1], "offset": int(words[2]), "width": width,
                                                 "used": "unused" not in words})
    elif words[0] == "temps":
        program["code"] += instruction(DCL_TEMPS, [[int(words[1])]])
    else:
        name, _, rest = line.partition(" ")
        saturate = name.endswith("_sat")
        opcode, destinations, sources = OPCODES[name[:-4] if saturate else name]
        operands = split_operands(rest.strip())
        if len(operands) != destinations + sources:
            raise SourceError("%s takes %d operands" % (name, destinations + sources))
        tokens = [destination(o) for o in operands[:destinations]] + [source(o) for o in operands[destinations:]]
        program["code"] += instruction(opcode, tokens, SATURATE if saturate else 0)


def assemble(text):
    program = {"stage": None, "inputs": [], "outputs": [], "samplers": [], "textures": [], "buffers": [], "code": []}
    for number, line in enumerate(text.splitlines(), 1):
        line = line.partition(";")[0].strip()
        if not line:
            continue
        try:
            line_of_source(program, line)
        except (SourceError, KeyError, IndexError, ValueError) as error:
            raise SourceError("line %d: %s: %s" % (number, line, error)) from error
    stage = {"ps": 0, "vs": 1}[program["stage"]]
    tokens = [stage << 16 | 4 << 4, 2 + len(program["code"])] + program["code"]
    return container([(b"RDEF", resource_definitions(program)), (b"ISGN", signature(program["inputs"])),
                      (b"OSGN", signature(program["outputs"])), (b"SHDR", struct.pack("<%dI" % len(tokens), *tokens))])


def assemble_file(name):
    with open(os.path.join(FOLDER, name + ".asm"), encoding="ascii") as file:
        try:
            return assemble(file.read())
        except SourceError as error:
            raise SourceError("%s.asm: %s" % (name, error)) from error


def header_text():
    lines = ["// The two programs of the post-process pass, shader model 4.0. Made by tools/dev/shader_assembler.py from",
             "// post_process_vs.asm and post_process_ps.asm: change those, not this.", "#pragma once", "",
             "#include <cstdint>", "", "namespace tlr2 {", "", "// clang-format off"]
    for name, symbol in PROGRAMS:
        data = assemble_file(name)
        lines.append("alignas(4) inline constexpr std::uint8_t %s[%d] = {" % (symbol, len(data)))
        lines += ["  " + " ".join("0x%02x," % b for b in data[i:i + 16]) for i in range(0, len(data), 16)]
        lines += ["};", ""]
    lines[-1:] = ["// clang-format on", "", "}  // namespace tlr2", ""]
    return "\n".join(lines)


def main(arguments):
    if not arguments:
        with open(HEADER, "w", encoding="ascii", newline="\n") as file:
            file.write(header_text())
    elif arguments == ["--check"]:
        with open(HEADER, encoding="ascii", newline="") as file:
            if file.read() != header_text():
                print("post_process_shaders.h is not what its sources give; run shader_assembler.py", file=sys.stderr)
                return 1
    elif arguments[0] == "--binary" and len(arguments) == 2:
        for name, _ in PROGRAMS:
            with open(os.path.join(arguments[1], name + ".dxbc"), "wb") as file:
                file.write(assemble_file(name))
    elif arguments[0] == "--verify" and len(arguments) == 2:
        with open(arguments[1], "rb") as file:
            for tag, data in verify(file.read()):
                print("%s %d" % (tag, len(data)))
    else:
        print(__doc__, file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except (SourceError, OSError) as error:
        print("shader_assembler: %s" % error, file=sys.stderr)
        sys.exit(1)
