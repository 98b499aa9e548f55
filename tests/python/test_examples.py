"""The scripts under examples/, each run small in a fresh interpreter."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"
PNG_SIGNATURE = b"\x89PNG\r\n\x1a\n"


def run_example(tmp_path, name: str, *args: str) -> str:
    done = subprocess.run([sys.executable, str(EXAMPLES / name), *args], cwd=tmp_path,
                          capture_output=True, text=True, timeout=300)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def number(pattern: str, text: str) -> float:
    found = re.search(pattern, text)
    assert found, (pattern, text)
    return float(found.group(1))


def test_iron_dynamics_conserves_energy_and_plots_it(tmp_path):
    out = run_example(tmp_path, "md_iron.py", "--cells", "3", "--steps", "150",
                      "--temperature", "900", "--output", "md.png")
    assert number(r"largest deviation of the total energy: (\S+) eV/atom", out) < 1e-4
    # The crystal starts hot and gives about half of the kinetic energy to the potential.
    start = number(r"temperature: (\S+) K at the start", out)
    end = number(r"K at the start, (\S+) K at the end", out)
    assert 0.2 * start < end < 0.8 * start
    assert (tmp_path / "md.png").read_bytes().startswith(PNG_SIGNATURE)


@pytest.mark.parametrize("element, lattice", [("Ag", 4.086), ("Au", 4.078)])
def test_equation_of_state_finds_the_lattice_constant(tmp_path, element, lattice):
    out = run_example(tmp_path, "eos_silver.py", "--element", element, "--cells", "3",
                      "--points", "5", "--plot", "eos.png")
    assert number(r"lattice constant: (\S+) A", out) == pytest.approx(lattice, rel=2e-3)
    assert 20.0 < number(r"bulk modulus: (\S+) GPa", out) < 500.0
    assert number(r"energy at equilibrium: (\S+) eV/atom", out) < -1.0
    assert (tmp_path / "eos.png").read_bytes().startswith(PNG_SIGNATURE)


def test_cascade_reaches_the_short_range_join_and_counts_defects(tmp_path):
    out = run_example(tmp_path, "cascade_iron.py", "--cells", "4", "--energy", "150",
                      "--time", "15", "--output", "damage.png")
    assert number(r"closest approach: (\S+) A", out) < 2.0
    vacancies = number(r"Frenkel pairs: (\d+) vacancies", out)
    assert vacancies == number(r"vacancies, (\d+) interstitials", out)
    assert number(r"displaced atoms \(moved more than 1 A\): (\d+)", out) >= 1
    assert abs(number(r"\((\S+) eV\)\n", out)) < 1e-3 * 150.0
    assert (tmp_path / "damage.png").read_bytes().startswith(PNG_SIGNATURE)


def test_relaxation_lowers_every_energy(tmp_path):
    out = run_example(tmp_path, "relax_oxygen_yttrium.py", "--cells", "4", "--fmax", "0.05")
    rows = re.findall(r"^(\w+, (?:next to|far from) Y)\s+(\S+)\s+(\S+)\s+(\d+)\s+(\S+)\s+(\S+)$",
                      out, flags=re.MULTILINE)
    assert len(rows) == 3, out
    for name, unrelaxed, relaxed, steps, distance, binding in rows:
        assert float(relaxed) < float(unrelaxed) and int(steps) > 0, name
        assert (float(distance) > 5.0) == name.endswith("far from Y")
    assert float(rows[-1][5]) == 0.0
