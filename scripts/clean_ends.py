"""Ends of the Python scripts: whatever ends one, no process and no temporary file of it stays.

Room: scripts. Imported, and `begin` called, before a script starts anything.
"""
import atexit
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time

SHARED = pathlib.Path(__file__).resolve().parent / "shared.bash"


def begin(name, first=lambda: None, last=lambda: None):
    """What the script and its children put into temporary files goes with the script; a signal that
    ends it ends its children first, and is told by the exit status. A script whose threads start
    children stops them `first`; what has left the script's family, `last` ends."""
    try:
        scratch = tempfile.mkdtemp(prefix=f"{name}.")
    except OSError as error:
        sys.exit(f"{name}: cannot make a temporary folder: {error}; set TMPDIR to one that can be written")
    tempfile.tempdir = os.environ["TMPDIR"] = scratch
    atexit.register(shutil.rmtree, scratch, ignore_errors=True)
    signals = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)

    def end(number, _):
        for other in signals:
            signal.signal(other, signal.SIG_IGN)
        first()
        subprocess.run(["bash", "-c", '. "$1" && scratch=$2 && end_descendants "$3"', name, SHARED,
                        scratch, str(os.getpid())], stderr=subprocess.DEVNULL, check=False)
        last()
        for _ in range(100):  # threads may be writing there yet
            shutil.rmtree(scratch, ignore_errors=True)
            if not os.path.lexists(scratch):
                break
            time.sleep(0.02)
        print(f"{name}: interrupted", file=sys.stderr, flush=True)
        os._exit(128 + number)  # threads may wait for children of their own

    for number in signals:
        if signal.getsignal(number) != signal.SIG_IGN:
            signal.signal(number, end)
