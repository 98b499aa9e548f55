"""The scripts under examples/ and the cases of pelix.example, each run small in a fresh
interpreter."""

import math
import re
import subprocess
import sys
from pathlib import Path

import pytest

from pelix.example import CASES

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"


def run(tmp_path, *args: str, plot: str = "") -> str:
    done = subprocess.run([sys.executable, *args], cwd=tmp_path, capture_output=True, text=True,
                          timeout=300)
    assert done.returncode == 0, done.stdout + done.stderr
    assert not plot or (tmp_path / plot).read_bytes().startswith(b"\x89PNG\r\n\x1a\n")
    return done.stdout


def number(pattern: str, text: str) -> float:
    found = re.search(pattern, text)
    assert found, (pattern, text)
    return float(found.group(1))


@pytest.mark.parametrize("case", sorted(CASES))
def test_example_case_runs_its_calls_to_the_end(tmp_path, case):
    out = run(tmp_path, "-m", "pelix.example", "--case", case, "--cells", "3", "--calls", "2")
    calls = re.findall(r"energy (\S+) eV .*largest force (\S+) eV/A .*status (\d+)", out)
    assert len(calls) == 2, out
    for energy, force, status in calls:  # energy and largest force finite, neither zero
        assert status == "0" and 0 < abs(float(energy)) < math.inf and 0 < float(force) < math.inf


def test_iron_dynamics_conserves_energy_and_plots_it(tmp_path):
    out = run(tmp_path, str(EXAMPLES / "md_iron.py"), "--cells", "3", "--steps", "150",
              "--temperature", "900", "--output", "md.png", plot="md.png")
    assert number(r"largest deviation of the total energy: (\S+) eV/atom", out) < 1e-4
    # The crystal starts hot and gives about half of the kinetic energy to the potential.
    start = number(r"temperature: (\S+) K at the start", out)
    assert 0.2 * start < number(r"K at the start, (\S+) K at the end", out) < 0.8 * start


@pytest.mark.parametrize("element, lattice", [("Ag", 4.086), ("Au", 4.078)])
def test_equation_of_state_finds_the_lattice_constant(tmp_path, element, lattice):
    out = run(tmp_path, str(EXAMPLES / "eos_silver.py"), "--element", element, "--cells", "3",
              "--points", "5", "--plot", "eos.png", plot="eos.png")
    assert number(r"lattice constant: (\S+) A", out) == pytest.approx(lattice, rel=2e-3)
    assert 20.0 < number(r"bulk modulus: (\S+) GPa", out) < 500.0
    assert number(r"energy at equilibrium: (\S+) eV/atom", out) < -1.0


def test_cascade_reaches_the_short_range_join_and_counts_defects(tmp_path):
    out = run(tmp_path, str(EXAMPLES / "cascade_iron.py"), "--cells", "4", "--energy", "150",
              "--time", "15", "--output", "damage.png", plot="damage.png")
    assert number(r"closest approach: (\S+) A", out) < 2.0
    assert number(r"Frenkel pairs: (\d+) vacancies", out) == number(r"vacancies, (\d+) inter", out)
    assert number(r"displaced atoms \(moved more than 1 A\): (\d+)", out) >= 1
    assert abs(number(r"\((\S+) eV\)\n", out)) < 1e-3 * 150.0


def test_relaxation_lowers_every_energy(tmp_path):
    out = run(tmp_path, str(EXAMPLES / "relax_oxygen_yttrium.py"), "--cells", "4", "--fmax",
              "0.05")
    rows = re.findall(r"^(\w+, (?:next to|far from) Y)\s+(\S+)\s+(\S+)\s+(\d+)\s+(\S+)\s+(\S+)$",
                      out, flags=re.MULTILINE)
    assert len(rows) == 3, out
    for name, unrelaxed, relaxed, steps, distance, binding in rows:
        assert float(relaxed) < float(unrelaxed) and int(steps) > 0, name
        assert (float(distance) > 5.0) == name.endswith("far from Y")
    assert float(rows[-1][5]) == 0.0
