"""docs/log-messages.md has the log lines of the library's sources, with their categories, and no other.

Room: tests. Reads sources and the document; runs nothing. What each line is when it comes is
log_messages_test.cpp's affair.

usage: log_lines_test.py [CASE]
"""

import collections
import pathlib
import re
import sys
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
DOCUMENT = "docs/log-messages.md"
LIBRARY = ("include", "platform", "runtime", "wire", "transport", "modules")
# Where the one function is that writes lines, and where the platform's name for that may stand.
WRITER = "runtime/unit.h"
NAMERS = ("platform/osal.h", "runtime/unit.cpp")
HEAD = "| line | category | level | filed under | harmless? |"

# The arguments of write_log() by their places.
CATEGORY, FORMAT = 1, 4

Line = collections.namedtuple("Line", "text category level")


def library_sources():
    """The library's files by their paths."""
    return {str(path.relative_to(SOURCE)): path.read_text(encoding="utf-8")
            for room in LIBRARY for path in sorted((SOURCE / room).rglob("*"))
            if path.suffix in (".h", ".hpp", ".c", ".cpp")}


def without_comments(text):
    """Code alone; lines keep their numbers."""
    token = re.compile(r'"(?:\\.|[^"\\\n])*"|//[^\n]*|/\*.*?\*/', re.S)
    return token.sub(lambda found: found[0] if found[0][0] == '"' else "\n" * found[0].count("\n"), text)


def arguments_of(code, at):
    """What stands between the parenthesis at `at` and its other half, cut at the commas between."""
    token = re.compile(r'"(?:\\.|[^"\\\n])*"|.', re.S)
    arguments, depth = [""], 0
    for found in token.finditer(code, at):
        word = found[0]
        if word in ("(", "[", "{"):
            depth += 1
        elif word in (")", "]", "}"):
            depth -= 1
            if depth == 0:
                break
        if word == "," and depth == 1:
            arguments.append("")
        elif depth > 1 or word != "(":
            arguments[-1] += word
    return [argument.strip() for argument in arguments]


def text_of(literals):
    """The text of string literals in a row; None when it is something else."""
    if not re.fullmatch(r'("(\\.|[^"\\])*"\s*)+', literals):
        return None
    return "".join(re.findall(r'"((?:\\.|[^"\\])*)"', literals))


def number_named(code, pattern, what):
    found = re.findall(pattern, code)
    if len(found) != 1:
        sys.exit(f"log_lines_test: {WRITER}: expected one {what}, found {len(found)}")
    return int(found[0])


def lines_of(sources):
    """The lines that the sources write, and what is wrong with how they do."""
    writer = without_comments(sources[WRITER])
    categories = {name: int(number) for name, number in re.findall(
        r"(\w+) = (\d+)", "".join(re.findall(r"enum class log_category[^{]*{([^}]*)}", writer)))}
    level = number_named(writer, r"constexpr uint32_t level = (\d+);", "level")
    lines, wrong = set(), []
    for path, text in sources.items():
        code = without_comments(text)
        unnamed = re.findall(r"\blog_write\b", code) if not path.startswith("runtime/") else []
        if unnamed:
            wrong.append(f"{path}: writes a log line other than by write_log()")
        if "VRX_OsalLogWrite" in code and path not in NAMERS:
            wrong.append(f"{path}: names VRX_OsalLogWrite")
        for found in re.finditer(r"(void\s+)?\bwrite_log\s*(?=\()", code):
            if found[1]: # its definition
                continue
            place = f"{path}:{code.count(chr(10), 0, found.start()) + 1}"
            arguments = arguments_of(code, found.end())
            format_text = text_of(arguments[FORMAT]) if len(arguments) > FORMAT else None
            category = categories.get(arguments[CATEGORY].rpartition("::")[2]) if len(arguments) > CATEGORY else None
            if format_text is None or category is None:
                wrong.append(f"{place}: a line whose category or format cannot be read here; "
                             "expected log_category::NAME and a text in quotes")
                continue
            if len(arguments) - FORMAT - 1 != len(re.findall(r"%\w", format_text)):
                wrong.append(f"{place}: {format_text}: {len(arguments) - FORMAT - 1} arguments")
            lines.add(Line(format_text, category, level))
    if len(re.findall(r"\blog_write\s*\(", writer)) != 1:
        wrong.append(f"{WRITER}: expected one call of log_write")
    return lines, wrong


def rows_of(document, head):
    """The cells of the rows of a table."""
    rows = document.partition(f"\n{head}\n")[2].partition("\n\n")[0].split("\n")[1:]
    return [[cell.strip() for cell in row.strip("|").split("|")] for row in rows]


def documented_lines(document):
    return {Line(cells[0].strip("`"), int(cells[1]), int(cells[2])) for cells in rows_of(document, HEAD)}


def arguments_told(document):
    """The conversions in the table of arguments of each line's section."""
    sections = re.split(r"^### `(.*)`$", document, flags=re.M)
    return {line: re.findall(r"^\| (\d+) \| `(%\w)` \| \S", text.partition("\n**")[0], re.M)
            for line, text in zip(sections[1::2], sections[2::2])}


