"""The ASE calculator, each test in a fresh interpreter (the engine keeps its state per process):
forces, and the handling of directories, periodic flags, slabs, lost atoms and refused input."""

import itertools
import subprocess
import sys
import textwrap

BUCKBW_PAIRS = [(a, b, "BUCKBW")
                for a, b in itertools.combinations_with_replacement(("Fe", "Ti", "Y", "O"), 2)]


def run_script(tmp_path, code: str) -> str:
    done = subprocess.run([sys.executable, "-c", textwrap.dedent(code)], cwd=tmp_path,
                          capture_output=True, text=True, timeout=300)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def test_forces_agree_with_ase_finite_differences(tmp_path):
    # Every family's forces are checked against its energy in the family suite; here the
    # calculator's own part: species from symbols, wrapping, an open axis, the energies.
    run_script(tmp_path, f"""
        import numpy as np
        from ase.build import bulk
        from ase.calculators.fd import calculate_numerical_forces
        import pelix

        rng = np.random.default_rng(11)
        atoms = bulk("Fe", "bcc", a=2.8665, cubic=True).repeat(3)
        for k, element in zip(rng.permutation(len(atoms)), ["Ti"] * 5 + ["Y"] * 5 + ["O"] * 8):
            atoms[k].symbol = element
        atoms.rattle(0.15, rng=rng)
        # Open along z with vacuum above and below; shifted so that atoms lie outside the
        # cell along every axis: wrapped along the periodic ones, left as they are along z.
        atoms.cell[2, 2] += 8.0
        atoms.positions += np.array([1.37, -0.71, 2.63]) * atoms.cell[0, 0] + [0, 0, 4.0]
        atoms.pbc = (True, True, False)
        atoms.calc = pelix.Calculator("engine", pairs={BUCKBW_PAIRS!r})
        forces, energy = atoms.get_forces(), atoms.get_potential_energy()
        error = np.abs(forces - calculate_numerical_forces(atoms, eps=1e-5)).max()
        largest = np.abs(forces).max()
        xy = atoms.positions[:, :2]
        outside = np.sum((xy < 0) | (xy >= np.diag(atoms.cell)[:2]))
        assert outside > 0 and largest > 1e-3 and error < 1e-6 * largest, (outside, largest, error)
        assert atoms.get_potential_energy(force_consistent=True) == energy
        assert abs(atoms.get_potential_energies().sum() - energy) <= 1e-12 * max(1, abs(energy))
        """)


