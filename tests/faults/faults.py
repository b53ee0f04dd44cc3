"""Programs whose calls are made to fail one after the other, and what is said of how they bear that.

Room: tests. Every process is started here, below a folder of its own; what fails is injector.c's.

A run in which a call fails has to come to one of two ends:
  survived   it ends as it does undisturbed: same exit status, same output, same files, same that a peer got
  refused    it ends with an exit status that is not 0, and says on standard error what was wrong; the latter is
             enough of what runs until it is asked to end
Everything else is a finding: a signal, no end, another output with exit status 0, failure without a word.
"""

import collections
import concurrent.futures
import contextlib
import dataclasses
import os
import pathlib
import re
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time

SOURCE = pathlib.Path(__file__).resolve().parents[2]
PATIENCE = 20  # seconds that a program has to its end
# injector.c, struct state
ENTRY = struct.Struct("=16s4qQ")
KINDS = 28
TAIL = struct.Struct("=Qq48s48s")
HALF = -1
SURVIVED, REFUSED, MISSED, THEIRS = "survived", "refused", "missed", "theirs"
FINE = (SURVIVED, REFUSED, MISSED, THEIRS)
# Libraries of others, which follow null pointers or wait for ever when an allocation of their own fails (NATS' client
# 3.4 in natsConn_create, jsCtx_Destroy, nats_JSONParse; OpenSSL 3.0 in RAND_bytes). Nothing here can help that.
OTHERS = ("libnats.so", "libcrypto.so", "libssl.so")
PYTHON = pathlib.Path(sys.executable).resolve()

ROUTES = "fib6.ipv6FwdUpdateMsg"
RECORD = '{"f0": 7, "f1": [{"f3": "2001:db8::", "f4": 32}, {"f3": "2001:db8:1::", "f4": 48}]}\n'
STATE = "fib6.pidStateMsg"
TABLE = "".join(f"2001:db8:{i:x}::/48\n" for i in range(40))
SENT_ROUTE = "2001:db8::/32\n"


@dataclasses.dataclass(frozen=True)
class Fault:
    """The number-th call of a kind, or from that on all of them, fails like this."""
    kind: str
    number: int
    error: int
    lasts: bool = False

    @property
    def variables(self):
        return {"FAULTS_KIND": self.kind, "FAULTS_NUMBER": str(self.number), "FAULTS_ERROR": str(self.error),
                **({"FAULTS_LASTS": "1"} if self.lasts else {})}

    def __str__(self):
        how = "half" if self.error == HALF else os.strerror(self.error)
        return f"{self.kind} {self.number}{' and on' if self.lasts else ''}: {how}"


@dataclasses.dataclass
class End:
    """How a victim ended. `got` is all that it is responsible for, its exit status apart."""
    status: int | None  # None: it did not
    errors: str
    got: object
    prints: bool = False  # something on standard output
    is_asked: bool = False  # to end: its exit status is about that, and what it could not do it says when that comes


class Ended(Exception):
    """Nothing is started any more."""


