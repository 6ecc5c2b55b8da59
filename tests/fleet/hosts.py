"""The hosts of a fleet: what they call, and what must be in the table of that."""
import collections, hashlib, os, random, subprocess, time, uuid

from world import LOGS, WORLD, agent, check, wine

PRODUCTS = [("Acme", "Draw"), ("Acme", "Write"), ("Ä & Söhne", "Büro_2")]
KINDS = ("consents", "crashes", "undecided", "refuses", "withdraws")
TEXTS = [b"plain", b"<a & 'b' \"c\"> \\d\\ &#38; ]]>", "Ä 漢字 \U0001f642 \u2028".encode(), b"tab\tline\nend\r\n",
         b"\x01\x1b[0m\x7f", b"\xff\xfe no UTF-8 \xc3", b"NOVALUE", b"", None, b"=1+2", b"\\N", b"\\.", b"null",
         b'{"a": [1]}', b"a" * 127 + "ä".encode(), b"x" * 700, b"C:\\plans\\house.dwg"]
FEATURES = [(category, sub, name) for category in (b"File", b"Edit", b"View", b"Tools") for sub in (b"Menu", b"Key", b"Mouse")
            for name in (b"Save", b"Open", b"Undo", b"Zoom", b"Print", b"Insert")]
ANY = object()  # equals any text

# A call of the host, and the rows (kind, category, subcategory, name, value, doc) that it records when it returns.
Call = collections.namedtuple("Call", "letter arguments rows", defaults=[(), ()])


def value(key, text):
    return ("value", None, None, key, text, None)


def error(kind, text):
    return [("group", "Skylamp", None, "ValidationErrors", None, None), value("ErrorType", kind), value("Value", text)]


def shown(raw):
    text = (raw or b"").decode("utf-8", "replace")
    return None if text in ("", "NOVALUE") else text


def recorded(raw, limit):
    """A text as it is in the table, and the rows that tell of a cut."""
    is_cut = raw is not None and len(raw) > limit
    return shown(raw[:limit] if is_cut else raw), error("SK_INVALID_STRING", shown(raw)) if is_cut else []


def add(_):
    key, wanted = random.choice([("Theme", "Theme"), ("1st key", "SK_1st_key"), ("", None)])
    raw = random.choice([*TEXTS, b"%d" % random.randrange(10**6)])
    text, errors = recorded(raw, 512)
    return Call("v", [key, raw], [*errors, value(wanted, text)] if wanted else error("SK_INVALID_STRING", None))


def event(user):
    labels = random.choices(TEXTS, k=3) if random.random() < 0.1 else random.choice(FEATURES)
    texts, errors = zip(*(recorded(label, 128) for label in labels))
    name = random.choice([None, None, b"C:\\plans\\house.dwg", "Bücher".encode()])
    digest = name and hashlib.md5(name + user.encode()).hexdigest()
    return Call("e", [*labels, name], [*sum(errors, []), ("event", *texts, None, digest)])


def group(_):
    raw = random.choice(TEXTS)
    text, errors = recorded(raw, 128)
    return Call("g", ["Drawing", raw, "Shapes", None], [*errors, ("group", "Drawing", text, "Shapes", None, None)])


STRANGE_GROUP = Call("n", ["Key", b"value"], [error("", "")[0], *error("SK_INVALID_GROUPID", ANY)])


class Session:
    """IS_ALLOWED: a start succeeds. IS_KEPT: what it records reaches the server."""

    def __init__(self, host, version, end, is_allowed=True, is_kept=True, length=0):
        self.user, self.product, self.version, self.end = host.user, host.product, version, end
        self.is_allowed, self.is_kept = is_allowed, is_kept
        self.marker, self.result, self.rows = str(uuid.uuid4()), "", []
        kinds = random.choices((add, event, group), (2, 5, 1), k=length or random.randint(10, 40))
        last = {"crashed": [Call("x")], "killed": [Call("k")], "left": [], "withdrawn": [Call("o", ["0"]), Call("c")]}
        self.calls = [Call("s", [*self.product, version, "412", "en-US"]), Call("v", ["Fleet", self.marker]), STRANGE_GROUP,
                      *(kind(self.user) for kind in kinds), *last.get(end, [Call("c")])]

    @property
    def states(self):
        """Those it may be in. A host may be killed between two documents."""
        return {"crashed": ["crashed"], "killed": ["abandoned", "incomplete"], "left": ["abandoned"]}.get(self.end, ["complete"])


class Host:
    """A user with one product and some sessions of two versions. The first sessions of some are long."""

    def __init__(self, number, count):
        self.user, self.product, self.kind = str(uuid.uuid4()), random.choice(PRODUCTS), KINDS[number % len(KINDS)]
        ends = ["crashed", "killed", "left", "closed"] if self.kind == "crashes" else ["closed"]
        length = 1500 if number in (0, 1, 4) else 0
        self.sessions = [Session(self, "3.0" if i < count / 2 else "3.1", ends[i % len(ends)], self.kind != "refuses",
                                 self.kind not in ("refuses", "withdraws"), length if i < 2 else 0) for i in range(count)]
        if self.kind == "withdraws":
            self.sessions[-1] = Session(self, "3.1", "withdrawn", is_kept=False)
            self.sessions.append(Session(self, "3.1", "closed", is_allowed=False, is_kept=False))

    def choices(self):
        """What the server learns of the user's choices: of each version, how many were asked and are in."""
        if self.kind == "withdraws":  # the folder was emptied after the first ones
            return {(*self.product, "3.1"): (0, -1)}
        counts = {"consents": (1, 1), "crashes": (1, 1), "refuses": (1, 0)}.get(self.kind)
        return {(*self.product, session.version): counts for session in self.sessions if counts}

    def act(self):
        choice = Call("p") if self.kind == "undecided" else Call("o", [str(int(self.kind != "refuses"))])
        process, before = [], [Call("u", [self.user]), Call("i", [self.product[1]]), choice]
        for session in self.sessions:
            process.append(session)
            if session.end != "closed" or session is self.sessions[-1]:
                self.run(before, process)
                process, before = [], [Call("i", [self.product[1]])]
        for path in LOGS.glob("*.tmp"):
            os.utime(path, (0, 0))
        agent("send", code=0)
        for session in self.sessions:
            check(session.result == "01"[not session.is_allowed], f"a start of a user who {self.kind}: {session.result}")

    def run(self, before, sessions):
        script = [(None, call) for call in before] + [(session, call) for session in sessions for call in session.calls]
        hexed = lambda each: "-" if each is None else (each if isinstance(each, bytes) else each.encode()).hex() or "."
        (WORLD / "script").write_text(
            "".join(" ".join([call.letter, *map(hexed, call.arguments)]) + "\n" for _, call in script))
        journal = WORLD / "journal"
        journal.write_text("")
        host = wine("vantra-fleet-host.exe", "script", "journal", start=subprocess.Popen)
        kill_at = random.randrange(len(script) - len(sessions[-1].calls) + 2, len(script))
        while host.poll() is None:
            if sessions[-1].end == "killed" and journal.stat().st_size >= kill_at:
                host.kill()
            time.sleep(0.001)
        if sessions[-1].end in ("crashed", "killed", "left"):
            time.sleep(0.3)  # until Windows has closed its files
        for result, (session, call) in zip(journal.read_text(), script):
            if session and call.letter == "s":
                session.result = result
            elif session:
                session.rows += call.rows
