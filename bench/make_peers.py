#!/usr/bin/env python3
"""Writes what the peers of the benchmark need for the messages it measures.

usage: make_peers.py SCHEMAS_DIR OUTPUT_DIR

From schemas/*.fbs come, in OUTPUT_DIR: the schemas of protobuf, nanopb and Cap'n Proto, and for each
peer the steps between its own types and the plain records (C++, *_steps.h). records.h knows the
records alone: fill, compare, release. Room: bench. Writes into the build tree only.
"""

import re
import sys
from pathlib import Path

# The root table of every message measured: (schema file, table).
MESSAGES = [
    ("fib6", "ipv6FwdUpdateMsg"),
    ("fib6", "nhp6UpdateMsg"),
    ("fib6", "srv6SrListUpdateMsg"),
    ("fib6_cfg", "query_fib6_rec"),
    ("fib6_sync", "ipv6FwdUpdateMsg"),
]

C_TYPES = {"ubyte": "uint8_t", "ushort": "uint16_t", "uint": "uint32_t"}
CAPNP_TYPES = {"ubyte": "UInt8", "ushort": "UInt16", "uint": "UInt32"}
# How many bits a 32-bit value has, by its place among the scalars of its table: numbers that are
# small, middling and full words, always the same ones, as in real records. A peer whose integers
# have variable length profits from the small ones.
WORD_BITS = [7, 14, 32, 20]
BLOB_LENGTH = 16
NANOPB_BLOB_LIMIT = 64


class Field:
    """One field of a table; kind: scalar, words, bytes, table, vector or blob."""

    def __init__(self, name, kind, of, length=0):
        self.name, self.kind, self.of, self.length = name, kind, of, length
        self.setter = name.upper()

    def size(self):
        """Bytes of a fixed array."""
        return self.length * (4 if self.kind == "words" else 1)

    def words64(self):
        """Names of the 64-bit members that hold a fixed array in place."""
        count = (self.size() + 7) // 8
        return [self.name + chr(ord("a") + i) for i in range(count)]


class Table:
    def __init__(self, namespace, name):
        self.namespace, self.name, self.fields = namespace, name, []
        self.record = f"{namespace}_{name}"
        # Cap'n Proto wants a capital first letter and no underscores.
        self.camel = "".join(p[0].upper() + p[1:] for p in self.record.split("_"))

    def scalars(self):
        return [f for f in self.fields if f.kind == "scalar"]


def fail(message):
    sys.exit(f"make_peers: {message}")


def read_schema(path):
    """All tables of one .fbs file, by name."""
    try:
        text = path.read_text(encoding="utf-8")
    except OSError as error:
        fail(f"{path}: {error.strerror}, expected the schema of a module")
    found = re.search(r"^namespace (\w+);", text, re.M)
    if not found:
        fail(f"{path}: no 'namespace NAME;'")
    tables = {}
    for name, body in re.findall(r"^table (\w+)[^{]*\{(.*?)^\}", text, re.M | re.S):
        tables[name] = table = Table(found[1], name)
        for field, of, rest in re.findall(r"^\s*(\w+):([\[\]\w]+) \((.*?)\);", body, re.M):
            length = re.search(r"length: (\d+)", rest)
            element = of.strip("[]")
            if of in C_TYPES:
                table.fields.append(Field(field, "scalar", of))
            elif length:
                kind = "words" if element == "uint" else "bytes"
                table.fields.append(Field(field, kind, element, int(length[1])))
            elif of == "[ubyte]":
                table.fields.append(Field(field, "blob", "ubyte"))
            elif element in tables:
                kind = "vector" if of.startswith("[") else "table"
                table.fields.append(Field(field, kind, tables[element]))
            else:
                fail(f"{path}: {name}.{field}: type '{of}' is not known")
    return tables


def needed_tables(schemas):
    """The tables of all messages, each behind those it uses, and the messages."""
    order, roots = [], []

    def visit(table):
        for field in table.fields:
            if isinstance(field.of, Table):
                visit(field.of)
        if table not in order:
            order.append(table)

    for module, name in MESSAGES:
        tables = read_schema(schemas / f"{module}.fbs")
        if name not in tables:
            fail(f"{schemas / module}.fbs: no table '{name}'")
        known = {t.record: t for t in order}
        root = tables[name]
        for table in tables.values():  # one Table object per record
            for field in table.fields:
                if isinstance(field.of, Table) and field.of.record in known:
                    field.of = known[field.of.record]
        visit(root)
        roots.append(root)
    return order, roots


