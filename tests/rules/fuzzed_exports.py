#!/usr/bin/env python3
"""Every exported function is called by a fuzzer.

usage: fuzzed_exports.py <list of exported symbols> <object files of the fuzzers>...
"""
import re
import subprocess
import sys
from pathlib import Path

# Exports that no object of a fuzzer names, and why not.
EXCEPTIONS = [
    (r"(typeinfo|typeinfo name|vtable) for ", "data"),
    (r"ko::\w+::(metaObject\(\) const|qt_metacall\(.*|qt_metacast\(.*|staticMetaObject)$", "written by moc"),
    (r"ko::CallThreads::", "every fuzzer runs its cases on several threads, see fuzz/support/run.cpp"),
    (r"ko::IxPipeItem::Core::", "internal; every operation of an item goes through it"),
    (r"ko::\w+::swap\(", "private; called by the assignment"),
    (r"ko::CxImageHistogram::allocate\(", "private; called by resize and the copies"),
    (r"ko::CxDemosaicConvertor::(checkInput|convert|gridToUse|isSupportedGrid|maySet|outputInfo)\(",
     "private; called by processData and the setters"),
    (r"ko::(CxFrameSink::(acceptsData|isValid)|CxImageDataInfo::clone|\w+::processData)\(",
     "virtual; the fuzzers call them through their base classes"),
    (r"ko::IxPipeItem::state_noLock\(", "called by isStarted and isStopped"),
    (r"ko::\w+::(~\w+|IxPipeItem)\(", "constructors and destructors of what the fuzzers make"),
]


def called(objects):
    listing = subprocess.run(["nm", "-C", "--undefined-only", *objects], check=True, text=True,
                             stdout=subprocess.PIPE).stdout
    return {match[1] for match in re.finditer(r"^\s+U (.*)$", listing, re.MULTILINE)}


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    exports = {line.split(": ", 1)[1] for line in Path(sys.argv[1]).read_text().splitlines()}
    excepted = {symbol for symbol in exports if any(re.match(pattern, symbol) for pattern, _ in EXCEPTIONS)}
    missing = exports - excepted - called(sys.argv[2:])
    if missing:
        sys.exit("no fuzzer calls\n" + "\n".join(sorted(missing)))
    for pattern, reason in EXCEPTIONS:
        if not any(re.match(pattern, symbol) for symbol in exports):
            sys.exit(f"no export needs the exception {pattern} ({reason})")


if __name__ == "__main__":
    main()