class Place:
    """A folder for one run, and what is started in it."""
    starting = threading.RLock()  # for whoever stops it in the middle, in the same thread
    is_over = False

    def __init__(self, tools, fault):
        self.tools = tools
        self.fault = fault
        with Place.starting:
            if Place.is_over:
                raise Ended
            self.folder = pathlib.Path(tempfile.mkdtemp(prefix="run."))
        self.state = self.folder / "state"
        self.state.write_bytes(bytes(KINDS * ENTRY.size + TAIL.size))
        self.mesh = self.folder / "mesh"
        (self.folder / "tmp").mkdir()
        self.started = []
        self.ended = False
        self.plain = {"PATH": os.environ["PATH"], "MESH_HOST_DIR": str(self.mesh), "LC_ALL": "C.UTF-8",
                      "MESH_HOST_SEND_TIMEOUT_MS": "700", "TMPDIR": str(self.folder / "tmp")}

    def close(self):
        for process in self.started:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)  # it leads a group, in which its children are
            process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def read(self, name):
        path = self.folder / name
        return path.read_bytes() if path.exists() else None

    def start(self, name, *command, is_victim=False, given=None, to=None, below=None, **variables):
        """Its output goes to the files NAME.out and NAME.err. Of a victim, programs `below` are concerned."""
        environment = {**self.plain, **variables}
        if is_victim:
            preloaded = [str(self.tools.injector), *variables.get("LD_PRELOAD", "").split()]
            environment |= {"LD_PRELOAD": " ".join(preloaded), "FAULTS_STATE": str(self.state),
                            "FAULTS_BELOW": str(below or self.tools.build)} | (
                                self.fault.variables if self.fault else {})
        with contextlib.ExitStack() as files:
            read = files.enter_context(open(given or "/dev/null", "rb"))
            out = files.enter_context(open(to or self.folder / f"{name}.out", "wb"))
            err = files.enter_context(open(self.folder / f"{name}.err", "wb"))
            files.enter_context(Place.starting)
            if Place.is_over:
                raise Ended
            process = subprocess.Popen([str(word) for word in command], stdin=read, stdout=out, stderr=err,
                                       env=environment, cwd=self.folder, process_group=0)
        process.name = name
        self.started.append(process)
        return process

    def status(self, process, seconds=PATIENCE):
        try:
            return process.wait(seconds)
        except subprocess.TimeoutExpired:
            return None

    def end(self, process, got=None):
        """Waits; what the victim wrote comes first in what it is responsible for."""
        status = self.status(process)
        errors = (self.read(f"{process.name}.err") or b"").decode(errors="replace")
        output = self.read(f"{process.name}.out")
        return End(status, errors, (output, got() if callable(got) else got), bool(output))

    def until(self, look, *processes, seconds=5):
        """Whether that comes to pass while they all run."""
        end = time.monotonic() + seconds
        while not look():
            if time.monotonic() > end or any(process.poll() is not None for process in processes):
                return False
            time.sleep(0.005)
        return True

    def attached(self, destination, *processes):
        return self.until(lambda: (self.mesh / f"{destination}.sock").exists(), *processes)

    def calls(self):
        """{kind: (number of calls, errors)}, what failed: (how often, descriptor, function, of an allocation whose)."""
        content = self.state.read_bytes()
        kinds = {}
        for i in range(KINDS):
            name, *errors, calls = ENTRY.unpack_from(content, i * ENTRY.size)
            if name[0]:
                kinds[name.rstrip(b"\0").decode()] = (calls, [error for error in errors if error])
        failed, file, *names = TAIL.unpack_from(content, KINDS * ENTRY.size)
        return (kinds, failed, file, *(name.rstrip(b"\0").decode() for name in names))


@dataclasses.dataclass
class Tools:
    build: pathlib.Path
    injector: pathlib.Path

    @property
    def tool(self):
        return self.build / "mesh-fib6"

    def example(self, name):
        return self.build / "examples" / name

    def demo(self, name):
        return self.build / "demo" / name


# ---- scenarios -----------------------------------------------------------------------------------

SCENARIOS = {}


def scenario(name):
    def add(play):
        SCENARIOS[name] = play
        return play
    return add


def digits_aside(content):
    """Without numbers, and without how wide they make their columns."""
    return re.sub(rb"[ -]+", b" ", re.sub(rb"[0-9.]+", b"N", content or b""))


def tool_scenario(name, *words, given=None, prepare=None, is_measured=False):
    """A command of mesh-fib6. Files that it reads are made by `prepare`, given the place."""
    @scenario(f"tool {name}")
    def play(place):
        if prepare:
            prepare(place)
        path = place.write("given", given) if given is not None else None
        end = place.end(place.start("tool", place.tools.tool, *words, is_victim=True, given=path))
        if is_measured:
            end.got = re.sub(rb" +", b" ", digits_aside(end.got[0]))
        return end


def write_messages(place):
    route = ("0c000000080014000400080008000000070000000400000001000000240000002000230000000400"
             "00000b000800000009000000000000000000000000000000000000002000000004030201200605"
             "04000000040000002" "0010db8000000000000000000000000")
    message = bytes.fromhex(route)
    place.write("message", message)
    place.write("other", message)
    place.write("frames", struct.pack("<II", 0x5026A923, len(message)) + message)
    place.write("capture", capture_of((0x5026A923, message)))


def capture_of(*messages):
    def block(kind, body):
        body += bytes(-len(body) % 4)
        return struct.pack("<II", kind, len(body) + 12) + body + struct.pack("<I", len(body) + 12)

    text = block(0x0A0D0D0A, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1)) + block(1, struct.pack("<HHI", 147, 0, 0))
    for identifier, message in messages:
        data = struct.pack("<BBHIQII", 1, 0, 0, 7, 0, identifier, len(message)) + message
        text += block(6, struct.pack("<IIIII", 0, 0, 0, len(data), len(data)) + data)
    return text


