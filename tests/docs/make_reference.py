#!/usr/bin/env python3
"""Writes docs/reference.md, the reference of the calls an add-on uses, from the headers it
includes: each header's opening comment, then its declarations with their comments (bodies,
private parts and includes left out). The test docs.reference fails when the page and the headers
part ways; `python3 tests/docs/make_reference.py > docs/reference.md` writes it anew.
Argument: the repository's root (default: two folders up from this file)."""
import os
import re
import sys

ROOT = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")

# (section, header as an add-on includes it, file), in the order a reader meets them.
HEADERS = [
    ("The host interface (sdk)", "AddOnLinkage.hpp", "sdk/include/AddOnLinkage.hpp"),
    (None, "HostAPI.hpp", "sdk/include/HostAPI.hpp"),
    (None, "DG.hpp", "sdk/include/DG.hpp"),
    (None, "IO.hpp", "sdk/include/IO.hpp"),
    (None, "BM.hpp", "sdk/include/BM.hpp"),
    (None, "FTM.hpp", "sdk/include/FTM.hpp"),
    (None, "MainLoop.hpp", "sdk/include/MainLoop.hpp"),
    (None, "HostTypes.hpp", "sdk/include/HostTypes.hpp"),
    (None, "HostUniString.hpp", "sdk/include/HostUniString.hpp"),
    (None, "HostTextEncoding.hpp", "sdk/include/HostTextEncoding.hpp"),
    ("The framework", "KF/KF_AddonConstants.hpp", "framework/include/KF/KF_AddonConstants.hpp"),
    (None, "KF/KF_Language.hpp", "framework/include/KF/KF_Language.hpp"),
    (None, "KF/KF_Dialog.hpp", "framework/include/KF/KF_Dialog.hpp"),
    (None, "KF/KF_AddonSettings.hpp", "framework/include/KF/KF_AddonSettings.hpp"),
    (None, "KF/KF_AddonUpdate.hpp", "framework/include/KF/KF_AddonUpdate.hpp"),
    (None, "KF/KF_File.hpp", "framework/include/KF/KF_File.hpp"),
    (None, "KF/KF_Location.hpp", "framework/include/KF/KF_Location.hpp"),
    (None, "KF/KF_Comm.hpp", "framework/include/KF/KF_Comm.hpp"),
    (None, "KF/KF_LibPart.hpp", "framework/include/KF/KF_LibPart.hpp"),
    (None, "KF/KF_General.hpp", "framework/include/KF/KF_General.hpp"),
    (None, "KF/KF_String.hpp", "framework/include/KF/KF_String.hpp"),
    (None, "KF/KF_List.hpp", "framework/include/KF/KF_List.hpp"),
    (None, "KF/KF_Text_Scanner.hpp", "framework/include/KF/KF_Text_Scanner.hpp"),
    ("The kit", "KFKit/VersionLine.hpp", "kit/include/KFKit/VersionLine.hpp"),
]

INTRO = """# Reference: the calls an add-on uses

Written from the headers an add-on includes (`python3 tests/docs/make_reference.py >
docs/reference.md`; the test `docs.reference` fails when this page and the headers part ways).
For each header: what it is for, then its declarations with their comments; bodies, private parts
and includes are left out. How the pieces fit together: [addon-guide.md](addon-guide.md).

Every header is on the include path of an add-on that `kf_add_addon()` builds: the sdk's as
`"HostAPI.hpp"`, the framework's as `"KF/KF_String.hpp"`, the kit's as `"KFKit/VersionLine.hpp"`.
"""


def opening_comment(lines):
    """The header's first comment block, as text, and the index after it."""
    text = []
    i = 0
    while i < len(lines) and lines[i].startswith("//"):
        text.append(lines[i][2:].strip())
        i += 1
    return " ".join(t for t in text if t), i


def declarations(lines):
    """The header without includes, pragmas, private parts and function bodies."""
    out = []
    depth = 0            # brace depth of what is kept
    skip_until = None    # depth at which a skipped body or private part ends
    private_depth = None
    for line in lines:
        stripped = line.strip()
        if skip_until is not None:
            depth += line.count("{") - line.count("}")
            if depth <= skip_until:
                skip_until = None
            continue
        if stripped.startswith("#include") or stripped.startswith("#pragma"):
            continue
        if private_depth is not None:
            if stripped in ("public:",) and depth == private_depth:
                private_depth = None
                out.append(line)
                continue
            opened = line.count("{") - line.count("}")
            if depth + opened < private_depth or (stripped.startswith("};") and depth == private_depth):
                private_depth = None
            else:
                depth += opened
                continue
        # A member defined outside its class (a template's, in the header): a body, with its
        # "template <...>" line.
        if depth == 0 and re.match(r"^[\w<>:,*& ]*\w+<[\w, ]*>::~?[\w=+\-\[\]!<>]+\s*\(", line):
            if out and out[-1].strip().startswith("template <"):
                out.pop()
            opened = line.count("{") - line.count("}")
            if opened > 0 or not stripped.endswith(";"):
                skip_until = 0
                depth += opened
            continue
        if stripped in ("private:", "protected:"):
            private_depth = depth
            continue
        # A function's body, inline on one line or over several: its declaration is enough.
        one_line = re.match(r"^(.*\)[^{};]*?)\s*\{.*\}\s*;?\s*(//.*)?$", line)
        if one_line and not re.match(r"^\s*(struct|class|enum|union|namespace)\b", line) and "(" in line:
            out.append(one_line.group(1).rstrip() + ";" + (" " + one_line.group(2) if one_line.group(2) else ""))
            continue
        if stripped.endswith("{") and ")" in stripped and not re.match(r"^(struct|class|enum|union|namespace)\b", stripped):
            out.append(line.rstrip()[:-1].rstrip() + ";")
            skip_until = depth
            depth += line.count("{") - line.count("}")
            continue
        if stripped == "{" and out and out[-1].strip().endswith(")") or (stripped == "{" and out and re.search(r"\)\s*(const)?\s*(noexcept)?\s*(:.*)?$", out[-1].strip())):
            out[-1] = out[-1].rstrip() + ";"
            skip_until = depth
            depth += 1
            continue
        if stripped.startswith(":") and out and out[-1].strip().endswith(")"):
            # a constructor's initialiser list: part of its body
            out[-1] = out[-1].rstrip() + ";"
            skip_until = depth
            depth += line.count("{") - line.count("}")
            if depth <= skip_until:
                skip_until = None
            continue
        depth += line.count("{") - line.count("}")
        out.append(line.rstrip())
    # Template members defined after the class are bodies too: drop what follows the last
    # declaration block when it only defines members ("template <...>" + "X<T>::").
    text = "\n".join(out)
    text = re.sub(r"\n\s*\n(\s*\};)", r"\n\1", text)
    text = re.sub(r"\n{3,}", "\n\n", text).strip("\n")
    return text


def main():
    parts = [INTRO]
    for section, include, path in HEADERS:
        with open(os.path.join(ROOT, path), encoding="utf-8") as f:
            lines = f.read().split("\n")
        about, start = opening_comment(lines)
        if section:
            parts.append("## " + section + "\n")
        parts.append("### `" + include + "`\n\n" + about + "\n")
        parts.append("```cpp\n" + declarations(lines[start:]) + "\n```\n")
    sys.stdout.write("\n".join(parts))


main()
