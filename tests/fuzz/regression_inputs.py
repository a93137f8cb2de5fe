#!/usr/bin/env python3
"""Writes the hostile-host regression inputs of host_sequence_fuzz.cpp.

Each input is the byte string that libFuzzer's FuzzedDataProvider decodes
into one scripted session: integers are taken from the end of the data (most
significant byte first), byte runs from the front. Run it after changing the
order in which the target consumes its input:

    python3 tests/fuzz/regression_inputs.py tests/fuzz/corpus
"""
import os
import sys

INT32_MIN, INT32_MAX = -(2**31), 2**31 - 1


class Script:
    def __init__(self, hostile=True):
        self.last_op = 11 if hostile else 10
        self.stream = bytearray()  # integer bytes in the order they are consumed
        self.front = bytearray()   # byte runs, from the front

    def int_in(self, lo, hi, value):
        rng = hi - lo
        assert lo <= value <= hi
        n = (rng.bit_length() + 7) // 8
        self.stream += (value - lo).to_bytes(n, "big") if n else b""
        return self

    def flag(self, on):
        return self.int_in(0, 255, 1 if on else 0)

    def int32(self, value):
        return self.int_in(INT32_MIN, INT32_MAX, value)

    def data(self):
        return bytes(self.front) + bytes(reversed(self.stream))

    # ---- the session, as host_sequence_fuzz.cpp consumes it
    def session(self, diagnostic_views=False, recycle=False, width=40, height=12):
        self.flag(recycle)
        self.flag(diagnostic_views)
        self.int_in(-1, 1, -1)  # the processor decides the image-operation variant
        self.int_in(0, 4, 4)  # no preset: the faults' own settings
        return self.clip(width, height)

    def clip(self, width, height):
        self.int_in(0, 9, 0)  # a small layer
        self.int_in(1, 72, width).int_in(1, 40, height)
        self.int_in(0, 6, 0)  # 29.97 fps
        self.flag(False)  # 8-bit
        self.int_in(1, 6, 4).int_in(0, 3, 1)  # four frames of a moving edge
        return self.int_in(0, 2**32 - 1, 12345)

    def op(self, choice):
        return self.int_in(0, self.last_op, choice)

    def command(self, cmd, output=True):
        self.op(11).int_in(-1, 31, cmd).int_in(0, 3, 3)
        return self.flag(output)

    def set_up(self):
        return self.command(1).command(4).command(5)

    def render(self):
        return self.op(4)


def legal_inputs():
    # A layer of 7 x 7 at 1/16 resolution is 0 x 0; the host recycles worlds.
    s = Script(hostile=False).session(recycle=True, width=7, height=7)
    s.op(2).int_in(0, 3, 0).int_in(1, 16, 16).flag(True)
    yield "fault7-no-pixels-at-one-sixteenth", s.op(4).op(4)


def hostile_inputs():
    s = Script().session()
    yield "fault1-render-before-parameter-setup", s.command(1).render()

    s = Script().session()
    s.command(1).op(5).flag(True).int_in(0, 3, 0).flag(True).flag(False)
    yield "fault2-auto-setup-before-parameter-setup", s

    s = Script().session().set_up()
    yield "fault3-render-without-output-world", s.command(11, output=False)

    s = Script().session().set_up()
    s.op(2).int_in(0, 3, 0).int32(INT32_MAX).int_in(0, 2**32 - 1, 1).int32(1).int_in(0, 2**32 - 1, 1)
    yield "fault3-wrong-layer-size-without-output-world", s.command(11, output=False)

    for name, value in (("max", INT32_MAX), ("min", INT32_MIN)):
        s = Script().session().set_up()
        s.op(0).int_in(1, 12, 8).int32(value)
        yield "fault4-pattern-size-int-" + name, s.render()

    for name, value in (("max", INT32_MAX - 10), ("min", INT32_MIN + 10)):
        s = Script().session().set_up()
        s.op(0).int_in(1, 12, 5).int32(1)  # "Source Video" NTSC, supported at 29.97
        s.op(1).int_in(0, 2, 1).int32(value)
        yield "fault5-current-time-near-int-" + name, s.render()

    for length in (0, 1, 3, 7):
        s = Script().session().set_up()
        s.op(7).int_in(0, 16, length)
        s.front += bytes([1] * length)
        yield "fault6-resetup-record-of-%d-bytes" % length, s.op(6).render()


def main():
    for sub, inputs in (("host_legal", legal_inputs), ("host_hostile", hostile_inputs)):
        folder = os.path.join(sys.argv[1], sub)
        os.makedirs(folder, exist_ok=True)
        for name, script in inputs():
            with open(os.path.join(folder, name), "wb") as f:
                f.write(script.data())


if __name__ == "__main__":
    main()
