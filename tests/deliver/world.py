"""A Wine prefix with the agent as it is shipped, and servers on loopback. The program that imports this is run with a
name for its prefix and the build folder as its first arguments."""
import contextlib, getpass, gzip, hashlib, os, pathlib, random, re, shutil, signal, socket, ssl, struct, subprocess
import sys, tempfile, threading, time, urllib.parse, uuid, warnings

SOURCE = pathlib.Path(__file__).resolve().parents[2]
CASE, BUILD = sys.argv[1], pathlib.Path(sys.argv[2])
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


def page_lines(verb):
    """The pattern of a request as the page on privacy lists it."""
    page = (SOURCE / "docs/privacy.md").read_text()
    lines = re.search(rf"```http\n({verb} .*?)```", page, re.S)[1].replace("\n", "\r\n") + "\r\n"
    return re.sub(r"<[a-z]+>", r"[^\\s]+( [^\\s]+)?", re.escape(lines))


@contextlib.contextmanager
def staged():
    """A fresh Wine prefix, with the agent run once as an installer does; both end with the block."""
    end = lambda: subprocess.run(["/usr/lib/wine/wineserver64", "-k"], env={**os.environ, "WINEPREFIX": str(PREFIX)})
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended from outside"))
    try:
        run("gcc", "-shared", "-fPIC", "-o", "nodelay.so", SOURCE / "tests/deliver/nodelay.c", "-ldl")
        ENV["LD_PRELOAD"] = str(WORLD / "nodelay.so")
        end()
        shutil.rmtree(PREFIX, ignore_errors=True)
        WORLD.chmod(0o755)
        shutil.copy(BUILD / "Sendrix2.exe", WORLD)
        (WORLD / "SKLog.config").write_text("append=1")
        agent(code=0)
        yield
    finally:
        end()
        shutil.rmtree(WORLD)
