"""scale.py FOLDER [COUNT [ENGINE...]]: measures each step from COUNT documents, made from those in FOLDER, to answers.

Works in build/scale, and empties it. Documents are loaded in portions of 50,000."""
import os, resource, shutil, subprocess, sys, time

import documents, engines
from engines import ENVIRONMENT, SOURCE, folder_size, run

SCALE = SOURCE / "build/scale" / "".join(sys.argv[2:3])


class Took:
    """The time that an action took, and the processor time of its programs and of an engine's servers."""

    def __init__(self, action, engine=None):
        begin, cpu = time.time(), self.used(engine)
        self.result = action()
        self.seconds = time.time() - begin
        time.sleep(0.3)  # a server may still be at work on it
        self.cpu = self.used(engine) - cpu

    @staticmethod
    def used(engine):
        children = resource.getrusage(resource.RUSAGE_CHILDREN)
        servers = [open(f"/proc/{process.pid}/stat").read().rsplit(")", 1)[1].split() for process in
                   (engine.processes() if engine else [])]
        ticks = sum(int(field) for fields in servers for field in fields[11:15])
        return children.ru_utime + children.ru_stime + ticks / os.sysconf("SC_CLK_TCK")

    def __str__(self):
        return f"{self.seconds:.1f} s, {self.cpu:.1f} s of a core"

    def rate(self, documents, records):
        """The rate on two cores that do nothing else."""
        return f"{self}: {2 * documents / self.cpu:.0f} documents and {2 * records / self.cpu:.0f} records a second on two cores"


def export():
    """Exports to nowhere, and returns the numbers of rows and bytes."""
    command = f"vantra-inspect export {SCALE}/documents 2>{SCALE}/messages | wc -c"
    size = int(run("sh", "-c", command, env=ENVIRONMENT))
    return int((SCALE / "messages").read_text().split()[-10]), size


def load_portions(engine, count, rows):
    """Loads portion by portion, as if documents had arrived between the loads."""
    arriving, later = SCALE / "arrived/usage/today", sorted((SCALE / "documents").iterdir())
    portions = max(1, count // 50_000)
    for portion in range(portions):
        arriving.mkdir()
        for day in later[portion::portions]:
            day.rename(arriving / day.name)
        done = Took(lambda: engine.load(SCALE / "arrived"), engine)
        if done.result.returncode:
            sys.exit(done.result.stderr.decode())
        say(f"    portion {portion + 1}: {done.rate(count / portions, rows / portions)}")


def measure(kind, count, rows):
    with kind(SCALE / kind.name) as engine:
        say(f"{kind.name}: load {Took(lambda: load_portions(engine, count, rows), engine).rate(count, rows)}")
        for question in engines.QUESTIONS:
            took = Took(lambda: engine.query(f"SELECT count(*) FROM (SELECT * FROM {question}) AS answer"), engine)
            say(f"    {question} {took}; {took.result[0][0]} rows")
        if kind is engines.DuckDB:
            say(f"    database {engine.database.stat().st_size / rows:.1f} bytes a record")
            say(f"    Parquet {Took(engine.write_lake).rate(count, rows)}")
            say(f"    stability from it {Took(lambda: engine.query('SELECT * FROM stability'))}")
        took = Took(engine.size, engine)
        say(f"    {took.result} bytes on disk, {took.result / rows:.1f} a record; merged and counted in {took}")
    shutil.rmtree(SCALE / kind.name)
    for day in (SCALE / "arrived/load/loaded").glob("*/*"):
        day.rename(SCALE / "documents" / day.name)
    shutil.rmtree(SCALE / "arrived/load")


def say(words):
    print(words, flush=True)


def main(source, count="10000", *names):
    shutil.rmtree(SCALE, ignore_errors=True)
    (SCALE / "arrived/usage").mkdir(parents=True)
    took = Took(lambda: documents.write_all(source, SCALE / "documents", int(count)))
    made, plain, packed = took.result
    say(f"{made} documents of {plain / made:.0f} bytes, {packed / made:.0f} packed; made in {took}")
    say(f"    {folder_size(SCALE / 'documents') / made:.0f} bytes of disk each")
    took = Took(export)
    rows, size = took.result
    say(f"export {took.rate(made, rows)}")
    say(f"    {rows} records; each {plain / rows:.0f} bytes, {packed / rows:.1f} packed, {size / rows:.0f} as NDJSON")
    report = ["vantra-inspect", "report", "-o", SCALE / "report.html", SCALE / "documents"]
    say(f"report {Took(lambda: run(*report, env=ENVIRONMENT, stderr=subprocess.DEVNULL)).rate(made, rows)}")
    for kind in (engines.ClickHouse, engines.DuckDB, engines.PostgreSQL):
        if not names or kind.name in names:
            measure(kind, made, rows)
    shutil.rmtree(SCALE)


main(*sys.argv[1:])