def complaints(sources, document):
    written, wrong = lines_of(sources)
    told = documented_lines(document)
    wrong += [f"{DOCUMENT} lacks {line}" for line in sorted(written - told)]
    wrong += [f"{DOCUMENT} has {line}, which no source writes" for line in sorted(told - written)]
    sections = arguments_told(document)
    for line in sorted(told):
        expected = [(str(i + 1), each) for i, each in enumerate(re.findall(r"%\w", line.text))]
        if sections.get(line.text) != expected:
            wrong.append(f"{DOCUMENT}: the arguments of {line.text}: expected {expected}, found "
                         f"{sections.get(line.text)}")
    wrong += [f"{DOCUMENT}: a section about {text}, which is in no table"
              for text in sections if text not in {line.text for line in told}]
    return wrong


class LogLines(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.sources = library_sources()
        self.document = (SOURCE / DOCUMENT).read_text(encoding="utf-8")

    def change(self, path, old, new):
        """Changes a text of this case, not the file."""
        text = self.document if path == DOCUMENT else self.sources[path]
        self.assertIn(old, text)
        text = text.replace(old, new, 1)
        if path == DOCUMENT:
            self.document = text
        else:
            self.sources[path] = text

    def noticed(self, *words):
        """That there is one complaint, with these words in it."""
        found = complaints(self.sources, self.document)
        self.assertEqual(len(found), 1, found)
        for word in words:
            self.assertIn(word, found[0])

    def test_TheDocumentHasTheLinesOfTheSourcesAndTheirArguments(self):
        self.assertEqual(complaints(self.sources, self.document), [])

    def test_EachLineIsWrittenInOnePlace(self):
        calls = sum(len(re.findall(r"runtime::write_log\(", text)) for text in self.sources.values())
        lines, _ = lines_of(self.sources)
        self.assertGreater(calls, 0)
        self.assertEqual(calls, len(lines))

    def test_ALineMoreInTheSourcesIsNoticed(self):
        self.change("transport/send.cpp", "  if (size == 0)\n", """  if (size == 0)
    runtime::write_log(message.unit, runtime::log_category::validation, __LINE__, "a, (name",
                       "[VARKO]:Not" " sent(%u)", size); // "),
  if (size == 0)
""")
        self.noticed("lacks", "[VARKO]:Not sent(%u)", "category=22", "level=2")

    def test_ALineMoreInTheDocumentIsNoticed(self):
        self.change(DOCUMENT, "\n| `[VARKO]:Malloc", "\n| `[VARKO]:Invented` | 22 | 2 | `x` | no |\n| `[VARKO]:Malloc")
        self.change(DOCUMENT, "### A message", "### `[VARKO]:Invented`\n\n### A message")
        self.noticed("has Line(text='[VARKO]:Invented'")

    def test_AnotherFormatIsNoticed(self):
        self.change("wire/general/reader.cpp", "unsuccess, size(%u)", "unsuccess, size %u")
        found = complaints(self.sources, self.document)
        self.assertEqual(len(found), 2, found)
        self.assertIn("lacks Line(text='[VARKO]:Malloc unpack data unsuccess, size %u'", found[0])
        self.assertIn("which no source writes", found[1])

    def test_AnotherCategoryIsNoticed(self):
        self.change(WRITER, "allocation = 12", "allocation = 13")
        self.assertEqual(len(complaints(self.sources, self.document)), 2)

    def test_AnotherLevelIsNoticed(self):
        self.change(WRITER, "level = 2", "level = 3")
        self.assertEqual(len(complaints(self.sources, self.document)), 2 * len(documented_lines(self.document)))

    def test_AnArgumentThatIsNotToldIsNoticed(self):
        self.change(DOCUMENT, "| 2 | `%d` |", "| 2 | `%u` |")
        self.noticed("the arguments of [VARKO]:Param invalid(%s, %d, %s)")

    def test_AFormatThatCannotBeReadIsNoticed(self):
        self.change("wire/general/reader.cpp", '"[VARKO]:Malloc unpack data unsuccess, size(%u)"', "some_format")
        found = complaints(self.sources, self.document)
        self.assertRegex(found[0], r"^wire/general/reader\.cpp:\d+: a line whose category or format")

    def test_AnArgumentTooManyIsNoticed(self):
        self.change("wire/general/reader.cpp", "size(%u)\", size);", "size(%u)\", size, size);")
        self.noticed("unsuccess, size(%u): 2 arguments")

    def test_AWayAroundTheOneFunctionIsNoticed(self):
        self.change("transport/send.cpp", "  if (size == 0)\n", "  if (unit.runtime.log_write != nullptr)\n")
        self.noticed("transport/send.cpp: writes a log line other than by write_log()")

    def test_ACallOfThePlatformsFunctionIsNoticed(self):
        self.change("transport/send.cpp", "  if (size == 0)\n", "  VRX_OsalLogWrite(nullptr);\n")
        self.noticed("transport/send.cpp: names VRX_OsalLogWrite")


if __name__ == "__main__":
    if sys.argv[1:]:
        sys.argv[1:] = [f"LogLines.test_{case}" for case in sys.argv[1:]]
    unittest.main()