def test_directory_periodic_flags_slabs_and_refusals(tmp_path):
    # The caller's own "potfor.IN" (Ti-Fe misspelled) is used; the missing files are written.
    (tmp_path / "engine").mkdir()
    (tmp_path / "engine" / "potfor.IN").write_text(
        "t\nc\n7\nFe Fe BUCKBW\nO_ O_ BUCKBW\nO_ Fe BUCKBW\nTi Ti BUCKBW\nTi Fe buckbw\n"
        "Ag Ag ZBLPOTL\nFe Ag ZBLPOTL\n")
    run_script(tmp_path, f"""
        import importlib, os, sys
        import numpy as np
        from ase import Atoms
        import pelix

        home = os.getcwd()
        calc = pelix.Calculator("engine", lattice={{"x": [("FX", 0.0, 1.0)]}})
        assert sorted(os.listdir("engine")) == ["lattice.IN", "pelix.IN", "potfor.IN"]
        assert sorted(os.listdir(".")) == ["engine"]

        def atoms(symbols="FeO", pbc=True, shift=0.0, cell=(10, 10, 10),
                  positions=((0.5, 5, 5), (9.2, 5, 5))):
            return Atoms(symbols, positions=np.array(positions) + shift, cell=cell, pbc=pbc,
                         calculator=calc)

        # Fe and O 1.3 A apart only through the periodic image along x; Fe lies in the slab.
        periodic = atoms()
        energy, forces = periodic.get_potential_energy(), periodic.get_forces()
        assert energy != 0.0 and np.all(forces[0] == 0.0) and np.abs(forces[1]).max() > 0
        assert atoms(pbc=(False, True, True)).get_potential_energy() == 0.0
        # Whole boxes along x keep Fe in its slab; far beyond the 510 A margin of the engine.
        moved = atoms(shift=(3000.0, -2300.7, 5100.3))
        assert abs(moved.get_potential_energy() - energy) < 1e-10 * abs(energy)
        assert np.allclose(moved.get_forces(), forces, rtol=0, atol=1e-9)

        two = dict(positions=((1, 1, 1), (3, 3, 3)))
        importlib.reload(sys.modules["pelix.calculator"])  # keeps the engine's directory
        # Atoms stand for their energy.
        refusals = [
            (pelix.LostAtomError, "atom 0 (Fe)", atoms(pbc=(1, 1, 0), shift=(0.0, 0.0, 600.0))),
            (ValueError, "element 'N'", atoms("FeN", **two)),
            (ValueError, "did you mean 'BUCKBW'", atoms("FeTi", **two)),
            (ValueError, "Fe-C_, C_-C_", atoms("FeC", **two)),
            (ValueError, "ZBLPOTL_MAPIJ: Fe-Ag interaction is not implemented",
             atoms("FeAg", **two)),
            (ValueError, "not orthorhombic",
             atoms("Fe2", cell=[[10, 0, 0], [2, 10, 0], [0, 0, 10]], **two)),
            (ValueError, "positive", atoms("Fe2", cell=(10, 10, 0), pbc=(1, 1, 0), **two)),
            (pelix.EngineInUseError, "own process",
             lambda: pelix.Calculator("other", pairs={BUCKBW_PAIRS!r})),
            (pelix.EngineInUseError, "potfor.IN",
             lambda: pelix.Calculator("engine", pairs=[("Fe", "Fe", "ZERO")])),
            (ValueError, "cannot change pairs", lambda: calc.set(pairs=[])),
            (FileNotFoundError, 'no "potfor.IN"', lambda: pelix.Calculator("empty")),
        ]
        for error_type, text, make in refusals:
            try:
                (make.get_potential_energy if isinstance(make, Atoms) else make)()
                raise AssertionError(f"no {{error_type.__name__}} ({{text}})")
            except error_type as error:
                assert text in str(error), error
            assert os.getcwd() == home
        again = pelix.Calculator("engine", lattice={{"x": [("FX", 0.0, 1.0)]}})
        assert again.engine_directory == calc.engine_directory
        """)



def test_cells_shorter_than_the_interaction_range_are_repeated_for_the_engine(tmp_path):
    # A two-atom bcc cell (2.87 A, range 5.6 A) and a shaken 1 x 2 x 1 cell: energy per atom,
    # per-atom energies and forces as for the same atoms repeated into a cell longer than the
    # range; the published bcc iron energy per atom of the family (-3.8857 eV) as the anchor.
    run_script(tmp_path, """
        import numpy as np
        from ase.build import bulk
        import pelix

        calc = pelix.Calculator(".", pairs=[("Fe", "Fe", "ACKLAND")])
        small = bulk("Fe", "bcc", a=2.8665, cubic=True)
        small.calc = calc
        assert abs(small.get_potential_energy() / 2 + 3.88573288835) < 1e-10
        fits = [pelix.box_is_long_enough(small.cell.lengths() * n, small.pbc,
                                         calc.interaction_range) for n in (1, 2)]
        assert fits == [False, True] and abs(calc.interaction_range - 5.6) < 1e-12  # 5.3 + 0.3
        small = small.repeat((1, 2, 1))
        small.positions += np.random.default_rng(3).uniform(-0.1, 0.1, (4, 3))
        big = small.repeat((3, 2, 3))
        small.calc = big.calc = calc
        assert abs(small.get_potential_energy() - big.get_potential_energy() / 18) < 1e-11
        pe_small, pe_big = small.get_potential_energies(), big.get_potential_energies()
        assert np.abs(pe_small - pe_big[:4]).max() < 1e-12
        assert np.abs(small.get_forces() - big.get_forces()[:4]).max() < 1e-12
        assert np.abs(small.get_forces()).max() > 0.1
    """)


def test_without_ase_the_calculator_says_how_to_install_it(tmp_path):
    out = run_script(tmp_path, """
        import sys
        sys.modules["ase"] = None  # as if ASE were not installed
        import pelix
        try:
            pelix.Calculator
        except ImportError as error:
            print(error)
        """)
    assert 'pip install ".[ase]"' in out
