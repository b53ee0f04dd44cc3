"""The site of scripts/docs in a browser, from files: links, search, keys, narrow screens, light and dark.

Room: tests.

usage: site_test.py SITE [--shots FOLDER] [CASE...]
  SITE            the folder that scripts/docs has made
  --shots FOLDER  only leaves pictures of some pages there, to be looked at
"""

import functools
import html.parser
import pathlib
import sys
import unittest
import urllib.parse

from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

sys.dont_write_bytecode = True
SITE = pathlib.Path(sys.argv[1]).resolve()
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tools"))
from browser import CONTRAST, BrowserTest  # noqa: E402

# What documents name outside: nobody is asked, so each is read by whoever adds it.
OUTSIDE = {"www.ietf.org", "github.com", "flatbuffers.dev", "protobuf.dev", "capnproto.org", "jpa.kapsi.fi",
           "keepachangelog.com"}
# One page of each kind: prose, wide tables, code, symbols, a source, what a search finds.
KINDS = ("index.html", "README.html", "docs/tasks/send.html", "docs/performance.html", "docs/wire-format.html",
         "api/fib6.html", "api/cpp.html", "api/operations.html", "examples/README.html",
         "source/examples/own_host.c.html", "search.html?q=ipv6FwdUpdateMsg")


class Page(html.parser.HTMLParser):
    """The anchors of a page, and where its links and what it loads lead to."""

    def __init__(self, text):
        super().__init__()
        self.anchors, self.links = set(), []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name") and value:
                self.anchors.add(value)
            elif name in ("href", "src") and value is not None:
                self.links.append((tag, value))


@functools.cache
def pages():
    """{path: Page}"""
    return {path: Page(path.read_text(encoding="utf-8")) for path in sorted(SITE.rglob("*.html"))}


def dead_links(page, text):
    """What leads nowhere of the links of a page."""
    dead = []
    for tag, link in text.links:
        parts = urllib.parse.urlsplit(link)
        if parts.scheme in ("http", "https") and tag == "a" and parts.hostname in OUTSIDE:
            continue
        if parts.scheme == "data":
            continue
        target = page if not parts.path else (page.parent / urllib.parse.unquote(parts.path)).resolve()
        if parts.scheme or parts.netloc or not target.is_file():
            dead.append(link)
        elif parts.fragment and target.suffix == ".html":
            known = pages()[target].anchors if target in pages() else text.anchors
            if urllib.parse.unquote(parts.fragment) not in known:
                dead.append(link)
    return dead


