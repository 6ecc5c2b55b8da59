"""fleet_test.py NAME BUILD_FOLDER [--hosts N] [--sessions N]: from hosts under Wine to the answers of three engines.

What the hosts were told that they have recorded is compared with what the engines have: each record once, and nothing
of a user who has not consented."""
import argparse, collections, gzip, itertools, json, os, pathlib, random, shutil, subprocess, sys, time

sys.path[:0] = [str(pathlib.Path(__file__).parents[1] / "deliver"), str(pathlib.Path(__file__).parents[2] / "bench/fleet")]
import documents, engines
from hosts import ANY, Host
from world import BUILD, SOURCE, WORLD, check, make_authority, nginx, staged

ROWS = """SELECT DISTINCT session, user, product, version, kind, category, subcategory, name, value, doc, seq FROM records
WHERE origin = 'session' AND cityHash64(document, arrived) IN (SELECT * FROM usage.latest_local)
ORDER BY session, seq"""

LONGER = b"""<EventRec doc="" category="a" subcategory="b" name="c" time="2026-11-24T22:02:41Z" seq="9997" />
<NewGroup category="Skylamp" subcategory="NOVALUE" name="ValidationErrors" time="2026-11-24T22:02:41Z" group="999" doc="" seq="9998" />
<DataRec time="2026-11-24T22:02:41Z" group="999" name="ErrorType" data="a" seq="9999" />
"""


def inspect(*arguments):
    return engines.run("vantra-inspect", *arguments, env=engines.ENVIRONMENT, stderr=subprocess.DEVNULL)


def load(engine, root):
    done = engine.load(root)
    check(done.returncode == 0, f"{engine.name}: {done.stderr.decode()}")


def load_again(engine, root):
    """All that was loaded once more."""
    for path in (root / "load/loaded").iterdir():
        path.rename(root / "load/waiting" / path.name)
    load(engine, root)


def arrive(root, paths, day):
    folder = root / "usage" / day
    folder.mkdir()
    for path in paths:
        shutil.copy(path, folder)


def change(path, folder):
    """Another, longer text under the same name, which the one that arrives later replaces."""
    lines = gzip.decompress(path.read_bytes()).translate(documents.ROTATED).splitlines(keepends=True)
    lines.insert(-2, LONGER)
    text = b"".join(lines).replace(b'ProductVersion" data="3.', b'ProductVersion" data="9.')
    (folder / path.name).write_bytes(gzip.compress(text.translate(documents.ROTATED)))


def compare_sessions(shards, *folders):
    """The state of each session in the shards with what the inspector finds in the documents, which it returns."""
    states = {row["session"]: [row["state"], row["events"], row["version"] or ""]
              for row in map(json.loads, inspect("list", "--json", *folders).splitlines())}
    there = {row[0]: row[1:] for row in shards.query("SELECT session, state, events, version FROM sessions")}
    wrong = [(key, there.get(key), states.get(key)) for key in {**there, **states} if there.get(key) != states.get(key)]
    check(not wrong, f"sessions: {wrong[:3]}")
    return states


def compare(hosts, shards, *folders):
    """The rows of the hosts' users in the shards with what the hosts say."""
    states = compare_sessions(shards, *folders)
    wanted = {session.marker: session for host in hosts for session in host.sessions if session.is_kept}
    users = {host.user for host in hosts}
    for identifier, rows in itertools.groupby(shards.query(ROWS), key=lambda row: row[0]):
        rows = list(rows)
        if rows[0][1] not in users:
            continue
        start = next(i for i, row in enumerate(rows) if row[7] == "Fleet")
        session = wanted.pop(rows[start][8], None)
        check(session, f"a session that nobody has recorded, or twice: {rows[start]}")
        check([row[10] for row in rows] == list(range(len(rows))), f"{session.end}: a record is missing or there twice")
        check({tuple(row[1:4]) for row in rows} == {(session.user, session.product[1], session.version)}, rows[start])
        check(states[identifier][0] in session.states, f"{session.end}: {states[identifier]}")
        own = [tuple(row[4:10]) for row in rows[start + 1:] if row[4] in ("group", "value", "event")]
        if "complete" in session.states:
            own = own[:next(i for i, row in enumerate(own) if row[3] == "OptInInfo")]
        # The last call of a host that was killed may have recorded without having returned.
        most = 10 if session.end == "killed" else 0
        check(0 <= len(own) - len(session.rows) <= most, f"{session.end}: {len(own)} of {len(session.rows)} records")
        for row, said in zip(own, session.rows):
            check(all(b is ANY or a == b for a, b in zip(row, said)), f"{row} instead of {said}")
    check(not wanted, f"{len(wanted)} sessions are missing")


def compare_choices(hosts, shards):
    wanted = collections.defaultdict(lambda: [0, 0])
    for host in hosts:
        for product, counts in host.choices().items():
            wanted[product] = [a + b for a, b in zip(wanted[product], counts)]
    there = {tuple(row[:3]): row[3:5] for row in shards.query("SELECT * FROM consent")}
    check(there == wanted, f"choices: {there} instead of {dict(wanted)}")