tool_scenario("list", "list")
tool_scenario("list --json", "list", "--json")
tool_scenario("describe", "describe", ROUTES)
tool_scenario("describe --fbs", "describe", ROUTES, "--fbs")
tool_scenario("describe --html", "describe", "--all", "--html")
tool_scenario("encode", "encode", ROUTES, given=RECORD)
tool_scenario("encode --mixed", "encode", "--mixed", "--frames",
              given='{"message": "feiBrokerFib6_ipv6FwdUpdateMsg", "record": ' + RECORD.strip() + "}\n")
tool_scenario("decode", "decode", ROUTES, "message", prepare=write_messages)
tool_scenario("decode --frames", "decode", "--frames", "frames", prepare=write_messages)
tool_scenario("verify", "verify", ROUTES, "message", prepare=write_messages)
tool_scenario("explain", "explain", ROUTES, "message", prepare=write_messages)
tool_scenario("explain --html", "explain", ROUTES, "message", "--html", prepare=write_messages)
tool_scenario("diff", "diff", ROUTES, "message", "other", prepare=write_messages)
tool_scenario("random", "random", STATE, "--count", "3")
tool_scenario("bench", "bench", STATE, "--seconds", "0.001", is_measured=True)
tool_scenario("capture", "capture", "capture", prepare=write_messages)
tool_scenario("capture --summary", "capture", "capture", "--summary", prepare=write_messages)
tool_scenario("completion", "completion", "zsh")
tool_scenario("manual", "manual")


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as probe:
        return probe.getsockname()[1]


def stop(place, *processes):
    for process in processes:
        if process.poll() is None:
            process.terminate()
    for process in processes:
        place.status(process)


def as_asked(place, end, sent, errors="peer.err"):
    """Of a receiver that runs until it is asked to end. What a sender is told is not lost in silence either."""
    end.is_asked = True
    if sent not in (None, 0):
        end.errors += (place.read(errors) or b"").decode()
        end.status = end.status or 1
    return end


def sender_scenario(name, program, receiver, destination, expected, *words):
    """The sender is the victim: when it ends well, its receiver has what it sent."""
    @scenario(name)
    def play(place):
        receiving = place.start("peer", receiver(place.tools))
        if not place.attached(destination, receiving):
            raise AssertionError(f"{name}: the undisturbed receiver does not attach: {place.read('peer.err')}")
        sending = place.start("sender", program(place.tools), *words, is_victim=True)
        status = place.status(sending)
        if status == 0:
            place.until(lambda: expected(place.read("peer.out")), receiving, seconds=2)
        stop(place, receiving)
        end = place.end(sending, lambda: (expected(place.read("peer.out")), receiving.returncode))
        return end


def receiver_scenario(name, program, sender, destination, *words):
    """The receiver is the victim: what a sender was told is handled has been printed, or something was said."""
    @scenario(name)
    def play(place):
        receiving = place.start("receiver", program(place.tools), is_victim=True)
        sent = None
        if place.attached(destination, receiving):
            sending = place.start("peer", sender(place.tools), *words)
            sent = place.status(sending)
            if sent is None:
                raise AssertionError(f"{name}: the undisturbed sender does not end")
        stop(place, receiving)
        end = place.end(receiving)
        return as_asked(place, end, sent)


def example(name):
    return lambda tools: tools.example(name)


def demo(name):
    return lambda tools: tools.demo(name)


for end in ("", "_cpp"):
    sender_scenario(f"send_route{end}", example(f"send_route{end}"), example("receive_routes"), 7,
                    lambda text: text == SENT_ROUTE.encode())
    receiver_scenario(f"receive_routes{end}", example(f"receive_routes{end}"), example("send_route"), 7)
    receiver_scenario(f"print_any{end}", example(f"print_any{end}"), example("send_route"), 7)