def function(signature, lines):
    return "\n".join([f"inline {signature} {{"] + [f"  {line}" for line in lines] + ["}", ""])


TRAIT = "\n// The peer's type of a message's record.\ntemplate <class Record>\nstruct type_of;\n"
HEADER = "// Written by bench/make_peers.py.\n#pragma once\n\n"


def records_header(tables, roots):
    out = [HEADER + '#include "bench/filler.h"\n#include "modules/fib6/schema.h"\n'
           '#include "modules/fib6_cfg/schema.h"\n#include "modules/fib6_sync/schema.h"\n\n'
           "#include <cstdlib>\n#include <cstring>\n\nnamespace bench {\n"]
    for t in tables:
        fill, same, release = [], [], []
        ordinal = 0
        for f in t.fields:
            m = f"r.{f.name}"
            if f.kind == "scalar":
                bits = {"ubyte": 7, "ushort": 14, "uint": WORD_BITS[ordinal % len(WORD_BITS)]}[f.of]
                fill.append(f"{m} = f.scalar<{C_TYPES[f.of]}>({ordinal}, {bits});")
                same.append(f"a.{f.name} == b.{f.name}")
                ordinal += 1
            elif f.kind in ("words", "bytes"):
                fill.append(f"f.bytes({m}, {f.size()});")
                same.append(f"memcmp(a.{f.name}, b.{f.name}, {f.size()}) == 0")
            elif f.kind == "table":
                fill.append(f"fill({m}, f);")
                same.append(f"same(a.{f.name}, b.{f.name})")
                release.append(f"release({m});")
            elif f.kind == "vector":
                fill += [f"{m}_count = f.count();",
                         f"{m} = allocate<{f.of.record}>({m}_count);",
                         f"for (uint32_t i = 0; i < {m}_count; i++)",
                         f"  fill({m}[i], f);"]
                same.append(f"same(a.{f.name}, a.{f.name}_count, b.{f.name}, b.{f.name}_count)")
                release.append(f"free({m});")
            else:
                fill += [f"{m}_count = {BLOB_LENGTH};", f"{m} = allocate<uint8_t>({BLOB_LENGTH});",
                         f"f.bytes({m}, {BLOB_LENGTH});"]
                same.append(f"same_bytes(a.{f.name}, a.{f.name}_count, b.{f.name}, b.{f.name}_count)")
                release.append(f"free({m});")
        r = t.record
        out.append(function(f"void fill({r} &r, filler &f)", ["memset(&r, 0, sizeof r);"] + fill))
        out.append(function(f"bool same(const {r} &a, const {r} &b)",
                            ["return " + " && ".join(same) + ";"]))
        if any(v.of is t for u in tables for v in u.fields if v.kind == "vector"):
            out.append(function(f"bool same(const {r} *a, uint32_t count_a, const {r} *b, uint32_t count_b)",
                                ["if (count_a != count_b)", "  return false;",
                                 "for (uint32_t i = 0; i < count_a; i++)", "  if (!same(a[i], b[i]))",
                                 "    return false;", "return true;"]))
        out.append(function(f"void release([[maybe_unused]] {r} &r)", release))
    for t in roots:
        r = t.record
        vectors = [f for f in t.fields if f.kind == "vector"]
        entries = " + ".join(f"r.{f.name}_count" for f in vectors) or "1"
        arg = f"const {r} &r" if vectors else f"const {r} &"
        out.append(function(f"uint64_t entries({arg})", [f"return {entries};"]))
    out.append("} // namespace bench")
    return "\n".join(out) + "\n"


