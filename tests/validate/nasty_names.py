#!/usr/bin/env python3
"""Reports that parse whatever they carry: the validator is run on a bundle in a folder whose name
holds bytes that are no UTF-8, markup and terminal escapes, of an add-on whose name and output hold
the same. The JSON and JUnit reports must parse, and no escape byte may reach the terminal raw.
Arguments: KFHOST BUNDLE WORK."""
import json
import os
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

kfhost, bundle, work = (os.fsencode(a) for a in sys.argv[1:4])
shutil.rmtree(work, ignore_errors=True)
folder = os.path.join(work, b"odd \xff\xfe <&]]> \x1b[31m \x01 name")
copy = os.path.join(folder, os.path.basename(bundle.rstrip(b"/")))
shutil.copytree(bundle, copy)
json_file = os.path.join(work, b"report.json")
junit_file = os.path.join(work, b"report.xml")
run = subprocess.run([kfhost, b"validate", b"--strictness", b"10", b"--seed", b"1", b"--only", b"menus",
                      b"--json", json_file, b"--junit", junit_file, copy], capture_output=True)
problems = []
if run.returncode != 1:
    problems.append("exit status %d, not 1" % run.returncode)
for name, stream in (("standard output", run.stdout), ("standard error", run.stderr)):
    raw = [hex(b) for b in set(stream) if b < 0x20 and b not in (0x0A,)]
    if raw:
        problems.append("raw control bytes on %s: %s" % (name, ", ".join(sorted(raw))))
    if b"\xc2\x9b" in stream:
        problems.append("a raw C1 escape (U+009B) on " + name)
if b"crashed with SIGSEGV" not in run.stdout:
    problems.append("the crash is not reported")
try:
    with open(json_file, encoding="utf-8") as f:
        report = json.load(f)
    check = report["checks"][0]
    if check["status"] != "fail" or "Nasty <&]]>" not in check["addon"] or "\x1b[31m" not in check["addon"]:
        problems.append("the JSON report lost the add-on's name or the failure: %r" % check)
    if "\ufffd\ufffd raw \x1b[2J" not in check["output"]:
        problems.append("the JSON report lost the add-on's output: %r" % check["output"])
except (ValueError, KeyError, IndexError) as e:
    problems.append("the JSON report does not parse: %s" % e)
try:
    tree = ElementTree.parse(junit_file)
    failure = tree.getroot().find("testsuite/testcase/failure")
    if failure is None or "crashed with SIGSEGV" not in failure.get("message"):
        problems.append("the JUnit report lacks the failure")
except ElementTree.ParseError as e:
    problems.append("the JUnit report does not parse: %s" % e)
if problems:
    sys.stdout.write(run.stdout.decode("utf-8", "backslashreplace"))
    sys.exit("\n".join(problems))
print("reports parse and the terminal sees no raw escapes")
