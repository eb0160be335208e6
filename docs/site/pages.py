"""Adds pages to the site of docs/: README.md as the first page, CHANGELOG.md, CONTRIBUTING.md, and all source files that
pages link to."""
import pathlib
import posixpath
import re

from mkdocs.exceptions import PluginError
from mkdocs.structure.files import File

ROOT = pathlib.Path(__file__).resolve().parents[2]
# The page of the site for each path in the repository.
PAGES = {"README.md": "index.md", "CHANGELOG.md": "changelog.md", "CONTRIBUTING.md": "contributing.md"}
LANGUAGES = {".c": "c", ".cpp": "cpp", ".cs": "csharp", ".h": "cpp", ".hpp": "cpp", ".py": "python"}
LINK = re.compile(r"(?<=]\()(?![a-z]+:|#)([^)#\s]+)(?=[)#])")


def place(path):
    """Returns the page of the site for a file of the repository."""
    if path in PAGES:
        return PAGES[path]
    return path.removeprefix("docs/") if path.startswith("docs/") else f"source/{path}.md"


def links(text, page):
    """Returns the files of the repository that the file `page` links to."""
    return [posixpath.normpath(posixpath.join(posixpath.dirname(page), link)) for link in LINK.findall(text)]


def relink(text, page):
    def replace(link):
        target, = links(f"]({link[0]})", page)
        return posixpath.relpath(place(target), posixpath.dirname(place(page)))
    return LINK.sub(replace, text)


def source_page(path):
    source = ROOT / path
    if source.suffix not in LANGUAGES or not source.is_file():
        raise PluginError(f"a page links to {path}: there is no such file, or its suffix is not in LANGUAGES")
    # The search leaves it out: otherwise it would find the source as well as the page that explains it.
    return (f"---\nsearch: {{exclude: true}}\n---\n# {path}\n\n"
            f"``````{LANGUAGES[source.suffix]}\n{source.read_text(encoding='utf-8')}``````\n")


def on_config(config):
    """Leaves out the error page: its links only work if the site is at the top of a server."""
    config.theme.static_templates.discard("404.html")


def on_files(files, config):
    texts = {f"docs/{file.src_uri}": file.content_string for file in files.documentation_pages()}
    texts |= {path: (ROOT / path).read_text(encoding="utf-8") for path in PAGES}
    for path, page in PAGES.items():
        files.append(File.generated(config, page, content=texts[path]))
    targets = {place(target): target for page, text in texts.items() for target in links(text, page)}
    for page, path in targets.items():
        if page.startswith("source/"):
            files.append(File.generated(config, page, content=source_page(path)))
    return files


def on_page_markdown(markdown, page, **_):
    uri = page.file.src_uri
    path = {there: here for here, there in PAGES.items()}.get(uri, f"docs/{uri}")
    return markdown if uri.startswith(("source/", "cpp/")) else relink(markdown, path)
