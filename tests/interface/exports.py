#!/usr/bin/env python3
"""exports.py INCLUDE_FOLDER LIBRARY - holds the dynamic symbols of the shared library against the public headers.

Fails on a symbol that no header declares, on a declared function or variable that the library does not have, and on one
that is neither marked KXC_API nor inline. clang reads the headers; leaves with 77 (skipped) where it is missing.
"""
import json
import re
import shutil
import subprocess
import sys

include, library = sys.argv[1:]
if not shutil.which("clang++"):
    print("skipped: clang++ is not installed (Debian: clang)")
    sys.exit(77)

tree = json.loads(subprocess.run(
    ["clang++", "-std=c++17", f"-I{include}", "-fsyntax-only", "-Xclang", "-ast-dump=json", "-x", "c++", "-Wno-pragma-once-outside-header",
     f"{include}/kxcoreemb/kxcoreemb.h"], stdout=subprocess.PIPE, check=True).stdout)

declared = set()  # mangled names; of constructors and destructors those of complete objects
classes = set()   # as they are written in mangled names, with their length before them
unmarked = []
source_file = ""


def note_file(node):
    """Follows the file names, which the tree gives only where they change: where the node is, not where it ends."""
    global source_file
    for place in (node.get("loc", {}), node.get("range", {}).get("begin", {}), node.get("range", {}).get("end", {})):
        for spot in (place, place.get("spellingLoc", {}), place.get("expansionLoc", {})):
            source_file = spot.get("file", source_file)


def visit(node, exported):
    kind = node.get("kind", "")
    parts = node.get("inner", [])
    start = source_file
    note_file(node)
    ours = "/kxcoreemb/" in source_file or "/kxcoreemb/" in start
    exported = exported or any(part.get("kind") == "VisibilityAttr" for part in parts)
    if ours and kind == "CXXRecordDecl" and exported and node.get("completeDefinition"):
        classes.add(f"{len(node['name'])}{node['name']}")
    lives_elsewhere = node.get("isImplicit") or node.get("inline") or node.get("pure") or node.get("constexpr") or \
        node.get("explicitlyDeleted") or node.get("explicitlyDefaulted") or \
        any(part.get("kind") == "CompoundStmt" for part in parts)
    is_function = kind in ("FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl",
                           "CXXConversionDecl")
    is_variable = kind == "VarDecl" and (node.get("storageClass") in ("static", "extern"))
    if ours and (is_function or is_variable) and "mangledName" in node and not lives_elsewhere:
        declared.add(node["mangledName"])
        if not exported:
            unmarked.append(node["mangledName"])
    if kind not in ("ClassTemplateDecl", "FunctionTemplateDecl", "FriendDecl", "CompoundStmt"):
        for part in parts:
            visit(part, exported)


visit(tree, False)
symbols = [line.split()[2] for line in subprocess.run(
    ["nm", "-D", "--defined-only", library], stdout=subprocess.PIPE, check=True, text=True).stdout.splitlines()]


def is_declared(symbol):
    data = re.fullmatch(r"_ZT[VTIS](N?(?:\d+\w+?)E?)", symbol)  # virtual table, its table, type information, its name
    if data:
        return data.group(1) in classes
    symbol = re.sub(r"^_ZT(?:h|v)n?\d+_(?:n?\d+_)?", "_Z", symbol)  # an adjusted entry into a virtual function
    # One constructor is exported for complete objects and for bases, destructors for deletion too.
    return symbol in declared or any(re.sub(pattern, to, symbol) in declared
                                     for pattern, to in ((r"C2E", "C1E"), (r"D[02]E", "D1E")))


failures = [(symbol, "is exported, but in no public header") for symbol in symbols if not is_declared(symbol)]
failures += [(name, "is declared, but not exported") for name in declared - set(symbols) - set(unmarked)]
failures += [(name, "is declared without KXC_API, and not inline") for name in unmarked]
for name, what in sorted(failures):
    print(subprocess.run(["c++filt", name], stdout=subprocess.PIPE, text=True).stdout.strip(), what)
print(f"{len(symbols)} symbols, {len(declared)} declarations in {len(classes)} classes and beside them")
sys.exit(bool(failures) or len(declared) < 1000)