@scenario("send_route with the tap")
def send_route_with_tap(place):
    """What is sent is in the capture, or somebody says that it is not; the sender's peer has it in any case."""
    receiving = place.start("peer", place.tools.example("receive_routes"))
    if not place.attached(7, receiving):
        raise AssertionError(f"the undisturbed receiver does not attach: {place.read('peer.err')}")
    sending = place.start("sender", place.tools.example("send_route"), is_victim=True,
                          LD_PRELOAD=str(place.tools.build / "tools" / "libmesh_fib6_tap.so"),
                          MESH_FIB6_TAP=str(place.folder / "capture.pcapng"))
    if place.status(sending) == 0:
        place.until(lambda: place.read("peer.out"), receiving, seconds=2)
    stop(place, receiving)
    place.status(place.start("look", place.tools.tool, "capture", "--summary", place.folder / "capture.pcapng"))
    end = place.end(sending)
    if end.status == 0 and not place.read("peer.out"):
        raise AssertionError("send_route ends well, and its peer has nothing")
    if b"dropped" in place.read("look.err"):
        end.errors += place.read("look.err").decode()
    end.got = place.read("look.out")
    end.is_asked = True  # what it was asked to do, it does; of the capture it may only speak
    return end


@scenario("receive_synchronisation")
def receive_synchronisation(place, which="receive_synchronisation"):
    receiving = place.start("receiver", place.tools.example(which), is_victim=True)
    sent = None
    if place.attached(8, receiving):
        sent = place.status(place.start("peer", place.tools.example("synchronise"), "50"))
    stop(place, receiving)
    end = place.end(receiving)
    end.got = re.sub(rb"synchronisation \d+", b"", end.got[0] or b"")
    return as_asked(place, end, sent)


sender_scenario("synchronise", example("synchronise"), example("receive_synchronisation"), 8,
                lambda text: bool(text) and b"50 routes" in text, "50")


@scenario("ask_routes")
def ask_routes(place):
    answering = place.start("peer", place.tools.example("answer_queries"))
    if not place.attached(9, answering):
        raise AssertionError("the undisturbed answerer does not attach")
    end = place.end(place.start("asker", place.tools.example("ask_routes"), "2001:db8:1::1", is_victim=True))
    stop(place, answering)
    return end


@scenario("answer_queries")
def answer_queries(place):
    answering = place.start("answerer", place.tools.example("answer_queries"), is_victim=True)
    asked = None
    if place.attached(9, answering):
        asking = place.start("peer", place.tools.example("ask_routes"), "2001:db8:1::1")
        asked = place.status(asking)
    answer = place.read("peer.out")
    stop(place, answering)
    end = place.end(answering, answer)
    return as_asked(place, end, asked)


for end in ("", "_cpp"):
    @scenario(f"decode_buffer{end}")
    def decode_buffer(place, which=f"decode_buffer{end}"):
        write_messages(place)
        return place.end(place.start("example", place.tools.example(which), "message", is_victim=True))


def start_python(place, name, program, *words):
    """From when it loads the library on, all of the interpreter's calls count."""
    return place.start(name, PYTHON, SOURCE / "examples" / program, *words, is_victim=True, below=PYTHON,
                       FAULTS_FROM="libmesh_fib6.so", PYTHONPATH=str(SOURCE / "python"), PYTHONDONTWRITEBYTECODE="1",
                       MESH_FIB6_LIBRARY=str(place.tools.build / "libmesh_fib6.so"))


@scenario("decode_buffer.py")
def decode_buffer_python(place):
    write_messages(place)
    return place.end(start_python(place, "example", "decode_buffer.py", "message"))


@scenario("send_route.py")
def send_route_python(place):
    receiving = place.start("peer", place.tools.example("receive_routes"))
    if not place.attached(7, receiving):
        raise AssertionError(f"the undisturbed receiver does not attach: {place.read('peer.err')}")
    sending = start_python(place, "sender", "send_route.py")
    if place.status(sending) == 0:
        place.until(lambda: place.read("peer.out"), receiving, seconds=2)
    stop(place, receiving)
    return place.end(sending, lambda: place.read("peer.out"))


@scenario("own_host")
def own_host(place):
    end = place.end(place.start("example", place.tools.example("own_host"), is_victim=True))
    # The message that is cut is refused, for one reason or another.
    end.got = [line for line in (end.got[0] or b"").splitlines() if not re.match(rb"log of|\d+ blocks taken", line)]
    return end


