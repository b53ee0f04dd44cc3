"""A public header as Doxygen is to read it.

Room: documents. The headers have plain comments; which of them documents what follows from where they stand:
the first is the file's, one before a declaration is the declaration's, one behind it on its line too. What a
macro declares is written out, and members that have nothing but a slot are given that as their words.

usage: doxygen_filter.py HEADER
"""
import pathlib
import re
import sys

OPERATION = re.compile(r"(?:uint32_t|void) (M_(\w+)\(.*\))$")


def contract(text):
    """What message_api.h says of the operations: {operation: (prototype, [line])}, by its comment."""
    found, lines = {}, None
    comment = text[text.index("/* Declares the operations of message type M."):]
    for line in comment[:comment.index("*/")].splitlines():
        line = re.sub(r"^ \* ?|^/\* ", "", line).rstrip()
        if row := OPERATION.match(line):
            lines = []
            found["M_" + row[2]] = (line, lines)
        elif lines is not None and not line.startswith(" ") and line:
            sys.exit(f"message_api.h: '{line}': expected the operations of M with what they do, indented")
        elif lines is not None:
            lines.append(line[2:])
    return found


def first_sentence(lines):
    return re.match(r".*?\.(?= |$)", " ".join(" ".join(lines).split()))[0]


def declared(message, api):
    """The operations of a message, as MESH_FIB6_MESSAGE declares them, each with what it does in brief."""
    said = contract(api)
    body = api[api.index("#define MESH_FIB6_MESSAGE(M)"):].replace("\\\n", " ")
    body = body[:body.index("\n")].split(")", 1)[1].replace("MESH_FIB6_API", "")
    parts = []
    for prototype in body.split(";"):
        prototype = " ".join(prototype.replace("M##", "M").split())
        operation = re.search(r"\bM_\w+", prototype)[0]
        brief = first_sentence(said[operation][1])
        parts.append(re.sub(r"(?<!\w)M(?=\b|_)", message, f"/** {escaped(brief)} */ {prototype};"))
    return " ".join(parts)


def escaped(text):
    """The words of a comment, in which nothing but `code` means anything to Doxygen."""
    parts = re.split(r"(`[^`\n]*`)", text)
    return "".join(part if i % 2 else re.sub(r"([<>#@\\%*])", r"\\\1", part) for i, part in enumerate(parts))


def words(comment):
    """What a comment says, without its marks, as Doxygen has it: code that is indented is code."""
    if comment.startswith("/*"):
        lines = re.sub(r"^ ?\* ?", "", comment[2:-2].strip(), flags=re.M).split("\n")
    else:
        lines = [re.sub(r"^ *// ?", "", line) for line in comment.strip().split("\n")]
    made, code = [], False
    for line in lines:
        if line.startswith("    ") != code:
            code = not code
            made.append("@code" if code else "@endcode")
        made.append(line if code else escaped(re.sub(r"^Room: [^.]*\. *", "", line)))
    return "\n".join(made + ["@endcode"] * code)


def marked(mark, comment):
    return f"/**{mark} {words(comment)} */"


def filtered(text, api):
    # What follows of the operations has a page of its own.
    text = re.sub(r"(/\* Declares the operations of message type M\.[^*]*?at any time\.)(?:(?!\*/).|\n)*", r"\1 ", text)
    # A macro that is taken back is a means of the header's.
    for macro in re.findall(r"^#undef (\w+)", text, re.M):
        text = re.sub(rf"^#define {macro}\b(?:.*\\\n)*.*\n", "", text, flags=re.M)
        text = re.sub(rf"^#undef {macro}\n", "", text, flags=re.M)
    text = re.sub(r"^MESH_FIB6_EACH_MESSAGE\(.*\)\n", "", text, flags=re.M)
    text = re.sub(r"^MESH_FIB6_MESSAGE\((\w+)\);", lambda row: declared(row[1], api), text, flags=re.M)
    text = re.sub(r"^#define ((\w+)_ID UINT32_C.*)", r"/** The identifier under which \2 travels. */\n#define \1",
                  text, flags=re.M)
    text = re.sub(r"^#define MESH_FIB6_EACH_(?:OF_(\w+)|MESSAGE)\(X\)",
                  lambda row: f"/** X of each message{' of ' + row[1].lower() if row[1] else ''}. */\n{row[0]}", text,
                  flags=re.M)
    # Several members in a line share what is said of them.
    text = re.sub(r"^  (uint\d+_t) (\w+(?:, \w+)+);((?:[ \t]*/\*(?:[^*]|\*(?!/))*\*/)?)$",
                  lambda row: "\n".join(f"  {row[1]} {name};{row[3]}" for name in row[2].split(", ")), text,
                  flags=re.M)
    # One name of a record is enough.
    text = re.sub(r"^typedef (struct (\w+) \{\n(?:(?!^\}).*\n)*\}) \2;", r"\1;", text, flags=re.M)
    text = re.sub(r"^template <.*>\n\w+\(.*\) -> .*;\n", "", text, flags=re.M)
    # Members f<k>, as nothing but their slot is to be said of them here.
    text = re.sub(r"^(  [\w ]+\*?\bf(\d+)_count;)$", r"\1 /**< Slot \2: how many there are at f\2. */", text,
                  flags=re.M)
    text = re.sub(r"^(  [\w ]+\*f(\d+);)$", r"\1 /**< Slot \2: an array. */", text, flags=re.M)
    text = re.sub(r"^(  \w+ f(\d+)(?:\[\d+\])?;)$", r"\1 /**< Slot \2. */", text, flags=re.M)
    # Comments: behind something, the first, before something.
    text = re.sub(r"(?<=\S)([ \t]+)/\*(?!\*)((?:[^*]|\*(?!/))*)\*/[ \t]*$",
                  lambda row: row[1] + marked("<", "/*" + row[2] + "*/"), text, flags=re.M)
    text = re.sub(r"(?<=[;,{}])([ \t]+)(//[^\n]*)$", lambda row: row[1] + marked("<", row[2]), text, flags=re.M)
    text = re.sub(r"\A(/\*(?:[^*]|\*(?!/))*\*/|(?://.*\n)+)", lambda row: marked(" @file\n\n", row[1]) + "\n", text)
    text = re.sub(r"^([ \t]*)(/\*(?!\*)(?:[^*]|\*(?!/))*\*/)(?=[ \t]*\n[ \t]*\S)",
                  lambda row: row[1] + marked("", row[2]), text, flags=re.M)
    return re.sub(r"((?:^[ \t]*//.*\n)+)(?=[ \t]*\S)", lambda row: marked("", row[1]) + "\n", text, flags=re.M)


def main(arguments):
    if arguments in (["-h"], ["--help"]):
        print(__doc__.strip())
        return 0
    if len(arguments) != 1:
        print("usage: doxygen_filter.py HEADER", file=sys.stderr)
        return 2
    header = pathlib.Path(arguments[0])
    root = pathlib.Path(__file__).resolve().parent.parent.parent
    api = (root / "include/mesh_fib6/message_api.h").read_text(encoding="utf-8")
    sys.stdout.write(filtered(header.read_text(encoding="utf-8"), api))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
