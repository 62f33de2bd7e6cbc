"""The pages of docs/ as HTML that needs nothing but a browser: no network, no script, one small style."""

import pathlib
import re
from html import escape, unescape

import markdown

STYLE = """body { font: 16px/1.5 "Segoe UI", sans-serif; color: #222; max-width: 52em; margin: 2em auto; padding: 0 1em }
h1, h2, h3 { line-height: 1.25 }
code, pre { font: 14px/1.4 Consolas, monospace; background: #f4f4f4 }
pre { padding: .7em; overflow-x: auto }
table { border-collapse: collapse }
td, th { border: 1px solid #bbb; padding: .25em .6em; text-align: left; vertical-align: top }
blockquote { margin-left: 0; padding-left: 1em; border-left: 4px solid #ccc }"""

LINK = re.compile(r'<a href="([^"]*)">(.*?)</a>', re.DOTALL)


def anchor(heading: str, _separator: str) -> str:
    """As the platforms that show Markdown name headings: links between pages are written for those."""
    return re.sub(r"[^\w\- ]", "", unescape(heading).lower()).replace(" ", "-")


def html_name(page: pathlib.PurePath) -> pathlib.PurePath:
    return page.with_suffix(".html") if page.suffix == ".md" else page


def render(source: pathlib.Path, page: pathlib.PurePath, installed: set) -> str:
    """The page as HTML. Links to installed pages lead to their HTML; those to files that stay at home lose the link."""

    def follow(match: re.Match) -> str:
        target, text = match.groups()
        if re.match(r"[a-z]+:|#", target):
            return match.group()
        name, hash_mark, heading = target.partition("#")
        path = pathlib.PurePath(re.sub(r"[^/]+/\.\./", "", (page.parent / name).as_posix()))
        if path not in installed:
            return text
        return f'<a href="{html_name(pathlib.PurePath(name)).as_posix()}{hash_mark}{heading}">{text}</a>'

    text = source.read_text(encoding="utf-8")
    body = markdown.markdown(text, extensions=["tables", "fenced_code", "sane_lists", "toc"],
                             extension_configs={"toc": {"slugify": anchor}})
    title = re.search(r"^# (.+)$", text, re.MULTILINE)
    return (f'<!DOCTYPE html>\n<html lang="en">\n<head>\n<meta charset="utf-8">\n<title>'
            f'{escape(title.group(1) if title else page.stem)}</title>\n<style>\n{STYLE}\n</style>\n</head>\n<body>\n'
            f"{LINK.sub(follow, body)}\n</body>\n</html>\n")
