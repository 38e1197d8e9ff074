#!/usr/bin/env python3
"""Prints a page or a public header as Doxygen wants to read it; line numbers stay.

Pages keep links and headings as a git forge has them, headers keep plain comments. Here
  - a page and its headings get names (`guide`, `guide-reload`), and links to other pages, headers
    and examples become references by name, so that a link to nothing is an error;
  - the comment that a header begins with becomes the text of its page, code in it a block of code,
    "Threads:" and its like and what is indented by three a list, and quoted texts are set as code.

Usage: filter.py FILE      from the top folder
"""
import os
import re
import sys


def name_of_page(path):
    """'docs/xml.md' -> 'xml'; the front page is 'index'."""
    stem = os.path.splitext(os.path.basename(path))[0].lower()
    return "index" if stem == "readme" else stem


def slug(heading):
    """The name that a git forge gives a heading."""
    kept = re.sub(r"[^\w\- ]", "", heading.strip().lower())
    return kept.replace(" ", "-")


def in_site(page, target):
    """What a link on `page` leads to, as the site has it."""
    if re.match(r"\w+:", target):
        return target
    path, _, anchor = target.partition("#")
    path = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
    if not os.path.exists(path):
        return "@ref " + target  # which Doxygen finds fault with
    if path.endswith(".md"):
        return "@ref " + name_of_page(path) + ("-" + anchor if anchor else "")
    if path == "examples":
        return "examples.html"
    return "@ref " + os.path.relpath(path, path.split("/")[0])


def page_lines(path, lines):
    """A page's lines as Doxygen wants them."""
    def link(match):
        target = in_site(path, match[2])
        # The text of a reference is shown as it is.
        text = match[1].replace("`", "") if target.startswith("@") else match[1]
        return f"[{text}]({target})"

    fenced = False
    for at, line in enumerate(lines):
        if line.startswith("```"):
            fenced = not fenced
        elif not fenced:
            heading = re.match(r"(#+) (.*)", line)
            if heading:
                name = name_of_page(path)
                if len(heading[1]) > 1:
                    line += " {#" + name + "-" + slug(heading[2]) + "}"
                elif name != "index":  # which Doxygen gives the front page itself
                    line += " {#" + name + "}"
            if at == 1 and name_of_page(path) != "index":
                line = "[TOC]"
            line = re.sub(r"!\[(.*?)\]\((docs/)?img/", r"![\1](", line)
            line = re.sub(r"(?<!!)\[([^\]]+)\]\(([^)\s]+)\)", link, line)
            line = re.sub(r"<code>.*?</code>", lambda code: code[0].replace("\\", "\\\\"), line)
            line = re.sub(r"\*\*(.*?)\*\*", r"<b>\1</b>", line)
        yield line


def as_code(match):
    """A quoted text between backticks; what stands between them already, as it is."""
    return match[0] if match[0].startswith("`") else f"`{match[0]}`"


def comment_lines(lines):
    """The lines of one comment, without their slashes, as Markdown."""
    code = False
    for at, line in enumerate(lines):
        following = lines[at + 1] if at + 1 < len(lines) else ""
        if not line:
            if code and not following.startswith("   "):
                code = False
                yield "@endcode"
            elif not code and following.startswith("   "):
                code = True
                yield "@code{.cpp}"
            else:
                yield line
            continue
        if not code:
            if line.count('"') % 2 == 0:
                line = re.sub(r'`[^`]*`|"[^"]*"', as_code, line)
            line = re.sub(r"^ ([A-Z][\w-]+:)\s+", r" - **\1** ", line)
            line = re.sub(r"^   (?=\S)", " - ", line)
        elif at + 1 == len(lines):
            line += "  @endcode"
        yield line


def header_lines(lines):
    """A header's lines as Doxygen wants them."""
    first = next(at for at, line in enumerate(lines) if not line.startswith("//"))
    # A line more in front, an empty one less behind.
    lines = ["/// @file", *("/" + line for line in lines[:first]), *lines[first + 1 :]]
    comment = []
    indent = ""
    for line in [*lines, ""]:
        if line.startswith("#include <"):
            line = ""  # The graphs show our headers, not what the standard library drags in.
        found = re.match(r"(\s*)///(?!<)(.*)", line)
        if found:
            indent = found[1]
            comment.append(found[2])
            continue
        for text in comment_lines(comment):
            yield f"{indent}///{text}"
        comment = []
        yield line


def main():
    """Prints the file that is named on the command line."""
    path = os.path.relpath(sys.argv[1])
    with open(path, encoding="utf-8") as file:
        lines = file.read().splitlines()
    convert = header_lines(lines) if path.endswith(".h") else page_lines(path, lines)
    print("\n".join(convert))


main()
