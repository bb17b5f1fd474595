"""The system that figures are of."""
import datetime
import os
import pathlib
import re
import subprocess


def ifma_hidden():
    return bool(os.environ.get("OPENSSL_ia32cap"))


def processor():
    text = pathlib.Path("/proc/cpuinfo").read_text()
    model = re.search(r"model name\s*: (.*)", text)
    return model[1] if model else "Unknown processor", "avx512ifma" in text.split()


def packages(*names):
    """The installed ones, with their versions."""
    text = subprocess.run(["dpkg-query", "-W", "-f=${db:Status-Status} ${Package} "
                           "${Version}\n", *names], check=False, capture_output=True,
                          text=True).stdout
    return [line.partition(" ")[2] for line in text.splitlines()
            if line.startswith("installed") and "-dev" not in line]


def series():
    """What the tables of this system are told apart by: libcrypto's series."""
    version = re.search(r" (\d+\.\d+)\.", " ".join(packages("libssl3*")))
    return (version[1] if version else "unknown") + (" hidden" if ifma_hidden() else "")


def machine():
    model, ifma = processor()
    flags = "AVX-512 IFMA" + (", hidden from libcrypto by OPENSSL_ia32cap"
                              if ifma_hidden() else "" if ifma else " is missing")
    versions = packages("libssl3*", "libgmp10*", "libbotan-2-*")
    return (f"{model}, {os.cpu_count()} cores; {flags}; {', '.join(versions)}; "
            f"{datetime.date.today():%Y-%m-%d}.")
