"""tools/sanitizer_reports.py, which fails the sanitized run: the interpreter's own leaks are
not findings, a leak under the engine's code and any other sanitizer report are."""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tools"))
import sanitizer_reports as reports  # noqa: E402

INTERPRETER_LEAK = """\
Direct leak of 64 byte(s) in 1 object(s) allocated from:
    #0 0x7f0 in malloc ../../../../src/libsanitizer/asan/asan_malloc_linux.cpp:69
    #1 0x7f1 in PyMem_RawMalloc Objects/obmalloc.c:586
    #2 0x7f2 in Py_BytesMain Modules/main.c:734
"""

ENGINE_LEAK = """\
Indirect leak of 800 byte(s) in 1 object(s) allocated from:
    #0 0x7f0 in operator new(unsigned long) ../../../../src/libsanitizer/asan/asan_new_delete.cpp:99
    #1 0x7f1 in pelix::build_bonds(pelix::Engine&) /checkout/src/potentials/family_contract.hpp:120
    #2 0x7f2 in py_calcforce /checkout/src/interface/module.cpp:529
"""


def leaks(*records):
    text = "==1==ERROR: LeakSanitizer: detected memory leaks\n\n" + "\n".join(records)
    return text + "\nSUMMARY: AddressSanitizer: leaked.\n"


TRACER = ("Tracer caught signal 11: addr=0x7168 pc=0x7f8 sp=0x7f8\n"
          "==9==LeakSanitizer has encountered a fatal error.\n")
# Report files added one after another, and the number of findings among all of them then.
REPORTS = [
    (leaks(INTERPRETER_LEAK, INTERPRETER_LEAK), 0),
    (leaks(INTERPRETER_LEAK, ENGINE_LEAK), 1),
    # A module frame that could not be symbolised still counts.
    (leaks(INTERPRETER_LEAK.replace("in Py_BytesMain Modules/main.c:734",
                                    " (/x/PELIXInterface.cpython-311-x86_64-linux-gnu.so+0x1c2e)")),
     2),
    ("/checkout/src/interface/driver.cpp:40:7: runtime error: signed integer overflow\n", 3),
    # The leak checker failing at exit reports no block: a warning, not a finding; an error
    # report from the same process still counts.
    (TRACER, 3),
    (TRACER + "/checkout/src/x.cpp:1:1: runtime error: division by zero\n", 4),
]


def test_only_leaks_under_the_engine_and_other_reports_are_findings(tmp_path):
    for k, (text, count) in enumerate(REPORTS):
        (tmp_path / f"report.{k}").write_text(text)
        found = reports.findings(tmp_path, "/checkout")
        assert len(found) == count, (k, found)
    # Only the leaked block under the engine is quoted.
    assert "pelix::build_bonds" in found[0] and "PyMem_RawMalloc" not in found[0]
