"""From a host to a server's disk, and what happens to the folder meanwhile."""
from world import *


def case_nginx():
    """From a host to the server's disk."""
    make_authority()
    tree = WORLD / "tree"
    tree.mkdir()
    for i in range(200):
        (tree / f"{i}.txt").write_text("x\n")
    with nginx() as root:
        shutil.copy(DATA / "Sendrix2.cfg", WORLD)
        shutil.copy(BUILD / "vantra-demo.exe", WORLD)
        shutil.copy(BUILD / "Vantra.dll", WORLD)
        registry(USAGE, "send", "0")
        wine("vantra-demo.exe", "--consent", "yes", "tree")
        recorded = waiting()
        check(len(recorded) == 3, f"not three documents but {list(recorded)}")
        # Odd names are as good as any, as long as they are of the form.
        for family in ("Ä ß", "%41+&=#;,'@!$()[]{}^`~", "x" * 100):
            document = make_documents(1)
            name = next(iter(document)).replace("Acme", family)
            (LOGS / next(iter(document))).rename(LOGS / name)
            recorded[name] = next(iter(document.values()))
        # These the server refuses: by name, by length, by size.
        strangers = {"stranger.xml": b"1", f"ulog_{'y' * 200}.xml": b"2", next(iter(make_documents(1))): random.randbytes(2 << 20)}
        for name, content in strangers.items():
            (LOGS / name).write_bytes(content)
        agent(code=1)
        check(not arrived(root), "sent although send is 0")
        agent("send", code=0)
        check(arrived(root) == recorded, f"arrived: {list(arrived(root))}, {said()}")
        check(set(os.listdir(DATA / "Refused")) == set(strangers) and not waiting(), "what is put aside")
        check(f"sent {len(recorded)}, refused 3" in said(), said())
        # A host that is killed: what it has recorded arrives.
        host = wine("vantra-demo.exe", "--consent", "yes", "tree", start=subprocess.Popen)
        while not (left := list(LOGS.glob("*.tmp"))) or left[0].stat().st_size < 9000:
            check(host.poll() is None, "the host was not killed")
        host.kill()
        host.wait()
        time.sleep(0.5)  # until Windows has closed its files
        name = left[0].stem + ".rdy"
        recorded[name] = left[0].read_bytes()
        os.utime(left[0], (0, 0))
        agent("send", code=0)
        check(arrived(root) == recorded, "what a killed host has recorded")
        # The library starts the agent itself.
        registry(USAGE, "send", "1")
        wine("vantra-demo.exe", "--consent", "yes", "tree")
        for _ in range(200):
            if not waiting():
                break
            time.sleep(0.1)
        check(len(arrived(root)) == len(recorded) + 2, "the library's own start of the agent")
        for content in arrived(root).values():
            check(content.startswith(b"R-M$ke#$vQPo5lupadix"), "what arrived is a document")
        # Nothing can be read there, and a wrong token says so.
        configure(re.search("url=(.*)", (DATA / "Sendrix2.cfg").read_text())[1], authorization="Bearer other")
        make_documents(1)
        agent("send", code=1)
        check("answered 401: the server wants another authorization" in said(), said())
        check(not os.listdir(root / "incoming"), "something half arrived")


