"""Pages of messages (`mesh-fib6 explain --html`) in a browser: pointing, keys, both layouts, light and dark.

Room: tests.

usage: page_test.py SETTINGS_JSON CASE
"""

import json
import random
import re
import sys
import time

from selenium.webdriver.common.keys import Keys

sys.dont_write_bytecode = True
from browser import CONTRAST, BrowserTest, main  # noqa: E402

ROUTES, STATE = "fib6.ipv6FwdUpdateMsg", "fib6.pidStateMsg"
# Worked out in docs/wire-format.md: f0 = 7, and one route.
ROUTE = bytes.fromhex(
    "0c000000 0800 1400 0400 0800 08000000 07000000 04000000 01000000 24000000"
    "2000 2300 0000 0400 0000 0b00 0800 0000 0900 0000 0000 0000 0000 0000 0000 0000 20000000"
    "04030201 20 0605 04000000 04000000 20010db8 00000000 00000000 00000000")
# f0 = 1, f1 = {f0 = 2, f1 = 3, f2 = 4} in both layouts.
COMPACT_STATE = bytes.fromhex(
    "0c000000 0800 0c00 0400 0800 08000000 01000000 0e000000 0a00 1000 0400 0800 0c00 0a000000"
    "02000000 03000000 04000000")
FIXED_STATE = bytes.fromhex(
    "04000000 d8ffffff 01000000 04000000 f0ffffff 02000000 03000000 04000000 0a00 1000 0400 0800 0c00 0000"
    "0800 2800 0400 0800 00000000")

# What the tests ask of a page. An item of the tree goes by its path, as `root f1 [0] f3`.
HELPERS = """
const nameOf = item => item.firstChild.firstChild.textContent;
const pathOf = item => {
  const names = [];
  for (let at = item; at; at = at.parentElement.closest("[role=treeitem]")) names.unshift(nameOf(at));
  return names.join(" ");
};
const items = () => [...document.querySelectorAll("[role=treeitem]")];
"""


def changed(message, at, data):
    return message[:at] + data + message[at + len(data):]


def span(first, last):
    """Bytes first to last, both included."""
    return list(range(first, last + 1))


