"""How much stack the library's exports use at most, along the deepest chain of its own calls.

Room: tests. Reads what g++ writes beside each object under -fcallgraph-info=su: every function's
frame and whom it calls. What the process provides (OSAL, mesh, memory functions, libc) is not counted.
Functions of the general codec go down into the tables of a table, as deep as tables nest and no deeper.

usage: check_stack.py --limit BYTES --exports FILE --nesting-in HEADER OBJECT...
       check_stack.py --self-test
"""

import argparse
import re
import sys
from pathlib import Path

NODE = re.compile(r'^node: \{ title: "([^"]*)" label: "([^"]*)"')
EDGE = re.compile(r'^edge: \{ sourcename: "([^"]*)" targetname: "([^"]*)"')
FRAME = re.compile(r"\\n(\d+) bytes \(([a-z,]+)\)$")
INDIRECT = "__indirect_call"
RETURN_ADDRESS = 8  # pushed by the caller on x86-64; on aarch64 it is in the frame, and counted twice

# Through pointers the send operations and what packing shares call the message's functions; everybody
# else the allocators and the log writer, of which the library has the heap's.
OF_A_MESSAGE = re.compile(r"_ZN9mesh_fib64wire(12message_size|5write|14write_measured|6encode|11write_fixed)I")
OF_THE_HEAP = re.compile(r"_ZN9mesh_fib67runtime(10heap_alloc|9heap_free)E")
CALLS_MESSAGES = re.compile(r"_ZN9mesh_fib6(9transport|4wire13pack_(measured|uncommon)E)")
# What may call itself, once for each level of tables.
GENERAL = re.compile(r"_ZNK?9mesh_fib64wire7general")
NESTING = re.compile(r"^inline constexpr uint32_t max_nesting = (\d+);", re.M)


def fail(message):
    sys.exit(f"check_stack: {message}")


def plain(title):
    """The symbol: static functions have their file in front."""
    return title.rsplit(":", 1)[-1]


class Graph:
    def __init__(self, nesting=1):
        self.nesting = nesting
        self.frames, self.calls, self.unbounded, self.known = {}, {}, [], {}

    def read(self, text):
        for line in text.splitlines():
            if node := NODE.match(line):
                frame = FRAME.search(node[2])
                if frame:
                    name = plain(node[1])
                    self.frames[name] = max(int(frame[1]), self.frames.get(name, 0))
                    if frame[2] == "dynamic":  # "dynamic,bounded" is a maximum too
                        self.unbounded.append(name)
            elif edge := EDGE.match(line):
                self.calls.setdefault(plain(edge[1]), set()).add(plain(edge[2]))

    def targets(self, name):
        for callee in self.calls.get(name, ()):
            if callee != INDIRECT:
                yield callee
                continue
            wanted = OF_A_MESSAGE if CALLS_MESSAGES.match(name) else OF_THE_HEAP
            found = [f for f in self.frames if wanted.match(f)]
            if not found:
                fail(f"{name} calls through a pointer, and no function is like {wanted.pattern}")
            yield from found

    def deepest(self, name, above=()):
        """(bytes, chain) of the deepest chain that begins with the function."""
        if name in above:
            if not GENERAL.match(name):
                fail(f"{name} calls itself: its stack has no bound")
            if above.count(name) == self.nesting:
                return 0, []
        if name not in self.frames:
            return 0, []
        # How deep the general codec may still go depends on how deep it is.
        key = name, tuple(sorted(caller for caller in above if GENERAL.match(caller)))
        if key in self.known:
            return self.known[key]
        below = max((self.deepest(callee, (*above, name)) for callee in self.targets(name)),
                    default=(0, []), key=lambda found: found[0])
        self.known[key] = self.frames[name] + RETURN_ADDRESS + below[0], [name, *below[1]]
        return self.known[key]


def self_test():
    graph = Graph()
    graph.read('node: { title: "a" label: "a()\\n1.cpp:1:1\\n16 bytes (static)" }\n'
               'node: { title: "1.cpp:b" label: "b()\\n1.cpp:2:1\\n100 bytes (static)" }\n'
               'node: { title: "c" label: "c()\\n1.cpp:3:1\\n40 bytes (static)" }\n'
               'node: { title: "outside" label: "outside()\\n1.cpp:9:1" shape : ellipse }\n'
               'edge: { sourcename: "a" targetname: "c" label: "1.cpp:1:2" }\n'
               'edge: { sourcename: "a" targetname: "1.cpp:b" label: "1.cpp:1:3" }\n'
               'edge: { sourcename: "1.cpp:b" targetname: "outside" label: "1.cpp:2:2" }\n')
    assert graph.deepest("a") == (16 + 8 + 100 + 8, ["a", "b"]), graph.deepest("a")
    graph.known.clear()
    graph.read('edge: { sourcename: "1.cpp:b" targetname: "a" label: "1.cpp:2:3" }\n')
    try:
        graph.deepest("a")
    except SystemExit:
        pass
    else:
        raise AssertionError("a function that calls itself went unnoticed")

    graph = Graph(nesting=3)
    down, other = "_ZN9mesh_fib64wire7general4downEv", "_ZN9mesh_fib64wire7general5otherEv"
    graph.read(f'node: {{ title: "{down}" label: "down()\\n1.cpp:1:1\\n32 bytes (static)" }}\n'
               f'node: {{ title: "{other}" label: "other()\\n1.cpp:2:1\\n8 bytes (static)" }}\n'
               f'edge: {{ sourcename: "{down}" targetname: "{other}" label: "1.cpp:1:2" }}\n'
               f'edge: {{ sourcename: "{other}" targetname: "{down}" label: "1.cpp:2:2" }}\n')
    assert graph.deepest(down) == (3 * (32 + 8 + 8 + 8), [down, other] * 3), graph.deepest(down)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("--limit", type=int, metavar="BYTES")
    parser.add_argument("--exports", type=Path, metavar="FILE")
    parser.add_argument("--nesting-in", type=Path, metavar="HEADER")
    parser.add_argument("objects", nargs="*", type=Path)
    options = parser.parse_args()
    if options.self_test:
        return self_test()
    if not (options.limit and options.exports and options.nesting_in and options.objects):
        parser.error("--limit, --exports, --nesting-in and objects are needed")
    nesting = NESTING.search(options.nesting_in.read_text(encoding="utf-8"))
    if not nesting:
        fail(f"{options.nesting_in}: expected {NESTING.pattern}")

    graph = Graph(int(nesting[1]))
    for item in options.objects:
        graph_file = item.with_suffix(".ci")
        if not graph_file.exists():
            fail(f"{graph_file} is missing, expected it from g++ -fcallgraph-info=su")
        graph.read(graph_file.read_text(encoding="utf-8"))
    if graph.unbounded:
        fail(f"frames of variable size: {', '.join(graph.unbounded)}")

    exports = options.exports.read_text(encoding="utf-8").split()
    missing = [name for name in exports if name not in graph.frames]
    if missing:
        fail(f"nothing is known of {len(missing)} exports, the first is {missing[0]}")
    depths = {name: graph.deepest(name) for name in exports}
    worst = max(depths, key=lambda name: depths[name][0])
    size, chain = depths[worst]
    print(f"{len(exports)} exports, at most {size} bytes: {' -> '.join(chain)}")
    over = [f"{name} {depth}" for name, (depth, _) in depths.items() if depth > options.limit]
    if over:
        fail(f"more than {options.limit} bytes: {', '.join(over)}")
    return None


if __name__ == "__main__":
    main()