def case_queue():
    """What happens to the folder while documents are on their way, and what is sent at all."""
    policy = r"HKLM\SOFTWARE\Policies\Tolvex\ORPIX"
    act = lambda what: (lambda connection: (what(), connection.sendall(answer(201))))

    def sends(documents, *answers, code=0):
        server = Server(*answers, answer(201))
        configure(server.url)
        agent("send", code=code)
        check(server.names() == list(documents), f"sent {server.names()} instead of {list(documents)}: {said()}")
        return server

    # Each byte of a request stands in the page on privacy.
    configure((server := Server(answer(201))).url, authorization="Basic YTpi")
    make_documents(1)
    (DATA / "Sendrix2.state.9.tmp").touch()  # of an agent that was killed
    agent(code=0)
    check(not list(DATA.glob("*.tmp")), "a temporary file stays")
    check(re.fullmatch(page_lines("PUT"), server.requests[0][0]), server.requests[0][0])
    check(server.requests[0][1][3:8] == bytes(5), "a name or a time is in the gzip header")

    # By age; a session by its index; a read-only one is deleted too.
    late, early = make_documents(2), make_documents(2, age=1000)
    [(LOGS / name).chmod(0o444) for name in late]
    sends([*early, *late])
    check(not waiting(), "a read-only document stays")

    # Withdrawn, forbidden, and written anew while the first is on its way.
    first, *_ = make_documents(3)
    sends([first], act(lambda: [path.unlink() for path in LOGS.iterdir()]))
    documents = make_documents(3)
    first, *others = documents
    sends([first], act(lambda: registry(policy, "enabled", "0", "REG_DWORD")), code=1)
    old = LOGS / "ulog_old.tmp"
    old.write_bytes(b"x")
    os.utime(old, (0, 0))
    configure("file:///C:/outbox")
    before = {name: documents[name] for name in others} | {old.name: b"x"}
    agent("send", code=1)
    check(waiting() == before, "the policy is not kept")
    registry(policy, "enabled", "1", "REG_DWORD")
    old.unlink()
    crash, anew = others[0], documents[others[0]][::-1]
    server = sends([crash, others[1], crash], act(lambda: (LOGS / crash).write_bytes(anew)))
    check(gzip.decompress(server.requests[2][1]) == anew and not waiting(), "a new crash document is lost")

    # One agent at a time, which looks once more before it ends.
    one, two = list(make_documents(1)), []
    sends(two := [*one, "ulog_more.xml"], act(lambda: ((LOGS / "ulog_more.xml").write_bytes(b"more"), agent(code=0))))

    # Abandoned documents get their names; what is held, fresh or of a finished name does not.
    for name, content, age in (("a", b"R-M$ke#$vQPo5lupadixx", 700), ("b", b"<", 650), ("fresh", b"", 500), ("held", b"", 0),
                               ("twice", b"", 700), ("future", b"", -9999)):
        (LOGS / f"ulog_{name}.tmp").write_bytes(content)
        os.utime(LOGS / f"ulog_{name}.tmp", (time.time() - age,) * 2)
    holder = wine("cmd", "/c", r"pause >>%APPDATA%\Tolvex\Sendrix2\Logs\ulog_held.tmp", start=subprocess.Popen,
                  stdin=subprocess.PIPE)
    reader = wine("cmd", "/c", r"pause >>%APPDATA%\Tolvex\Sendrix2\Logs\ulog_used.xml", start=subprocess.Popen,
                  stdin=subprocess.PIPE)
    while not (LOGS / "ulog_used.xml").exists() or not (LOGS / "ulog_held.tmp").stat().st_size:
        time.sleep(0.1)
    time.sleep(0.5)
    os.utime(LOGS / "ulog_held.tmp", (0, 0))
    os.utime(LOGS / "ulog_used.xml", (0, 0))
    (LOGS / "ulog_twice.xml").write_bytes(b"twice")
    sends(["ulog_a.rdy", "ulog_b.xml", "ulog_twice.xml", "ulog_future.xml"])
    check(sorted(waiting()) == [f"ulog_{name}" for name in ("fresh.tmp", "held.tmp", "twice.tmp", "used.xml")], waiting())
    for process in (holder, reader):
        process.communicate(b"x")
    shutil.rmtree(LOGS)
    LOGS.mkdir()

    # Space: the oldest go, whichever folder they are in.
    for folder, age in ((DATA / "Refused", 3), (LOGS, 2), (DATA / "Refused", 1), (LOGS, 0)):
        folder.mkdir(exist_ok=True)
        (folder / f"ulog_{age}.xml").write_bytes(b"x" * 400_000)
        os.utime(folder / f"ulog_{age}.xml", (time.time() - age * 60,) * 2)
    configure("https://usage.tolvex.example/skylamp", space=1)
    agent("send", code=1)
    check("no server is configured" in said() and os.listdir(LOGS) == ["ulog_0.xml"], said())
    check(os.listdir(DATA / "Refused") == ["ulog_1.xml"], "the newest refused document stays")
    for spoil, words in ((lambda path: os.truncate(path, 2 << 20), "cannot be read"), (os.unlink, "no server")):
        os.truncate(LOGS / "ulog_0.xml", 11 << 20)
        spoil(DATA / "Sendrix2.cfg")
        agent("send", code=1)
        check(words in said() and waiting(), f"deleted, as nobody has said: {said()}")

    # A lock that cannot be had is no other agent.
    (DATA / "Sendrix2.lock").unlink()
    (DATA / "Sendrix2.lock").mkdir()
    agent("send", code=2)
