"""deliver_test.py CASE BUILD_FOLDER [ROUNDS]: the agent as it is shipped, under Wine, against servers on loopback."""
import contextlib, functools, getpass, gzip, hashlib, os, pathlib, random, re, shutil, socket, ssl, struct, subprocess
import sys, tempfile, threading, time, urllib.parse, uuid, warnings

SOURCE = pathlib.Path(__file__).resolve().parents[2]
CASE, BUILD = sys.argv[1], pathlib.Path(sys.argv[2])
ROUNDS = int(sys.argv[3]) if len(sys.argv) > 3 else 0
WORLD = pathlib.Path(tempfile.mkdtemp(prefix="deliver-"))
PREFIX = SOURCE / "build/wine" / f"deliver.{CASE}"
USER = PREFIX / "drive_c/users" / getpass.getuser() / "AppData/Roaming/Tolvex"
DATA, LOGS = USER / "Sendrix2", USER / "Sendrix2/Logs"
# Without VANTRA_HOLD_OUTPUT, so that wine-run becomes the program, which can be killed then.
ENV = {**os.environ, "VANTRA_PREFIX": PREFIX.name}
ENV.pop("VANTRA_HOLD_OUTPUT", None)
NAMES = ("Theme", "Lines", "Circles", "OpenedFiles", "SavedFiles", "UndoDepth", "ZoomLevel")
USAGE = r"HKCU\Software\Tolvex\CommonFiles\Usage"


def check(condition, what):
    if not condition:
        log = USER / "Skylamp/SKLog-Sendrix2.txt"
        sys.exit(f"failed: {what}\n{log.read_text()[-3000:] if log.exists() else ''}")


def run(*command, **more):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=WORLD, **more)


def wine(program, *arguments, start=subprocess.run, **more):
    # To a file: Windows' own processes may hold a pipe for longer than the program lives.
    with open(WORLD / "output", "w") as output:
        return start([SOURCE / "cmake/wine-run", program, *arguments], cwd=WORLD, env=ENV, stdout=output,
                     stderr=subprocess.STDOUT, **{"stdin": subprocess.DEVNULL, **more})


def registry(key, name, value, kind="REG_SZ"):
    check(wine("reg", "add", key, "/v", name, "/t", kind, "/d", value, "/f").returncode == 0, f"reg add {key}")


def agent(*verb, code=None):
    done = wine("Sendrix2.exe", *verb).returncode
    check(code in (None, done), f"the agent ended with {done} instead of {code}: {said()}")
    return done


def said():
    return (WORLD / "output").read_text()


def configure(url, retries=0, interval=0, space=1000, authorization=""):
    DATA.mkdir(parents=True, exist_ok=True)
    (DATA / "Sendrix2.cfg").write_text(
        f"[settings]\nurl={url}\nmaxretries={retries}\nretryinterval={interval}\nmaxdiskspace={space}\n"
        f"authorization={authorization}\n[ulog]\nstatus=Active\n")


ROTATED = bytes((33 + (byte - 33 + 47) % 94) if 33 <= byte <= 126 else byte for byte in range(256))


