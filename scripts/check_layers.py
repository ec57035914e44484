#!/usr/bin/env python3
"""Checks that includes run one way: between the folders of src/, between src/ and service/, and
between any two files.

Logic layers of src/, lowest first: base <- core <- feed, history <- chart <- studies, trend <- app.
A logic file may include its own folder and the layers below it, never a layer beside or above
it, never a ui/ folder, platform/ or a Qt or QCustomPlot header. A `<layer>/ui/` folder adapts its
layer to Qt: it may include its layer, the layers below, their ui/ folders and platform/.
platform/ adapts the layers up to feed and history. app/main.cpp puts the program together and
may include anything. No two folders may include each other. Every folder of src/ is one of the
layers above or platform/, and every layer listed exists.

service/ (portico) stands apart: it may include base/ of src/ and nothing above it, and src/ never
includes service/.

Anywhere in src/ and service/, no two files include each other: a header and its source count as
one file, so `a.cpp` including `b.h` while `b.cpp` includes `a.h` is a circle too.

Usage: check_layers.py SRC_DIR [SERVICE_DIR]  exits 1 and lists the offending includes
       check_layers.py --self-test            proves that each wrong include is caught
"""
import pathlib
import re
import sys
import tempfile

RANK = {"base": 0, "core": 1, "feed": 2, "history": 2, "chart": 3, "studies": 4, "trend": 4,
        "app": 5}
PLATFORM_RANK = 2.5
# The folders of src/ that service/ may include.
SERVICE_MAY_INCLUDE = {"base"}
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


def sources(root):
    for path in sorted(root.rglob("*")):
        if path.suffix in (".h", ".cpp") and path.is_file():
            yield path


def includes(path):
    """(line number, '<' or '"', name) of every include of the file."""
    for n, line in enumerate(path.read_text(errors="ignore").splitlines(), 1):
        m = INCLUDE.match(line)
        if m:
            yield n, m.group(1), m.group(2)


def unit(root, path):
    """A header and its source are one file: 'src/feed/a' for src/feed/a.h and src/feed/a.cpp."""
    return f"{root.name}/{path.relative_to(root).with_suffix('').as_posix()}"


def check_src(src, service, edges):
    problems = []
    folder_edges = {}
    service_tops = {p.name for p in service.iterdir() if p.is_dir()} if service else set()
    for top in sorted(p.name for p in src.iterdir() if p.is_dir()):
        if top != "platform" and top not in RANK:
            problems.append(f"{top}/ is not a known folder of src/: rank it in check_layers.py")
    for layer in sorted(RANK):
        if not (src / layer).is_dir():
            problems.append(f"{layer}/ is ranked in check_layers.py but src/ has no such folder")
    for path in sources(src):
        rel = path.relative_to(src).as_posix()
        source = folder_of(rel)
        logic = source is not None and not (source.endswith("/ui") or source == "platform")
        for n, kind, name in includes(path):
            if kind == "<":
                if logic and rel != "app/main.cpp" and QT_HEADER.match(name):
                    problems.append(f"{rel}:{n}: logic code includes the Qt header <{name}>")
                continue
            if name.startswith("service/") or name.split("/")[0] in service_tops:
                problems.append(f"{rel}:{n}: src/ may never include service/ ({name})")
                continue
            if (src / name).is_file():
                edges.setdefault((unit(src, path), unit(src, src / name)), f"src/{rel}:{n}")
            target = folder_of(name)
            if source is None or target is None or rel == "app/main.cpp":
                continue
            if target != source:
                folder_edges.setdefault((source, target), f"{rel}:{n}")
            if not allowed(source, target):
                problems.append(f"{rel}:{n}: {source}/ may not include {name}")
    for (a, b), where in sorted(folder_edges.items()):
        if a < b and (b, a) in folder_edges:
            problems.append(f"{a}/ and {b}/ include each other ({where}, {folder_edges[(b, a)]})")
    return problems


