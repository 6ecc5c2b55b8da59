"""What ./dev deliver plays for minutes: servers that stall, agents that are killed, and many documents."""
from world import *

ROUNDS = int(sys.argv[3]) if CASE in ("kills", "many") and len(sys.argv) > 3 else 0


def case_stalls():
    """Servers that keep the line. The agent ends by itself, and the document is the last of the next run."""

    def drip(connection, text, pause):
        while True:
            connection.sendall(text)
            time.sleep(pause)

    rows = {
        "says nothing": (25, 40, lambda connection: time.sleep(100)),
        "drips its head": (55, 70, lambda connection: drip(connection, b"H", 1)),
        "drips headers": (55, 70, lambda connection: (connection.sendall(b"HTTP/1.1 201 X\r\n"),
                                                      drip(connection, b"A: b\r\n", 1))),
        "drips its body": (55, 70, lambda connection: (connection.sendall(answer(201, body=b"x" * 9999)[:-9998]),
                                                       drip(connection, b"x", 1))),
    }
    for name, (least, most, reply) in rows.items():
        first, *others = make_documents(2)
        configure(Server(reply).url)
        begin = time.time()
        agent("send", code=1)
        took = time.time() - begin
        check(least < took < most and len(waiting()) == 2, f"{name}: {took:.0f} s, {said()}")
        server = Server(answer(201))
        configure(server.url)
        agent("send", code=0)
        check(server.names() == [*others, first], f"{name}: {server.names()}")
        print(f"{name}: ended after {took:.0f} s", flush=True)


def case_kills():
    """Agents that are killed at any moment, in rounds."""
    make_authority()
    shutil.rmtree(DATA / "Refused", ignore_errors=True)
    killed, made = 0, {}
    with nginx() as root:
        for number in range(ROUNDS or 200):
            made |= make_documents(random.randint(1, 20), random.choice((3000, 100_000)))
            process = wine("Sendrix2.exe", start=subprocess.Popen)
            left = random.randint(0, len(os.listdir(LOGS)))
            while process.poll() is None and len(os.listdir(LOGS)) > left:
                time.sleep(0.001)
            time.sleep(random.uniform(0, 0.03))
            killed += process.poll() is None
            process.kill()
            process.wait()
            here, there = waiting(), arrived(root)
            check(here == {name: made[name] for name in here}, f"round {number}: a waiting document is not whole")
            check(there == {name: made[name] for name in there}, f"round {number}: what arrived is not whole")
            check(here.keys() | there.keys() == made.keys(), f"round {number}: a document is lost")
            print(f"round {number + 1}: {killed} killed, {len(there)} of {len(made)} there", flush=True)
        for _ in range(50):
            if agent() == 0 and not waiting():
                break
            time.sleep(0.1)
        check(arrived(root) == made and not waiting() and not (DATA / "Refused").exists(), "the last run")
    print(f"{killed} agents killed; {len(made)} documents, each on the server once")


def peak(process):
    """Most memory that the process had, in MiB, and the seconds that it took."""
    begin, most = time.time(), 0
    while process.poll() is None:
        with contextlib.suppress(OSError, TypeError):
            most = int(re.search(r"VmHWM:\s+(\d+)", pathlib.Path(f"/proc/{process.pid}/status").read_text())[1])
        time.sleep(0.02)
    return most / 1024, time.time() - begin


def case_many():
    """Documents a second, and memory, beside curl with one connection to the same server."""
    make_authority()
    with nginx() as root:
        url = re.search("url=(.*)", (DATA / "Sendrix2.cfg").read_text())[1]
        for count in (ROUNDS,) if ROUNDS else (2000, 10_000):
            made = make_documents(count, 102_540)
            memory, took = peak(wine("Sendrix2.exe", start=subprocess.Popen))
            check(len(list((root / "usage").rglob("*.gz"))) == count and not waiting(), "not all arrived")
            print(f"{count} documents: agent {count / took:.0f} a second, {memory:.0f} MiB", end="; ", flush=True)
            [shutil.rmtree(day) for day in (root / "usage").iterdir()]
            with open(WORLD / "uploads", "w") as uploads:
                for name, content in made.items():
                    (WORLD / name).write_bytes(gzip.compress(content, 6))
                    uploads.write(f'upload-file = "{WORLD / name}"\nurl = "{url}/{name}.gz"\n')
            memory, took = peak(subprocess.Popen(["curl", "-sS", "--http1.1", "--cacert", "authority.pem", "-H",
                                                  "Authorization: Bearer 4e12", "-K", "uploads"], cwd=WORLD))
            check(len(list((root / "usage").rglob("*.gz"))) == count, "curl")
            print(f"curl {count / took:.0f} a second, {memory:.0f} MiB; load {os.getloadavg()[0]:.1f}", flush=True)
            for name in made:
                (WORLD / name).unlink()
            [shutil.rmtree(day) for day in (root / "usage").iterdir()]
