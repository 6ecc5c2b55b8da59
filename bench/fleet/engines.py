"""The engines of analysis/, each on loopback and with its data in a folder of its own."""
import contextlib, csv, io, json, os, pathlib, shutil, signal, socket, subprocess, time

SOURCE = pathlib.Path(__file__).resolve().parents[2]
# vantra-inspect is in the path, and Node.js finds DuckDB.
ENVIRONMENT = {**os.environ, "PATH": f"{SOURCE}/build/native:{os.environ['PATH']}",
               "NODE_PATH": str(SOURCE / "build/duckdb/node_modules")}
QUESTIONS = ("sessions", "activity", "intensity", "adoption", "stability", "consent", "mistakes", "growth")
WITH_US = ["setpriv", "--pdeathsig", "KILL"]  # a server ends with this program, even when that is killed
CLUSTER = (SOURCE / "analysis/clickhouse/cluster.xml").read_text()
SERVER = """<yandex>
  <logger><level>error</level><log>{folder}/log</log></logger>
  <listen_host>127.0.0.1</listen_host><tcp_port>{port}</tcp_port><interserver_http_port>{other}</interserver_http_port>
  <path>{folder}/</path><tmp_path>{folder}/tmp/</tmp_path><mark_cache_size>1000000000</mark_cache_size>
  <users_config>{folder}/users.xml</users_config>
  <default_profile>default</default_profile><default_database>default</default_database>
  {cluster}
</yandex>"""
USERS = """<yandex>
  <profiles><default/></profiles><quotas><default/></quotas>
  <users><default>
    <password/><networks><ip>127.0.0.1</ip></networks><profile>default</profile><quota>default</quota>
  </default></users>
</yandex>"""


def free_ports(count):
    with contextlib.ExitStack() as stack:
        return [stack.enter_context(socket.create_server(("127.0.0.1", 0))).getsockname()[1] for _ in range(count)]


def folder_size(folder):
    return sum(path.lstat().st_blocks * 512 for path in folder.rglob("*") if path.is_file())


def eventually(action, seconds=30):
    """Repeats an action that may fail at first, and returns its result."""
    end = time.time() + seconds
    while True:
        try:
            return action()
        except subprocess.CalledProcessError:
            if time.time() > end:
                raise
            time.sleep(0.1)


def run(*command, **more):
    return subprocess.run([str(part) for part in command], check=True, stdout=subprocess.PIPE, **more).stdout.decode()


class Engine:
    """A context manager; its servers run within the context."""

    def __init__(self, folder):
        self.folder, self.environment, self.arguments = folder, dict(ENVIRONMENT), []
        folder.mkdir()

    def load(self, folder, *arguments, start=subprocess.run, **more):
        """Loads what lies below FOLDER/usage, as a user does."""
        command = [SOURCE / "analysis/load", self.name, folder, *self.arguments, *arguments]
        return start([str(part) for part in command], env=self.environment, stderr=subprocess.PIPE, **more)

    def answers(self):
        """The answer to each question, as sorted rows of texts."""
        def text(value):
            with contextlib.suppress(TypeError, ValueError):
                return f"{float(value):.4f}"
            return "" if value is None else str(value)
        answers = self.queries([f"SELECT * FROM {each}" for each in QUESTIONS])
        return {each: sorted([text(value) for value in row] for row in rows) for each, rows in zip(QUESTIONS, answers)}

    def queries(self, statements):
        return [self.query(each) for each in statements]

    def __enter__(self):
        try:
            self.begin()
        except BaseException:
            self.end()
            raise
        return self

    def __exit__(self, *_):
        self.end()

    def begin(self):
        pass

    def end(self):
        pass

    def processes(self):
        return []