@scenario("tool host status")
def host_status(place):
    receiving = place.start("peer", place.tools.example("receive_routes"))
    if not place.attached(7, receiving):
        raise AssertionError("the undisturbed receiver does not attach")
    place.until(lambda: list(place.mesh.glob("*.status")), receiving)
    end = place.end(place.start("tool", place.tools.tool, "host", "status", is_victim=True))
    end.got = digits_aside(end.got[0])
    stop(place, receiving)
    return end


@scenario("fib6-demo")
def fib6_demo(place):
    table = place.write("table", TABLE)
    keep = place.folder / "kept"
    end = place.end(place.start("demo", place.tools.demo("fib6-demo"), table, "--keep", keep, is_victim=True))
    lines = [line for line in (end.got[0] or b"").splitlines()
             if not re.match(rb"sender: process|/|  (encode|decode|end to end|blocks leaked) ", line)]
    kept = {path.name: path.read_bytes() for path in sorted(keep.glob("*"))} if keep.exists() else {}
    left = [path.name for path in (place.folder / "tmp").iterdir()]
    kept = {name: text for name, text in kept.items() if "left" not in name}
    end.got = (lines, kept, left if not end.errors.strip() else [])  # of what stays it has said so
    return end


@scenario("fib6-sender")
def fib6_sender(place):
    receiving = place.start("peer", place.tools.demo("fib6-receiver"), "--once", "--write-table", place.folder / "got")
    if not place.until(lambda: list(place.mesh.glob("*.sock")), receiving):
        raise AssertionError(f"the undisturbed receiver does not attach: {place.read('peer.err')}")
    sending = place.start("sender", place.tools.demo("fib6-sender"), place.write("table", TABLE), "--withdraw",
                          "--write-table", place.folder / "sent", is_victim=True)
    if place.status(sending) == 0:
        place.status(receiving, 3)
    stop(place, receiving)
    end = place.end(sending)
    end.got = (digits_aside(b"\n".join(line for line in (end.got[0] or b"").splitlines() if b"/s" not in line)),
               place.read("got"), place.read("sent"))
    return end


@scenario("fib6-receiver")
def fib6_receiver(place):
    receiving = place.start("receiver", place.tools.demo("fib6-receiver"), "--once", "--write-table",
                            place.folder / "got", is_victim=True)
    sent = None
    if place.until(lambda: list(place.mesh.glob("*.sock")), receiving):
        sent = place.status(place.start("peer", place.tools.demo("fib6-sender"), place.write("table", TABLE),
                                        "--withdraw"))
        if sent == 0:
            place.status(receiving, 3)
    stop(place, receiving)
    end = place.end(receiving)
    end.got = place.read("got")
    return as_asked(place, end, sent)


def in_step(text):
    """The digest that a peer told last."""
    return re.findall(rb"^in step: digest ([0-9a-f]+), change \d+, 41 routes$", text or b"", re.MULTILINE)[-1:]


def service_and_peer(place, service_is_victim):
    """A table and one change of it come to the peer, whose table is then the service's."""
    serving = place.start("service", place.tools.demo("fib6-service"), place.write("table", TABLE), "--changes",
                          place.write("changes", "+ 2001:db8:ffff::/48 via fe80::1 dev eth0\n"),
                          is_victim=service_is_victim)
    following = place.start("peer", place.tools.demo("fib6-peer"), "--check-ms", "50", "--patience-ms", "300",
                            given=place.write("lines", "digest\nwrite empty\n"), is_victim=not service_is_victim)
    is_there = place.until(lambda: in_step(place.read("peer.out")), serving, following, seconds=8)
    stop(place, following, serving)
    victim, other = (serving, following) if service_is_victim else (following, serving)
    if other.returncode not in (0, -signal.SIGTERM):  # it may have been asked before it could hear that
        raise AssertionError(f"the undisturbed {other.name} ends with {other.returncode}: "
                             f"{place.read(f'{other.name}.err')}")
    end = place.end(victim)
    end.got = (is_there, in_step(place.read("peer.out")), service_is_victim or (place.folder / "empty").exists())
    end.is_asked = True
    return end


@scenario("fib6-service")
def fib6_service(place):
    return service_and_peer(place, True)


@scenario("fib6-peer")
def fib6_peer(place):
    return service_and_peer(place, False)


def servers_of(folder):
    """The processes whose command line names something in a folder."""
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
        try:
            if f"{folder}/".encode() in entry.read_bytes():
                found.append(int(entry.parent.name))
        except OSError:
            pass  # it has ended meanwhile
    return found


