#!/usr/bin/env python3
"""Copies a page from the standard input to the standard output, with the output of commands as cram writes it."""

import re
import sys

for line in sys.stdin.buffer:
    text = line.rstrip(b"\n")
    is_output = text.startswith(b"    ") and not text.startswith((b"    $ ", b"    > "))
    if is_output and re.search(rb"[^ -~]", text):
        escaped = b"".join(b"\\\\" if byte == 0x5C else bytes([byte]) if 0x20 <= byte <= 0x7E else b"\\x%02x" % byte
                           for byte in text)
        text = escaped + b" (esc)"
    sys.stdout.buffer.write(text + b"\n")