def flatbuffers_steps(tables, roots):
    out = [HEADER + '#include "fib6_cfg_generated.h"\n#include "fib6_generated.h"\n'
           '#include "fib6_sync_generated.h"\n#include "records.h"\n\n'
           "namespace bench::flatbuffers_peer {\n" + TRAIT,
           "template <class Table>\nstd::vector<flatbuffers::Offset<Table>> &reused_offsets() {\n"
           "  static std::vector<flatbuffers::Offset<Table>> offsets;\n  return offsets;\n}\n"]
    for t in tables:
        cls, r = f"{t.namespace}::{t.name}", t.record
        write, args, read, to, fro = [], [], [], [], []
        for f in t.fields:
            n, m = f.name, f"r.{f.name}"
            if f.kind == "scalar":
                args.append(m)
                read.append(f"{m} = t.{n}();")
                to.append(f"t.{n} = {m};")
                fro.append(f"{m} = t.{n};")
                continue
            args.append(n)
            if f.kind in ("words", "bytes"):
                write.append(f"const auto {n} = b.CreateVector({m}, {f.length});")
                read.append(f"if (t.{n}() == nullptr || t.{n}()->size() != {f.length})")
                read.append("  return false;")
                read.append(f"memcpy({m}, t.{n}()->data(), {f.size()});")
                to.append(f"t.{n}.assign({m}, {m} + {f.length});")
                fro += [f"if (t.{n}.size() != {f.length})", "  return false;",
                        f"memcpy({m}, t.{n}.data(), {f.size()});"]
            elif f.kind == "table":
                obj = f"{f.of.namespace}::{f.of.name}T"
                write.append(f"const auto {n} = write(b, {m});")
                read += [f"if (t.{n}() == nullptr || !read(*t.{n}(), {m}))", "  return false;"]
                to += [f"if (!t.{n})", f"  t.{n} = std::make_unique<{obj}>();", f"to_object({m}, *t.{n});"]
                fro += [f"if (!t.{n} || !from_object(*t.{n}, {m}))", "  return false;"]
            elif f.kind == "vector":
                obj = f"{f.of.namespace}::{f.of.name}"
                write += [f"auto &offsets_{n} = reused_offsets<{obj}>();",
                          f"offsets_{n}.resize({m}_count);",
                          f"for (uint32_t i = 0; i < {m}_count; i++)",
                          f"  offsets_{n}[i] = write(b, {m}[i]);",
                          f"const auto {n} = b.CreateVector(offsets_{n});"]
                read += [f"{m}_count = t.{n}() != nullptr ? t.{n}()->size() : 0;",
                         f"{m} = allocate<{f.of.record}>({m}_count);",
                         f"for (uint32_t i = 0; i < {m}_count; i++)",
                         f"  if (!read(*t.{n}()->Get(i), {m}[i]))", "    return false;"]
                to += [f"t.{n}.resize({m}_count);", f"for (uint32_t i = 0; i < {m}_count; i++) {{",
                       f"  if (!t.{n}[i])", f"    t.{n}[i] = std::make_unique<{obj}T>();",
                       f"  to_object({m}[i], *t.{n}[i]);", "}"]
                fro += [f"{m}_count = static_cast<uint32_t>(t.{n}.size());",
                        f"{m} = allocate<{f.of.record}>({m}_count);",
                        f"for (uint32_t i = 0; i < {m}_count; i++)",
                        f"  if (!from_object(*t.{n}[i], {m}[i]))", "    return false;"]
            else:
                write.append(f"const auto {n} = b.CreateVector({m}, {m}_count);")
                read += [f"{m}_count = t.{n}() != nullptr ? t.{n}()->size() : 0;",
                         f"{m} = allocate<uint8_t>({m}_count);",
                         f"if ({m}_count != 0)", f"  memcpy({m}, t.{n}()->data(), {m}_count);"]
                to.append(f"t.{n}.assign({m}, {m} + {m}_count);")
                fro += [f"{m}_count = static_cast<uint32_t>(t.{n}.size());",
                        f"{m} = allocate<uint8_t>({m}_count);",
                        f"if ({m}_count != 0)", f"  memcpy({m}, t.{n}.data(), {m}_count);"]
        write.append(f"return {t.namespace}::Create{t.name}(b, {', '.join(args)});")
        out.append(function(f"flatbuffers::Offset<{cls}> write(flatbuffers::FlatBufferBuilder &b, const {r} &r)", write))
        out.append(function(f"bool read(const {cls} &t, {r} &r)", read + ["return true;"]))
        out.append(function(f"void to_object(const {r} &r, {cls}T &t)", to))
        out.append(function(f"bool from_object(const {cls}T &t, {r} &r)", fro + ["return true;"]))
    for t in roots:
        out.append(f"template <>\nstruct type_of<{t.record}> {{\n  using type = {t.namespace}::{t.name};\n}};\n")
    out.append("} // namespace bench::flatbuffers_peer")
    return "\n".join(out) + "\n"