def stop_all():
    """From now on nothing is started."""
    with Place.starting:
        Place.is_over = True


def end_servers(folder):
    """A server belongs to nobody when the tool that began it has ended."""
    for process in servers_of(folder):
        with contextlib.suppress(ProcessLookupError):
            os.kill(process, signal.SIGKILL)


@scenario("tool host up")
def host_up(place):
    """Where it says that a server runs, that takes messages; what it leaves behind, down ends."""
    end = place.end(place.start("tool", place.tools.tool, "host", "up", is_victim=True, MESH_HOST_DIR=str(place.mesh)))
    works = None
    if end.status == 0:
        settings = dict(re.findall(r"export (\w+)=(\S+)", end.got[0].decode()))
        receiving = place.start("receiver", place.tools.example("receive_routes"), **settings)
        sending = place.start("sender", place.tools.example("send_route"), MESH_HOST_SEND_TIMEOUT_MS="5000", **settings)
        sent = place.status(sending)
        stop(place, receiving)
        works = (sent, place.read("receiver.out"))
    end.got = (len((end.got[0] or b"").splitlines()), works)
    down = place.start("down", place.tools.tool, "host", "down", "--erase")
    if place.status(down) != 0:
        end.got = (*end.got, "host down: " + place.read("down.err").decode())
        end.status = 0  # a finding, whatever up said
    if servers_of(place.mesh):
        end.got = (*end.got, "a server that nobody ends")
        end.status = 0
        end_servers(place.mesh)
    return end


@scenario("tool host down")
def host_down(place):
    up = place.start("up", place.tools.tool, "host", "up")
    if place.status(up) != 0:
        raise AssertionError(f"the undisturbed up fails: {place.read('up.err')}")
    end = place.end(place.start("tool", place.tools.tool, "host", "down", "--erase", is_victim=True))
    left = sorted(path.name for path in place.mesh.rglob("*")) if end.status == 0 else []
    place.status(place.start("again", place.tools.tool, "host", "down", "--erase"))
    end.got = left
    return end


def through_server(place, sender_is_victim):
    """A route by way of a NATS server."""
    up = place.start("up", place.tools.tool, "host", "up")
    if place.status(up) != 0:
        raise AssertionError(f"the undisturbed up fails: {place.read('up.err')}")
    settings = dict(re.findall(r"export (\w+)=(\S+)", place.read("up.out").decode()))
    settings["MESH_HOST_SEND_TIMEOUT_MS"] = "3000"
    try:
        receiving = place.start("receiver", place.tools.example("receive_routes"), is_victim=not sender_is_victim,
                                **settings)
        sending = place.start("sender", place.tools.example("send_route"), is_victim=sender_is_victim, **settings)
        sent = place.status(sending)
        if sent == 0:
            place.until(lambda: place.read("receiver.out"), receiving, seconds=3)
        stop(place, receiving)
        end = place.end(sending if sender_is_victim else receiving,
                        lambda: place.read("receiver.out") if sent == 0 else None)
        return end if sender_is_victim else as_asked(place, end, sent, "sender.err")
    finally:
        place.status(place.start("down", place.tools.tool, "host", "down", "--erase"))


@scenario("send through a server")
def send_through_server(place):
    return through_server(place, True)


@scenario("receive through a server")
def receive_through_server(place):
    return through_server(place, False)


@scenario("fpm_feed")
def fpm_feed(place):
    """It begins, listens, writes its empty table down and ends when it is asked to."""
    feeding = place.start("feed", place.tools.build / "fpm" / "fpm_feed", "--listen",
                          f"127.0.0.1:{free_port()}", "--dump", place.folder / "dump", is_victim=True)
    place.until(lambda: place.read("feed.out") or place.read("feed.err"), feeding, seconds=1)
    time.sleep(0.1)
    stop(place, feeding)
    end = place.end(feeding, lambda: place.read("dump"))
    end.got = (digits_aside(end.got[0]), end.got[1])
    return end


# ---- judgement -----------------------------------------------------------------------------------

