"""Plant known faults in the C++ sources and see which ones the test suite catches.

Each fault is a small edit (a flipped sign, a changed constant, an off-by-one, a dropped
term, a wrong index, ...) made in a private clone of the repository, never in the working
tree. For every fault the clone is rebuilt, the GoogleTest suite runs through ctest and, if
that passes, the pytest suite runs against the freshly built module. A fault is "caught"
when either suite fails (or the run exceeds the time limit).

Run on demand, from the repository root:

    python3 tools/plant_faults.py                      # all faults, on HEAD
    python3 tools/plant_faults.py --rev 52a527a --work /tmp/pf
    python3 tools/plant_faults.py --only zbl-force-sign,dsf-energy-half
    python3 tools/plant_faults.py --list               # show the faults, run nothing

The table goes to stdout and to <work>/report.txt; the logs of each fault's build and test
runs go to <work>/logs/.
"""

from __future__ import annotations

import argparse
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

REPO_ROOT = Path(__file__).resolve().parent.parent
FAULT_TIME_LIMIT = 600.0  # seconds for one fault's rebuild and test runs together
BUILD_TIME_LIMIT = 3600.0  # seconds for the first full build


@dataclass(frozen=True)
class Fault:
    id: str
    description: str
    path: str
    old: str
    new: str