def make_documents(count, size=3000, age=0):
    """Name to content, as a session of that many documents, oldest first."""
    session, made = uuid.uuid4(), {}
    for i in range(count):
        records = (f'<DataRec seq="{seq}" time="2026-11-24T21:51:{seq % 60:02}Z" group="1" name="{random.choice(NAMES)}" '
                   f'data="{random.randrange(10_000)}"/>\n' for seq in range(size // 80 + 1))
        name = f"ulog_Acme_Draw_{uuid.uuid4()}_{session}_{i}.rdy"
        made[name] = b"R-M$ke#$vQPo5lupadix" + "".join(records).encode().translate(ROTATED)[:size]
        (LOGS / name).write_bytes(made[name])
        if age:
            os.utime(LOGS / name, (time.time() - age + i,) * 2)
    return made


def waiting():
    return {path.name: path.read_bytes() for path in LOGS.iterdir()}


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    os.close(connection.detach())


def answer(status, *headers, body=b""):
    lines = [f"HTTP/1.1 {status} X", f"Content-Length: {len(body)}", *headers, "", ""]
    return "\r\n".join(lines).encode() + body


class Server:
    """Answers the requests one by one with bytes, or by a call with the connection; the last answer again and again.
    Early is called with the stream and the connection in place of all that."""

    def __init__(self, *answers, tls=None, early=None):
        self.answers, self.tls, self.early, self.requests = list(answers), tls, early, []
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.url = f"{'https://localhost' if tls else 'http://127.0.0.1'}:{self.port}/skylamp"
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            connection = self.listener.accept()[0]
            threading.Thread(target=self.serve, args=[connection], daemon=True).start()

    def serve(self, connection):
        with contextlib.suppress(OSError):
            if self.tls:
                connection = self.tls.wrap_socket(connection, server_side=True)
            stream = connection.makefile("rb")
            if self.early:
                return self.early(stream, connection)
            while head := read_head(stream):
                body = stream.read(int(re.search(r"Content-Length: (\d+)", head)[1]))
                reply = self.answers[min(len(self.requests), len(self.answers) - 1)]
                self.requests.append((head, body))
                connection.sendall(reply) if isinstance(reply, bytes) else reply(connection)

    def names(self):
        return [urllib.parse.unquote(head.split()[1]).removeprefix("/skylamp/").removesuffix(".gz")
                for head, _ in self.requests]


def read_head(stream):
    lines = []
    while line := stream.readline():
        lines.append(line)
        if line == b"\r\n":
            return b"".join(lines).decode()


def certificate(name, dns="localhost", days="2", authority="authority"):
    """Files of a certificate and its key; it signs itself without an authority."""
    key, pem = WORLD / f"{name}.key", WORLD / f"{name}.pem"
    request = ["openssl", "req", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-subj", f"/CN={name}", "-addext",
               f"subjectAltName=DNS:{dns}"]
    if not authority:
        run(*request, "-x509", "-out", pem)
        return pem, key
    run(*request, "-out", "request.pem")
    run("openssl", "x509", "-req", "-in", "request.pem", "-copy_extensions", "copy", "-CA", f"{authority}.pem", "-CAkey",
        f"{authority}.key", "-CAcreateserial", "-days", days, "-out", pem)
    return pem, key


def make_authority():
    """An authority that this Wine prefix trusts, and nobody else. Wine reads its roots from the registry."""
    pem, _ = certificate("authority", authority=None)
    der = ssl.PEM_cert_to_DER_cert(pem.read_text())
    digest = hashlib.sha1(der).digest()
    properties = b"".join(struct.pack("<III", kind, 1, len(data)) + data for kind, data in ((3, digest), (32, der)))
    registry(r"HKCU\Software\Microsoft\SystemCertificates\Root\Certificates" + "\\" + digest.hex().upper(), "Blob",
             properties.hex(), "REG_BINARY")


def context(pem, key, version=None):
    tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    if version:
        warnings.simplefilter("ignore")
        tls.set_ciphers("DEFAULT:@SECLEVEL=0")
        tls.minimum_version = tls.maximum_version = version
    tls.load_cert_chain(pem, key)
    return tls


@contextlib.contextmanager
def nginx():
    """Debian's, with the configuration of the page to the letter; only where it listens is ours."""
    page = (SOURCE / "docs/receiving.md").read_text()
    root = WORLD / "nginx"
    make, own = re.search(r"```sh\n(mkdir.*)\n(chown.*)\n", page).groups()
    run("sh", "-ec", (f"{make}; {own}" if os.getuid() == 0 else make).replace("/srv/usage", str(root)))
    (root / "nginx.conf").write_text(re.search(r"`nginx.conf` is the rest:\n\n```nginx\n(.*?)```", page, re.S)[1])
    pem, key = certificate("nginx")
    with socket.create_server(("127.0.0.1", 0)) as free:
        port = free.getsockname()[1]
    (root / "site.conf").write_text(
        f"listen 127.0.0.1:{port} ssl;\nssl_certificate {pem};\nssl_certificate_key {key};\n"
        'if ($http_authorization != "Bearer 4e12") { return 401; }\n')
    command = ["/usr/sbin/nginx", "-p", str(root), "-c", str(root / "nginx.conf")]
    server = subprocess.Popen([*command, "-g", "daemon off;"], stderr=open(root / "stderr", "w"))
    while not (root / "nginx.pid").exists() or not (root / "nginx.pid").read_text():
        check(server.poll() is None, (root / "stderr").read_text())
        time.sleep(0.05)
    configure(f"https://localhost:{port}/skylamp", authorization="Bearer 4e12")
    try:
        yield root
    finally:
        server.terminate()
        server.wait()


def arrived(root):
    """Name to content of what the server has."""
    found = {}
    for path in (root / "usage").rglob("*.gz"):
        day, fan = path.parts[-3:-1]
        check(re.fullmatch(r"\d{4}-\d\d-\d\d", day) and f"_{fan}" in path.name, f"the folder of {path}")
        name = path.name.removesuffix(".gz")
        check(name not in found, f"{name} arrived twice")
        found[name] = gzip.decompress(path.read_bytes())
    return found


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


STORED, REFUSED, AGAIN, STOP = "stored", "refused", "again", "stop"


def case_answers():
    """What each answer does to the first of two documents, and whether the second is sent."""
    elsewhere = Server(answer(201))
    rows = [
        *((STORED, answer(status)) for status in (200, 201, 204, 299)),
        (STORED, answer(201, "Set-Cookie: a=b; Path=/", body=b"x" * 100_000)),
        *((REFUSED, answer(status)) for status in (400, 413, 415, 422)),
        *((AGAIN, answer(status)) for status in (408, 425, 429, 500, 501, 502, 503, 504, 599)),
        *((AGAIN, answer(503, f"Retry-After: {when}"))
          for when in ("0", "soon", "-1", "Sun, 06 Nov 1994 08:49:37 GMT", "9" * 300)),
        *((STOP, answer(status, f"Location: {elsewhere.url}")) for status in (300, 301, 302, 303, 307, 308)),
        *((STOP, answer(401, f"WWW-Authenticate: {scheme}")) for scheme in ('Basic realm="a"', "NTLM", "Negotiate")),
        *((STOP, answer(status)) for status in (304, 403, 404, 405, 407, 409, 410, 411, 451)),
    ]
    for wanted, reply in rows:
        shown = str(reply)[:60]
        server = Server(reply)
        configure(server.url, retries=1)
        documents = make_documents(2)
        first, second = documents
        goes_on = wanted in (STORED, REFUSED)
        agent("send", code=0 if goes_on else 1)
        sent = {STORED: [first, second], REFUSED: [first, second], AGAIN: [first, first], STOP: [first]}[wanted]
        check(server.names() == sent, f"{shown}: sent {server.names()}, {said()}")
        check(waiting() == ({} if goes_on else documents), f"{shown}: waiting {list(waiting())}")
        aside = os.listdir(DATA / "Refused") if (DATA / "Refused").exists() else []
        check(sorted(aside) == (sorted(documents) if wanted == REFUSED else []), f"{shown}: put aside {aside}")
        check(not any("Cookie" in head for head, _ in server.requests), "a cookie was sent")
        for folder in (LOGS, DATA / "Refused"):
            shutil.rmtree(folder, ignore_errors=True)
        LOGS.mkdir()
    check(not elsewhere.requests, "a redirect was followed")

    # Repeats count in a row, and a server that asks to wait is heeded by later runs too.
    server = Server(*[answer(503), answer(201)] * 3)
    configure(server.url, retries=1)
    make_documents(3)
    agent("send", code=0)
    check(len(server.requests) == 6, server.names())
    busy, idle = Server(answer(503, "Retry-After: 3600")), Server(answer(201))
    make_documents(1)
    configure(busy.url, retries=1)
    for verb, code, requests in (((), 1, 1), ((), 1, 1), (("send",), 1, 2), (("status",), 0, 2)):
        agent(*verb, code=code)
        check(len(busy.requests) == requests, f"{verb}: {len(busy.requests)} requests")
    check("not before 2" in said(), said())
    configure(idle.url)
    agent(code=0)
    check(len(idle.requests) == 1 and not said(), "another server does not wait, and nothing is said")


def case_connections():
    """Connections that break. The run ends, nothing is lost, and the document is the last of the next run; unless there
    was no connection at all."""
    closed = socket.create_server(("127.0.0.1", 0))
    nobody = f"http://127.0.0.1:{closed.getsockname()[1]}/skylamp"
    closed.close()
    cut = lambda text: (lambda connection: (connection.sendall(text), reset(connection)))
    rows = {
        "nobody": None,
        "at once": dict(early=lambda stream, connection: reset(connection)),
        "in the head": dict(early=lambda stream, connection: (stream.read(20), reset(connection))),
        "in the body": dict(early=lambda stream, connection: (read_head(stream), stream.read(20), reset(connection))),
        "no answer": dict(answers=[reset]),
        "closed": dict(answers=[lambda connection: connection.shutdown(socket.SHUT_RDWR)]),
        "in the status": dict(answers=[cut(b"HTTP/1.1 20")]),
        "in its reason": dict(answers=[cut(b"HTTP/1.1 201 Crea")]),
        "in the answer": dict(answers=[cut(b"HTTP/1.1 201 Created\r\nContent-Length: 9\r\n\r\n1")]),
        "garbage": dict(answers=[cut(b"\xff" * 40 + b"\r\n\r\n")]),
    }
    for name, row in rows.items():
        documents = make_documents(3, 300_000)
        first, *others = documents
        configure(Server(*row.get("answers", []), early=row.get("early")).url if row else nobody, retries=1)
        agent("send", code=1)
        check(waiting() == documents, f"{name}: waiting {list(waiting())}")
        server = Server(answer(201))
        configure(server.url)
        agent("send", code=0)
        check(server.names() == ([*others, first] if row else [first, *others]), f"{name}: {said()} {server.names()}")
        check([gzip.decompress(body) for _, body in server.requests] == [documents[n] for n in server.names()], name)


def page_lines(verb):
    """The pattern of a request as the page on privacy lists it."""
    page = (SOURCE / "docs/privacy.md").read_text()
    lines = re.search(rf"```http\n({verb} .*?)```", page, re.S)[1].replace("\n", "\r\n") + "\r\n"
    return re.sub(r"<[a-z]+>", r"[^\\s]+( [^\\s]+)?", re.escape(lines))


def case_certificates():
    """Who is believed to be the server, and by which way it is reached."""
    make_authority()
    certificate("stranger", authority=None)
    good = certificate("good")
    rows = [
        ("good", context(*good), True),
        ("TLS 1.2", context(*good, ssl.TLSVersion.TLSv1_2), True),
        ("TLS 1.1", context(*good, ssl.TLSVersion.TLSv1_1), False),
        ("TLS 1.0", context(*good, ssl.TLSVersion.TLSv1), False),
        ("other name", context(*certificate("other", dns="other")), False),
        ("expired", context(*certificate("expired", days="0")), False),
        ("self-signed", context(*certificate("itself", authority=None)), False),
        ("unknown authority", context(*certificate("astray", authority="stranger")), False),
    ]
    time.sleep(1)  # for the one that expires at once
    for name, tls, is_good in rows:
        server = Server(answer(201), tls=tls)
        configure(server.url, retries=1)
        documents = make_documents(1)
        agent("send", code=0 if is_good else 1)
        check(len(server.requests) == is_good and waiting() == ({} if is_good else documents), f"{name}: {said()}")
        check(is_good or "certificate" in said(), f"{name}: {said()}")
        shutil.rmtree(LOGS)
        LOGS.mkdir()

    # Through the user's proxy, but never to this machine's own addresses without TLS.
    asked = []

    def tunnel(stream, connection):
        asked.append(read_head(stream))
        far = socket.create_connection(("127.0.0.1", secure.port))
        connection.sendall(b"HTTP/1.1 200 X\r\n\r\n")
        for here, there in ((connection, far), (far, connection)):
            threading.Thread(target=lambda a=here, b=there: [b.sendall(x) for x in iter(lambda: a.recv(9999), b"")],
                             daemon=True).start()

    secure, plain, proxy = Server(answer(201), tls=rows[0][1]), Server(answer(201)), Server(early=tunnel)
    named = f"127.0.0.1:{proxy.port}".encode()
    registry(r"HKCU\Software\Microsoft\Windows\CurrentVersion\Internet Settings\Connections",
             "DefaultConnectionSettings", struct.pack("<IIII", 70, 0, 3, len(named)).hex() + named.hex() + "00" * 8,
             "REG_BINARY")
    for server, through in ((secure, 1), (plain, 0)):
        asked.clear()
        configure(server.url, authorization="Bearer 4e12")
        make_documents(1)
        agent("send", code=0)
        check(len(server.requests) == 1 and len(asked) == through, f"by the proxy: {asked}")
        check(all(re.fullmatch(page_lines("CONNECT"), head) for head in asked), asked)


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
    agent(code=0)
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
    crash, *_ = others
    server = sends([crash, others[1], crash], act(lambda: (LOGS / crash).write_bytes(b"another crash")))
    check(gzip.decompress(server.requests[2][1]) == b"another crash" and not waiting(), "a new crash document is lost")

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


CASES = {name[5:]: case for name, case in globals().items() if name.startswith("case_")}
try:
    run("gcc", "-shared", "-fPIC", "-o", "nodelay.so", SOURCE / "tests/deliver/nodelay.c", "-ldl")
    ENV["LD_PRELOAD"] = str(WORLD / "nodelay.so")
    subprocess.run(["/usr/lib/wine/wineserver64", "-k"], env={**os.environ, "WINEPREFIX": str(PREFIX)})
    shutil.rmtree(PREFIX, ignore_errors=True)
    WORLD.chmod(0o755)
    shutil.copy(BUILD / "Sendrix2.exe", WORLD)
    (WORLD / "SKLog.config").write_text("append=1")
    agent(code=0)
    CASES[CASE]()
finally:
    subprocess.run(["/usr/lib/wine/wineserver64", "-k"], env={**os.environ, "WINEPREFIX": str(PREFIX)})
    shutil.rmtree(WORLD)
