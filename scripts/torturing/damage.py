"""Damaged databases: each start works, or says what it lost, or says that it cannot start."""

import contextlib
import os
import pathlib
import shutil
import sqlite3
import time

from desktop import TimedOut, wait_until
from torturing.victim import Harm

FILES = 1500
TEXTS = [f"copied text number {number}: " + "lorem ipsum " * (number * 7) for number in range(30)]


def pages_of(path):
    """The page size, and the first page of each table and index."""
    with contextlib.closing(sqlite3.connect(path)) as database:
        size = database.execute("PRAGMA page_size").fetchone()[0]
        roots = dict(database.execute("SELECT name, rootpage FROM sqlite_schema WHERE rootpage > 0"))
    return size, roots


def damages(base, rng):
    """Without end: the name of a damage, and what does it to a file."""
    size, roots = pages_of(base)
    length = base.stat().st_size

    def writing(offset, data):
        def damage(file):
            with open(file, "r+b") as stream:
                stream.seek(offset)
                stream.write(data)
        return damage

    def flipping(first, last, count):
        places = [(rng.randrange(first, last), 1 << rng.randrange(8)) for _ in range(count)]

        def damage(file):
            data = bytearray(file.read_bytes())
            for place, bit in places:
                data[place] ^= bit
            file.write_bytes(data)
        return damage

    def running(sql):
        def damage(file):
            with contextlib.closing(sqlite3.connect(file, isolation_level=None)) as database:
                database.executescript(sql)
        return damage

    def freelist(file):
        with open(file, "rb") as stream:
            stream.seek(32)
            trunk = int.from_bytes(stream.read(4), "big")
        if trunk:
            writing((trunk - 1) * size, b"\xee" * size)(file)

    def directory(file):
        file.unlink()
        file.mkdir()

    yield "an empty file", lambda file: file.write_bytes(b"")
    yield "a folder in its place", directory
    yield "a text in its place", lambda file: file.write_text("This is not a database.\n" * 50)
    yield "no page in use", freelist
    for table in ("clipboard_history", "file_index", "file_index_fts", "index_roots", "quicklinks", "settings"):
        yield f"table dropped: {table}", running(f"DROP TABLE {table}")
    yield "trigger dropped", running("DROP TRIGGER file_index_ad")
    yield "other columns: file_index", running("DROP TABLE file_index; CREATE TABLE file_index(path TEXT, name TEXT)")
    yield "other columns: quicklinks", running("ALTER TABLE quicklinks RENAME COLUMN title TO name")
    for garbage in (b"\0" * 4096, bytes(rng.randrange(256) for _ in range(20000))):
        yield "garbage for a log", lambda file, data=garbage: pathlib.Path(f"{file}-wal").write_bytes(data)
    for name in sorted(roots):
        yield f"page zeroed: {name}", writing((roots[name] - 1) * size, b"\0" * size)
    while True:
        yield "a bit of the header", flipping(0, 100, 1)
        yield "bits of the schema", flipping(100, size, 3)
        yield "bits anywhere", flipping(size, length, 20)
        yield "a page of noise", writing(rng.randrange(1, length // size) * size, rng.randbytes(size))
        yield "pages zeroed", writing(rng.randrange(1, length // size) * size, b"\0" * size * 3)
        yield "cut off", lambda file, at=rng.randrange(1, length): os.truncate(file, at)


def make_base(victim):
    """A database that a run of the program has made and closed, with free pages in it."""
    victim.fill_home(FILES)
    victim.start()
    victim.outcome()
    victim.check_index()
    for text in TEXTS:
        victim.copy(text)
        wait_until(lambda text=text: text in victim.contents(), "the copy to be stored")
    for folder in list(victim.many.iterdir())[:8]:
        shutil.rmtree(folder)
    victim.check_index()
    victim.end()
    victim.clear()
    with contextlib.closing(sqlite3.connect(victim.file)) as database, database:
        database.execute("INSERT INTO quicklinks VALUES('1','Handbook','https://example.org/')")
    base = victim.desktop.root / "base.sqlite"
    shutil.copy(victim.file, base)
    return base


def put_damaged(victim, base, damage, unclean):
    shutil.rmtree(victim.folder)
    victim.folder.mkdir(mode=0o700)
    shutil.copy(base, victim.file)
    log = pathlib.Path(f"{victim.file}-wal")
    damage(victim.file)
    if unclean and not log.exists():
        log.touch()


def lost_of(victim, before):
    """What is not as it was, apart from the file index."""
    lost = []
    if not before <= victim.contents():
        lost.append("copies")
    if victim.query("SELECT title FROM quicklinks") != [("Handbook",)]:
        lost.append("quicklinks")
    return lost


def one_damage(victim, name):
    """One start on a damaged database: what came of it."""
    victim.start()
    if victim.outcome() == "alert":
        victim.end()
        return "says that it cannot start"
    told = set()
    time.sleep(4.5)
    told.update(victim.told())
    victim.copy(f"copied after: {name}")
    new = victim.many / f"made after {time.monotonic_ns()}.txt"
    new.touch()
    works = []
    for what, there in (("copies", lambda: f"copied after: {name}" in victim.contents()),
                        ("index", lambda: victim.indexed() == victim.on_disk())):
        with contextlib.suppress(TimedOut):
            wait_until(there, what, 12, 0.1)
            works.append(what)
    told.update(victim.told())
    for mode in ("clipboard history", "search files"):
        victim.show("Escape")
        victim.show(mode, "Return", "file")
        time.sleep(0.6)
        told.update(victim.told())
    victim.end()
    missing = lost_of(victim, set(TEXTS)) + [f"no {what}" for what in ("copies", "index") if what not in works]
    if not missing:
        return "works" + (" and says what was damaged" if told else "")
    if not told:
        raise Harm(f"lost without a word: {', '.join(missing)}")
    return "works and says what it lost"


def damage(victim, times):
    base = make_base(victim)
    for number, (name, does) in enumerate(damages(base, victim.rng)):
        if number == times:
            return
        unclean = number % 2 == 0
        put_damaged(victim, base, does, unclean)
        yield name, lambda name=name: one_damage(victim, name)
