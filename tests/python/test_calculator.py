"""The ASE calculator: forces against ASE's finite differences for every built family, and
the handling of directories, periodic flags, slabs, lost atoms and refused input.

The engine keeps its state per process, so each test runs its calculator in a fresh
interpreter."""

import itertools
import json
import math
import subprocess
import sys
import textwrap

import pytest

from reference import write_table

BUCKBW_PAIRS = [(a, b, "BUCKBW")
                for a, b in itertools.combinations_with_replacement(("Fe", "Ti", "Y", "O"), 2)]

# Per family: pair records, crystal (element, structure, lattice constant, cells), and the
# share of sites given to each other element.
FAMILIES = {
    "ACKLAND Fe": ([("Fe", "Fe", "ACKLAND")], ("Fe", "bcc", 2.8665, 3), {}),
    "ACKLAND Ag": ([("Ag", "Ag", "ACKLAND")], ("Ag", "fcc", 4.086, 2), {}),
    "ACKLAND Au": ([("Au", "Au", "ACKLAND")], ("Au", "fcc", 4.078, 2), {}),
    "BUCKBW": (BUCKBW_PAIRS, ("Fe", "bcc", 2.8665, 3), {"Ti": 0.1, "Y": 0.1, "O": 0.15}),
    "MORSEPT": ([("Fe", "Fe", "ZERO"), ("P", "P", "MORSEPT"), ("P", "Fe", "MORSEPT")],
                ("Fe", "bcc", 2.8665, 3), {"P": 0.3}),
    "ZBLPOTL": ([("Fe", "Fe", "ZERO"), ("C", "C", "ZERO"), ("Fe", "C", "ZBLPOTL")],
                ("Fe", "bcc", 2.8665, 3), {"C": 0.3}),
    "MORLIST": ([("Fe", "Fe", "ZERO"), ("P", "P", "MORLIST"), ("P", "Fe", "MORLIST")],
                ("Fe", "bcc", 2.8665, 3), {"P": 0.3}),
    "TERNARY": ([(a, b, "TERNARY")
                 for a, b in itertools.combinations_with_replacement(("Fe", "Ni", "Cr"), 2)],
                ("Fe", "bcc", 2.8665, 3), {"Ni": 0.25, "Cr": 0.25}),
}
# "ACKLIST" is left out: its cut-off grows at every force call of a process, so the many calls
# of a finite-difference check cannot share one process (its own test runs one per coordinate).


def morse(depth, r):
    """Morse pair of equilibrium 2.5 A and its derivative."""
    e = math.exp(-1.5 * (r - 2.5))
    return depth * (e * e - 2 * e), depth * (-3.0 * e * e + 3.0 * e)


def write_family_tables(directory, family):
    """Smooth analytic tables for the tabulated families, dense enough for the spline."""
    if family == "MORLIST":
        for name, depth in (("PP", 0.3), ("PFe", 0.6)):
            write_table(directory / f"POTFOR-SPLINES/{name}_pw_for_potfor_morlist.IN", 1.0,
                        6.0, 2000, lambda r, d=depth: (morse(d, r)[0], -morse(d, r)[1]))
    if family == "TERNARY":
        symbols = ("Fe", "Ni", "Cr")
        for k, (a, b) in enumerate(itertools.combinations_with_replacement(symbols, 2)):
            write_table(directory / f"p{a}{b}.IN", 1.0, 5.5, 2000,
                        lambda r, d=0.3 + 0.05 * k: morse(d, r)[:1])
        for k, symbol in enumerate(symbols):
            write_table(directory / f"rho{symbol}.IN", 1.0, 5.5, 2000,
                        lambda r, w=1.0 + 0.1 * k: (w * math.exp(-(r - 2.5)),))
            write_table(directory / f"F_{symbol}.IN", 0.0, 60.0, 2000,
                        lambda p, w=1.0 + 0.2 * k: (-w * math.sqrt(p + 0.5),))


def run_script(tmp_path, code: str) -> str:
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(code)], cwd=tmp_path,
                          capture_output=True, text=True, timeout=300)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.mark.parametrize("family", sorted(FAMILIES))
def test_forces_agree_with_ase_finite_differences(tmp_path, family):
    pairs, (host, structure, a, cells), guests = FAMILIES[family]
    write_family_tables(tmp_path / "engine", family)
    out = run_script(
        tmp_path,
        f"""
        import json
        import numpy as np
        from ase.build import bulk
        from ase.calculators.fd import calculate_numerical_forces
        import pelix

        rng = np.random.default_rng(11)
        atoms = bulk({host!r}, {structure!r}, a={a}, cubic=True).repeat({cells})
        sites = rng.permutation(len(atoms))
        start = 0
        for element, share in {guests!r}.items():
            count = max(1, round(share * len(atoms)))
            for k in sites[start:start + count]:
                atoms[k].symbol = element
            start += count
        atoms.rattle(0.15, rng=rng)
        # Open along z with vacuum above and below; shifted so that atoms lie outside the
        # cell along the periodic axes and must be wrapped.
        atoms.cell[2, 2] += 8.0
        atoms.positions += np.array([1.37, -0.71, 4.0]) * np.diag(atoms.cell)[[0, 1, 0]]
        atoms.positions[:, 2] -= 1.37 * atoms.cell[0, 0] - 4.0
        atoms.pbc = (True, True, False)
        atoms.calc = pelix.Calculator("engine", pairs={pairs!r})
        forces = atoms.get_forces()
        numeric = calculate_numerical_forces(atoms, eps=1e-5)
        energies = atoms.get_potential_energies()
        print(json.dumps(dict(
            error=float(np.abs(forces - numeric).max()), largest=float(np.abs(forces).max()),
            energy=atoms.get_potential_energy(), free=atoms.get_potential_energy(
                force_consistent=True), summed=float(energies.sum()),
            outside=int(np.sum((atoms.positions[:, :2] < 0) |
                               (atoms.positions[:, :2] >= np.diag(atoms.cell)[:2]))))))
        """,
    )
    result = json.loads(out.splitlines()[-1])
    assert result["outside"] > 0
    assert result["largest"] > 1e-3
    assert result["error"] < 1e-6 * result["largest"], result
    assert result["free"] == result["energy"]
    assert result["summed"] == pytest.approx(result["energy"], rel=1e-12, abs=1e-12)


