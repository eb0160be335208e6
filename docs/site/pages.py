"""What the site has besides the pages in docs/: README.md as its first page, CHANGELOG.md, CONTRIBUTING.md, each source
file that a page links to, and the reference of the headers, which Doxygen has written before."""
import pathlib
import posixpath
import re

from mkdocs.exceptions import PluginError
from mkdocs.structure.files import File

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEADERS = ROOT / "build/doxygen/html"
# By path in the repository: the page of the site.
PAGES = {"README.md": "index.md", "CHANGELOG.md": "changelog.md", "CONTRIBUTING.md": "contributing.md"}
LANGUAGES = {".c": "c", ".cpp": "cpp", ".h": "cpp", ".hpp": "cpp", ".py": "python"}
LINK = re.compile(r"(?<=]\()(?![a-z]+:|#)([^)#\s]+)(?=[)#])")


def place(path):
    """Where the site has a file of the repository."""
    if path in PAGES:
        return PAGES[path]
    return path.removeprefix("docs/") if path.startswith("docs/") else f"source/{path}.md"


def links(text, page):
    """The files of the repository that its file `page` links to."""
    return [posixpath.normpath(posixpath.join(posixpath.dirname(page), link)) for link in LINK.findall(text)]


def relink(text, page):
    def replace(link):
        target, = links(f"]({link[0]})", page)
        return posixpath.relpath(place(target), posixpath.dirname(place(page)))
    return LINK.sub(replace, text)


def source_page(path):
    source = ROOT / path
    if source.suffix not in LANGUAGES or not source.is_file():
        raise PluginError(f"a page links to {path}: that is no file, or of a kind that docs/site/pages.py has no language for")
    # Its words are no use in a search: each would be found beside the page that explains it.
    return (f"---\nsearch: {{exclude: true}}\n---\n# {path}\n\n"
            f"``````{LANGUAGES[source.suffix]}\n{source.read_text(encoding='utf-8')}``````\n")


def on_config(config):
    """Its links would be from the top of a server, and nobody knows where the site will stand on one."""
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
    for file in HEADERS.rglob("*"):
        if file.is_file():
            page = f"reference/cpp/{file.relative_to(HEADERS).as_posix()}"
            files.append(File.generated(config, page, abs_src_path=str(file)))
    return files


def on_page_markdown(markdown, page, **_):
    uri = page.file.src_uri
    path = {there: here for here, there in PAGES.items()}.get(uri, f"docs/{uri}")
    return markdown if uri.startswith("source/") else relink(markdown, path)