FAULTS = [
    # Python module: argument conversion
    Fault("module-int-range", "integer arguments beyond 32 bits are not refused",
          "src/interface/module.cpp",
          "if (overflow == 0 && !(v == -1 && PyErr_Occurred()) && v >= INT32_MIN && v <= INT32_MAX) {",
          "if (overflow == 0 && !(v == -1 && PyErr_Occurred())) {"),
    Fault("module-readonly-out", "a read-only output array is accepted",
          "src/interface/module.cpp",
          "const bool writeable = PyArray_ISWRITEABLE(arr);",
          "const bool writeable = true;"),
    Fault("module-contiguous", "a non-contiguous in/out array is used in place",
          "src/interface/module.cpp",
          "if (contiguous && aligned && compatible && have_size == want_size && native && writeable) {",
          "if (aligned && compatible && have_size == want_size && native && writeable) {"),
    # Force-call driver
    Fault("driver-pos-index", "y coordinate read from the z slot of pos",
          "src/interface/driver.cpp",
          "const double y = call.pos[offset + 3 * a + 1];",
          "const double y = call.pos[offset + 3 * a + 2];"),
    Fault("driver-fixed-forces", "atoms of fixed lattice type (0) report their forces",
          "src/interface/driver.cpp",
          "if (rec.latyp != 0) {",
          "if (rec.latyp >= 0) {"),
    # Run configuration and lattice constraints
    Fault("config-pbc-swap", "PBCY and PBCZ read into each other's setting",
          "src/config/run_config.cpp",
          'int_item(c.pbcy, "PBCY"), int_item(c.pbcz, "PBCZ")',
          'int_item(c.pbcz, "PBCY"), int_item(c.pbcy, "PBCZ")'),
    Fault("lattice-fx-type", "FX slabs give the DP lattice type instead of fixed",
          "src/config/lattice.cpp",
          'if (blank_padded_equal(code, "FX"))\n        return 0;',
          'if (blank_padded_equal(code, "FX"))\n        return 1;'),
    # Atom store and element table
    Fault("atoms-ke-half", "kinetic energy without the factor 0.5",
          "src/atoms/atom_store.cpp",
          "return 0.5 * store.mass[static_cast<std::size_t>(record.specie)] * v2;",
          "return store.mass[static_cast<std::size_t>(record.specie)] * v2;"),
    Fault("elements-y-number", "yttrium given atomic number 38",
          "src/atoms/elements.cpp",
          '{"Y_", 39, 88.91, 1.62}',
          '{"Y_", 38, 88.91, 1.62}'),
    # Cell grid and periodic image offsets
    Fault("cells-fold-negative", "negative periodic coordinates folded one box short",
          "src/interaction/cells.cpp",
          "c += std::trunc(1.0 - c / length) * length;",
          "c += std::trunc(-c / length) * length;"),
    Fault("cells-last-image", "the last periodic image offset is never filled in",
          "src/interaction/cells.cpp",
          "for (int n = -m; n <= m; ++n) {",
          "for (int n = -m; n < m; ++n) {"),
    # Neighbour list and range filter
    Fault("nlist-upper-cell", "the cell above along each axis is not searched",
          "src/interaction/neighbour_list.cpp",
          "for (int32_t d = -1; d <= 1; ++d) {",
          "for (int32_t d = -1; d < 1; ++d) {"),
    Fault("nlist-image-codes", "image codes of y and z swapped in a fully periodic box",
          "src/interaction/neighbour_list.cpp",
          "return {9, 1, 3};",
          "return {9, 3, 1};"),
    Fault("filter-avx512-offset", "wide range filter shifts y by the x image offset",
          "src/interaction/range_filter.cpp",
          "py = _mm512_sub_pd(py, oy);",
          "py = _mm512_sub_pd(py, ox);"),
    Fault("filter-scalar-self", "scalar range filter lists an atom as its own neighbour",
          "src/interaction/range_filter.cpp",
          "return written + ((within && j != c.i) ? 1 : 0);",
          "return written + (within ? 1 : 0);"),
    # Potential registry (potfor.IN)
    Fault("registry-one-sided", "a potfor record sets only the (a, b) entry, not (b, a)",
          "src/interaction/registry.cpp",
          "registry.potype(a, b) = potflg;\n                registry.potype(b, a) = potflg;\n",
          "registry.potype(a, b) = potflg;\n"),
    Fault("registry-potnum", "potential numbers off by one",
          "src/interaction/registry.cpp",
          "potnum(a, b) = find_in_potlst(registry.potlst, registry.potype(a, b)) + 1;",
          "potnum(a, b) = find_in_potlst(registry.potlst, registry.potype(a, b));"),
    # Evaluation
    Fault("eval-last-potential", "the last listed potential is never evaluated",
          "src/interaction/evaluation.cpp",
          "for (int32_t k = 1; k <= registry.num_pots; ++k) {",
          "for (int32_t k = 1; k < registry.num_pots; ++k) {"),
    Fault("eval-stale-list", "list reuse test ignores the second largest displacement",
          "src/interaction/evaluation.cpp",
          "return std::sqrt(largest) + std::sqrt(second) > engine.neighbours.neblst_skin;",
          "return std::sqrt(largest) > engine.neighbours.neblst_skin;"),
    Fault("contract-pe-half", "pair energy booked in full on both atoms (no factor 0.5)",
          "src/potentials/family_contract.hpp",
          "const double half = 0.5 * v;",
          "const double half = v;"),
    Fault("contract-image-y", "bond geometry uses the x image offset for y",
          "src/potentials/family_contract.hpp",
          "xyz[4 * n + 1] = ff.yofset[static_cast<std::size_t>(n)];",
          "xyz[4 * n + 1] = ff.xofset[static_cast<std::size_t>(n)];"),
    # ZBL function and bridge
    Fault("zbl-rule-b", "screening rule B computed like rule A",
          "src/potentials/zbl.cpp",
          "numerator / std::sqrt(sum);",
          "numerator / sum;"),
    Fault("zbl-decay-units", "ZBL decay constants multiplied by the screening length",
          "src/potentials/zbl.cpp",
          "terms.cond[k] = -d[k] / a;",
          "terms.cond[k] = -d[k] * a;"),
    Fault("zbl-force-sign", "ZBL force with the 1/r term's sign flipped",
          "src/potentials/zbl.hpp",
          "out.f = -(ds / r - out.v / r);",
          "out.f = -(ds / r + out.v / r);"),
    Fault("bridge-derivative", "bridge polynomial derivative uses 4 b5 instead of 5 b5",
          "src/potentials/zbl.hpp",
          "r * 5.0 * b[5]",
          "r * 4.0 * b[5]"),
    # Families
    Fault("ionic-pair-order", "MGOPOTL pair types numbered in another order",
          "src/potentials/ionic/keywords.hpp",
          "kMgopotlPairs[] = {{kMg, kMg}, {kMg, kO}, {kO, kO}};",
          "kMgopotlPairs[] = {{kMg, kO}, {kMg, kMg}, {kO, kO}};"),
    Fault("ionic-taper-sign", "ionic taper derivative term with the wrong sign",
          "src/potentials/ionic/ionic.hpp",
          "g = taper * g0 - v0 * 0.5 * std::cos(theta) * rate;",
          "g = taper * g0 + v0 * 0.5 * std::cos(theta) * rate;"),
    Fault("ionic-shift-slope", "the shifted repulsion's slope without its -shift/r",
          "src/potentials/ionic/ionic.hpp",
          "g = -bare.f - shift / r;",
          "g = -bare.f;"),
    Fault("ionic-born-d-sign", "Born-Mayer-Huggins D/r^8 term with the wrong sign",
          "src/potentials/ionic/ionic.hpp",
          "v = form.a * repulsion - form.c * inverse_r6 + form.d * inverse_r8;",
          "v = form.a * repulsion - form.c * inverse_r6 - form.d * inverse_r8;"),
    Fault("ionic-bridge-curvature", "fitted bridge misses the repulsion's curvature",
          "src/potentials/ionic/ionic.cpp",
          "q.b[2] = 0.5 * left.d2v;",
          "q.b[2] = 0.45 * left.d2v;"),
    Fault("ionic-block-numbering", "glass keywords number their pair types wrongly",
          "src/potentials/ionic/ionic.cpp",
          "return lo * n - lo * (lo - 1) / 2 + (hi - lo) + 1;",
          "return lo * n - lo * (lo + 1) / 2 + (hi - lo) + 1;"),
    Fault("aziz-damping-slope", "Aziz damping slope without D",
          "src/potentials/ionic/ionic.hpp",
          "damping_slope = damping * 2.0 * u * f.d * ix2;",
          "damping_slope = damping * 2.0 * u * ix2;"),
    Fault("ionic-variant-name", "a file's variant record takes another set",
          "src/potentials/ionic/ionic_file.cpp",
          "row.variant == items[3]",
          "row.variant != items[3]"),
    Fault("feigao-density-slope", "s-band density slope with psi instead of 2 psi",
          "src/potentials/knot_eam/knot_eam.cpp",
          "out.drho = g * (3.0 - 2.0 * form.psi * r);",
          "out.drho = g * (3.0 - form.psi * r);"),
    Fault("morsept-cutoff-term", "morsept force drops the smoothing-derivative term",
          "src/potentials/morsept.cpp",
          "out.f = -(dv0 * cutfcn) - cutdrv * v0;",
          "out.f = -(dv0 * cutfcn);"),
    Fault("morlist-cutoff", "morlist cutoff squared from the first and last abscissae",
          "src/potentials/morlist.cpp",
          "state.morlist_conrh2[s] = table.x.back() * table.x.back();",
          "state.morlist_conrh2[s] = table.x.back() * table.x.front();"),
    Fault("acklist-table-end", "acklist pair table ends one point early",
          "src/potentials/acklist.cpp",
          "state.acklist_pw_cutoff = table.x.back();",
          "state.acklist_pw_cutoff = table.x[table.x.size() - 2];"),
    Fault("embedding-sqrt-half", "embedding force without the 0.5 of d sqrt(rho)",
          "src/potentials/embedded_atom.hpp",
          "double c = s > guard ? 0.5 * embedding.root / s : 0.0;",
          "double c = s > guard ? embedding.root / s : 0.0;"),
    Fault("embedding-square-factor", "embedding force of the rho^2 term without its factor 2",
          "src/potentials/embedded_atom.hpp",
          "c += a1 + rho * (2.0 * a2 + 4.0 * a4 * rho2);",
          "c += a1 + rho * (a2 + 4.0 * a4 * rho2);"),
    Fault("knot-eam-many-bond-factor", "batched knot-sum pair force uses 2 instead of 3",
          "src/potentials/knot_eam/knot_eam.cpp",
          "f[k] = 3.0 * f[k];",
          "f[k] = 2.0 * f[k];"),
    Fault("knot-eam-density-scale", "scaled densities of mixed pairs taken unscaled",
          "src/potentials/knot_eam/knot_eam.cpp",
          "rho[k] *= density.scale;",
          "rho[k] *= 1.0;"),
    Fault("knot-eam-power-slope", "power-series pair force drops the leading power's slope",
          "src/potentials/knot_eam/knot_eam.cpp",
          "out.f = lead_slope * poly + lead * slope;",
          "out.f = lead * slope;"),
    Fault("knot-eam-screened-slope", "screened density slope without the 1/r of its prefactor",
          "src/potentials/knot_eam/knot_eam.cpp",
          "out.drho = g * ((-form.beta - 1.0 / r) * w",
          "out.drho = g * ((-form.beta) * w"),
    Fault("knot-eam-bridge-fit-slope", "fitted bridge matches minus the ZBL slope",
          "src/potentials/knot_eam/knot_eam.cpp",
          "{0.0, 1.0, 2.0 * r1, 3.0 * r1 * r1, -inner.f / inner.v},",
          "{0.0, 1.0, 2.0 * r1, 3.0 * r1 * r1, inner.f / inner.v},"),
    Fault("knot-eam-density-neighbour", "density of a mixed bond taken from the centre's element",
          "src/potentials/knot_eam/knot_eam.cpp",
          "const int32_t neighbour = pair.za == centre ? pair.zb : pair.za;",
          "const int32_t neighbour = centre;"),
    Fault("ternary-density-index", "ternary density of the neighbour taken from the centre's element",
          "src/potentials/ternary.cpp",
          "const int element = ternary_element(anum[ff.specie[j]]);",
          "const int element = ternary_element(anum[ff.specie[i]]);"),
    Fault("ternary-pair-type", "ternary mixed pair types shifted by one",
          "src/potentials/ternary.cpp",
          "return ea + eb + 3;",
          "return ea + eb + 2;"),
    Fault("zblpotl-taper-half", "zblpotl taper derivative missing the factor 0.5",
          "src/potentials/zblpotl.cpp",
          "state.zblpotl_confc[s] = -std::numbers::pi / (2.0 * width);",
          "state.zblpotl_confc[s] = -std::numbers::pi / width;"),
    Fault("knot-sums-lane", "vector knot sums store the first block's cubes into the second",
          "src/potentials/knot_sums.cpp",
          "_mm256_storeu_pd(cubes + b + 4, cub);",
          "_mm256_storeu_pd(cubes + b + 4, cua);"),
    Fault("pair-table-first-force", "pair table takes the start force from the second row",
          "src/potentials/pair_table.cpp",
          "if (p == 0)\n            table.first_force = f;",
          "if (p == 1)\n            table.first_force = f;"),
    # Splines
    Fault("spline-clamp-start", "clamped spline start row with the wrong sign",
          "src/common/spline.cpp",
          "y2[0] = -0.5;",
          "y2[0] = 0.5;"),
    Fault("spline-interval-round", "equal-spacing lookup rounds to the nearest interval",
          "src/common/spline.cpp",
          "k = static_cast<std::size_t>(position);",
          "k = static_cast<std::size_t>(position + 0.5);"),
    # Electrostatics
    Fault("dsf-energy-half", "DSF pair energy share without the factor 0.5",
          "src/electrostatics/dsf.cpp",
          "const double energy = 0.5 * qq * (",
          "const double energy = qq * ("),
    Fault("dsf-force-shift", "DSF force drops the shifted-force term",
          "src/electrostatics/dsf.cpp",
          "const double force = qq * (screened / (r * r) + gauss - shift.b);",
          "const double force = qq * (screened / (r * r) + gauss);"),
    Fault("ewald-self", "Ewald self energy with half its factor",
          "src/electrostatics/ewald.cpp",
          "const double self = 2.0 * p.alpha / p.sqrt_pi;",
          "const double self = p.alpha / p.sqrt_pi;"),
    Fault("ewald-sine-sign", "Ewald structure factor sine sum with the wrong sign",
          "src/electrostatics/ewald.cpp",
          "ss -= qb[i] * s[i];",
          "ss += qb[i] * s[i];"),
    Fault("multipole-near-pairs", "multipole near field skips the next atom in the same cell",
          "src/electrostatics/multipole/multipole_tree.cpp",
          "pair_sum(i, px[i], py[i], pz[i], i + 1, last);",
          "pair_sum(i, px[i], py[i], pz[i], i + 2, last);"),
]