def test_directory_periodic_flags_slabs_and_refusals(tmp_path):
    out = run_script(
        tmp_path,
        f"""
        import os
        import numpy as np
        from ase import Atoms
        import pelix

        home = os.getcwd()
        calc = pelix.Calculator("engine", pairs={BUCKBW_PAIRS!r},
                                lattice={{"x": [("FX", 0.0, 1.0)]}})
        assert sorted(os.listdir("engine")) == ["lattice.IN", "pelix.IN", "potfor.IN"]
        assert sorted(os.listdir(".")) == ["engine"]

        # Fe and O 1.3 A apart only through the periodic image along x; Fe lies in the slab.
        def dimer(pbc, shift=(0.0, 0.0, 0.0)):
            atoms = Atoms("FeO", positions=np.array([[0.5, 5, 5], [9.2, 5, 5]]) + shift,
                          cell=[10, 10, 10], pbc=pbc)
            atoms.calc = calc
            return atoms

        periodic = dimer(True)
        energy, forces = periodic.get_potential_energy(), periodic.get_forces()
        assert energy != 0.0 and np.all(forces[0] == 0.0) and np.abs(forces[1]).max() > 0
        assert dimer((False, True, True)).get_potential_energy() == 0.0
        # Whole boxes along x keep Fe in its slab; far beyond the 510 A margin of the engine.
        moved = dimer(True, shift=(3000.0, -2300.7, 5100.3))
        assert abs(moved.get_potential_energy() - energy) < 1e-10 * abs(energy)
        assert np.allclose(moved.get_forces(), forces, rtol=0, atol=1e-9)
        assert os.getcwd() == home

        lost = dimer((True, True, False), shift=(0.0, 0.0, 600.0))
        try:
            lost.get_potential_energy()
        except pelix.LostAtomError as error:
            assert "atom 0 (Fe)" in str(error), error
        else:
            raise AssertionError("no LostAtomError")
        assert os.getcwd() == home

        def refused(error_type, make, text):
            try:
                make()
            except error_type as error:
                assert text in str(error), error
            else:
                raise AssertionError(f"no {{error_type.__name__}} ({{text}})")

        def energy_of(symbols, cell, pbc=True):
            atoms = Atoms(symbols, positions=[[1, 1, 1], [3, 3, 3]], cell=cell, pbc=pbc)
            atoms.calc = calc
            return atoms.get_potential_energy()

        refused(ValueError, lambda: energy_of("FeN", [10, 10, 10]), "element 'N'")
        refused(ValueError, lambda: energy_of("FeAg", [10, 10, 10]), "Fe-Ag, Ag-Ag")
        refused(ValueError, lambda: energy_of("Fe2", [[10, 0, 0], [2, 10, 0], [0, 0, 10]]),
                "not orthorhombic")
        refused(ValueError, lambda: energy_of("Fe2", [10, 10, 0], (1, 1, 0)), "positive")
        refused(pelix.EngineInUseError,
                lambda: pelix.Calculator("other", pairs={BUCKBW_PAIRS!r}), "own process")
        refused(pelix.EngineInUseError,
                lambda: pelix.Calculator("engine", pairs=[("Fe", "Fe", "ZERO")]), "potfor.IN")
        refused(ValueError, lambda: calc.set(pairs=[]), "cannot change pairs")
        again = pelix.Calculator("engine", pairs={BUCKBW_PAIRS!r},
                                 lattice={{"x": [("FX", 0.0, 1.0)]}})
        assert again.engine_directory == calc.engine_directory
        assert os.getcwd() == home
        print("survived")
        """,
    )
    assert out.splitlines()[-1] == "survived"


def test_own_files_are_used_and_missing_ones_written(tmp_path):
    engine = tmp_path / "mine"
    engine.mkdir()
    (engine / "potfor.IN").write_text("t\nc\n3\nFe Fe BUCKBW\nO_ O_ BUCKBW\nFe O_ buckbw\n")
    out = run_script(
        tmp_path,
        """
        from ase.build import bulk
        import pelix

        calc = pelix.Calculator("mine")
        atoms = bulk("Fe", "bcc", a=2.8665, cubic=True).repeat(3)
        atoms.calc = calc
        print(atoms.get_potential_energy())
        atoms[0].symbol = "O"
        try:
            atoms.get_potential_energy()
        except ValueError as error:
            print(error)
        """,
    )
    lines = out.splitlines()
    assert float(lines[-2]) < 0.0
    assert "'buckbw'" in lines[-1] and "did you mean 'BUCKBW'" in lines[-1]
    assert (engine / "pelix.IN").read_text().count("\n") == 34
    assert (engine / "lattice.IN").read_text() == "0\n0\n0\n"
    with pytest.raises(FileNotFoundError):
        from pelix.calculator import Calculator

        Calculator(tmp_path / "empty")