def proto(tables, package, fixed, nanopb=False):
    out = ["// Written by bench/make_peers.py.", 'syntax = "proto3";', f"package {package};"]
    if not nanopb:
        out.append("option cc_enable_arenas = true;")
    for t in tables:
        out.append(f"\nmessage {t.record} {{")
        number = 0

        def add(of, name):
            nonlocal number
            number += 1
            out.append(f"  {of} {name} = {number};")

        for f in t.fields:
            if f.kind == "scalar":
                add("fixed32" if fixed else "uint32", f.name)
            elif f.kind in ("words", "bytes") and fixed:
                for name in f.words64():
                    add("fixed64", name)
            elif f.kind in ("words", "bytes", "blob"):
                add("bytes", f.name)
            elif f.kind == "table":
                add(f.of.record, f.name)
            else:
                add(f"repeated {f.of.record}", f.name)
        out.append("}")
    return "\n".join(out) + "\n"


def fixed_words(f, m):
    """(name, offset, size) of each 64-bit member of a fixed array."""
    return [(name, 8 * i, min(8, f.size() - 8 * i)) for i, name in enumerate(f.words64())]


def protobuf_steps(tables, roots, package, fixed):
    out = [HEADER + f'#include "{package}.pb.h"\n#include "records.h"\n\n'
           f"namespace bench::{package}_peer {{\n" + TRAIT]
    for t in tables:
        r = t.record
        write, read = [], []
        for f in t.fields:
            n, m = f.name, f"r.{f.name}"
            if f.kind == "scalar":
                write.append(f"p->set_{n}({m});")
                read.append(f"{m} = static_cast<{C_TYPES[f.of]}>(p.{n}());")
            elif f.kind in ("words", "bytes") and fixed:
                for name, at, size in fixed_words(f, m):
                    write.append(f"p->set_{name}(load<{size}>({m}, {at}));")
                    read.append(f"store<{size}>({m}, {at}, p.{name}());")
            elif f.kind in ("words", "bytes"):
                write.append(f"p->set_{n}({m}, {f.size()});")
                read += [f"if (p.{n}().size() != {f.size()})", "  return false;",
                         f"memcpy({m}, p.{n}().data(), {f.size()});"]
            elif f.kind == "blob":
                write.append(f"p->set_{n}({m}, {m}_count);")
                read += [f"{m}_count = static_cast<uint32_t>(p.{n}().size());",
                         f"{m} = allocate<uint8_t>({m}_count);", f"if ({m}_count != 0)",
                         f"  memcpy({m}, p.{n}().data(), {m}_count);"]
            elif f.kind == "table":
                write.append(f"write({m}, p->mutable_{n}());")
                read += [f"if (!read(p.{n}(), {m}))", "  return false;"]
            else:
                write += [f"p->mutable_{n}()->Reserve(static_cast<int>({m}_count));",
                          f"for (uint32_t i = 0; i < {m}_count; i++)",
                          f"  write({m}[i], p->add_{n}());"]
                read += [f"{m}_count = static_cast<uint32_t>(p.{n}_size());",
                         f"{m} = allocate<{f.of.record}>({m}_count);",
                         f"for (uint32_t i = 0; i < {m}_count; i++)",
                         f"  if (!read(p.{n}(static_cast<int>(i)), {m}[i]))", "    return false;"]
        out.append(function(f"void write(const {r} &r, {package}::{r} *p)", write))
        out.append(function(f"bool read(const {package}::{r} &p, {r} &r)", read + ["return true;"]))
    for t in roots:
        out.append(f"template <>\nstruct type_of<{t.record}> {{\n  using type = {package}::{t.record};\n}};\n")
    out.append(f"}} // namespace bench::{package}_peer")
    return "\n".join(out) + "\n"


def capnp(tables, package, inline, file_id):
    out = ["# Written by bench/make_peers.py.", f"@{file_id};",
           'using Cxx = import "/capnp/c++.capnp";', f'$Cxx.namespace("{package}");']
    for t in tables:
        out.append(f"\nstruct {t.camel} {{")
        number = 0

        def add(name, of):
            nonlocal number
            out.append(f"  {name} @{number} :{of};")
            number += 1

        for f in t.fields:
            if f.kind == "scalar":
                add(f.name, CAPNP_TYPES[f.of])
            elif f.kind in ("words", "bytes") and inline:
                for name in f.words64():
                    add(name, "UInt64")
            elif f.kind in ("words", "bytes", "blob"):
                add(f.name, "Data")
            elif f.kind == "table":
                add(f.name, f.of.camel)
            else:
                add(f.name, f"List({f.of.camel})")
        out.append("}")
    return "\n".join(out) + "\n"


