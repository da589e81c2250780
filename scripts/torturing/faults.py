"""Kills, locks and disks: whatever happens, the database is sound and nothing that was stored is lost."""

import contextlib
import os
import pathlib
import shutil
import sqlite3
import subprocess
import time

from desktop import wait_until
from torturing.victim import Harm

FILES = 4000


def run_once(victim):
    """A home with files in it, and an index of them."""
    victim.fill_home(FILES)
    victim.start()
    victim.outcome()
    victim.check_index()
    victim.end()


def begin_anew(victim):
    """The next start scans everything."""
    with contextlib.closing(sqlite3.connect(victim.file, timeout=10)) as database, database:
        database.execute("DELETE FROM settings WHERE key GLOB 'fileIndex.*'")


def rename_all(victim):
    for folder in victim.many.iterdir():
        for file in folder.iterdir():
            file.rename(folder / f"{time.monotonic_ns()}.txt")


# Kills


def while_it_starts(victim):
    victim.start()
    time.sleep(victim.rng.uniform(0, 0.6))


def while_it_scans(victim):
    begin_anew(victim)
    victim.start()
    victim.outcome()
    time.sleep(victim.rng.uniform(0, 0.8))


def while_it_flushes(victim):
    victim.start()
    victim.outcome()
    rename_all(victim)
    time.sleep(victim.rng.uniform(0.2, 2.5))


def while_it_stores_copies(victim):
    victim.start()
    victim.outcome()
    for _ in range(victim.rng.randrange(1, 6)):
        victim.copy(f"copied at {time.monotonic_ns()} " + "x" * victim.rng.randrange(50_000))
        time.sleep(victim.rng.uniform(0.3, 0.9))


def one_kill(victim, phase):
    phase(victim)
    stored = victim.contents()
    victim.kill()
    victim.check_sound()
    if not stored <= victim.contents():
        raise Harm("a stored copy is lost")
    victim.start()
    if victim.outcome() != "palette":
        raise Harm("does not start any more")
    victim.check_index()
    time.sleep(3.5)  # the database is read through meanwhile
    if victim.told():
        raise Harm(f"says {victim.told()[0]}")
    victim.end()
    victim.check_sound()
    return "sound, nothing lost"


def kill(victim, times):
    run_once(victim)
    phases = (while_it_starts, while_it_scans, while_it_flushes, while_it_stores_copies)
    for number in range(times):
        phase = phases[number % len(phases)]
        yield f"SIGKILL {phase.__name__.replace('_', ' ')}", lambda phase=phase: one_kill(victim, phase)


# Locks


def locked_at_the_start(victim):
    with victim.locked():
        victim.start()
        if victim.outcome() != "alert":
            raise Harm("no alert")
        time.sleep(4)
    if victim.outcome() != "palette":
        wait_until(lambda: victim.outcome() == "palette", "the palette")
    victim.check_index()
    return "says so, comes up when the lock goes"


def locked_during_a_scan(victim):
    begin_anew(victim)
    victim.start()
    victim.outcome()
    with victim.locked():
        time.sleep(8)
    victim.check_index(120)
    return "the index is complete"


def locked_during_copies(victim):
    victim.start()
    victim.outcome()
    texts = {f"copied under a lock at {time.monotonic_ns()}, {number}" for number in range(8)}
    with victim.locked():
        for text in texts:
            victim.copy(text)
            time.sleep(1.2)
        if not victim.told():
            raise Harm("does not say that copies are not stored")
    wait_until(lambda: texts <= victim.contents(),
               lambda: f"the copies to be stored: {len(texts & victim.contents())} of {len(texts)}", 25)
    return "says so, stores all afterwards"


def one_fault(victim, phase):
    result = phase(victim)
    victim.end()
    victim.check_sound()
    return result


def lock(victim, times):
    run_once(victim)
    phases = (locked_at_the_start, locked_during_a_scan, locked_during_copies)
    for number in range(times):
        phase = phases[number % len(phases)]
        yield phase.__name__.replace("_", " "), lambda phase=phase: one_fault(victim, phase)


# Disks


@contextlib.contextmanager
def small_disk(victim):
    """The data folder on a disk of its own, with the data there was."""
    kept = victim.desktop.root / "kept"
    shutil.copytree(victim.folder, kept)
    subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16m,mode=0700", "tmpfs", victim.folder], check=True)
    try:
        shutil.copytree(kept, victim.folder, dirs_exist_ok=True)
        yield
    finally:
        victim.clear()
        subprocess.run(["umount", victim.folder], check=True)
        shutil.rmtree(kept)


@contextlib.contextmanager
def filled(folder):
    filler = pathlib.Path(folder) / "filler"
    with contextlib.suppress(OSError), open(filler, "wb", buffering=0) as stream:
        while stream.write(b"x" * 4096) == 4096:
            pass
    yield
    filler.unlink()


def full_at_the_start(victim):
    with small_disk(victim):
        for side in victim.folder.glob("*-*"):
            side.unlink()
        with filled(victim.folder):
            victim.start()
            first = victim.outcome()
            time.sleep(2)
        if first == "alert":
            wait_until(lambda: victim.outcome() == "palette", "the palette")
        victim.end()
        victim.check_sound()
    return f"{first} at first, comes up when there is room"


def full_during_copies(victim):
    with small_disk(victim):
        victim.start()
        victim.outcome()
        victim.copy("before")
        wait_until(lambda: "before" in victim.contents(), "a copy to be stored")
        texts = {f"copied on a full disk {number} " + "x" * 300_000 for number in range(6)}
        with filled(victim.folder):
            for text in texts:
                victim.copy(text)
                time.sleep(1.2)
            if not victim.told():
                raise Harm("does not say that copies are not stored")
        wait_until(lambda: texts | {"before"} <= victim.contents(), "the copies to be stored", 25)
        victim.end()
        victim.check_sound()
    return "says so, stores all afterwards"


def read_only_at_the_start(victim):
    with small_disk(victim):
        subprocess.run(["mount", "-o", "remount,ro", victim.folder], check=True)
        victim.start()
        if victim.outcome() != "alert":
            raise Harm("no alert")
        victim.end()
    return "says that it cannot start"


def disk(victim, times):
    if os.geteuid() != 0:
        return
    run_once(victim)
    phases = (full_at_the_start, full_during_copies, read_only_at_the_start)
    for number in range(times):
        phase = phases[number % len(phases)]
        yield phase.__name__.replace("_", " "), lambda phase=phase: phase(victim)