def check_service(service, src, edges):
    problems = []
    for path in sources(service):
        rel = path.relative_to(service).as_posix()
        for n, kind, name in includes(path):
            if kind == "<":
                continue
            # The folder of the file first, then the root of service/.
            found = next((c for c in (path.parent / name, service / name) if c.is_file()), None)
            if found is not None:
                edges.setdefault((unit(service, path), unit(service, found)), f"service/{rel}:{n}")
                continue
            top = name.split("/")[0]
            if top in RANK or top == "platform":
                if top not in SERVICE_MAY_INCLUDE or folder_of(name) != top:
                    problems.append(f"service/{rel}:{n}: service/ may not include {name} of src/")
                elif src is not None and (src / name).is_file():
                    edges.setdefault((unit(service, path), unit(src, src / name)),
                                     f"service/{rel}:{n}")
    return problems


def check(src, service=None):
    src = pathlib.Path(src)
    service = pathlib.Path(service) if service else None
    edges = {}
    problems = check_src(src, service, edges)
    if service is not None:
        problems += check_service(service, src, edges)
    for (a, b), where in sorted(edges.items()):
        if a < b and (b, a) in edges:
            problems.append(f"{where} and {edges[(b, a)]}: the two files include each other")
    return problems


def self_test():
    cases = [
        ({"app/settings.h": "", "feed/f.cpp": '#include "app/settings.h"\n'}, True),
        ({"history/h.h": "", "feed/f.cpp": '#include "history/h.h"\n'}, True),
        ({"chart/c.h": "#include <QWidget>\n"}, True),
        ({"chart/ui/v.h": "", "history/ui/p.h": '#include "chart/ui/v.h"\n'}, True),
        ({"core/s.h": "", "feed/f.cpp": '#include "core/s.h"\n#include <vector>\n'}, False),
        ({"chart/c.h": "", "chart/ui/v.h": '#include "chart/c.h"\n#include <QWidget>\n'}, False),
        # Every folder of src/ is ranked, and every ranked one exists.
        ({"drawing/t.h": ""}, True),
        ({"!studies": ""}, True),
        # service/ takes base/ only, and src/ never takes service/.
        ({"base/b.h": "", "service/server/s.cpp": '#include "base/b.h"\n'}, False),
        ({"core/s.h": "", "service/server/s.cpp": '#include "core/s.h"\n'}, True),
        ({"service/market/m.h": "", "app/a.cpp": '#include "market/m.h"\n'}, True),
        # Two files including each other, through their sources too, in src/ or service/.
        ({"feed/a.h": "", "feed/b.h": "", "feed/a.cpp": '#include "feed/b.h"\n',
          "feed/b.cpp": '#include "feed/a.h"\n'}, True),
        ({"app/ui/f.h": '#include "app/ui/t.h"\n', "app/ui/t.h": "",
          "app/ui/t.cpp": '#include "app/ui/f.h"\n'}, True),
        ({"service/server/x.h": '#include "y.h"\n', "service/server/y.h": "",
          "service/server/y.cpp": '#include "x.h"\n'}, True),
        ({"service/market/m.h": "", "service/server/x.h": '#include "market/m.h"\n',
          "service/server/x.cpp": '#include "x.h"\n'}, False),
        ({"feed/a.h": "", "feed/a.cpp": '#include "feed/a.h"\n#include "feed/b.h"\n',
          "feed/b.h": "class A;\n"}, False),
    ]
    for files, bad in cases:
        with tempfile.TemporaryDirectory() as tmp:
            src, service = pathlib.Path(tmp, "src"), pathlib.Path(tmp, "service")
            service.mkdir()
            for layer in RANK:
                if "!" + layer not in files:
                    (src / layer).mkdir(parents=True)
            for name, text in files.items():
                if name.startswith("!"):
                    continue
                p = pathlib.Path(tmp, name) if name.startswith("service/") else src / name
                p.parent.mkdir(parents=True, exist_ok=True)
                p.write_text(text)
            found = bool(check(src, service))
            if found != bad:
                print(f"self-test: {sorted(files)} {'not caught' if bad else 'refused wrongly'}")
                return 1
    print("self-test: every case judged as expected")
    return 0


def main(argv):
    if len(argv) == 2 and argv[1] == "--self-test":
        return self_test()
    if len(argv) not in (2, 3):
        print(__doc__)
        return 2
    problems = check(*argv[1:])
    for p in problems:
        print(p)
    if problems:
        print(f"{len(problems)} include(s) against the layer direction or in a circle")
        return 1
    print("includes run one way")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