@dataclass
class Outcome:
    fault: Fault
    result: str  # caught (C++) | caught (Python) | caught (timeout) | not caught | ...
    detail: str
    seconds: float

    @property
    def caught(self) -> bool:
        return self.result.startswith("caught")


class Deadline:
    """Time left of one fault's budget."""

    def __init__(self, seconds: float):
        self.end = time.monotonic() + seconds

    def left(self) -> float:
        return max(1.0, self.end - time.monotonic())


class TimedOut(Exception):
    pass


def run(cmd: list[str], cwd: Path, log: Path, timeout: float, env: dict | None = None) -> tuple[int, str]:
    """Runs a command in its own process group, appending its output to `log`."""
    with subprocess.Popen(cmd, cwd=cwd, env=env, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, start_new_session=True) as proc:
        try:
            output, _ = proc.communicate(timeout=timeout)
        except subprocess.TimeoutExpired:
            os.killpg(proc.pid, signal.SIGKILL)
            output, _ = proc.communicate()
            append_log(log, cmd, output + "\n[timed out]\n")
            raise TimedOut(" ".join(cmd[:3]))
    append_log(log, cmd, output)
    return proc.returncode, output


def append_log(log: Path, cmd: list[str], output: str) -> None:
    with log.open("a") as f:
        f.write("$ " + " ".join(cmd) + "\n" + output + "\n")


