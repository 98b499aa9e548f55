"""Reads the sanitizer reports written during a test run (one file per process) and fails when
any of them is a finding of ours.

Every AddressSanitizer or UndefinedBehaviorSanitizer report is a finding. A LeakSanitizer
report is a finding when one of its leaked blocks was allocated with a frame of this project's
code on the stack (the engine's sources or the extension module): the interpreter and NumPy
leave blocks of their own behind at exit, which are not ours to fix.

    python3 tools/sanitizer_reports.py REPORT_DIR PROJECT_ROOT
"""

import re
import sys
from pathlib import Path

LEAK_HEADER = re.compile(r"^(Direct|Indirect) leak of \d+ byte\(s\) in \d+ object\(s\)")


def leak_records(text):
    """The leak records of a LeakSanitizer report: header line and stack frames."""
    records, current = [], None
    for line in text.splitlines():
        if LEAK_HEADER.match(line):
            current = [line]
            records.append(current)
        elif current is not None and line.strip().startswith("#"):
            current.append(line)
        else:
            current = None
    return records


def ours(frame, root):
    return f"{root}/src/" in frame or f"{root}/tests/" in frame or "PELIXInterface" in frame


def findings(report_dir, root):
    """Text of every finding in the reports under report_dir."""
    found = []
    for path in sorted(Path(report_dir).glob("*")):
        text = path.read_text(errors="replace")
        if "ERROR: LeakSanitizer" in text and "ERROR: AddressSanitizer" not in text \
                and "runtime error:" not in text:
            for record in leak_records(text):
                if any(ours(frame, root) for frame in record[1:]):
                    found.append(f"{path.name}:\n" + "\n".join(record))
        elif "LeakSanitizer has encountered a fatal error" in text \
                and "ERROR: AddressSanitizer" not in text and "runtime error:" not in text:
            # The leak checker itself failed at exit (its tracer thread crashed, which it can
            # do under load); no block was reported, so there is nothing to attribute.
            print(f"warning: the leak check of {path.name} could not run:\n{text}")
        elif text.strip():
            found.append(f"{path.name}:\n{text}")
    return found


def main():
    report_dir, root = sys.argv[1], str(Path(sys.argv[2]).resolve())
    found = findings(report_dir, root)
    reports = len(list(Path(report_dir).glob("*")))
    for text in found:
        print(text)
        print()
    print(f"{reports} sanitizer report file(s), {len(found)} finding(s) of this project")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