def judged(end, calm, failed, file, library=""):
    """SURVIVED, REFUSED, MISSED (no call was made to fail), THEIRS, or what is wrong."""
    if library.startswith(OTHERS) and (end.status is None or not 0 <= end.status <= 128):
        return THEIRS
    if end.status is None:
        return f"does not end within {PATIENCE} s"
    if end.status < 0 or end.status > 128:
        number = -end.status if end.status < 0 else end.status - 128
        return f"killed by {signal.Signals(number).name}: {end.errors.strip()[-200:]}"
    if end.status == calm.status and end.got == calm.got:
        return SURVIVED if failed else MISSED
    if failed == 0:
        return f"without a failure, ends with {end.status} and {end.got!r:.200}, {end.errors!r}; else {calm.got!r:.200}"
    if end.status == 0 and end.is_asked and end.errors.strip():
        return REFUSED
    if end.status == 0:
        return f"says that all is well, and it is not: {end.got!r:.300}; {end.errors.strip()[-200:]}"
    if not end.errors.strip() and file != 2:
        return f"exit status {end.status} without a word"
    return REFUSED


class Trial:
    def __init__(self, build, injector):
        self.tools = Tools(pathlib.Path(build).resolve(), pathlib.Path(injector).resolve())

    def play(self, name, fault=None):
        place = Place(self.tools, fault)
        try:
            end = SCENARIOS[name](place)
            return (end, *place.calls())
        finally:
            place.close()

    def calm(self, name):
        """The undisturbed end, and {kind: (calls, errors)}."""
        ends = [self.play(name) for _ in range(2)]
        end = ends[0][0]
        if end.status is None or end.status < 0 or ends[1][0].got != end.got:
            raise AssertionError(f"{name}: is not the same each time:\n{ends[0][0]}\n{ends[1][0]}")
        most = {kind: (max(kinds[kind][0] for _, kinds, *_ in ends), errors)
                for kind, (_, errors) in ends[0][1].items()}
        return end, most

    def try_fault(self, name, calm, fault):
        """(verdict, function that failed)"""
        verdict, function, failed = self.once(name, calm, fault)
        if verdict not in FINE:  # by chance, or each time?
            again, function, failed = self.once(name, calm, fault)
            verdict = again if failed else verdict
        return verdict, function

    def once(self, name, calm, fault):
        try:
            end, _, failed, file, function, library = self.play(name, fault)
        except AssertionError as error:  # who was not disturbed has not done his part
            return str(error), "", 1
        return judged(end, calm, failed, file, library), function, failed


def faults_of(kinds, most, wanted=None):
    """Each call in turn, each way; of more than `most` calls of a kind a selection, evenly spread."""
    for kind, (calls, errors) in kinds.items():
        if wanted and kind not in wanted:
            continue
        numbers = range(1, calls + 1)
        if most and calls > most:
            spread = {1 + i * (calls - 1) // (most - 1) for i in range(most)} if most > 1 else {(calls + 1) // 2}
            numbers = sorted(spread)
        for number in numbers:
            for error in errors:
                yield Fault(kind, number, error)
            if kind in ("memory", "write", "print"):
                yield Fault(kind, number, errors[0], lasts=True)


def full_device(trial, name):
    """What a stream holds to the end is written when nobody asks any more: None, or what is wrong."""
    place = Place(trial.tools, None)
    start = place.start
    place.start = lambda who, *words, is_victim=False, **how: start(
        who, *words, is_victim=is_victim, **({**how, "to": "/dev/full"} if is_victim else how))
    try:
        end = SCENARIOS[name](place)
    finally:
        place.close()
    if end.status is None or end.status <= 0:
        return f"status {end.status} on a full device: {end.errors.strip()[-200:]}"
    return None if end.errors.strip() else "fails without a word on a full device"


def sweep(trial, name, most=0, wanted=None, jobs=2, told=lambda *_: None):
    """{kind: Counter of verdicts, and calls}, findings [(fault, function, what)]."""
    calm, kinds = trial.calm(name)
    table = {kind: collections.Counter(calls=calls) for kind, (calls, _) in kinds.items()
             if calls and (not wanted or kind in wanted)}
    findings = []
    if calm.prints and not wanted:
        if problem := full_device(trial, name):
            findings.append(("standard output", "at the end", problem))
    faults = list(faults_of(kinds, most, wanted))
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for fault, (verdict, function) in zip(faults, pool.map(lambda each: trial.try_fault(name, calm, each), faults)):
            is_finding = verdict not in FINE
            table[fault.kind]["findings" if is_finding else verdict] += 1
            if is_finding:
                findings.append((str(fault), function, verdict))
                told(name, fault, function, verdict)
    return table, findings