def git(clone: Path, *args: str) -> None:
    subprocess.run(["git", *args], cwd=clone, check=True)


def make_clone(rev: str, work: Path) -> Path:
    clone = work / "clone"
    if clone.exists():
        shutil.rmtree(clone)
    work.mkdir(parents=True, exist_ok=True)
    subprocess.run(["git", "clone", "--quiet", "--no-checkout", str(REPO_ROOT), str(clone)], check=True)
    git(clone, "checkout", "--quiet", rev)
    return clone


def build_dir(clone: Path) -> Path:
    return clone / "build"


def configure_and_build(clone: Path, log: Path) -> bool:
    configure = ["cmake", "-S", str(clone), "-B", str(build_dir(clone)), "-G", "Ninja",
                 "-DPELIX_BUILD_TESTS=ON", "-DPELIX_BUILD_MODULE=ON",
                 "-DCMAKE_BUILD_TYPE=RelWithDebInfo"]
    code, _ = run(configure, clone, log, BUILD_TIME_LIMIT)
    return code == 0 and rebuild(clone, log, BUILD_TIME_LIMIT)


def rebuild(clone: Path, log: Path, timeout: float) -> bool:
    code, _ = run(["cmake", "--build", str(build_dir(clone))], clone, log, timeout)
    return code == 0


