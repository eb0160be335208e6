#!/usr/bin/env python3
"""Checks the site with Chromium: links lead to files, pages load nothing from other sites, the search works, code has
colours, and pages fit the width of a telephone.

site_test.py SITE: SITE is the folder that `./dev docs` built.
"""
import html
import html.parser
import pathlib
import subprocess
import sys
import tempfile
import urllib.parse

TIMEOUT_S = 120
FETCHING = {"script": "src", "img": "src", "iframe": "src", "link": "href"}


class Page(html.parser.HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.links, self.fetched, self.names, self.classes, self.width, self.results = [], [], set(), [], None, []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.names |= {attributes.get("id"), attributes.get("name")}
        if tag in FETCHING and attributes.get("rel") != "canonical":
            self.fetched += filter(None, [attributes.get(FETCHING[tag])])
        if tag == "a" and "href" in attributes:
            self.links.append(attributes["href"])
            if "md-search-result__link" in attributes.get("class", ""):
                self.results.append(attributes["href"])
        self.classes.append((tag, attributes.get("class")))
        self.width = attributes.get("data-width", self.width)


def show(address, folder, *options):
    command = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", f"--user-data-dir={folder}/profile",
               "--virtual-time-budget=20000", *options, "--dump-dom", address]
    return Page(subprocess.run(command, capture_output=True, timeout=TIMEOUT_S, check=True).stdout.decode())


def check_links(site):
    pages = {file: Page(file.read_text(encoding="utf-8")) for file in site.rglob("*.html")}
    assert len(pages) > 20, f"{site} has only {len(pages)} pages"
    for file, page in pages.items():
        for link in page.links + page.fetched:
            parts = urllib.parse.urlsplit(link)
            if parts.scheme or parts.netloc:
                outside = link in page.fetched and parts.scheme != "javascript"
                assert not outside, f"{file} loads {link} from another site"
                continue
            target = (file.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else file
            assert target.is_file(), f"{file}: the link {link} leads to no file"
            if parts.fragment and target in pages:
                name = urllib.parse.unquote(parts.fragment)
                assert name in pages[target].names, f"{file}: the link {link} leads to no heading of that page"


def check_navigation(site):
    """The first page links to all pages except the sources and the C++ reference, which other pages link to."""
    links = {urllib.parse.unquote(link) for link in Page((site / "index.html").read_text(encoding="utf-8")).links}
    pages = {file.relative_to(site).as_posix() for file in site.rglob("*.html")}
    wanted = {page for page in pages if not page.startswith(("source/", "cpp/"))}
    assert wanted <= links, f"the navigation has no links to {wanted - links}"


def check_search(site, folder):
    for word, page in (("ZeroMQ", "performance.html"), ("return_exceptions", "reference/python.html"),
                       ("orvane_view_output", "cpp/orvane__c_8h.html"), ("CopyFrom", "cpp/classOrvane_1_1TensorImpl.html")):
        shown = show(f"{(site / 'index.html').as_uri()}?q={word}", folder)
        assert any(page in result for result in shown.results), f"a search for {word} finds {shown.results}, not {page}"
    assert not show(f"{(site / 'index.html').as_uri()}?q=zyzzyva", folder).results


def check_code(site, folder):
    shown = show((site / "index.html").as_uri(), folder)
    kinds = {kind for tag, kind in shown.classes if tag == "span"}
    assert {"k", "kt", "s"} & kinds, f"the code on the first page has no colours, only the classes {kinds}"


def check_width(site, folder):
    """Uses a frame, because a window cannot be so narrow."""
    for name in ("index.html", "command-line.html", "performance.html", "reference/python.html"):
        frame = folder / "frame.html"
        frame.write_text(f"""<body><iframe src="{(site / name).as_uri()}" style="width: 360px; height: 800px; border: 0">
            </iframe><script>onload = () => {{
              const {{defaultView: {{innerWidth}}, documentElement}} = document.querySelector("iframe").contentDocument;
              document.body.dataset.width = `${{innerWidth}} ${{documentElement.scrollWidth}}`;
            }};</script></body>""", encoding="utf-8")
        width = show(frame.as_uri(), folder, "--hide-scrollbars", "--allow-file-access-from-files").width
        assert width == "360 360", f"{name}: widths of the frame and of the page are {width}, not 360 360"


def main(site):
    site = pathlib.Path(site).resolve()
    with tempfile.TemporaryDirectory() as folder:
        check_links(site)
        check_navigation(site)
        check_search(site, pathlib.Path(folder))
        check_code(site, pathlib.Path(folder))
        check_width(site, pathlib.Path(folder))


if __name__ == "__main__":
    main(*sys.argv[1:])