class ClickHouse(Engine):
    name = "clickhouse"

    def __init__(self, folder):
        super().__init__(folder)
        self.ports, self.servers = free_ports(2), [None, None]
        hosts = iter(self.ports)
        lines = [f"<shard><replica><host>127.0.0.1</host><port>{next(hosts)}</port></replica></shard>"
                 if "<shard>" in line else line for line in CLUSTER.splitlines() if "yandex" not in line]
        for i, (port, other) in enumerate(zip(self.ports, free_ports(2))):
            shard = folder / str(i)
            shard.mkdir()
            (shard / "config.xml").write_text(
                SERVER.format(folder=shard, port=port, other=other, cluster="\n".join(lines[1:])))
            (shard / "users.xml").write_text(USERS)
        self.arguments = ["--port", self.ports[0]]

    def begin(self):
        for shard in (0, 1):
            self.start(shard)
        for file in ("table.sql", "questions.sql"):
            for port in self.ports:
                run("clickhouse-client", "--port", port, "--multiquery",
                    stdin=open(SOURCE / "analysis/clickhouse" / file))

    def end(self):
        for shard in (0, 1):
            self.stop(shard, signal.SIGTERM)

    def processes(self):
        return self.servers

    def start(self, shard):
        unpacked = SOURCE / "build/engines/usr/sbin/clickhouse-server"
        server = unpacked if unpacked.exists() else "clickhouse-server"
        output = open(self.folder / str(shard) / "output", "a")
        self.servers[shard] = subprocess.Popen([*WITH_US, server, f"--config-file={self.folder / str(shard)}/config.xml"],
                                               stdout=output, stderr=output)
        eventually(lambda: self.query("SELECT 1", shard))

    def stop(self, shard, how=signal.SIGKILL):
        if self.servers[shard]:
            self.servers[shard].send_signal(how)
            self.servers[shard].wait()

    def query(self, sql, shard=0):
        text = run("clickhouse-client", "--port", self.ports[shard], "--database", "usage" if "FROM" in sql else "default",
                   "--output_format_json_quote_64bit_integers=0", "--query", sql + " FORMAT JSONCompact",
                   stderr=subprocess.PIPE)
        return json.loads(text)["data"]

    def size(self):
        """Bytes on disk after all parts are merged."""
        for shard in (0, 1):
            run("clickhouse-client", "--port", self.ports[shard], "--query", "OPTIMIZE TABLE usage.records_local FINAL")
        return sum(row[0] for shard in (0, 1) for row in self.query(
            "SELECT sum(bytes_on_disk) FROM system.parts WHERE active AND table = 'records_local'", shard))


class PostgreSQL(Engine):
    """The server will not run as root, so root runs it as nobody."""
    name = "postgresql"
    programs = pathlib.Path("/usr/lib/postgresql/15/bin")
    server = None

    def begin(self):
        other = {"user": "nobody", "group": "nogroup", "extra_groups": []} if os.getuid() == 0 else {}
        if other:
            shutil.chown(self.folder, "nobody")
        self.environment = {**self.environment, "PGHOST": str(self.folder), "PGUSER": "usage", "PGDATABASE": "postgres"}
        run(self.programs / "initdb", "-D", self.folder / "data", "-U", "usage", "-A", "trust", "-N", "-E", "UTF8",
            "--locale", "C.UTF-8", cwd=self.folder, **other)
        self.server = subprocess.Popen(
            [*WITH_US, self.programs / "postgres", "-D", self.folder / "data", "-k", self.folder, "-c", "listen_addresses=",
             "-c", "max_wal_size=4GB", "-c", "shared_buffers=1GB", "-c", "work_mem=256MB"],
            stderr=open(self.folder / "log", "w"), cwd=self.folder, **other)
        for file in ("postgresql/table.sql", "questions.sql"):
            eventually(lambda: run("psql", "-q", "-v", "ON_ERROR_STOP=1", "-f", SOURCE / "analysis" / file,
                                   env=self.environment, stderr=subprocess.PIPE))

    def end(self):
        if self.server:
            self.server.send_signal(signal.SIGINT)  # without waiting for its clients
            self.server.wait()

    def processes(self):
        return [self.server]

    def query(self, sql):
        return list(csv.reader(io.StringIO(run("psql", "--csv", "-t", "-c", sql, env=self.environment), newline="")))

    def size(self):
        return int(self.query("SELECT pg_total_relation_size('records')")[0][0])


class DuckDB(Engine):
    name = "duckdb"

    def __init__(self, folder):
        super().__init__(folder)
        self.database = folder / "usage.duckdb"
        self.arguments = [self.database]

    def begin(self):
        self.run(self.database, SOURCE / "analysis/duckdb/table.sql", SOURCE / "analysis/questions.sql")

    def run(self, *arguments):
        return run("node", SOURCE / "analysis/duckdb/run.js", *arguments, cwd=self.folder, env=self.environment)

    def query(self, sql):
        return self.queries([sql])[0]

    def queries(self, statements):
        lines = self.run(self.database, *(part for each in statements for part in ("SELECT 'next'", each)))
        return [[json.loads(line) for line in part.split("\n")[:-1]] for part in lines.split('["next"]\n')[1:]]

    def write_lake(self):
        """Writes everything as Parquet, which later queries read."""
        self.run(self.database, SOURCE / "analysis/duckdb/parquet.sql")
        self.database = self.folder / "lake.duckdb"
        self.run(self.database, "CREATE VIEW records AS SELECT * FROM 'lake/*/*.parquet'",
                 SOURCE / "analysis/questions.sql")

    def size(self):
        return folder_size(self.folder / "lake")
