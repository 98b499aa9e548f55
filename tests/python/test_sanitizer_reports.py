"""The reading of sanitizer reports in tools/sanitizer_reports.py, which decides whether the
sanitized run and its leak pass fail: the interpreter's own leaks are not findings, a leak under
the engine's code and any other sanitizer report are."""

import importlib.util
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
loader = importlib.util.spec_from_file_location("sanitizer_reports",
                                              ROOT / "tools" / "sanitizer_reports.py")
reports = importlib.util.module_from_spec(loader)
loader.loader.exec_module(reports)

INTERPRETER_LEAK = """\
Direct leak of 64 byte(s) in 1 object(s) allocated from:
    #0 0x7f0 in malloc ../../../../src/libsanitizer/asan/asan_malloc_linux.cpp:69
    #1 0x7f1 in PyMem_RawMalloc Objects/obmalloc.c:586
    #2 0x7f2 in Py_BytesMain Modules/main.c:734
"""

ENGINE_LEAK = """\
Indirect leak of 800 byte(s) in 1 object(s) allocated from:
    #0 0x7f0 in operator new(unsigned long) ../../../../src/libsanitizer/asan/asan_new_delete.cpp:99
    #1 0x7f1 in pelix::build_bonds(pelix::Engine&) {root}/src/potentials/family_contract.hpp:120
    #2 0x7f2 in py_calcforce {root}/src/interface/module.cpp:529
"""


def write(directory, name, *records):
    text = "==1==ERROR: LeakSanitizer: detected memory leaks\n\n" + "\n".join(records)
    (directory / name).write_text(text + "\nSUMMARY: AddressSanitizer: leaked.\n")


def test_only_leaks_under_the_engine_and_other_reports_are_findings(tmp_path):
    root = "/checkout"
    write(tmp_path, "report.1", INTERPRETER_LEAK, INTERPRETER_LEAK)
    assert reports.findings(tmp_path, root) == []

    write(tmp_path, "report.2", INTERPRETER_LEAK, ENGINE_LEAK.format(root=root))
    found = reports.findings(tmp_path, root)
    assert len(found) == 1 and "pelix::build_bonds" in found[0]
    assert "PyMem_RawMalloc" not in found[0]

    # A module frame that could not be symbolised still counts.
    unsymbolised = INTERPRETER_LEAK.replace(
        "#2 0x7f2 in Py_BytesMain Modules/main.c:734",
        "#2 0x7f2  (/x/PELIXInterface.cpython-311-x86_64-linux-gnu.so+0x1c2e)")
    write(tmp_path, "report.3", unsymbolised)
    assert len(reports.findings(tmp_path, root)) == 2

    (tmp_path / "report.4").write_text(
        "/checkout/src/interface/driver.cpp:40:7: runtime error: signed integer overflow\n")
    assert len(reports.findings(tmp_path, root)) == 3

    # The leak checker failing at exit reports no block: a warning, not a finding; an error
    # report from the same process still counts.
    tracer = ("Tracer caught signal 11: addr=0x7168 pc=0x7f8 sp=0x7f8\n"
              "==9==LeakSanitizer has encountered a fatal error.\n")
    (tmp_path / "report.5").write_text(tracer)
    assert len(reports.findings(tmp_path, root)) == 3
    (tmp_path / "report.6").write_text(
        tracer + "/checkout/src/x.cpp:1:1: runtime error: division by zero\n")
    assert len(reports.findings(tmp_path, root)) == 4
