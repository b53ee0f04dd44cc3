"""The commands of mesh-fib6 for the development host: a server of one's own, and what processes count.

Room: tests. Every server and every process is this test's own, on loopback.

usage: host_test.py SETTINGS_JSON CASE
"""

import fcntl
import json
import os
import pathlib
import re
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
SETTINGS = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
TOOL = [*SETTINGS["emulator"], SETTINGS["tool"]]
EXAMPLES = pathlib.Path(SETTINGS["examples"])
SEND = [*SETTINGS["emulator"], str(EXAMPLES / "send_route")]
RECEIVE = [*SETTINGS["emulator"], str(EXAMPLES / "receive_routes")]

# host/status_file.h
MAGIC = 0x31544154534D484D
HEAD, ROW = struct.Struct("=QIIQ40x"), struct.Struct("=II17Q48x")
SENDS, RECEIVES = 1, 2
COUNTERS = ("accepted", "handled", "refused", "lost", "losses", "bytes_sent", "messages_under_way", "bytes_under_way",
            "most_messages_under_way", "most_bytes_under_way", "delivered", "redelivered", "bytes_received", "gaps",
            "unknown_identifier", "oversize", "malformed")


def eventually(look, seconds=20):
    """What look returns as soon as that is anything."""
    end = time.monotonic() + seconds
    while not (found := look()):
        if time.monotonic() > end:
            raise AssertionError("it does not come to pass")
        time.sleep(0.02)
    return found