def capnp_steps(tables, roots, package, inline):
    out = [HEADER + f'#include "{package}.capnp.h"\n#include "records.h"\n\n'
           f"namespace bench::{package}_peer {{\n" + TRAIT]
    out.append("inline kj::ArrayPtr<const kj::byte> as_data(const void *from, size_t size) {\n"
               "  return kj::arrayPtr(static_cast<const kj::byte *>(from), size);\n}\n")
    for t in tables:
        r = t.record
        write, read = [], []
        for f in t.fields:
            n, m, s = f.name, f"r.{f.name}", f.setter
            if f.kind == "scalar":
                write.append(f"b.set{s}({m});")
                read.append(f"{m} = p.get{s}();")
            elif f.kind in ("words", "bytes") and inline:
                for name, at, size in fixed_words(f, m):
                    name = name[0].upper() + name[1:]
                    write.append(f"b.set{name}(load<{size}>({m}, {at}));")
                    read.append(f"store<{size}>({m}, {at}, p.get{name}());")
            elif f.kind in ("words", "bytes"):
                write.append(f"b.set{s}(as_data({m}, {f.size()}));")
                read += [f"const auto {n} = p.get{s}();", f"if ({n}.size() != {f.size()})",
                         "  return false;", f"memcpy({m}, {n}.begin(), {f.size()});"]
            elif f.kind == "blob":
                write.append(f"b.set{s}(as_data({m}, {m}_count));")
                read += [f"const auto {n} = p.get{s}();",
                         f"{m}_count = static_cast<uint32_t>({n}.size());",
                         f"{m} = allocate<uint8_t>({m}_count);", f"if ({m}_count != 0)",
                         f"  memcpy({m}, {n}.begin(), {m}_count);"]
            elif f.kind == "table":
                write.append(f"write({m}, b.init{s}());")
                read += [f"if (!read(p.get{s}(), {m}))", "  return false;"]
            else:
                write += [f"auto {n} = b.init{s}({m}_count);",
                          f"for (uint32_t i = 0; i < {m}_count; i++)", f"  write({m}[i], {n}[i]);"]
                read += [f"const auto {n} = p.get{s}();", f"{m}_count = {n}.size();",
                         f"{m} = allocate<{f.of.record}>({m}_count);",
                         f"for (uint32_t i = 0; i < {m}_count; i++)",
                         f"  if (!read({n}[i], {m}[i]))", "    return false;"]
        out.append(function(f"void write(const {r} &r, {package}::{t.camel}::Builder b)", write))
        out.append(function(f"bool read({package}::{t.camel}::Reader p, {r} &r)", read + ["return true;"]))
    for t in roots:
        out.append(f"template <>\nstruct type_of<{t.record}> {{\n  using type = {package}::{t.camel};\n}};\n")
    out.append(f"}} // namespace bench::{package}_peer")
    return "\n".join(out) + "\n"


def nanopb_options(tables, package):
    lines = []
    for t in tables:
        for f in t.fields:
            if f.kind == "blob":
                lines.append(f"{package}.{t.record}.{f.name} max_size:{NANOPB_BLOB_LIMIT}")
    return "\n".join(lines) + "\n"


