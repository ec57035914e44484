#!/usr/bin/env python3
"""Checks that includes between the folders of src/ run one way only.

Logic layers, lowest first: base <- core <- feed, history <- chart <- studies, trend <- app.
A logic file may include its own folder and the layers below it, never a layer beside or above
it, never a ui/ folder, platform/ or a Qt or QCustomPlot header. A `<layer>/ui/` folder adapts its
layer to Qt: it may include its layer, the layers below, their ui/ folders and platform/.
platform/ adapts the layers up to feed and history. app/main.cpp puts the program together and
may include anything. No two folders may include each other.

Usage: check_layers.py SRC_DIR      exits 1 and lists the offending includes
       check_layers.py --self-test  proves that a wrong include is caught
"""
import pathlib
import re
import sys
import tempfile

RANK = {"base": 0, "core": 1, "feed": 2, "history": 2, "chart": 3, "studies": 4, "trend": 4,
        "app": 5}
PLATFORM_RANK = 2.5
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
QT_HEADER = re.compile(r"^(Q[A-Za-z]+|qcustomplot\.h|Qt[A-Za-z]+/)")


def folder_of(rel):
    """'chart/ui/x.h' -> 'chart/ui', 'feed/x.h' -> 'feed'; None outside the known folders."""
    parts = rel.split("/")
    top = parts[0]
    if top == "platform":
        return "platform"
    if top not in RANK:
        return None
    if len(parts) > 2 and parts[1] == "ui":
        return top + "/ui"
    return top


def rank(folder):
    if folder == "platform":
        return PLATFORM_RANK
    return RANK[folder.split("/")[0]]


def allowed(source, target):
    if source == target:
        return True
    s_ui = source.endswith("/ui") or source == "platform"
    t_ui = target.endswith("/ui") or target == "platform"
    if not s_ui:
        return not t_ui and rank(target) < rank(source)
    if source == "platform":
        return not t_ui and rank(target) < PLATFORM_RANK
    layer = source.split("/")[0]
    if target == layer:
        return True
    return rank(target) < rank(source) or (target == "platform" and rank(source) > PLATFORM_RANK)


def check(src):
    src = pathlib.Path(src)
    problems = []
    edges = {}
    for path in sorted(src.rglob("*")):
        if path.suffix not in (".h", ".cpp") or not path.is_file():
            continue
        rel = path.relative_to(src).as_posix()
        source = folder_of(rel)
        if source is None or rel == "app/main.cpp":
            continue
        logic = not (source.endswith("/ui") or source == "platform")
        for n, line in enumerate(path.read_text(errors="ignore").splitlines(), 1):
            m = INCLUDE.match(line)
            if not m:
                continue
            kind, name = m.groups()
            if kind == "<":
                if logic and QT_HEADER.match(name):
                    problems.append(f"{rel}:{n}: logic code includes the Qt header <{name}>")
                continue
            target = folder_of(name)
            if target is None:
                continue
            if target != source:
                edges.setdefault((source, target), f"{rel}:{n}")
            if not allowed(source, target):
                problems.append(f"{rel}:{n}: {source}/ may not include {name}")
    for (a, b), where in sorted(edges.items()):
        if a < b and (b, a) in edges:
            problems.append(f"{a}/ and {b}/ include each other ({where}, {edges[(b, a)]})")
    return problems


def self_test():
    cases = [
        ({"app/settings.h": "", "feed/f.cpp": '#include "app/settings.h"\n'}, True),
        ({"history/h.h": "", "feed/f.cpp": '#include "history/h.h"\n'}, True),
        ({"chart/c.h": "#include <QWidget>\n"}, True),
        ({"chart/ui/v.h": "", "history/ui/p.h": '#include "chart/ui/v.h"\n'}, True),
        ({"core/s.h": "", "feed/f.cpp": '#include "core/s.h"\n#include <vector>\n'}, False),
        ({"chart/c.h": "", "chart/ui/v.h": '#include "chart/c.h"\n#include <QWidget>\n'}, False),
    ]
    for files, bad in cases:
        with tempfile.TemporaryDirectory() as tmp:
            for name, text in files.items():
                p = pathlib.Path(tmp, name)
                p.parent.mkdir(parents=True, exist_ok=True)
                p.write_text(text)
            found = bool(check(tmp))
            if found != bad:
                print(f"self-test: {sorted(files)} {'not caught' if bad else 'refused wrongly'}")
                return 1
    print("self-test: every case judged as expected")
    return 0


def main(argv):
    if len(argv) == 2 and argv[1] == "--self-test":
        return self_test()
    if len(argv) != 2:
        print(__doc__)
        return 2
    problems = check(argv[1])
    for p in problems:
        print(p)
    if problems:
        print(f"{len(problems)} include(s) against the layer direction")
        return 1
    print("includes run one way")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
