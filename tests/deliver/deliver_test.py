"""deliver_test.py CASE BUILD_FOLDER [ROUNDS]: the agent as it is shipped, under Wine, against servers on loopback."""
import contextlib, functools, getpass, gzip, hashlib, os, pathlib, random, re, shutil, socket, ssl, struct, subprocess
import sys, tempfile, threading, time, urllib.parse, uuid

SOURCE = pathlib.Path(__file__).resolve().parents[2]
CASE, BUILD = sys.argv[1], pathlib.Path(sys.argv[2])
ROUNDS = int(sys.argv[3]) if len(sys.argv) > 3 else 0
WORLD = pathlib.Path(tempfile.mkdtemp(prefix="deliver-"))
PREFIX = SOURCE / "build/wine" / f"deliver.{CASE}"
USER = PREFIX / "drive_c/users" / getpass.getuser() / "AppData/Roaming/Tolvex"
DATA, LOGS = USER / "Sendrix2", USER / "Sendrix2/Logs"
ENV = {**os.environ, "VANTRA_PREFIX": PREFIX.name}
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


def make_documents(count, size=3000, age=0):
    """Name to content, as a session of that many documents, oldest first."""
    session, made = uuid.uuid4(), {}
    for i in range(count):
        name = f"ulog_Acme_Draw_{uuid.uuid4()}_{session}_{i}.rdy"
        made[name] = b"R-M$ke#$vQPo5lupadix" + random.randbytes(size // 2).hex().encode()
        (LOGS / name).write_bytes(made[name])
        if age:
            os.utime(LOGS / name, (time.time() - age + i,) * 2)
    return made


def waiting():
    return {path.name: path.read_bytes() for path in LOGS.iterdir()}


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


def answer(status, *headers, body=b""):
    lines = [f"HTTP/1.1 {status} X", f"Content-Length: {len(body)}", *headers, "", ""]
    return "\r\n".join(lines).encode() + body


class Server:
    """Answers the requests one by one with bytes, or by calling with the connection; the last answer again and again.
    A call with early=True acts before the body is read."""

    def __init__(self, *answers, tls=None):
        self.answers, self.tls, self.requests, self.handshakes = list(answers), tls, [], []
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
                self.handshakes.append(connection.version())
            stream = connection.makefile("rb")
            while line := stream.readline():
                head = [line]
                while head[-1] != b"\r\n":
                    head.append(stream.readline())
                head = b"".join(head).decode()
                reply = self.answers[min(len(self.requests), len(self.answers) - 1)]
                self.requests.append((head, stream.read(int(re.search(r"Content-Length: (\d+)", head)[1]))))
                connection.sendall(reply) if isinstance(reply, bytes) else reply(connection)

    def names(self):
        return [urllib.parse.unquote(head.split()[1]).removeprefix("/skylamp/").removesuffix(".gz")
                for head, _ in self.requests]


def certificate(name, *options, authority=True):
    key, pem = WORLD / f"{name}.key", WORLD / f"{name}.pem"
    signer = ["-CA", "authority.pem", "-CAkey", "authority.key"] if authority else []
    run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", pem, "-subj", f"/CN={name}",
        *signer, *options)
    return pem, key


def make_authority():
    """An authority that this Wine prefix trusts, and nobody else. Wine reads its roots from the registry."""
    pem, _ = certificate("authority", "-days", "2", authority=False)
    der = ssl.PEM_cert_to_DER_cert(pem.read_text())
    digest = hashlib.sha1(der).digest()
    properties = b"".join(struct.pack("<III", kind, 1, len(data)) + data for kind, data in ((3, digest), (32, der)))
    registry(r"HKCU\Software\Microsoft\SystemCertificates\Root\Certificates" + "\\" + digest.hex().upper(), "Blob",
             properties.hex(), "REG_BINARY")


def context(pem, key, version=None):
    tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    if version:
        tls.set_ciphers("DEFAULT:@SECLEVEL=0")
        tls.minimum_version = tls.maximum_version = version
    tls.load_cert_chain(pem, key)
    return tls


LOCALHOST = ["-days", "2", "-addext", "subjectAltName=DNS:localhost"]


@contextlib.contextmanager
def nginx():
    """Debian's, with the configuration of the page to the letter; only where it listens is ours."""
    page = (SOURCE / "docs/receiving.md").read_text()
    root = WORLD / "nginx"
    root.mkdir()
    for folder in ("incoming", "usage"):
        (root / folder).mkdir()
        (root / folder).chmod(0o777)
    (root / "nginx.conf").write_text(re.search(r"`nginx.conf` is the rest:\n\n```nginx\n(.*?)```", page, re.S)[1])
    pem, key = certificate("localhost", *LOCALHOST)
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
        strangers = {"stranger.xml": b"1", f"ulog_{'y' * 200}.xml": b"2", next(iter(make_documents(1, 4 << 20))): None}
        for name, content in strangers.items():
            content and (LOGS / name).write_bytes(content)
        agent("send", code=0)
        check(arrived(root) == recorded, f"arrived: {list(arrived(root))}, {said()}")
        check(set(os.listdir(DATA / "Refused")) == set(strangers) and not waiting(), "what is put aside")
        check(f"sent {len(recorded)}, refused 3" in said(), said())
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
