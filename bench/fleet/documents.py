"""documents.py FROM TO COUNT: writes as many documents as wanted, made from real ones as a server has them.

Sessions of 5 to 10 KB are drawn at random. Each gets new identifiers, another user, another of the last 60 days, later
times, new digests and new digits in its numbers; the rest stays. There are one user and one document of a choice for
ten sessions. Documents are packed one by one, so their sizes on the wire are real."""
import collections, datetime, gzip, multiprocessing, os, pathlib, random, re, signal, sys, uuid, zlib

MARKER = b"R-M$ke#$vQPo5lupadix"
ROTATED = bytes((33 + (byte - 33 + 47) % 94) if 33 <= byte <= 126 else byte for byte in range(256))
NAME = re.compile(r"(ulog_.*)_([0-9a-f-]{36})_([0-9a-f-]{36})(_\d+)?\.(rdy|xml)\.gz")
GUID = rb"[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}"
CHANGING = re.compile(rb'(?<==")(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)(?=")|(?<=")(' + GUID + rb')(?=")|(?<=doc=")([0-9a-f]{32})(?=")'
                      rb'|(?<=data=")([1-9]\d{2,8})(?=")')
NOBODY = str(uuid.UUID(int=0)).encode()
USERS_PER_SESSION = 0.1
DAYS = [(datetime.date.today() - datetime.timedelta(days)).isoformat().encode() for days in range(60)]
TIMES = [b"T%02d:%02d:%02dZ" % (second // 3600, second // 60 % 60, second % 60) for second in range(86400)]


def templates(folder, smallest, largest):
    """Sessions of so many bytes, and choices, as lists of (beginning of the name, end of it, ending, pieces of text)."""
    sessions, choices = collections.defaultdict(list), []
    for path in sorted(pathlib.Path(folder).rglob("*.gz")):
        beginning, user, session, index, ending = NAME.fullmatch(path.name).groups()
        text = gzip.decompress(path.read_bytes())
        if ending == "rdy":
            text = text.removeprefix(MARKER).translate(ROTATED)
        pieces, last = [], 0
        for match in CHANGING.finditer(text):
            kind, old = match.lastindex, match[0]
            if kind == 2:
                kind = 5 if old == user.encode() else 2 if old == session.encode() != NOBODY else 0
            if kind:
                pieces += [(0, text[last:match.start()]), (kind, old)]
                last = match.end()
        document = (beginning, index or "", ending, [*pieces, (0, text[last:])])
        if session.encode() == NOBODY:
            choices.append([document])
        else:
            sessions[session].append(document)
    size = lambda session: sum(len(text) for document in session for _, text in document[3])
    return [session for session in sessions.values() if smallest <= size(session) <= largest], choices


def guid(chance):
    return str(uuid.UUID(int=chance.getrandbits(128), version=4))


def make(session, users, day, chance):
    """Name and packed content of each document of one new session."""
    identifier, user, second = guid(chance), chance.choice(users), chance.randrange(60_000)
    for beginning, index, ending, pieces in session:
        parts = []
        for kind, text in pieces:
            if kind == 1:
                second += int(chance.random() ** 4 * 60)
                text = day + TIMES[second % 86400]
            elif kind == 2:
                text = identifier.encode()
            elif kind == 3:
                text = b"%032x" % chance.getrandbits(128)
            elif kind == 4:
                text = b"%d" % chance.randrange(10 ** (len(text) - 1), 10 ** len(text))
            elif kind == 5:
                text = user.encode()
            parts.append(text)
        is_choice = "SkylampOptinProduct" in beginning
        name = (f"{beginning}_{guid(chance)}_{NOBODY.decode()}" if is_choice else f"{beginning}_{user}_{identifier}{index}")
        text = b"".join(parts)
        if ending == "rdy":
            text = MARKER + text.translate(ROTATED)
        packer = zlib.compressobj(6, wbits=31)
        yield f"{name}.{ending}.gz", packer.compress(text) + packer.flush(), len(text)


def write(source, target, count, seed, smallest, largest):
    """Number of documents, and their bytes plain and packed."""
    chance = random.Random(seed)
    sessions, choices = templates(source, smallest, largest)
    users = [guid(chance) for _ in range(max(1, int(count * USERS_PER_SESSION)))]
    made = plain = packed = 0
    while made < count:
        day = chance.choice(DAYS)
        drawn = chance.choice(choices if chance.random() < USERS_PER_SESSION else sessions)
        for name, content, size in make(drawn, users, day, chance):
            folder = os.path.join(target, day.decode(), "%02x" % chance.getrandbits(8))
            try:
                file = open(os.path.join(folder, name), "wb")
            except FileNotFoundError:
                os.makedirs(folder, exist_ok=True)
                file = open(os.path.join(folder, name), "wb")
            with file:
                file.write(content)
            made, plain, packed = made + 1, plain + size, packed + len(content)
    return made, plain, packed


def write_all(source, target, count, seed=0, smallest=5_000, largest=10_000):
    workers = os.cpu_count()
    with multiprocessing.Pool(workers, signal.signal, (signal.SIGTERM, signal.SIG_DFL)) as pool:
        shares = pool.starmap(write, [(source, target, count // workers, f"{seed} {worker}", smallest, largest)
                                      for worker in range(workers)])
    return [sum(column) for column in zip(*shares)]


if __name__ == "__main__":
    print("%d documents, %d bytes, %d packed" % tuple(write_all(sys.argv[1], sys.argv[2], int(sys.argv[3]))))