class Page(BrowserTest):
    helpers = BrowserTest.helpers + HELPERS

    def encoded(self, message, record):
        return self.tool("encode", message, given=json.dumps(record).encode())

    def page_of(self, message, data):
        return self.tool("explain", message, "--html", "--input", "binary", given=data, statuses=(0, 1))

    def show(self, message, data):
        """Opens the page of a message; its text."""
        return self.open(self.page_of(message, data))

    # What there is to see.

    def lit(self, which=0):
        return self.run_script(
            "return [...document.querySelectorAll(`#map-${arguments[0]} .lit`)].map(each => +each.dataset.at)", which)

    def lit_item(self):
        found = self.run_script("return [...document.querySelectorAll('.lit-label')].map(pathOf)")
        self.assertLessEqual(len(found), 1)
        return found[0] if found else None

    def focused_item(self):
        return self.run_script("const at = document.activeElement;"
                               "return at.getAttribute('role') === 'treeitem' ? pathOf(at) : at.id || at.tagName")

    def shown_items(self):
        return self.run_script("return items().filter(each => each.getClientRects().length).map(pathOf)")

    def detail(self):
        return self.find("#detail").text

    def standings(self, *classes):
        """{class: the bytes of it}"""
        return {each: self.run_script("return [...document.querySelectorAll('#map-0 .' + arguments[0])]"
                                      ".map(each => +each.dataset.at)", each) for each in classes}

    # What there is to do.

    def byte(self, at, which=0):
        return self.find(f"#map-{which} [data-at='{at}']")

    def item(self, path):
        return self.run_script("return items().find(each => pathOf(each) === arguments[0])", path)

    def label(self, path):
        return self.run_script("return items().find(each => pathOf(each) === arguments[0]).firstChild", path)

    # One file.

    def test_WantsNothingFromElsewhere(self):
        page = self.show(ROUTES, ROUTE)
        self.assertNotRegex(page, r"(?i)\bhref\s*=")
        self.assert_wants_nothing_from_elsewhere(page)
        self.assertEqual(self.browser.title, "feiBrokerFib6_ipv6FwdUpdateMsg, 99 bytes")
        self.assertEqual(self.find("h1").text, "feiBrokerFib6_ipv6FwdUpdateMsg, 99 bytes")
        self.assertEqual(self.find("#verdict").text, "The library takes it.")
        self.assertEqual(self.complaints(), [])
        # What fails or reaches out would be in the log.
        self.run_script("setTimeout(() => { throw Error('on purpose'); });"
                        "new Image().src = 'http://example.invalid/x';")
        log = []
        for _ in range(100):
            log += self.complaints()
            if len(log) >= 2:
                break
            time.sleep(0.05)
        self.assertRegex(" ".join(log), "on purpose")
        self.assertRegex(" ".join(log), "ERR_PROXY_CONNECTION_FAILED")

    def test_NoTextOfAMessageBreaksOutOfThePage(self):
        text = b"</script><script>window.broken=1</script><img src=x onerror=window.broken=1>&lt;\"'<!--"
        message = next(row["message"] for row in json.loads(self.tool("list", "--json"))
                       if b"uint8_t[]" in self.tool("describe", row["message"]))
        member = re.search(r"^f0\.(f\d+) +uint8_t\[\]", self.tool("describe", message).decode(), re.M)[1]
        data = self.encoded(message, {"f0": {member: text.hex()}})
        self.assertIn(text, data)
        for which, given in ((message, data), (ROUTES, text), (ROUTES, ROUTE + text)):
            page = self.show(which, given)
            _, _, held = page.partition('<script type="application/json" id="data">')
            held, _, _ = held.partition('</script>\n<script>\n"use strict"')
            self.assertNotIn("<", held)
            self.assertEqual(bytes.fromhex(json.loads(held)["maps"][0]["hex"]), given)
            self.assertEqual(self.run_script("return [document.scripts.length, document.images.length, "
                                             "typeof broken, document.querySelectorAll('.b').length]"),
                             [2, 0, "undefined", len(given)])

    # Pointing.

    def test_AByteLightsItsPartAndItsMemberAndSaysWhatItIs(self):
        self.show(ROUTES, ROUTE)
        for at, first, last, member, what in (
                (2, 0, 3, "root", "bytes 0 to 3: root offset 12"),
                (6, 6, 7, "root", "bytes 6 to 7: table size 20"),
                (17, 16, 19, "root f0", "bytes 16 to 19: f0 = 7"),
                (27, 24, 27, "root f1", "bytes 24 to 27: f1 count 1"),
                (28, 28, 31, "root f1 [0]", "bytes 28 to 31: uoffset 36: f1[0] at 64"),
                (43, 42, 43, "root f1 [0]", "bytes 42 to 43: slot 3 at table + 11"),
                (71, 68, 71, "root f1 [0] f1", "bytes 68 to 71: f1[0].f1 = 0x01020304"),
                (72, 72, 72, "root f1 [0] f4", "byte 72: f1[0].f4 = 32"),
                (90, 83, 98, "root f1 [0] f3", "bytes 83 to 98: f1[0].f3 = B80D0120 0 0 0")):
            self.hover(self.byte(at))
            self.assertEqual((self.lit(), self.lit_item(), self.detail()), (span(first, last), member, what))
        # Of what is shut in, that which it is shut in.
        self.label("root f1").click()
        self.assertEqual(self.shown_items(), ["root", "root f0", "root f1"])
        self.hover(self.byte(72))
        self.assertEqual((self.lit(), self.lit_item()), ([72], "root f1"))

    def test_AMemberLightsItsBytes(self):
        self.show(ROUTES, ROUTE)
        for path, bytes_of_it, what in (
                ("root f0", span(16, 19), "f0 = 7, uint32_t: scalar at 16"),
                ("root f1", span(20, 27), "f1 = 1 element, feiBrokerFib6_ipv6Fwd[]: uoffset at 20, count at 24"),
                ("root f1 [0]", span(28, 67), "f1[0], feiBrokerFib6_ipv6Fwd: uoffset at 28, soffset at 64, "
                 "vtable-size at 32, table-size at 34, entry at 36 and 13 more"),
                ("root f1 [0] f3", span(75, 98), "f1[0].f3 = B80D0120 0 0 0 (2001:db8::), uint32_t[4]: "
                 "uoffset at 75, count at 79, items at 83"),
                ("root f1 [0] f6", [73, 74], "f1[0].f6 = 0x0506, uint16_t: scalar at 73"),
                ("root", span(0, 15), "root, feiBrokerFib6_ipv6FwdUpdateMsg: root-offset at 0, soffset at 12, "
                 "vtable-size at 4, table-size at 6, entry at 8 and 1 more")):
            self.hover(self.label(path))
            self.assertEqual((self.lit(), self.lit_item(), self.detail()), (bytes_of_it, path, what))

    # Keys.

    def test_ArrowKeysWalkTheBytesAndTheTreeFollows(self):
        self.show(ROUTES, ROUTE)
        self.label("root f1").click()  # shut
        grid = self.find("#map-0")
        grid.send_keys("")
        for key, first, last, member in (
                (Keys.HOME, 0, 3, "root"),
                (Keys.ARROW_LEFT, 0, 3, "root"),
                (Keys.ARROW_RIGHT, 4, 5, "root"),
                (Keys.ARROW_RIGHT, 6, 7, "root"),
                (Keys.ARROW_LEFT, 4, 5, "root"),
                (Keys.ARROW_UP, 4, 5, "root"),  # there is no row above
                (Keys.ARROW_DOWN, 20, 23, "root f1"),
                (Keys.ARROW_DOWN, 36, 37, "root f1 [0]"),
                (Keys.ARROW_DOWN, 52, 53, "root f1 [0]"),
                (Keys.ARROW_DOWN, 68, 71, "root f1 [0] f1"),
                (Keys.ARROW_RIGHT, 72, 72, "root f1 [0] f4"),
                (Keys.ARROW_UP, 56, 57, "root f1 [0]"),
                (Keys.END, 83, 98, "root f1 [0] f3"),
                (Keys.ARROW_RIGHT, 83, 98, "root f1 [0] f3"),
                (Keys.ARROW_DOWN, 83, 98, "root f1 [0] f3"),
                (Keys.ARROW_LEFT, 79, 82, "root f1 [0] f3"),
                (Keys.HOME, 0, 3, "root")):
            self.press(key)
            self.assertEqual((self.lit(), self.lit_item()), (span(first, last), member), key)
            self.assertIn(member, self.shown_items(), "the tree opens what is shut")
            at = self.run_script("return document.getElementById(arguments[0]).dataset.at",
                                 grid.get_attribute("aria-activedescendant"))
            self.assertIn(int(at), self.lit())
        self.assertIn("bytes 0 to 3: root offset 12", self.detail())

    def test_ArrowKeysWalkTheTreeAndTheBytesFollow(self):
        self.show(ROUTES, ROUTE)
        self.browser.execute_script("arguments[0].focus()", self.item("root"))
        opened = ["root", "root f0", "root f1", "root f1 [0]", "root f1 [0] f1", "root f1 [0] f3", "root f1 [0] f4",
                  "root f1 [0] f6"]
        self.assertEqual(self.shown_items(), opened)
        for key, path, bytes_of_it in (
                (Keys.ARROW_DOWN, "root f0", span(16, 19)),
                (Keys.ARROW_DOWN, "root f1", span(20, 27)),
                (Keys.ARROW_LEFT, "root f1", span(20, 27)),  # shuts it
                (Keys.ARROW_DOWN, "root f1", span(20, 27)),  # the last that is shown
                (Keys.ARROW_RIGHT, "root f1", span(20, 27)),  # opens it
                (Keys.ARROW_RIGHT, "root f1 [0]", span(28, 67)),
                (Keys.ARROW_RIGHT, "root f1 [0] f1", span(68, 71)),
                (Keys.ARROW_RIGHT, "root f1 [0] f1", span(68, 71)),  # has nothing to open
                (Keys.ARROW_DOWN, "root f1 [0] f3", span(75, 98)),
                (Keys.ARROW_LEFT, "root f1 [0]", span(28, 67)),
                (Keys.END, "root f1 [0] f6", [73, 74]),
                (Keys.ARROW_UP, "root f1 [0] f4", [72]),
                (Keys.HOME, "root", span(0, 15)),
                (Keys.ARROW_UP, "root", span(0, 15))):
            self.press(key)
            self.assertEqual((self.focused_item(), self.lit_item(), self.lit()), (path, path, bytes_of_it), key)
        self.press(Keys.ARROW_LEFT)
        self.assertEqual(self.shown_items(), ["root"])
        self.assertEqual(self.item("root").get_attribute("aria-expanded"), "false")
        self.press(Keys.ARROW_RIGHT)
        self.assertEqual(self.shown_items(), opened)
        self.assertEqual(self.item("root").get_attribute("aria-expanded"), "true")

    def test_TheTabKeyReachesEverything(self):
        def walk(count):
            for _ in range(count):
                self.press(Keys.TAB)
                outline = self.run_script("const style = getComputedStyle(document.activeElement);"
                                          "return style.outlineStyle + ' ' + style.outlineWidth")
                yield self.focused_item(), outline
        self.show(ROUTES, ROUTE)
        self.assertEqual(list(walk(3)), [(each, "solid 2px") for each in ("theme", "map-0", "root")])
        self.assertEqual(self.lit_item(), "root")
        # The tree is entered where the bytes led to.
        self.byte(72).click()
        self.assertEqual(self.lit(), [72])
        self.press(Keys.TAB)
        self.assertEqual((self.focused_item(), self.lit()), ("root f1 [0] f4", [72]))
        # And the bytes where it has led to.
        self.press(Keys.ARROW_UP)
        self.assertEqual((self.focused_item(), self.lit()), ("root f1 [0] f3", span(75, 98)))
        self.press_with_shift(Keys.TAB)
        self.assertEqual((self.focused_item(), self.lit()), ("map-0", span(75, 78)))
        self.show(STATE, COMPACT_STATE)
        self.assertEqual([each for each, _ in walk(1)], ["both"])
        self.press(Keys.SPACE)
        self.assertEqual([each for each, _ in walk(4)], ["theme", "map-0", "map-1", "root"])
        for each in ("map-1", "map-0", "theme", "both"):
            self.press_with_shift(Keys.TAB)
            self.assertEqual(self.focused_item(), each)

    # What is wrong.

    def blamed_items(self):
        return self.run_script("return items().filter(each => each.hasAttribute('aria-invalid')).map(pathOf)")

    def assert_opens_at(self, first, last, member, verdict):
        self.assertEqual(self.find("#verdict").text, "The library refuses it: " + verdict)
        self.assertEqual(self.standings("wrong")["wrong"], span(first, last))
        self.assertEqual(self.blamed_items(), [member])
        self.assertIn(" ✗", self.label(member).text)
        self.assertTrue(self.run_script("return isInSight(arguments[0])", self.byte(first)))
        self.assertTrue(self.run_script("return isInSight(arguments[0])", self.label(member)))
        self.assertEqual(self.lit(), span(first, last))
        self.assertTrue(self.detail().endswith(" ✗ " + verdict), self.detail())
        self.assertTrue(self.find("#refused").is_displayed(), "the legend names the mark")

    def test_ARefusalIsMarkedAtItsBytesAndInTheRecordAndThePageOpensThere(self):
        self.show(ROUTES, changed(ROUTE, 75, b"\xff\xff\xff\x7f"))
        self.assert_opens_at(75, 78, "root f1 [0] f3",
                             "f1[0].f3: uoffset at byte 75: expected a count at most at 95, found one at 2147483722")
        self.assertEqual(self.lit_item(), "root f1 [0] f3")
        self.assertEqual(self.standings("unreached")["unreached"], span(72, 74) + span(79, 98))
        self.hover(self.byte(79))
        self.assertEqual(self.detail(), "bytes 79 to 98: not reached")
        # The bytes are the table's, what cannot be read is a member.
        self.show(ROUTES, changed(ROUTE, 42, b"\xff\xff"))
        self.assert_opens_at(42, 43, "root f1 [0] f3",
                             "f1[0].f3: entry at byte 42: expected 4 bytes at most at 95, found 4 bytes at 65599")
        # Far below.
        many = self.encoded(ROUTES, {"f1": [{"f1": each + 1} for each in range(600)]})
        last = 28 + 4 * 599 - 4  # the word that leads to the last
        self.show(ROUTES, changed(many, last, b"\xff\xff\xff\xff"))
        self.assert_opens_at(last, last + 3, "root f1 [599]",
                             f"f1[599]: uoffset at byte {last}: expected an offset of at most "
                             f"{len(many) - last - 4}, found one of 4294967295")
        # The last vtable's fourth slot, of f3: 32 bytes of vtable are followed by 32 of the table and its array.
        at = len(many) - 64 + 10
        self.assertEqual(many[at - 10:at + 2], bytes.fromhex("2000 2000 0000 0400 0000 0800"))
        self.show(ROUTES, changed(many, at, b"\xff\xff"))
        self.assert_opens_at(at, at + 1, "root f1 [599] f3",
                             f"f1[599].f3: entry at byte {at}: expected 4 bytes at most at {len(many) - 4}, "
                             f"found 4 bytes at {len(many) - 32 + 65535}")
        # A good message has no such mark.
        self.show(ROUTES, ROUTE)
        self.assertFalse(self.find("#refused").is_displayed())
        self.assertEqual((self.standings("wrong")["wrong"], self.lit()), ([], []))

    def test_BytesThatNothingOrMoreThanOneThingLeadsToAreMarked(self):
        self.show(ROUTES, ROUTE + b"\1\2\3")
        self.assertEqual(self.standings("unreferenced", "overlapping", "shared"),
                         {"unreferenced": [99, 100, 101], "overlapping": [], "shared": []})
        self.hover(self.byte(100))
        self.assertEqual((self.lit(), self.lit_item(), self.detail()),
                         (span(99, 101), None, "bytes 99 to 101: nothing leads here"))
        # f0 is said to be at 12 + 6 = 18: two of its bytes are also the offset's at 20.
        self.show(ROUTES, changed(ROUTE, 8, b"\6\0"))
        self.assertEqual(self.standings("unreferenced", "overlapping", "shared"),
                         {"unreferenced": [16, 17], "overlapping": [20, 21], "shared": []})
        self.hover(self.byte(21))
        self.assertEqual(self.lit(), [20, 21])
        self.assertEqual(self.detail(), "bytes 20 to 21: f0 = 0x00040000; also uoffset 4: f1 at 24 (overlapping)")
        # The second route, at 135, is led to the vtable of the first, at 36, instead of its own, at 103.
        two = self.encoded(ROUTES, {"f0": 7, "f1": [{"f1": 0x01020304, "f3": [1, 0, 0, 0], "f4": 32, "f6": 1286}] * 2})
        self.assertEqual((len(two), two[135:139], two[36:68]), (170, b"\x20\0\0\0", two[103:135]))
        self.show(ROUTES, changed(two, 135, (135 - 36).to_bytes(4, "little")))
        self.assertEqual(self.find("#verdict").text, "The library takes it.")
        self.assertEqual(self.standings("unreferenced", "overlapping", "shared"),
                         {"unreferenced": span(103, 134), "overlapping": [], "shared": span(36, 67)})
        self.hover(self.byte(36))
        self.assertEqual(self.detail(), "bytes 36 to 37: f1[0] vtable size 32: 14 slots; also f1[1] vtable size 32: "
                                        "14 slots (shared)")

    def test_TinyAndRandomBytesGiveAPageThatWorks(self):
        numbers = random.Random(6)
        given = [b"", b"\1", b"\1\2", b"\1\2\3", bytes(4), b"\4\0\0\0", bytes(64)]
        given += [numbers.randbytes(numbers.randrange(4, 200)) for _ in range(6)]
        for _ in range(20):
            given.append(changed(ROUTE, numbers.randrange(len(ROUTE)), numbers.randbytes(1))[:len(ROUTE)])
        for number, data in enumerate(given):
            for message in (ROUTES, STATE) if number < 8 else (ROUTES,):
                self.show(message, data)
                title = f"{self.find('h1').text.split(',')[0]}, {len(data)} bytes"
                self.assertEqual(self.find("h1").text, title)
                # Every byte and every member is pointed at, and every key is pressed in every place.
                silent = self.run_script("""
                  const silent = [], detail = document.getElementById("detail");
                  const point = element => {
                    detail.textContent = "";
                    element.dispatchEvent(new MouseEvent("mousemove", {bubbles: true}));
                    if (detail.textContent === "") silent.push(element.textContent);
                  };
                  const press = element => {
                    for (const key of ["End", "ArrowRight", "ArrowDown", "Home", "ArrowLeft", "ArrowUp", "ArrowRight",
                      "ArrowDown", "ArrowLeft", "Enter"])
                      element.dispatchEvent(new KeyboardEvent("keydown", {key, bubbles: true, cancelable: true}));
                  };
                  document.querySelectorAll(".b").forEach(point);
                  items().forEach(item => point(item.firstChild));
                  document.querySelectorAll("[role=grid]:not([hidden])").forEach(press);
                  items().forEach(press);
                  return silent;""")
                self.assertEqual(silent, [], data.hex())
                self.assertEqual(self.run_script("return document.querySelectorAll('#map-0 .b').length"), len(data))
                self.assertEqual(self.complaints(), [], data.hex())
        self.show(ROUTES, b"")
        self.assertEqual(self.find("#verdict").text, "The library refuses it: root: length at byte 0: "
                         "expected at least 4 bytes, found 0 bytes")
        sections = [each.text for each in self.browser.find_elements("css selector", "section:not([hidden])")]
        self.assertEqual(sections, ["Bytes\nThere are none.", "Record\nToo few bytes to hold a record."])
        self.press(Keys.TAB, Keys.TAB, Keys.ARROW_RIGHT, Keys.ARROW_LEFT)
        self.show(ROUTES, b"\1\2\3")
        self.assertEqual((self.standings("wrong")["wrong"], self.lit()), ([0, 1, 2], [0, 1, 2]))

    # Both layouts.

    def test_ShowsBothLayoutsOfAFlatRecordOnRequest(self):
        self.show(ROUTES, ROUTE)
        self.assertFalse(self.find("#both").is_displayed(), "what has vectors has one layout")
        # (the compact one's bytes, the fixed one's, the member)
        alike = (((0, 3), (0, 3), "root"), ((12, 15), (4, 7), "root"), ((4, 5), (44, 45), "root"),
                 ((8, 9), (48, 49), "root"), ((10, 11), (50, 51), "root"), ((16, 19), (8, 11), "root f0"),
                 ((20, 23), (12, 15), "root f1"), ((34, 37), (16, 19), "root f1"), ((24, 25), (32, 33), "root f1"),
                 ((26, 27), (34, 35), "root f1"), ((28, 29), (36, 37), "root f1"), ((30, 31), (38, 39), "root f1"),
                 ((32, 33), (40, 41), "root f1"), ((38, 41), (20, 23), "root f1 f0"),
                 ((42, 45), (24, 27), "root f1 f1"), ((46, 49), (28, 31), "root f1 f2"))
        for data, first, names in ((COMPACT_STATE, 0, ["Bytes: compact", "Bytes: fixed"]),
                                   (FIXED_STATE, 1, ["Bytes: fixed", "Bytes: compact"])):
            self.show(STATE, data)
            button, second = self.find("#both"), self.find("#second")
            self.assertEqual((button.get_attribute("aria-pressed"), second.is_displayed()), ("false", False))
            button.click()
            self.assertEqual((button.get_attribute("aria-pressed"), second.is_displayed()), ("true", True))
            self.assertEqual([self.find(f"#bytes-{each}").text for each in (0, 1)], names)
            left, right = (self.find(f"#map-{each}").rect for each in (0, 1))
            self.assertEqual(left["y"], right["y"])
            self.assertGreaterEqual(right["x"], left["x"] + left["width"])
            for each in alike:
                for pointed in (0, 1):
                    self.hover(self.byte(each[pointed ^ first][0], pointed))
                    self.assertEqual((self.lit(0), self.lit(1), self.lit_item()),
                                     (span(*each[first]), span(*each[1 - first]), each[2]))
            self.hover(self.label("root f1"))
            of_member = [span(20, 37), span(12, 19) + span(32, 41)]
            self.assertEqual((self.lit(0), self.lit(1)), (of_member[first], of_member[1 - first]))
            # Padding is of one layout alone.
            fixed = 0 if data == FIXED_STATE else 1
            self.hover(self.byte(52, fixed))
            self.assertEqual((self.lit(fixed), self.lit(1 - fixed)), (span(52, 55), []))
            self.assertEqual(self.detail(), "bytes 52 to 55: tail up to 56, the next multiple of 8")
            self.find("#map-1").send_keys(Keys.END, Keys.ARROW_LEFT, Keys.HOME)
            self.assertEqual((self.lit(0), self.lit(1)), (span(0, 3), span(0, 3)))
            button.click()
            self.assertEqual((button.get_attribute("aria-pressed"), second.is_displayed()), ("false", False))

    # For all eyes, and for none.

    # [what, contrast of its text] of everything, [what, contrast of the mark] of what is refused.
    CONTRASTS = CONTRAST + """
      const row = document.querySelector(".row"), texts = [], marks = [], grounds = {};
      const measure = (what, element) =>
        texts.push([what, contrast(colour(getComputedStyle(element).color), ground(element))]);
      for (const kind of ["offset", "vtable", "value", "count", "unreferenced", "unreached", "overlapping",
                          "value shared"])
        for (const state of ["", " lit", " wrong", " wrong lit"]) {
          const cell = document.createElement("span");
          cell.className = "b " + kind + state;
          row.append(cell);
          measure(cell.className, cell);
          if (state === "" || state === " lit") grounds[kind + state] = ground(cell).join();
          if (state.includes("wrong")) {
            const shadow = getComputedStyle(cell).boxShadow.match(/^[a-z]+\\([^)]*\\)/)[0];
            marks.push([cell.className, contrast(colour(shadow), ground(cell))]);
          }
          cell.remove();
        }
      for (const item of items())
        for (const state of ["", "lit-label", "wrong-label", "wrong-label lit-label"]) {
          const before = item.className;
          item.className = state;
          measure(pathOf(item) + " " + state, item.firstChild);
          measure(pathOf(item) + " type " + state, item.querySelector(".type"));
          item.className = before;
        }
      document.querySelectorAll("h1, h2, .at, .legend span, #verdict, #detail, button")
        .forEach(each => measure(each.className + each.textContent, each));
      return {texts, marks, grounds, page: luminance(ground(document.body))};
    """

    def assert_legible(self, theme):
        found = self.run_script(self.CONTRASTS)
        self.assertGreater(len(found["texts"]), 60)
        self.assertEqual([each for each in found["texts"] if each[1] < 4.5], [], theme)
        self.assertEqual(len(found["marks"]), 16)
        self.assertEqual([each for each in found["marks"] if each[1] < 3], [], theme)
        # Kinds have colours of their own, and so has what is lit.
        kinds = [found["grounds"][each]
                 for each in ("offset", "vtable", "value", "count", "unreferenced", "overlapping", "value lit")]
        self.assertEqual(len(set(kinds)), len(kinds), theme)
        self.assertTrue(found["page"] > 0.8 if theme == "light" else found["page"] < 0.05, (theme, found["page"]))

    def test_TextIsLegibleInLightAndInDark(self):
        spoiled = changed(ROUTE, 75, b"\xff\xff\xff\x7f")
        for theme, other in (("light", "dark"), ("dark", "light")):
            self.prefer(theme)
            for data in (ROUTE, spoiled):
                self.show(ROUTES, data)
                self.assert_legible(theme)
            # The button is stronger than the preference.
            self.find("#theme").click()
            self.assert_legible(other)
            self.prefer(other)
            self.assert_legible(other)
            self.find("#theme").click()
            self.assert_legible(theme)

    def test_AssistiveTechnologyFindsAGridAndATree(self):
        self.show(ROUTES, changed(ROUTE, 42, b"\xff\xff"))
        self.find("#map-0").send_keys(Keys.HOME)
        nodes = self.browser.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
        by_id = {node["nodeId"]: node for node in nodes}

        def role(node):
            return node["role"]["value"]

        def name(node):
            return " ".join(node.get("name", {}).get("value", "").split())

        def properties(node):
            return {each["name"]: each["value"].get("value") for each in node.get("properties", [])}

        def of_role(wanted):
            return [node for node in nodes if not node["ignored"] and role(node) == wanted]

        def parent(node):
            """The nearest that means something."""
            at = by_id[node["parentId"]]
            while at["ignored"] or role(at) in ("generic", "none"):
                at = by_id[at["parentId"]]
            return at

        self.assertEqual([name(each) for each in of_role("grid")], ["Bytes of the message"])
        (grid,) = of_role("grid")
        self.assertTrue(properties(grid)["focusable"])
        rows, cells = of_role("row"), of_role("gridcell")
        self.assertEqual((len(rows), len(cells)), (7, 99))
        self.assertEqual({role(parent(each)) for each in rows}, {"rowgroup"})
        self.assertEqual({role(parent(each)) for each in of_role("rowgroup")}, {"grid"})
        self.assertEqual({role(parent(each)) for each in cells}, {"row"})
        self.assertEqual([name(each) for each in of_role("rowheader")], [str(16 * each) for each in range(7)])
        self.assertEqual("".join(name(each) for each in cells), changed(ROUTE, 42, b"\xff\xff").hex())
        active = next(each["value"] for each in grid["properties"] if each["name"] == "activedescendant")
        self.assertEqual([each["idref"] for each in active["relatedNodes"]], ["byte-0-0"])
        self.assertEqual([name(each) for each in of_role("tree")], ["Record"])
        items = of_role("treeitem")
        self.assertEqual([(name(each), properties(each)["level"], properties(each).get("expanded"))
                          for each in sorted(items, key=lambda node: nodes.index(node))], [
            ("root feiBrokerFib6_ipv6FwdUpdateMsg", 1, True),
            ("f0 = 7 uint32_t", 2, None),
            ("f1 = 1 element feiBrokerFib6_ipv6Fwd[]", 2, True),
            ("[0] feiBrokerFib6_ipv6Fwd", 3, True),
            ("f1 = 0x01020304 uint32_t", 4, None),
            ("f3 uint32_t[4] ✗", 4, None)])
        self.assertEqual(self.run_script("return items().map(each => each.getAttribute('aria-level'))"), list("122344"))
        self.assertEqual([name(each) for each in items if properties(each).get("invalid") == "true"],
                         ["f3 uint32_t[4] ✗"])
        self.assertEqual(sorted(role(parent(each)) for each in items), ["group"] * 5 + ["tree"])
        self.assertEqual({role(parent(each)) for each in of_role("group")}, {"treeitem"})
        self.assertEqual([name(each) for each in of_role("button")], ["Light or dark"])
        self.assertEqual([name(each) for each in of_role("region")], ["Bytes", "Record"])
        (status,) = of_role("status")
        self.assertEqual(properties(status)["live"], "polite")

    # Large and narrow.

    def test_OfAMessageOf64KibibytesAnswersInTime(self):
        routes = [{"f1": 16909060 + each, "f3": [3087860000, each, 0, 0], "f4": 32, "f6": 1286} for each in range(923)]
        data = self.encoded(ROUTES, {"f0": 7, "f1": routes})
        self.assertEqual(len(data), 28 + 71 * 923)
        self.assertGreater(len(data), 65536)
        path = self.folder / "large.html"
        path.write_bytes(self.page_of(ROUTES, data))
        start = time.monotonic()
        self.browser.get(path.as_uri())
        self.assertEqual(self.run_script("return document.querySelectorAll('.b').length"), len(data))
        loaded = time.monotonic()
        self.hover(self.byte(17))
        self.assertEqual((self.lit(), self.detail()), (span(16, 19), "bytes 16 to 19: f0 = 7"))
        hovered = time.monotonic()
        # The end is the address of the last route, the tree opens all of them for it.
        self.find("#map-0").send_keys(Keys.END)
        last = len(data) - 16
        self.assertEqual((self.lit(), self.lit_item()), (span(last, len(data) - 1), "root f1 [922] f3"))
        self.assertTrue(self.run_script("return isInSight(arguments[0])", self.byte(len(data) - 1)))
        self.assertTrue(self.run_script("return isInSight(arguments[0])", self.label("root f1 [922] f3")))
        for _ in range(49):  # a mouse that rests where the bytes scroll by is no pointing
            self.press(Keys.ARROW_UP)
        self.assertIn(len(data) - 1 - 49 * 16, self.lit())
        pressed = time.monotonic()
        self.press(Keys.TAB, Keys.HOME)
        for _ in range(48):
            self.press(Keys.ARROW_DOWN)
        self.assertEqual(self.focused_item(), "root f1 [45]")  # root, f0, f1 and 46 routes
        self.press_with_shift(Keys.TAB)
        self.assertEqual(self.focused_item(), "map-0")
        self.press(Keys.TAB)
        self.assertEqual(self.focused_item(), "root f1 [45]")
        walked = time.monotonic()
        print(f"\n{len(data)} bytes: loaded in {loaded - start:.2f} s, a byte pointed at in {hovered - loaded:.2f} s, "
              f"50 keys in the bytes in {pressed - hovered:.2f} s, in the record in {walked - pressed:.2f} s")
        self.assertLess(walked - start, 20)

    def assert_everything_fits(self, panes):
        """Nothing lies upon anything else, or beside the window; what a pane does not show it can be scrolled to."""
        page = self.run_script("""
          const edges = at => [at.left, at.top, at.right, at.bottom];
          const all = selector => [...document.querySelectorAll(selector)];
          // A heading goes around the buttons: its lines, not its box.
          const linesOf = element => {
            const range = document.createRange();
            range.selectNodeContents(element);
            return [...range.getClientRects()].map(edges);
          };
          const root = document.documentElement;
          return {wide: root.scrollWidth - innerWidth, high: root.scrollHeight - innerHeight, width: innerWidth,
            height: innerHeight, frame: all("header, main, footer").map(each => edges(each.getBoundingClientRect())),
            panes: all("section:not([hidden])").map(each => edges(each.getBoundingClientRect())),
            small: [...all("nav button:not([hidden]), .legend span:not([hidden])")
                      .map(each => edges(each.getBoundingClientRect())),
                    ...all("h1, #verdict").flatMap(linesOf)]};""")
        self.assertLessEqual((page["wide"], page["high"]), (0, 0), "the page does not scroll, its panes do")
        header, main, footer = page["frame"]
        self.assertLessEqual(header[3], main[1] + 0.5)
        self.assertLessEqual(main[3], footer[1] + 0.5)
        self.assertLessEqual(footer[3], page["height"] + 0.5)

        def apart(one, other):
            return one[2] <= other[0] + 0.5 or other[2] <= one[0] + 0.5 or one[3] <= other[1] + 0.5 or \
                other[3] <= one[1] + 0.5
        self.assertEqual(len(page["panes"]), panes)
        for boxes in (page["panes"], page["small"]):
            for number, one in enumerate(boxes):
                self.assertGreaterEqual(one[0], -0.5)
                self.assertLessEqual(one[2], page["width"] + 0.5)
                for other in boxes[:number]:
                    self.assertTrue(apart(one, other), (one, other))
        for pane in page["panes"]:
            self.assertGreater(pane[3] - pane[1], 100)
            self.assertGreater(pane[2] - pane[0], 250)
        # Of every row and every item the end can be brought into sight.
        for selector in (".row > :last-child", ".row > :first-child", "[role=treeitem] > .label"):
            hidden = self.run_script("""
              return [...document.querySelectorAll("section:not([hidden]) " + arguments[0])].filter(each => {
                each.scrollIntoView({block: "nearest", behavior: "instant"});
                return !isInSight(each);
              }).map(each => each.textContent);""", selector)
            self.assertEqual(hidden, [], selector)

    def test_ANarrowWindowHasEverythingToo(self):
        spoiled = changed(ROUTE, 75, b"\xff\xff\xff\x7f")
        for width, height in ((400, 800), (360, 640), (640, 700), (1000, 700), (1300, 700)):
            self.resize(width, height)
            for message, data in ((ROUTES, ROUTE), (ROUTES, spoiled), (STATE, COMPACT_STATE)):
                with self.subTest(width=width, message=message, verdict=data == spoiled):
                    self.show(message, data)
                    self.assert_everything_fits(2)
                    if message == STATE:
                        self.find("#both").click()
                        self.assert_everything_fits(3)
                    # A row is seen whole at 400 pixels.
                    beside = self.run_script("""
                      const pane = document.querySelector("section");
                      return pane.scrollWidth - pane.clientWidth""")
                    if width != 360:
                        self.assertLessEqual(beside, 0)
        # The line of details does not move what is pointed at.
        self.resize(400, 800)
        self.show(ROUTES, ROUTE)
        before = self.find("footer").rect
        self.hover(self.label("root f1 [0]"))
        self.assertIn("and 13 more", self.detail())
        self.assertEqual(self.find("footer").rect, before)


if __name__ == "__main__":
    main(Page)