def python_env(clone: Path) -> dict:
    env = dict(os.environ)
    env["PYTHONPATH"] = f"{build_dir(clone)}{os.pathsep}{clone / 'python'}"
    env.pop("PYTHONHOME", None)
    return env


def module_comes_from_clone(clone: Path, log: Path) -> bool:
    code, output = run([sys.executable, "-c", "import PELIXInterface; print(PELIXInterface.__file__)"],
                       clone, log, 120, python_env(clone))
    where = output.strip().splitlines()[-1] if output.strip() else ""
    return code == 0 and Path(where).resolve().is_relative_to(build_dir(clone).resolve())


def first_failed_ctest(output: str) -> str:
    match = re.search(r"^\s*\d+ - (\S+) \(([^)]*)\)", output, re.MULTILINE)
    if match:
        return f"{match.group(1)} ({match.group(2)})"
    match = re.search(r"Test\s+#\d+: (\S+) \.+\**\s*(\w[^\n]*)", output)
    return match.group(1) if match else "ctest failed"


def first_failed_pytest(output: str) -> str:
    match = re.search(r"^(?:FAILED|ERROR) (\S+)", output, re.MULTILINE)
    return match.group(1) if match else "pytest failed"


def run_suites(clone: Path, log: Path, deadline: Deadline) -> tuple[str, str]:
    """Runs ctest, then pytest if ctest passed. Returns (result, first failing test)."""
    ctest = ["ctest", "--test-dir", str(build_dir(clone)), "--output-on-failure", "--timeout", "120",
             "--stop-on-failure"]
    code, output = run(ctest, clone, log, deadline.left())
    if code != 0:
        return "caught (C++)", first_failed_ctest(output)
    pytest = [sys.executable, "-m", "pytest", "-x", "-q", "-p", "no:cacheprovider", "tests/python"]
    code, output = run(pytest, clone, log, deadline.left(), python_env(clone))
    if code != 0:
        return "caught (Python)", first_failed_pytest(output)
    return "not caught", ""


def apply_fault(clone: Path, fault: Fault) -> bool:
    source = clone / fault.path
    if not source.is_file():
        return False
    text = source.read_text()
    if text.count(fault.old) != 1:
        return False
    source.write_text(text.replace(fault.old, fault.new))
    return True


def restore(clone: Path, fault: Fault) -> None:
    if (clone / fault.path).exists():
        git(clone, "checkout", "--", fault.path)