def interrupt(shards, root):
    """A load during which a shard is killed fails and leaves everything to the next one."""
    count = lambda: int(shards.query("SELECT count() FROM usage.records_local", 1)[0][0])
    before, slow, half = count(), WORLD / "slow", WORLD / "half"
    slow.mkdir()
    (slow / "vantra-inspect").write_text(f"""#!/bin/sh
        {SOURCE}/build/native/vantra-inspect "$@" |
        awk 'NR == 6000 {{ fflush(); system("touch {half}; while [ -e {half} ]; do sleep 0.1; done") }} 1'""")
    (slow / "vantra-inspect").chmod(0o755)
    end = time.time() + 60
    shards.environment["PATH"] = f"{slow}:{engines.ENVIRONMENT['PATH']}"
    process = shards.load(root, "--max_insert_block_size=500", "--min_insert_block_size_rows=0",
                          "--min_insert_block_size_bytes=0", start=subprocess.Popen)
    while not half.exists() or count() == before:
        check(process.poll() is None and time.time() < end, "the load does not wait for half of the rows")
    shards.stop(1)
    half.unlink()
    process.communicate()
    check(process.returncode != 0 and os.listdir(root / "load/waiting"), "a load without a shard is no failure")
    shards.environment["PATH"] = engines.ENVIRONMENT["PATH"]
    shards.start(1)
    load(shards, root)


def play(hosts, root, say):
    arrived = root / "arrived"
    (root / "usage").rename(arrived)
    (root / "usage").mkdir()
    random.shuffle(paths := sorted(arrived.rglob("*.gz")))
    say(f"{len(paths)} documents arrived")
    with engines.ClickHouse(WORLD / "clickhouse") as shards:
        for shard in (0, 1):  # so that what has been replaced is still there
            engines.run("clickhouse-client", "--port", shards.ports[shard], "--query", "SYSTEM STOP MERGES")
        # In the wrong order, late, and some of them twice.
        arrive(root, paths[:len(paths) // 2], "2026-11-26")
        for pattern in ("*_0.rdy.gz", "*Optin*.rdy.gz"):
            change(next(arrived.rglob(pattern)), root / "usage/2026-11-26")
        load(shards, root)
        compare_sessions(shards, root / "load/loaded")
        arrive(root, paths, "2026-11-25")
        load(shards, root)
        compare(hosts, shards, arrived)
        compare_choices(hosts, shards)
        load_again(shards, root)
        compare(hosts, shards, arrived)
        say("The shards have what the hosts have recorded")

        documents.write_all(arrived, root / "made", 25 * len(hosts), random.random(), smallest=0, largest=10**6)
        for path in (root / "made").rglob("*_1.*"):  # of long ones a part is missing
            path.unlink()
        arrive(root, made := list((root / "made").rglob("*.gz")), "2026-11-24")
        interrupt(shards, root)
        compare(hosts, shards, arrived, root / "made")
        say(f"{len(made)} more documents, loaded while a shard was killed and started")
        answers = {"clickhouse": shards.answers()}
    for kind in (engines.PostgreSQL, engines.DuckDB):
        with kind(WORLD / kind.name) as engine:
            load_again(engine, root)
            load_again(engine, root)
            answers[kind.name] = engine.answers()
            if kind is engines.DuckDB:
                engine.write_lake()
                answers["parquet"] = engine.answers()
    for question, wanted in answers["clickhouse"].items():
        check(wanted, f"{question}: no answer")
        for engine, others in answers.items():
            wrong = [pair for pair in itertools.zip_longest(wanted, others[question]) if pair[0] != pair[1]]
            check(not wrong, f"{question}: {engine} differs: {wrong[:3]}")
    say(f"{', '.join(answers)} give the same answers")
    inspect("report", "-o", SOURCE / "build/fleet.html", root / "load/loaded")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--hosts", type=int, default=50)
    parser.add_argument("--sessions", type=int, default=10)
    parser.add_argument("--keep", type=pathlib.Path, help="a folder for the documents that arrived; nothing more is done")
    options = parser.parse_args(sys.argv[3:])
    begin = time.time()
    say = lambda words: print(f"{time.time() - begin:4.0f} s  {words}", flush=True)
    random.seed(seed := int(begin))
    with staged():
        make_authority()
        for file in ("Vantra.dll", "vantra-fleet-host.exe"):
            shutil.copy(BUILD / file, WORLD)
        hosts = [Host(number, options.sessions) for number in range(options.hosts)]
        with nginx() as root:
            for host in hosts:
                host.act()
        say(f"{options.hosts} hosts have recorded (seed {seed})")
        if options.keep:
            shutil.copytree(root / "usage", options.keep)
        else:
            play(hosts, root, say)


main()
