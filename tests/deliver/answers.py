"""What servers answer, and how connections to them end."""
from world import *


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
    configure(busy.url, retries=0)
    make_documents(1)
    agent(code=1)
    check(len(busy.requests) == 3, "an answer ends the wait")


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
