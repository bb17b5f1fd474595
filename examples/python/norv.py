#!/usr/bin/env python3
"""Finds a prime or a safe prime by starting norv. One file to copy; Python 3.8 or newer,
the standard library alone.

    import norv, secrets
    p = norv.find_prime(secrets.token_bytes(128))             # an int of 1024 bits
    p = norv.find_prime(secrets.token_bytes(64), safe=True)   # (p-1)/2 is prime, too

or, from a shell:

    openssl rand -hex 128 | python3 norv.py [--safe]

The environment's NORV may name another norv than the one on the path. Ctrl-C ends the
search. On Windows this has not been tried.

norv tests with witnesses that follow from the clock. If the base comes from somebody else,
test the prime again; norvctl does so by itself.
"""
import ctypes
import os
import re
import secrets
import shutil
import signal
import subprocess
import sys

_TURN = 0.05  # seconds; how often `cancelled` is looked at
_PATIENCE = 5  # seconds that a cancelled search may take to end


class Error(Exception):
    """norv is missing or found no prime."""


class Cancelled(Error):
    """The search ended because `cancelled` was set."""


def find_prime(base, *, safe=False, threads=None, program=None, cancelled=None):
    """Returns the next prime that a search upward from the base meets, as an int.

    base       bytes, the most significant first; the prime gets the same size
    threads    1 to 63; by default as many as there are processors
    cancelled  a threading.Event that another thread sets to end the search

    An exception that a signal handler raises, as Ctrl-C does, ends the search too. On
    Linux norv also ends when this process is killed.
    """
    asked = program or os.environ.get("NORV") or "norv"
    program = shutil.which(asked)
    if not program:
        raise Error(f"there is no program {asked}")
    if not base:
        raise Error("the base is empty")
    if threads is None:
        threads = min(os.cpu_count() or 1, 63)
    if not 1 <= threads <= 63:
        raise Error("norv takes 1 to 63 threads")
    # Runs that share a name stop each other.
    name = "norv-" + secrets.token_hex(16)
    command = [*_end_with_us(), program, "-noPrompt", "-input", str(len(base)),
               "-threads", str(threads),
               "-stopSemaphoreName", name, *["-safe"] * safe]
    # A blank after the last pair, too, which base.hex(" ") alone does not write: norv
    # waits for three characters a byte.
    pairs = base.hex(" ").encode() + b" "
    # Ctrl-C does not reach norv: this process decides when it ends.
    alone = ({"creationflags": subprocess.CREATE_NEW_PROCESS_GROUP} if os.name == "nt"
             else {"start_new_session": True})
    with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          **alone) as run:
        try:
            output = _talk(run, pairs, cancelled)
        finally:
            if run.poll() is None:
                _stop(run, name)
    # The characters count and not the exit code, of which Linux passes on 8 bits.
    if len(output) == len(pairs) and re.fullmatch(rb"(?:[0-9A-F]{2} )+", output):
        return int(output.replace(b" ", b""), 16)
    if cancelled and cancelled.is_set():
        raise Cancelled("cancelled")
    if output:
        raise Error(f"{program} wrote something that is no prime")
    raise Error(f"{program} ended without a prime: somebody stopped it, "
                "or it could not make its semaphore")


def _end_with_us():
    """What makes the kernel end norv with the thread that starts it, however that ends."""
    setpriv = shutil.which("setpriv") if sys.platform == "linux" else None
    return [setpriv, "--pdeathsig", "KILL"] if setpriv else []


def _talk(run, pairs, cancelled):
    """Returns all that norv writes; nothing when the search is cancelled."""
    try:
        with run.stdin:
            run.stdin.write(pairs)  # norv reads all of it before it writes
    except BrokenPipeError:
        pass  # norv has ended, which its output will tell
    run.stdin = None  # it is closed, which communicate does not expect
    while not (cancelled and cancelled.is_set()):
        try:
            return run.communicate(timeout=_TURN if cancelled else None)[0]
        except subprocess.TimeoutExpired:
            pass
    return b""


def _stop(run, name):
    """Ends the run by its semaphore, or else by force."""
    try:
        released = False
        for _ in range(int(_PATIENCE / _TURN)):
            # norv makes its semaphore after it has read the base, so this may take turns.
            released = released or _release(name)
            try:
                run.wait(_TURN)
                return
            except subprocess.TimeoutExpired:
                pass
    finally:
        if run.poll() is None:
            run.kill()
            run.wait()
            _forget(name)


def _release(name):
    """Releases the semaphore once. False when there is none (yet)."""
    if os.name == "nt":
        kernel32 = ctypes.WinDLL("kernel32")
        kernel32.OpenSemaphoreW.restype = ctypes.c_void_p
        modify = 2  # SEMAPHORE_MODIFY_STATE
        semaphore = ctypes.c_void_p(kernel32.OpenSemaphoreW(modify, False, name))
        if semaphore:
            kernel32.ReleaseSemaphore(semaphore, 1, None)
            kernel32.CloseHandle(semaphore)
    else:
        libc = ctypes.CDLL(None)
        libc.sem_open.restype = ctypes.c_void_p
        semaphore = ctypes.c_void_p(libc.sem_open(b"/" + name.encode(), 0))
        if semaphore:
            libc.sem_post(semaphore)
            libc.sem_close(semaphore)
    return bool(semaphore)


def _forget(name):
    """Removes the name that a killed run leaves on Linux."""
    if os.name != "nt":
        ctypes.CDLL(None).sem_unlink(b"/" + name.encode())


def _main():
    if sys.argv[1:] not in ([], ["--safe"]):
        sys.exit("usage: norv.py [--safe] <FILE_WITH_THE_BASE_IN_HEX")
    signal.signal(signal.SIGTERM, lambda number, _: sys.exit(128 + number))
    try:
        base = bytes.fromhex(sys.stdin.read())
    except ValueError:
        sys.exit("norv.py: the base must be pairs of hex digits")
    try:
        print(f"{find_prime(base, safe='--safe' in sys.argv):X}")
    except Error as error:
        sys.exit(f"norv.py: {error}")
    except KeyboardInterrupt:
        sys.exit(130)


if __name__ == "__main__":
    _main()
