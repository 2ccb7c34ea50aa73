#!/usr/bin/env python3
"""Writes the seed corpus of vpp_dispatch (whole sessions in its input format) into corpus/."""
import os
import struct

SERVICE, S1, S2 = 0, 1, 2
# Transaction offsets, in the interfaces' declaration order.
GET_NEW_SESSION = 0
CLOSE, DRAIN, FLUSH, GET_REQS, INIT, OPEN, QUEUE = 0, 1, 2, 3, 4, 5, 6
GET_STATE, GET_STATS, RECONFIGURE = 10, 11, 12
SET_CTRL, SET_DEBUG, SET_RATE, SET_MAXQ, SET_NAME, SET_MODE, SET_PARAM = 14, 15, 16, 17, 18, 19, 20
SET_TSMODE, SET_PASS, PING, TERM = 22, 23, 24, 25


def i32(v):
    return [bytes([0]) + struct.pack("<i", v)]


def i64(v):
    return [bytes([1]) + struct.pack("<q", v)]


def string(s):
    return [bytes([2, len(s)]) + s.encode()]


def binder(choice):
    return [bytes([3, choice])]


def fd(size_class):
    return [bytes([4, size_class])]


def parcelable(*fields):
    items = [bytes([7]), bytes([5])]
    for f in fields:
        items += f
    return items + [bytes([6])]


def native_handle(fds):
    items = i32(len(fds))
    for f in fds:
        items += fd(f)
    return parcelable(items, i32(0))


def buffer(fds, flags=0, timestamp=0, cookie=0, offset=0, length=3072):
    return parcelable(native_handle(fds), i32(offset), i32(length), i32(length), i32(length),
                      native_handle([]), i64(0), i64(0), i32(0), i32(flags),
                      i64(timestamp), i64(0), i64(cookie))


def port_param(width, height, fmt=3):
    return parcelable(i32(height), i32(width), i32(width), i32(height), i32(fmt))


def call(target, code, *args):
    items = []
    for a in args:
        items += a
    assert len(items) < 32, len(items)
    return bytes([target, code, len(items)]) + b"".join(items)


def opened(target, mode, factor, search=0):
    return [
        call(target, INIT, i32(0), binder(1)),
        call(target, SET_PARAM, i32(0), port_param(64, 32)),
        call(target, SET_PARAM, i32(1), port_param(64, 32)),
        call(target, SET_CTRL, parcelable(i32(mode), i32(factor), i32(search))),
        call(target, OPEN),
    ]


def stream(target, stamps):
    calls = [call(target, QUEUE, i32(1), buffer([1], cookie=100 + k)) for k in range(4)]
    for k, t in enumerate(stamps):
        flags = 1 if k + 1 == len(stamps) else 0
        calls.append(call(target, QUEUE, i32(0), buffer([1], flags, t, k)))
    return calls


SEEDS = {
    "blend_stream": opened(S1, 2, 2) + stream(S1, [0, 1000, 2000]) + [
        call(S1, GET_STATS), call(S1, FLUSH, i32(1)), call(S1, CLOSE), call(S1, TERM)],
    "motion_two_sessions": opened(S1, 3, 4, 8) + opened(S2, 1, 3) + stream(S1, [0, 40]) +
    stream(S2, [5, 6]) + [call(S2, DRAIN), call(S1, FLUSH, i32(0))],
    "extremes": opened(S1, 2, 8) + [call(S1, SET_RATE, i32(1), i32(0x7fffffff))] +
    stream(S1, [-2**63, 2**63 - 1, 0, 0]),
    "settings": [call(S1, INIT, i32(0), binder(1)), call(S1, SET_NAME, string("cam")),
                 call(S1, SET_MODE, i32(0)), call(S1, SET_TSMODE, i32(1)),
                 call(S1, SET_PASS, i32(0)), call(S1, SET_MAXQ, i32(1), i32(1)),
                 call(S1, GET_REQS, i32(0)), call(S1, GET_STATE), call(S1, PING),
                 call(SERVICE, GET_NEW_SESSION, i32(0)), call(SERVICE, GET_NEW_SESSION, i32(3))],
    "reconfigure": opened(S1, 2, 2) + stream(S1, [0, 10]) + [
        call(S1, RECONFIGURE, port_param(32, 16), port_param(32, 16)),
        call(S1, QUEUE, i32(0), buffer([2, 1], 1, 20, 9, length=768))],
    "planes_and_offsets": opened(S1, 0, 0) + [
        call(S1, QUEUE, i32(1), buffer([3], cookie=1, offset=4096)),
        call(S1, QUEUE, i32(0), buffer([2, 1], flags=1, cookie=2))],
}

here = os.path.dirname(os.path.abspath(__file__))
os.makedirs(os.path.join(here, "corpus"), exist_ok=True)
for name, calls in SEEDS.items():
    with open(os.path.join(here, "corpus", name), "wb") as f:
        f.write(b"".join(calls))