def try_fault(clone: Path, fault: Fault, logs: Path) -> Outcome:
    started = time.monotonic()
    log = logs / f"{fault.id}.log"
    log.write_text("")
    deadline = Deadline(FAULT_TIME_LIMIT)
    try:
        if not apply_fault(clone, fault):
            return Outcome(fault, "does not apply", "old text not found exactly once", 0.0)
        try:
            if not rebuild(clone, log, deadline.left()):
                return Outcome(fault, "does not build", "", time.monotonic() - started)
            result, detail = run_suites(clone, log, deadline)
        except TimedOut as timeout:
            result, detail = "caught (timeout)", str(timeout)
        return Outcome(fault, result, detail, time.monotonic() - started)
    finally:
        restore(clone, fault)


def format_table(outcomes: list[Outcome]) -> str:
    rows = [("id", "result", "first failing test", "seconds")]
    rows += [(o.fault.id, o.result, o.detail, f"{o.seconds:.0f}") for o in outcomes]
    widths = [max(len(row[k]) for row in rows) for k in range(4)]
    lines = ["  ".join(cell.ljust(widths[k]) for k, cell in enumerate(row)).rstrip() for row in rows]
    lines.insert(1, "  ".join("-" * w for w in widths))
    return "\n".join(lines)


def summary(outcomes: list[Outcome], total_seconds: float) -> str:
    tried = [o for o in outcomes if o.result not in ("does not apply", "does not build")]
    caught = sum(o.caught for o in tried)
    skipped = len(outcomes) - len(tried)
    return (f"{len(outcomes)} faults, {skipped} did not apply or build; "
            f"total {total_seconds:.0f} s\ncaught {caught} of {len(tried)}")


def select_faults(only: str | None) -> list[Fault]:
    if not only:
        return FAULTS
    wanted = [name.strip() for name in only.split(",") if name.strip()]
    known = {fault.id: fault for fault in FAULTS}
    unknown = [name for name in wanted if name not in known]
    if unknown:
        sys.exit(f"unknown fault id(s): {', '.join(unknown)}")
    return [known[name] for name in wanted]


def list_faults(faults: list[Fault]) -> None:
    width = max(len(fault.id) for fault in faults)
    for fault in faults:
        print(f"{fault.id.ljust(width)}  {fault.path}  {fault.description}")
    print(f"{len(faults)} faults")


def parse_args(argv: list[str]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rev", default="HEAD", help="revision to clone (default HEAD)")
    parser.add_argument("--work", default="build/plant-faults", help="scratch directory")
    parser.add_argument("--only", help="comma-separated fault ids to run")
    parser.add_argument("--list", action="store_true", help="print the faults and stop")
    return parser.parse_args(argv)


def main(argv: list[str]) -> int:
    args = parse_args(argv)
    faults = select_faults(args.only)
    if args.list:
        list_faults(faults)
        return 0

    started = time.monotonic()
    rev = subprocess.run(["git", "rev-parse", "--verify", args.rev + "^{commit}"], cwd=REPO_ROOT,
                         check=True, capture_output=True, text=True).stdout.strip()
    work = Path(args.work).resolve()
    clone = make_clone(rev, work)
    logs = work / "logs"
    logs.mkdir(exist_ok=True)
    print(f"revision {rev}, clone {clone}", flush=True)

    baseline_log = logs / "baseline.log"
    baseline_log.write_text("")
    if not configure_and_build(clone, baseline_log):
        print(f"the unfaulted clone does not build; see {baseline_log}")
        return 1
    if not module_comes_from_clone(clone, baseline_log):
        print(f"PELIXInterface does not resolve into {build_dir(clone)}; see {baseline_log}")
        return 1
    result, detail = run_suites(clone, baseline_log, Deadline(BUILD_TIME_LIMIT))
    if result != "not caught":
        print(f"the unfaulted clone fails its suite: {result} {detail}; see {baseline_log}")
        return 1
    print(f"unfaulted suite passes ({time.monotonic() - started:.0f} s)", flush=True)

    outcomes = []
    for fault in faults:
        outcome = try_fault(clone, fault, logs)
        outcomes.append(outcome)
        print(f"{fault.id}: {outcome.result} {outcome.detail} ({outcome.seconds:.0f} s)", flush=True)

    report = format_table(outcomes) + "\n" + summary(outcomes, time.monotonic() - started)
    print(report)
    (work / "report.txt").write_text(report + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
