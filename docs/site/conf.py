# The site, to Sphinx: scripts/docs puts pages and symbols together and says where they are.
#
# Room: documents.
import os

from pygments.lexers.special import TextLexer

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
    "dark_css_variables": {"color-brand-primary": "#8ab8f0", "color-brand-content": "#8ab8f0"},
}
pygments_style = "friendly"
pygments_dark_style = "monokai"


def setup(app):
    app.add_lexer("golden", TextLexer)