def is_alive(process):
    """Zombies of whoever adopted it are dead."""
    try:
        return pathlib.Path(f"/proc/{process}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()[0] != "Z"
    except FileNotFoundError:
        return False


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as probe:
        return probe.getsockname()[1]


class Host(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-host.")
        self.addCleanup(folder.cleanup)
        self.directory = pathlib.Path(folder.name).resolve() / "mesh"
        self.nats = self.directory / "nats"
        self.environment = {**os.environ, "MESH_HOST_DIR": str(self.directory)}
        self.environment.pop("MESH_HOST_CONFIG", None)
        self.addCleanup(self.end_server)

    def end_server(self):
        """Whatever came of the test."""
        process = self.server(required=False)
        if process and is_alive(process):
            os.kill(process, signal.SIGKILL)
            eventually(lambda: not is_alive(process))

    def run_tool(self, *arguments, **how):
        """(status, output, errors)"""
        how.setdefault("env", self.environment)
        done = subprocess.run([*TOOL, "host", *map(str, arguments)], capture_output=True, timeout=100, check=False,
                              **how)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def refused(self, what, *arguments, status=1, **how):
        """It ends with this status, prints nothing and says this, in one line."""
        found, output, errors = self.run_tool(*arguments, **how)
        self.assertEqual((found, output), (status, ""), errors)
        self.assertRegex(errors, what)
        self.assertTrue(errors.startswith("mesh-fib6: "), errors)
        if status == 1:
            self.assertEqual(errors.count("\n"), 1, errors)

    def up(self, *arguments, **how):
        """Starts the server; the settings of programs."""
        status, output, errors = self.run_tool("up", *arguments, **how)
        self.assertEqual(status, 0, errors)
        self.assertRegex(errors, r"^mesh-fib6: nats-server runs[^\n]*: process \d+, at 127\.0\.0\.1:\d+, in [^\n]*\n$")
        return self.settings_in(output)

    def settings_in(self, output):
        """As a shell understands what up prints."""
        shown = subprocess.run(["sh", "-c", output + 'printf "%s\\n" "$MESH_HOST_DIR" "$MESH_HOST_CONFIG"'],
                               capture_output=True, check=True, timeout=20).stdout.decode().splitlines()
        self.assertRegex(output, r"^export MESH_HOST_DIR=.*\nexport MESH_HOST_CONFIG=.*\n$")
        return {**self.environment, "MESH_HOST_DIR": shown[0], "MESH_HOST_CONFIG": shown[1]}

    def server(self, required=True):
        """The number of the process."""
        try:
            if not required and not (self.nats / "lock").is_file():
                return None
            return int((self.nats / "lock").read_text(encoding="utf-8").split()[0])
        except (FileNotFoundError, NotADirectoryError, IndexError, ValueError):
            if required:
                raise
            return None

    def port(self):
        return int(re.search(r"127\.0\.0\.1:(\d+)", (self.nats / "mesh.conf").read_text(encoding="utf-8"))[1])

    def rows(self, environment):
        """{(process, role): row} of all that status shows."""
        status, output, errors = self.run_tool("status", "--json", env=environment)
        self.assertEqual((status, errors), (0, ""))
        return {(process["process"], row["role"]): {**row, "alive": process["alive"]}
                for process in json.loads(output) for row in process["rows"]}

    def row_of(self, environment, process, role):
        return self.rows(environment).get((process, role)) if self.directory.exists() else None

    def receiver(self, environment):
        process = subprocess.Popen(RECEIVE, env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        eventually(lambda: process.poll() is not None or self.row_of(environment, process.pid, "receives"))
        self.assertIsNone(process.poll())
        return process

    # A server.

    def test_UpStartsAServerThatProgramsUseUntilDown(self):
        environment = self.up()
        with subprocess.Popen(SEND, env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as sender:
            waits = eventually(lambda: (row := self.row_of(environment, sender.pid, "sends")) and
                               row["accepted"] == 1 and row)
            self.assertEqual((waits["destination"], waits["alive"], waits["lost"]), (7, True, 0))
            receiver = self.receiver(environment)
            self.assertEqual(receiver.stdout.readline(), b"2001:db8::/32\n")
            self.assertEqual(sender.communicate(timeout=20), (b"", b""))
            self.assertEqual(sender.returncode, 0)
        row = eventually(lambda: (row := self.row_of(environment, receiver.pid, "receives")) and
                         row["delivered"] == 1 and row)
        self.assertEqual((row["destination"], row["alive"], row["gaps"], row["malformed"]), (7, True, 0, 0))
        status, output, errors = self.run_tool("status", env=environment)
        self.assertEqual((status, errors), (0, ""))
        heads, line = (text.split("  ") for text in output.splitlines())
        self.assertEqual([head.strip() for head in heads if head.strip()],
                         ["process", "receives as", "delivered", "redelivered", "gaps", "unknown", "oversize",
                          "malformed", "bytes received"])
        self.assertEqual([word.strip() for word in line if word.strip()],
                         [str(receiver.pid), "alive", "7", "1", "0", "0", "0", "0", "0", str(row["bytes_received"])])
        receiver.send_signal(signal.SIGTERM)
        self.assertEqual(receiver.wait(20), 0)
        server = self.server()
        self.assertEqual(self.run_tool("down"), (0, "", f"mesh-fib6: nats-server, process {server}, has ended\n"))
        self.assertFalse(is_alive(server))
        self.assertEqual(self.run_tool("down"), (0, "", f"mesh-fib6: no nats-server runs in {self.nats}/\n"))

    def test_TheServerHasNothingOfTheTerminal(self):
        ours, theirs = os.pipe()
        self.up(pass_fds=(theirs,))
        os.close(theirs)
        self.assertEqual(os.read(ours, 1), b"", "nobody else has it")
        os.close(ours)
        server = self.server()
        self.assertEqual(os.getsid(server), server)
        self.assertEqual(os.readlink(f"/proc/{server}/cwd"), "/")
        self.assertEqual([os.readlink(f"/proc/{server}/fd/{number}") for number in range(4)],
                         ["/dev/null", *2 * [str(self.nats / "output")], str(self.nats / "lock")])

    def test_EverythingIsForItsUserAlone(self):
        self.up("--storage", "file")
        self.run_tool("down")
        paths = [self.directory, *self.directory.rglob("*")]
        self.assertIn(self.nats / "password", paths)
        self.assertEqual([path for path in paths if path.stat().st_mode & 0o077], [])

    def test_TheServerListensOnLoopbackOnly(self):
        port = free_port()
        self.up("--port", port)
        self.assertEqual(self.port(), port)
        listening = set()
        for table in ("tcp", "tcp6"):
            for line in pathlib.Path(f"/proc/{self.server()}/net/{table}").read_text(encoding="utf-8").splitlines()[1:]:
                _, local, _, state, *_ = line.split()
                if state == "0A" and int(local.partition(":")[2], 16) == port:
                    listening.add(local.partition(":")[0])
        self.assertEqual(listening, {"0100007F"})

    def talk(self, *lines, user="programs", password=None):
        """What the server answers to these lines of its protocol."""
        if password is None:
            password = (self.nats / "password").read_text(encoding="utf-8").strip()
        hello = {"verbose": False, "pedantic": False, "headers": True}
        if user:
            hello.update({"user": user, "pass": password})
        with socket.create_connection(("127.0.0.1", self.port()), timeout=20) as connection:
            text = "\r\n".join([f"CONNECT {json.dumps(hello)}", *lines, "PING", ""])
            connection.sendall(text.encode())
            answer = b""
            while b"PONG\r\n" not in answer and (piece := connection.recv(4096)):
                answer += piece
        return answer.partition(b"\r\n")[2].decode()

    def test_ProgramsMayDoWhatTheHostDoesAndNothingElse(self):
        self.up()
        api = "$JS.API."
        for subject in ("mesh.7", "mesh.4294967295", api + "STREAM.INFO.MESH_7", api + "STREAM.CREATE.MESH_7",
                        api + "CONSUMER.INFO.MESH_7.receiver", api + "CONSUMER.DURABLE.CREATE.MESH_7.receiver",
                        api + "CONSUMER.DELETE.MESH_7.receiver", "$JS.ACK.MESH_7.receiver.1.1.1.1.0"):
            self.assertEqual(self.talk(f"PUB {subject} 0", ""), "PONG\r\n", subject)
        self.assertEqual(self.talk("SUB _INBOX.x.* 1"), "PONG\r\n")
        for subject in ("mesh", "mesh.7.8", "other", "_INBOX.x", api + "INFO", api + "STREAM.LIST",
                        api + "STREAM.NAMES", api + "STREAM.UPDATE.MESH_7", api + "STREAM.DELETE.MESH_7",
                        api + "STREAM.PURGE.MESH_7", api + "STREAM.MSG.GET.MESH_7", api + "STREAM.MSG.DELETE.MESH_7",
                        api + "CONSUMER.DURABLE.CREATE.MESH_7.other", "$SYS.REQ.SERVER.PING"):
            self.assertIn("Permissions Violation for Publish", self.talk(f"PUB {subject} 0", ""), subject)
        for subject in (">", "mesh.7", "$JS.ACK.>", "$SYS.>"):
            self.assertIn("Permissions Violation for Subscription", self.talk(f"SUB {subject} 1"), subject)
        for who in ({"user": None}, {"user": "other"}, {"password": "wrong"}, {"password": ""}):
            self.assertIn("-ERR 'Authorization Violation'", self.talk(**who), who)

    def test_TheServerKeepsAHashOfThePasswordWhereItCan(self):
        def secret():
            return re.search('password: "(.*)"', (self.nats / "server.conf").read_text(encoding="utf-8"))[1]
        self.up()
        password = (self.nats / "password").read_text(encoding="utf-8").strip()
        self.assertRegex(password, "^[0-9a-f]{64}$")
        self.assertRegex(secret(), r"^\$2a\$04\$[./A-Za-z0-9]{53}$")
        # Without a library that makes one, the password itself, and still for its user alone.
        self.run_tool("down")
        libraries = self.directory.parent / "libraries"
        libraries.mkdir()
        (libraries / "libcrypt.so.1").touch()
        self.up(env={**self.environment, "LD_LIBRARY_PATH": str(libraries)})
        self.assertEqual(secret(), password)

    def test_AWrongPasswordIsToldByThePrograms(self):
        environment = self.up()
        wrong = self.directory / "wrong"
        wrong.write_text("0" * 64 + "\n", encoding="utf-8")
        configuration = (self.nats / "mesh.conf").read_text(encoding="utf-8")
        other = self.directory / "mesh.conf"
        other.write_text(configuration.replace(str(self.nats / "password"), str(wrong)), encoding="utf-8")
        environment["MESH_HOST_CONFIG"] = str(other)
        for program in (SEND, RECEIVE):
            done = subprocess.run(program, env=environment, capture_output=True, check=False, timeout=60)
            self.assertEqual((done.returncode, done.stdout), (1, b""))
            self.assertRegex(done.stderr.decode(),
                             rf"^mesh_host: destination 7: nats://127\.0\.0\.1:{self.port()}: .*Authorization Violation")

    def test_ASecondUpFindsTheFirst(self):
        port = free_port()
        first = self.up("--port", port, "--storage", "file")
        server = self.server()
        for arguments in ((), ("--port", port), ("--storage", "file"), ("--dir", self.directory)):
            self.assertEqual(self.up(*arguments), first)
            self.assertEqual(self.server(), server)
        self.refused(f"nats-server runs already, process {server}, at port {port}, expected port 1: mesh-fib6 host down",
                     "up", "--port", 1)
        self.refused("with storage file, expected memory", "up", "--storage", "memory")
        self.assertTrue(is_alive(server))

    def test_OfManyAtATimeOneStartsTheServer(self):
        running = [subprocess.Popen([*TOOL, "host", "up"], env=self.environment, stdout=subprocess.PIPE,
                                    stderr=subprocess.PIPE) for _ in range(5)]
        ends = [process.communicate(timeout=60) for process in running]
        self.assertEqual([process.returncode for process in running], [0] * 5, ends)
        self.assertEqual(len({output for output, _ in ends}), 1)
        self.assertEqual(len({re.search(rb"process (\d+)", errors)[1] for _, errors in ends}), 1)
        self.assertEqual(sum(b"runs already" in errors for _, errors in ends), 4)

    def test_APortThatIsTakenIsTold(self):
        with socket.create_server(("127.0.0.1", 0)) as other:
            port = other.getsockname()[1]
            self.refused(rf"port {port} of 127\.0\.0\.1 cannot be used: Address already in use", "up", "--port", port)
        self.assertIsNone(self.server(required=False))
        self.up("--port", port)
        # The port of last time is not insisted on.
        self.run_tool("down")
        with socket.create_server(("127.0.0.1", port)):
            self.up()
            self.assertNotEqual(self.port(), port)

    def test_AfterAKillUpStartsItAnewWhereProgramsLookForIt(self):
        environment = self.up("--storage", "file")
        # Accepted, and not handled before the sender gives up waiting for that.
        sent = subprocess.run(SEND, env=environment, capture_output=True, check=False, timeout=60)
        self.assertEqual(sent.returncode, 1)
        killed = self.server()
        password = (self.nats / "password").read_bytes()
        port = self.port()
        os.kill(killed, signal.SIGKILL)
        self.assertEqual(self.up("--storage", "file"), environment)
        self.assertNotEqual(self.server(), killed)
        self.assertEqual((self.port(), (self.nats / "password").read_bytes()), (port, password))
        self.assertEqual(self.receiver(environment).stdout.readline(), b"2001:db8::/32\n")

    def test_DownErasesWhatUpMadeAndNothingElse(self):
        self.assertEqual(self.run_tool("down"), (0, "", f"mesh-fib6: no nats-server runs in {self.nats}/\n"))
        self.assertFalse(self.directory.exists())
        self.up("--storage", "file")
        (self.nats / "server.log.2026.11.22.16.30.40.431248123").touch()
        mine = self.directory.parent / "mine"
        mine.write_text("mine", encoding="utf-8")
        (self.nats / "store" / "jetstream" / "link").symlink_to(mine.parent)
        (self.nats / "note").write_text("mine", encoding="utf-8")
        status, output, errors = self.run_tool("down", "--erase")
        self.assertEqual((status, output), (0, ""))
        self.assertIn(f"mesh-fib6: {self.nats}/ stays: it holds 'note', which no server made\n", errors)
        self.assertEqual(sorted(self.directory.rglob("*")), [self.nats, self.nats / "note"])
        self.assertEqual(mine.read_text(encoding="utf-8"), "mine")
        (self.nats / "note").unlink()
        self.up()
        self.assertEqual(self.run_tool("down", "--erase")[0], 0)
        self.assertEqual(list(self.directory.iterdir()), [])

    def test_AFolderThatOthersReachIsRefused(self):
        self.directory.mkdir(mode=0o700)
        other = self.directory.parent / "other"
        other.mkdir(mode=0o700)
        for place in (self.directory, self.nats):
            place.mkdir(mode=0o700, exist_ok=True)
            place.chmod(0o750)
            for command in ("up", "down"):
                self.refused(f"directory {place} has mode 0750, expected 0700: others could reach what is in it", command)
            self.assertEqual(list(self.nats.glob("*")), [])
            place.chmod(0o700)
            if self.nats.exists():
                self.nats.rmdir()
            if place == self.directory:
                place.rmdir()
            place.symlink_to(other)
            for tail in ("", "/", "/.", "//./"):
                named = {"env": {**self.environment, "MESH_HOST_DIR": str(self.directory) + tail}}
                self.refused(f"{place} is not a usable directory: ", "up", **named)
                self.refused(f"{place} is not a usable directory: ", "down", **named)
            self.assertEqual(list(other.iterdir()), [])
            place.unlink()
            place.touch()
            self.refused(f"{place} is not a usable directory: Not a directory", "up")
            place.unlink()
            if place == self.directory:
                place.mkdir(mode=0o700)
        # Nor does a file that is not what it should be.
        self.nats.mkdir(mode=0o700)
        (self.nats / "lock").symlink_to(other / "lock")
        self.refused("lock cannot be opened: Too many levels of symbolic links", "up")
        (self.nats / "lock").unlink()
        os.mkfifo(self.nats / "lock")
        self.refused("lock is not a file of ours", "up")
        self.assertEqual(list(other.iterdir()), [])

    def test_ADirectoryThatCannotBeMadeOrNamedIsTold(self):
        self.refused(r"directory .*/none/mesh cannot be made: No such file or directory", "up", "--dir",
                     self.directory.parent / "none" / "mesh")
        for name in ("a b", "a#b", "a\tb", "a\nb"):
            self.refused("has '.*' in its path, expected none", "up", "--dir", self.directory.parent / name)
        self.assertEqual(list(self.directory.parent.iterdir()), [])

    def test_ADirectoryOfAnyOtherNameIsQuoted(self):
        self.directory = self.directory.parent / "it's \"$(odd)\" \\ä".replace(" ", "_")
        self.nats = self.directory / "nats"
        environment = self.up("--dir", self.directory)
        self.assertEqual((environment["MESH_HOST_DIR"], environment["MESH_HOST_CONFIG"]),
                         (str(self.directory), str(self.nats / "mesh.conf")))
        self.receiver(environment)
        self.assertEqual(subprocess.run(SEND, env=environment, check=False, timeout=60).returncode, 0)
        self.assertEqual(self.run_tool("down", "--dir", self.directory, "--erase")[0], 0)
        # A path that begins nowhere is one from here.
        relative = self.up("--dir", f"./{self.directory.name}/", cwd=self.directory.parent)
        self.assertEqual(relative, environment)

    def test_AMissingServerIsToldByItsPackage(self):
        # In a view of the files of its own, in which the program is none.
        program = next(place for place in ("/usr/sbin/nats-server",) if os.access(place, os.X_OK))
        hidden = ["unshare", "--user", "--map-root-user", "--mount", "sh", "-c",
                  f'mount --bind /dev/null {program} && exec "$@"', "sh"]
        done = subprocess.run([*hidden, *TOOL, "host", "up"], env={**self.environment, "PATH": "/usr/bin:/bin"},
                              capture_output=True, check=False, timeout=60)
        self.assertEqual((done.returncode, done.stdout.decode(), done.stderr.decode()),
                         (1, "", "mesh-fib6: nats-server is neither in PATH nor in /usr/sbin, expected Debian's package "
                                 "nats-server to be installed\n"))
        self.assertFalse(self.directory.exists())

    def test_AServerThatEndsAtOnceIsToldWithItsLastWords(self):
        # What is first in PATH is taken; here it is no server.
        programs = self.directory.parent / "programs"
        programs.mkdir()
        (programs / "nats-server").write_text("#!/bin/sh\necho 'it broke' >&2\nexit 3\n", encoding="utf-8")
        (programs / "nats-server").chmod(0o755)
        self.refused(f"nats-server has ended at once; {self.nats}/output ends: it broke", "up",
                     env={**self.environment, "PATH": f"{programs}:{os.environ['PATH']}"})
        self.up()

    def test_DownEndsNoOtherProcess(self):
        self.up()
        self.run_tool("down")
        # Somebody who holds the lock and calls himself the server.
        with subprocess.Popen(["sleep", "100"]) as other, open(self.nats / "lock", "r+", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.assertEqual(lock.truncate(0), 0)
            self.refused(f"{self.nats}/lock is locked by somebody who does not say who, expected a process that runs "
                         "nats-server: nothing is ended", "down")
            lock.write(f"{other.pid} 4222 memory mesh-host-0\n")
            lock.flush()
            self.refused(f"is locked by process {other.pid}, expected a process that runs nats-server", "down", "--erase")
            self.assertIsNone(other.poll())
            lock.seek(0)
            lock.truncate()
            other.kill()
        self.assertTrue((self.nats / "mesh.conf").exists())

    def test_AServerThatDoesNotEndIsTold(self):
        self.up()
        server = self.server()
        os.kill(server, signal.SIGSTOP)
        begin = time.monotonic()
        self.refused(rf"nats-server, process {server}, was asked to end \(SIGTERM\) and has not within 10 s", "down")
        self.assertGreater(time.monotonic() - begin, 9)
        os.kill(server, signal.SIGCONT)
        eventually(lambda: not is_alive(server))
        self.assertIn("no nats-server runs", self.run_tool("down")[2])

    def test_InTheForegroundItIsTheServer(self):
        with subprocess.Popen([*TOOL, "host", "up", "--foreground"], env=self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as process:
            output = process.stdout.read().decode()  # ends, since the server does not have it
            environment = self.settings_in(output)
            self.assertEqual(self.server(), process.pid)
            self.assertEqual(self.up(), environment, "it is found")
            self.receiver(environment)
            self.assertEqual(subprocess.run(SEND, env=environment, check=False, timeout=60).returncode, 0)
            self.assertEqual(self.run_tool("down")[0], 0)
            _, errors = process.communicate(timeout=20)
        self.assertIn(f"mesh-fib6: nats-server runs: process {process.pid}, at ".encode(), errors)
        self.assertIn(b"[INF] Server is ready", errors)
        self.assertFalse((self.nats / "server.log").exists())

    # What processes count.

    def status_file(self, name="4711", process=4711, magic=MAGIC, rows=(), count=None, cut=None):
        """A file as a process writes it. rows: (destination, role, {counter: value})."""
        self.directory.mkdir(mode=0o700, exist_ok=True)
        data = HEAD.pack(magic, process, len(rows) if count is None else count, 0x123456789ABCDEF0)
        for destination, role, values in rows:
            data += ROW.pack(destination, role, *(values.get(counter, 0) for counter in COUNTERS))
        path = self.directory / f"{name}.status"
        unready = self.directory / "unready"
        unready.write_bytes(data[:cut])
        return unready.rename(path)

    def test_StatusShowsEveryCounter(self):
        self.assertEqual((HEAD.size, ROW.size), (64, 192))
        values = {counter: 100 + place for place, counter in enumerate(COUNTERS)}
        path = self.status_file(rows=[(7, SENDS, values), (4294967295, RECEIVES, {"delivered": 2**64 - 1}), (9, 0, {})])
        left = self.status_file("12", 12, rows=[(8, RECEIVES, values)])
        with open(path, "rb") as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            status, output, errors = self.run_tool("status", "--json")
            self.assertEqual((status, errors), (0, ""))
            text = self.run_tool("status")[1]
        received, sent = (COUNTERS[:10], COUNTERS[10:])[::-1]
        self.assertEqual(json.loads(output), [
            {"process": 12, "alive": False, "sender": "123456789abcdef0", "rows": [
                {"role": "receives", "destination": 8, **{name: values[name] for name in received}}]},
            {"process": 4711, "alive": True, "sender": "123456789abcdef0", "rows": [
                {"role": "sends", "destination": 7, **{name: values[name] for name in sent}},
                {"role": "receives", "destination": 4294967295, **{name: 0 for name in received},
                 "delivered": 2**64 - 1}]}])
        self.assertEqual(text, """\
process         sends to  accepted  handled  under way  bytes  refused  lost  losses  most under way  most bytes  bytes sent
   4711  alive         7       100      101        106    107      102   103     104             108         109         105

process               receives as             delivered  redelivered  gaps  unknown  oversize  malformed  bytes received
     12  left behind            8                   110          111   113      114       115        116             112
   4711  alive         4294967295  18446744073709551615            0     0        0         0          0               0
""")
        # It only looks.
        self.assertTrue(left.exists())

    def test_StatusTellsWhoWasKilled(self):
        receiver = self.receiver(self.environment)
        self.assertTrue(self.row_of(self.environment, receiver.pid, "receives")["alive"])
        receiver.kill()
        receiver.wait()
        self.assertFalse(self.row_of(self.environment, receiver.pid, "receives")["alive"])
        self.assertRegex(self.run_tool("status")[1], rf"\n *{receiver.pid}  left behind  +7  ")

    def test_StatusLeavesOutWhatIsNoStatusFile(self):
        row = (7, SENDS, {})
        good = self.status_file("1", 1, rows=[row])
        files = {
            self.status_file("10", 10, cut=0): "expected 64 bytes at byte 0, found 0 bytes",
            self.status_file("11", 11, cut=63): "expected 64 bytes at byte 0, found 63 bytes",
            self.status_file("12", 12, magic=MAGIC + 1): "begins with 31544154534d484e, expected 31544154534d484d",
            self.status_file("13", 13, rows=[row], count=2): "expected 384 bytes at byte 64, found 192 bytes",
            self.status_file("14", 14, rows=[row], cut=-1): "expected 192 bytes at byte 64, found 191 bytes",
            self.status_file("15", 15, count=513): "has 513 rows, expected at most 512",
            self.status_file("16", 16, count=2**32 - 1): "has 4294967295 rows, expected at most 512",
            self.status_file("17", 18): "is of process 18, expected 17",
            self.status_file("18", 18, rows=[(7, 3, {})]): "has a row of role 3, expected 1 or 2",
            self.status_file("me\x1b[31m"): "expected the number of a process in its name",
            self.status_file("-5", 5): "expected the number of a process in its name",
            self.status_file("4294967296", 0): "expected the number of a process in its name",
            self.directory / "20.status": "is a symbolic link, expected a file",
            self.directory / "21.status": "expected a file, found something else",
            self.directory / "22.status": "expected a file, found something else",
            self.directory / "23.status": "cannot be opened: No such device or address",
        }
        (self.directory / "20.status").symlink_to(good)
        os.mkfifo(self.directory / "21.status")
        (self.directory / "22.status").mkdir()
        with socket.socket(socket.AF_UNIX) as listening:
            listening.bind(str(self.directory / "23.status"))
        if os.geteuid() == 0:
            path = self.status_file("24", 24)
            os.chown(path, 12345, 12345)
            files[path] = "belongs to user 12345, expected user 0"
        self.status_file("1.status.new", 1)  # one that is being made
        (self.directory / "1.status.new.status").rename(self.directory / "1.status.new")
        status, output, errors = self.run_tool("status", "--json")
        self.assertEqual(status, 0)
        self.assertEqual([process["process"] for process in json.loads(output)], [1])
        self.assertEqual(sorted(errors.splitlines()),
                         sorted(f"mesh-fib6: {path}: left out: {why}".replace("\x1b", "\\x1b")
                                for path, why in files.items()))

    def test_StatusOfNobodyAndOfNoDirectory(self):
        self.refused(f"directory {self.directory} cannot be read: No such file or directory", "status")
        self.refused("cannot be read: Not a directory", "status", "--dir", __file__)
        self.directory.mkdir(mode=0o700)
        self.assertEqual(self.run_tool("status"), (0, "", f"mesh-fib6: no process of the host is in {self.directory}\n"))
        self.assertEqual(self.run_tool("status", "--json"), (0, "[]\n", ""))

    def test_StatusLooksAgainAndAgain(self):
        self.status_file(rows=[(7, SENDS, {"accepted": 1})])
        with subprocess.Popen([*TOOL, "host", "status", "--json", "--watch", "0.1"], env=self.environment,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            self.assertIn(b'"accepted":1,', process.stdout.readline())
            self.status_file(rows=[(7, SENDS, {"accepted": 2})])
            eventually(lambda: b'"accepted":2,' in process.stdout.readline())
            process.terminate()
            self.assertEqual(process.stderr.read(), b"")

    # Arguments.

    def test_WrongUsageSaysWhatAndWhereToReadMore(self):
        for arguments, what, where in (
                ((), "A subcommand is required", "host"),
                (("upp",), "unknown command 'upp'; did you mean 'up'?", "host"),
                (("status", "x"), "x", "host status"),
                (("status", "--watch", "0"), "--watch", "host status"),
                (("status", "--watch", "nan"), "--watch", "host status"),
                (("up", "--port", "0"), "--port", "host up"),
                (("up", "--port", "65536"), "--port", "host up"),
                (("up", "--storage", "tape"), "--storage", "host up"),
                (("down", "--force"), "--force", "host down")):
            self.refused(re.escape(what), *arguments, status=2)
            self.assertTrue(self.run_tool(*arguments)[2].endswith(f"\nsee mesh-fib6 {where} --help\n"))
        for command in ((), ("status",), ("up",), ("down",)):
            status, output, errors = self.run_tool(*command, "--help")
            self.assertEqual((status, errors), (0, ""))
            self.assertIn(" ".join(["Usage: mesh-fib6 host", *command]), output)
            self.assertRegex(output, "Exit status: 0 .*, 1 .*, 2 wrong usage, 3 ")
        self.assertFalse(self.directory.exists())


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *[f"Host.test_{case}" for case in sys.argv[2:]]])
