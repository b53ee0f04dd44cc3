# The site, to Sphinx: scripts/docs puts pages and symbols together and says where they are.
#
# Room: documents.
import os
import pathlib

from pygments.lexers.special import TextLexer
from sphinx.errors import ExtensionError

project = "mesh_fib6"
copyright = ""
version = release = os.environ["MESH_FIB6_VERSION"]
extensions = ["myst_parser", "breathe"]
exclude_patterns = []
nitpicky = False

# Documents are written for GitHub's headings and for links between files.
myst_heading_anchors = 4
suppress_warnings = ["myst.header"]

breathe_projects = {"mesh_fib6": os.environ["MESH_FIB6_SYMBOLS"]}
breathe_default_project = "mesh_fib6"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
breathe_show_include = False
c_id_attributes = ["MESH_FIB6_API"]

html_theme = "furo"
html_title = f"mesh_fib6 {version}"
html_static_path = ["_static"]
html_css_files = ["site.css"]
html_extra_path = ["_extra"]
html_copy_source = False
html_show_copyright = False
html_show_sphinx = False
# What surrounds a word in a page is read by a request, which a page from a file must not make.
html_show_search_summary = False
html_last_updated_fmt = None
html_theme_options = {
    # Colours that stand out by 4.5 at least, on either ground.
    "light_css_variables": {"color-brand-primary": "#0b57a4", "color-brand-content": "#0b57a4"},
    # Debian 12's package of the theme has lost those of the dark ground when its styles were compiled.
    "dark_css_variables": {
        "color-brand-primary": "#8ab8f0",
        "color-brand-content": "#8ab8f0",
        "color-problematic": "#f47067",
        "color-foreground-primary": "#d6d8da",
        "color-foreground-secondary": "#a8acb1",
        "color-foreground-muted": "#9a9fa5",
        "color-foreground-border": "#666666",
        "color-background-primary": "#131416",
        "color-background-secondary": "#1a1c1e",
        "color-background-hover": "#1e2124",
        "color-background-hover--transparent": "#1e212400",
        "color-background-border": "#303335",
        "color-background-item": "#444444",
        "color-highlight-on-target": "#333300",
        "color-highlighted-background": "#083563",
    },
}
pygments_style = "default"
pygments_dark_style = "github-dark"


def complete_theme(app, error):
    """Mends what Debian 12's package of the theme leaves to a web server: styles are where that would have them, and
    the script is a module, which a browser does not take from a file."""
    if error:
        return
    static = pathlib.Path(app.outdir, "_static")
    styles, script, part = static / "styles/furo.css", static / "scripts/furo.js", static / "scripts/gumshoe-patched.js"
    normal = "/javascript/normalize.css/normalize.css"
    for path, wrong, right in (
            (styles, f"@import url({normal});", pathlib.Path("/usr/share" + normal).read_text(encoding="utf-8")),
            (script, 'import Gumshoe from "./gumshoe-patched.js";', part.read_text(encoding="utf-8"))):
        text = path.read_text(encoding="utf-8")
        if wrong not in text:
            raise ExtensionError(f"{path.name}: expected '{wrong}': the theme is not the one of Debian 12")
        path.write_text(text.replace(wrong, right), encoding="utf-8")
    part.unlink()


def setup(app):
    app.add_lexer("golden", TextLexer)
    app.connect("build-finished", complete_theme)
