#!/usr/bin/env python3
"""Reads a minidump from the published layout of the format, independently of the
writer, and checks that it is well formed: header, stream directory, every stream
inside the file, the thread list (each context and stack slice inside the file, the
slice starting at most 128 bytes below the thread's stack pointer and holding the
same bytes as the memory list at that address), the memory list without overlaps
and the Memory64 list running to the end of the file.

Prints one JSON object: {"threads": [{"id", "rip", "rsp", "stack_start",
"stack_size"}], "exception_thread": id or null, "streams": [type, ...]}; exits 1
with the first fault found.

    minidump_check.py file.dmp
"""
import json
import struct
import sys

THREAD_LIST, MEMORY_LIST, EXCEPTION, MEMORY64_LIST = 3, 5, 6, 9
CONTEXT_SIZE = 1232
RSP_AT, RIP_AT = 152, 248


class Bad(Exception):
    pass


def check(data):
    size = len(data)

    def need(cond, what):
        if not cond:
            raise Bad(what)

    def u32(at):
        need(at + 4 <= size, "read past the end at %d" % at)
        return struct.unpack_from("<I", data, at)[0]

    def u64(at):
        need(at + 8 <= size, "read past the end at %d" % at)
        return struct.unpack_from("<Q", data, at)[0]

    need(size >= 32 and data[:4] == b"MDMP", "no MDMP signature")
    need(u32(4) & 0xFFFF == 0xA793, "version")
    count, dir_rva = u32(8), u32(12)
    need(dir_rva + count * 12 <= size, "directory outside the file")
    streams = {}
    types = []
    for i in range(count):
        kind, length, rva = struct.unpack_from("<III", data, dir_rva + i * 12)
        types.append(kind)
        if kind == 0:
            continue
        need(rva + length <= size, "stream %#x outside the file" % kind)
        need(kind not in streams, "stream %#x twice" % kind)
        streams[kind] = (rva, length)

    memory = []   # (start, size, rva)
    if MEMORY_LIST in streams:
        rva, length = streams[MEMORY_LIST]
        n = u32(rva)
        need(4 + n * 16 == length, "memory list size")
        for i in range(n):
            start, dsize, drva = struct.unpack_from("<QII", data, rva + 4 + i * 16)
            need(drva + dsize <= size, "memory range %#x outside the file" % start)
            memory.append((start, dsize, drva))
        memory.sort()
        for a, b in zip(memory, memory[1:]):
            need(a[0] + a[1] <= b[0], "memory ranges %#x and %#x overlap" % (a[0], b[0]))

    threads = []
    need(THREAD_LIST in streams, "no thread list")
    rva, length = streams[THREAD_LIST]
    n = u32(rva)
    need(4 + n * 48 == length, "thread list size")
    for i in range(n):
        at = rva + 4 + i * 48
        tid = u32(at)
        start, ssize, srva, csize, crva = struct.unpack_from("<QIIII", data, at + 24)
        need(csize == CONTEXT_SIZE and crva + csize <= size, "context of thread %d" % tid)
        need(srva + ssize <= size, "stack of thread %d outside the file" % tid)
        rsp, rip = u64(crva + RSP_AT), u64(crva + RIP_AT)
        if ssize:
            need(rsp - 128 <= start <= rsp < start + ssize, "stack of thread %d misses its stack pointer" % tid)
            holder = [m for m in memory if m[0] <= start and start + ssize <= m[0] + m[1]]
            need(len(holder) == 1, "stack of thread %d not in the memory list" % tid)
            m = holder[0]
            need(data[srva:srva + ssize] == data[m[2] + start - m[0]:m[2] + start - m[0] + ssize],
                 "stack bytes of thread %d differ from the memory list" % tid)
        threads.append({"id": tid, "rip": rip, "rsp": rsp, "stack_start": start, "stack_size": ssize})
    need(len({t["id"] for t in threads}) == len(threads), "a thread twice")

    if MEMORY64_LIST in streams:
        rva, length = streams[MEMORY64_LIST]
        n, base = u64(rva), u64(rva + 8)
        need(16 + n * 16 == length, "memory64 list size")
        total = sum(u64(rva + 16 + i * 16 + 8) for i in range(n))
        need(base + total == size, "memory64 data does not end the file")

    exception_thread = None
    if EXCEPTION in streams:
        exception_thread = u32(streams[EXCEPTION][0])
        need(exception_thread in {t["id"] for t in threads}, "exception thread not in the list")
    return {"threads": threads, "exception_thread": exception_thread, "streams": types}


def main():
    with open(sys.argv[1], "rb") as f:
        data = f.read()
    try:
        print(json.dumps(check(data)))
    except Bad as e:
        print("malformed: %s" % e)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
