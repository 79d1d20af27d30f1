#!/usr/bin/env python3
"""Runs a command and prints its wall time, CPU time (user + sys) and peak RSS, counting
every process it starts, also those that leave their parent (Wine's wineserver and
services): this process adopts them as a child subreaper and waits for the last one.
usage: tools/cpu-time.py COMMAND [ARGS...]"""
import ctypes
import os
import resource
import subprocess
import sys
import time

PR_SET_CHILD_SUBREAPER = 36
ctypes.CDLL(None, use_errno=True).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
start = time.monotonic()
child = subprocess.Popen(sys.argv[1:])
code = 0
while True:
    try:
        pid, status = os.wait()
    except ChildProcessError:
        break
    if pid == child.pid:
        code = os.waitstatus_to_exitcode(status)
wall = time.monotonic() - start
usage = resource.getrusage(resource.RUSAGE_CHILDREN)
print(f"cpu-time: wall {wall:.1f} s, cpu {usage.ru_utime + usage.ru_stime:.1f} s "
      f"(user {usage.ru_utime:.1f}, sys {usage.ru_stime:.1f}), peak rss "
      f"{usage.ru_maxrss // 1024} MB, exit {code}", file=sys.stderr)
sys.exit(code)
