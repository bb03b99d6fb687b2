#!/usr/bin/env python3
"""Writes the test messages of RFC 4475 as files: one <name>.dat per message of messages.txt.

messages.txt holds each message in the notation of RFC 4475, section 2.1, below a line "=== name section".
Every line of it ends in CR LF in the file. The notation's three marks are resolved:

  <allOneLine> ... </allOneLine>   the lines between are one line, joined as they stand
  <hex> ... </hex>                 each pair of hexadecimal digits is one byte; blanks and line ends are none
  <repeat count=N>text</repeat>    text, N times

Run without arguments it writes the files next to itself. With --check it writes nothing, compares, and ends
with status 1 when a file differs or is missing.
"""
import pathlib
import re
import sys

FOLDER = pathlib.Path(__file__).resolve().parent
MARKS = re.compile(r"<hex>(?P<hex>[^<]*)</hex>|<repeat count=(?P<count>\d+)>(?P<text>[^<]*)</repeat>")


def resolve_marks(line):
    """The bytes of one line: its <hex> and <repeat> resolved, everything else as it stands."""
    out = b""
    position = 0
    for mark in MARKS.finditer(line):
        out += line[position:mark.start()].encode("ascii")
        if mark["hex"] is not None:
            out += bytes.fromhex(mark["hex"])
        else:
            out += mark["text"].encode("ascii") * int(mark["count"])
        position = mark.end()
    return out + line[position:].encode("ascii")


def resolve(lines):
    """The bytes of a message."""
    out = b""
    joined = None
    for line in lines:
        if line == "<allOneLine>":
            joined = []
        elif line == "</allOneLine>":
            out += resolve_marks("".join(joined)) + b"\r\n"
            joined = None
        elif joined is not None:
            joined.append(line)
        else:
            out += resolve_marks(line) + b"\r\n"
    return out


def messages(text):
    """Name and lines of each message of messages.txt."""
    name, lines = None, []
    for line in text.split("\n")[:-1]:
        if line.startswith("=== "):
            if name:
                yield name, lines
            name, lines = line.split()[1], []
        else:
            lines.append(line)
    yield name, lines


def main():
    check = sys.argv[1:] == ["--check"]
    differs = False
    for name, lines in messages((FOLDER / "messages.txt").read_text(encoding="ascii")):
        path = FOLDER / (name + ".dat")
        wanted = resolve(lines)
        if not check:
            path.write_bytes(wanted)
        elif not path.exists() or path.read_bytes() != wanted:
            print(path.name, "differs from messages.txt")
            differs = True
    return 1 if differs else 0


if __name__ == "__main__":
    sys.exit(main())