def nanopb_steps(tables, roots, package):
    out = [HEADER + f'#include "{package}.pb.h"\n#include "records.h"\n\n#include <pb_decode.h>\n'
           f"#include <pb_encode.h>\n\nnamespace bench::{package}_peer {{\n" + TRAIT]
    for t in tables:
        r, own = t.record, f"{package}_{t.record}"
        write, read, prepare = [], [], []
        for f in t.fields:
            n, m = f.name, f"r.{f.name}"
            if f.kind == "scalar":
                write.append(f"p.{n} = {m};")
                read.append(f"{m} = static_cast<{C_TYPES[f.of]}>(p.{n});")
            elif f.kind in ("words", "bytes"):
                for name, at, size in fixed_words(f, m):
                    write.append(f"p.{name} = load<{size}>({m}, {at});")
                    read.append(f"store<{size}>({m}, {at}, p.{name});")
            elif f.kind == "blob":
                write += [f"p.{n}.size = static_cast<pb_size_t>({m}_count);",
                          f"memcpy(p.{n}.bytes, {m}, {m}_count);"]
                read += [f"{m}_count = p.{n}.size;", f"{m} = allocate<uint8_t>({m}_count);",
                         f"if ({m}_count != 0)", f"  memcpy({m}, p.{n}.bytes, {m}_count);"]
            elif f.kind == "table":
                write += [f"p.has_{n} = true;", f"write({m}, p.{n});"]
                read += [f"read(p.{n}, {m});"]
            else:
                e, eo = f.of.record, f"{package}_{f.of.record}"
                out.append(function(
                    f"bool encode_{r}_{n}(pb_ostream_t *stream, const pb_field_t *field, void *const *arg)",
                    [f"const auto &r = *static_cast<const {r} *>(*arg);", f"{eo} element;",
                     f"for (uint32_t i = 0; i < {m}_count; i++) {{", f"  write({m}[i], element);",
                     "  if (!pb_encode_tag_for_field(stream, field) ||",
                     f"      !pb_encode_submessage(stream, {eo}_fields, &element))", "    return false;",
                     "}", "return true;"]))
                out.append(function(
                    f"bool decode_{r}_{n}(pb_istream_t *stream, const pb_field_t *, void **arg)",
                    [f"auto &r = *static_cast<{r} *>(*arg);", f"{eo} element{{}};",
                     f"if (!pb_decode_ex(stream, {eo}_fields, &element, PB_DECODE_NOINIT))", "  return false;",
                     f"{m} = grown<{e}>({m}, {m}_count);", f"read(element, {m}[{m}_count++]);", "return true;"]))
                write += [f"p.{n}.funcs.encode = encode_{r}_{n};", f"p.{n}.arg = const_cast<{r} *>(&r);"]
                prepare += [f"{m} = nullptr;", f"{m}_count = 0;",
                            f"p.{n}.funcs.decode = decode_{r}_{n};", f"p.{n}.arg = &r;"]
        out.append(function(f"void write(const {r} &r, {own} &p)", write))
        out.append(function(f"void read(const {own} &p, {r} &r)", read))
        if t in roots:
            out.append(function(f"void prepare([[maybe_unused]] {r} &r, [[maybe_unused]] {own} &p)", prepare))
            out.append(f"template <>\nstruct type_of<{r}> {{\n  using type = {own};\n"
                       f"  static constexpr const pb_msgdesc_t *fields = {own}_fields;\n}};\n")
    out.append(f"}} // namespace bench::{package}_peer")
    return "\n".join(out) + "\n"


def main():
    if len(sys.argv) == 2 and sys.argv[1] in ("-h", "--help"):
        print(__doc__.strip())
        return
    if len(sys.argv) != 3:
        print(f"make_peers: expected 2 arguments, found {len(sys.argv) - 1}\n"
              "usage: make_peers.py SCHEMAS_DIR OUTPUT_DIR", file=sys.stderr)
        sys.exit(2)
    schemas, output = Path(sys.argv[1]), Path(sys.argv[2])
    tables, roots = needed_tables(schemas)
    output.mkdir(parents=True, exist_ok=True)
    written = {
        "records.h": records_header(tables, roots),
        "flatbuffers_steps.h": flatbuffers_steps(tables, roots),
        "pb_varint.proto": proto(tables, "pb_varint", fixed=False),
        "pb_varint_steps.h": protobuf_steps(tables, roots, "pb_varint", fixed=False),
        "pb_fixed.proto": proto(tables, "pb_fixed", fixed=True),
        "pb_fixed_steps.h": protobuf_steps(tables, roots, "pb_fixed", fixed=True),
        "cp_data.capnp": capnp(tables, "cp_data", False, "0xb0a7c1d2e3f40516"),
        "cp_data_steps.h": capnp_steps(tables, roots, "cp_data", False),
        "cp_inline.capnp": capnp(tables, "cp_inline", True, "0xb0a7c1d2e3f40517"),
        "cp_inline_steps.h": capnp_steps(tables, roots, "cp_inline", True),
        "np_fixed.proto": proto(tables, "np_fixed", fixed=True, nanopb=True),
        "np_fixed.options": nanopb_options(tables, "np_fixed"),
        "np_fixed_steps.h": nanopb_steps(tables, roots, "np_fixed"),
    }
    for name, text in written.items():
        (output / name).write_text(text, encoding="utf-8")


main()