class Site(BrowserTest):
    def visit(self, page):
        path, _, query = page.partition("?")
        self.browser.get((SITE / path).as_uri() + ("?" + query if query else ""))

    # Links.

    def test_NoLinkIsDeadAndNoneOutsideIsUnknown(self):
        self.assertGreater(len(pages()), 60)
        self.assertGreater(sum(len(page.links) for page in pages().values()), 3000)
        self.assertEqual({str(path.relative_to(SITE)): dead for path, page in pages().items()
                          if (dead := dead_links(path, page))}, {})

    def test_ADeadLinkIsSeen(self):
        for link in ("no-such.html", "index.html#no-such", "#no-such", "https://example.org/", "/index.html"):
            self.assertEqual(dead_links(SITE / "index.html", Page(f"<a href='{link}'>x</a>")), [link])
        self.assertEqual(dead_links(SITE / "index.html", Page("<script src='https://github.com/x.js'></script>")),
                         ["https://github.com/x.js"])

    def test_NothingTellsWhereItWasMade(self):
        root = str(pathlib.Path(__file__).resolve().parent.parent.parent)
        for path in SITE.rglob("*"):
            if path.is_file():
                for word in (root, "/tmp/docs."):
                    self.assertNotIn(word.encode(), path.read_bytes(), path)

    # Each page.

    def test_NoPageComplainsOrIsWiderThanANarrowScreen(self):
        wide = {}
        for width in (360, 1400):
            self.resize(width, 800)
            for path in pages():
                if path.name == "messages.html" and path.parent == SITE:
                    continue  # has tests of its own
                self.browser.get(path.as_uri())
                over = self.run_script("return document.documentElement.scrollWidth - innerWidth")
                self.assertEqual(self.complaints(), [], path)
                if over > 0:
                    wide[f"{path.relative_to(SITE)} at {width}"] = over
        self.assertEqual(wide, {})

    def test_WantsNothingFromElsewhere(self):
        for page in KINDS:
            self.visit(page)
            for name in self.run_script("return performance.getEntriesByType('resource').map(each => each.name)"):
                self.assertTrue(name.startswith(SITE.as_uri()) or name.startswith("data:"), name)

    # Search.

    def results(self, query):
        """[(title, address)] of what is found."""
        self.visit(f"search.html?q={urllib.parse.quote(query)}")
        WebDriverWait(self.browser, 30).until(lambda _: self.run_script(
            "const at = document.querySelector('#search-results .search-summary');"
            "return at !== null && /finished|did not match/.test(at.textContent)"))
        return [tuple(each) for each in self.run_script(
            "return [...document.querySelectorAll('#search-results ul.search li a')]"
            ".map(each => [each.textContent, each.href])")]

    def test_SearchFindsSymbolsAndWords(self):
        found = self.results("ipv6FwdUpdateMsg")
        names = [title for title, _ in found]
        for operation in ("__pack", "__unpack", "_free__unpacked", "__sendsingle", "__sendbatch", "__sendmsg",
                          "__sendtomsg"):
            self.assertTrue(any(f"feiBrokerFib6_ipv6FwdUpdateMsg{operation}" in name for name in names), operation)
        title, address = next(each for each in found if "feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg" in each[0])
        self.browser.get(address)
        self.assertIn("feiBrokerFib6_ipv6FwdUpdateMsg__sendmsg", self.run_script(
            "return document.getElementById(decodeURIComponent(location.hash.slice(1))).textContent"), title)
        for query, page in (("amplification", "docs/security.html"), ("mesh_host_poll", "api/mesh_host.html"),
                            ("wireshark dissector", "docs/tool.html"), ("refused", "docs/tasks/refused.html")):
            self.assertTrue(any(f"/{page}" in address for _, address in self.results(query)), query)
        self.assertEqual(self.results("zyzzogeton"), [])

    # Keys.

    def test_KeysReachTheSearchTheNavigationAndThePageAndShowWhereTheyAre(self):
        self.visit("index.html")
        reached, unseen = [], []
        for _ in range(80):
            self.press(Keys.TAB)
            kind, outline = self.run_script("""
                const at = document.activeElement, style = getComputedStyle(at);
                const kind = at.matches(".sidebar-search") ? "search" : at.closest(".sidebar-tree") ? "navigation"
                  : at.closest("article") ? "page" : at.matches(".theme-toggle") ? "theme" : "other";
                return [kind, at === document.body || (style.outlineStyle !== "none" && parseFloat(style.outlineWidth) > 0)
                  || style.boxShadow !== "none" || at.getClientRects().length === 0];""")
            reached.append(kind)
            if not outline:
                unseen.append(self.run_script("return document.activeElement.outerHTML.slice(0, 200)"))
        self.assertEqual(unseen, [])
        self.assertLessEqual({"search", "navigation", "page"}, set(reached))
        self.visit("index.html")
        while self.run_script("return !document.activeElement.matches('.sidebar-search')"):
            self.press(Keys.TAB)
        self.press("mesh_host_poll", Keys.ENTER)
        WebDriverWait(self.browser, 30).until(lambda browser: "search.html" in browser.current_url)
        WebDriverWait(self.browser, 30).until(lambda _: self.run_script(
            "return document.querySelectorAll('#search-results li a').length > 0"))

    def test_ANarrowScreenOpensTheNavigationByAButton(self):
        self.resize(360, 740)
        self.visit("docs/tasks/send.html")
        inside = ("const box = document.querySelector('.sidebar-drawer').getBoundingClientRect();"
                  "return box.right > 10 && box.left >= 0")
        self.assertFalse(self.run_script(inside))
        self.find(".nav-overlay-icon").click()
        WebDriverWait(self.browser, 10).until(lambda _: self.run_script(inside))
        self.assertTrue(self.find(".sidebar-search").is_displayed())

    # Colours.

    def test_TextStandsOutInLightAndDark(self):
        for scheme in ("light", "dark"):
            self.prefer(scheme)
            for page in KINDS:
                self.visit(page)
                weak = self.run_script(CONTRAST + """
                  const weak = new Map(), texts = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
                  let seen = 0;
                  while (texts.nextNode()) {
                    const element = texts.currentNode.parentElement, style = getComputedStyle(element);
                    if (!texts.currentNode.data.trim() || !element.checkVisibility({checkOpacity: true, checkVisibilityCSS: true})
                        || element.closest("svg, script, style, noscript, .headerlink, .visually-hidden")) continue;
                    seen++;
                    const behind = ground(element), [r, g, b, a] = colour(style.color);
                    const shown = [r, g, b].map((each, i) => each * a / 255 + behind[i] * (1 - a / 255));
                    const found = contrast(shown, behind), large = parseFloat(style.fontSize) >= 24;
                    if (found < (large ? 3 : 4.5))
                      weak.set(`${element.tagName}.${element.className} ${style.color}`,
                               [found, texts.currentNode.data.trim().slice(0, 40)]);
                  }
                  return [seen, [...weak]];""")
                self.assertGreater(weak[0], 20, page)
                with self.subTest(page=page, scheme=scheme):
                    self.assertEqual(weak[1], [])


def take_shots(folder):
    """Leaves pictures of pages of each kind."""
    class Shots(Site):
        def test_Shots(self):
            for scheme in ("light", "dark"):
                self.prefer(scheme)
                for width, height in ((1400, 900), (360, 740)):
                    self.resize(width, height)
                    for page in KINDS:
                        self.visit(page)
                        name = page.partition("?")[0].replace("/", "-").removesuffix(".html")
                        self.browser.save_screenshot(str(folder / f"{name}-{scheme}-{width}.png"))
    folder.mkdir(parents=True, exist_ok=True)
    return unittest.TextTestRunner().run(Shots("test_Shots")).wasSuccessful()


if __name__ == "__main__":
    if sys.argv[2:3] == ["--shots"]:
        sys.exit(0 if take_shots(pathlib.Path(sys.argv[3])) else 1)
    unittest.main(argv=[sys.argv[0], *[f"Site.test_{case}" for case in sys.argv[2:]]])
