"""Shared helpers for the module tests.

The engine keeps process-wide state (the run configuration and "potfor.IN" are read once
per process), so every test that makes force calls runs them in a fresh interpreter whose
working directory holds that test's input files.
"""

from __future__ import annotations

import json
import subprocess
import sys
import textwrap
from pathlib import Path

import numpy as np
import pytest

from pelix.inputs import pelix_in_text, potfor_in_text, write_inputs

PREAMBLE = textwrap.dedent(
    """
    import numpy as np
    import PELIXInterface as P

    def arrays(natoms, images=1):
        return dict(
            force=np.zeros(3 * natoms * images),
            kearray=np.zeros(natoms),
            pearray=np.zeros(natoms),
        )

    def call(species, specie, pos, box, charge=None, calc=(), main=(), image=-1, **kw):
        specie = np.asarray(specie, dtype=np.int32)
        out = kw.pop("out", None) or arrays(len(specie), len(pos) // (3 * len(specie)))
        if charge is None:
            charge = np.zeros(len(specie))
        result = P.calcforce(image, species, specie, np.asarray(pos, dtype=float), charge,
                             out["force"], out["kearray"], out["pearray"], box[0], box[1],
                             box[2], np.asarray(calc, dtype=np.int32),
                             np.asarray(main, dtype=np.int32), **kw)
        return result, out

    def energy(species, specie, pos, box, **kw):
        return call(species, specie, pos, box, **kw)[0][0]

    def fd_force_error(species, specie, pos, box, h=1e-5, per_atom=False, **kw):
        # Largest difference between the returned forces and minus the central finite
        # difference of the total energy, relative to the largest force (per_atom: to each
        # atom's own largest component, for pairs of very unequal strength, but at least the
        # rounding of the energy differences allows: 1e-4 of the summed per-atom magnitudes).
        pos = np.array(pos, dtype=float)
        result, out = call(species, specie, pos, box, **kw)
        assert result[3] == 0, result
        numeric = np.zeros_like(pos)
        for k in range(pos.size):
            plus, minus = pos.copy(), pos.copy()
            plus[k] += h
            minus[k] -= h
            numeric[k] = -(energy(species, specie, plus, box, **kw)
                           - energy(species, specie, minus, box, **kw)) / (2 * h)
        if per_atom:
            error = np.abs(out["force"] - numeric).reshape(-1, 3).max(axis=1)
            floor = max(1e-3, 1e-4 * np.abs(out["pearray"]).sum())
            scale = np.maximum(np.abs(out["force"]).reshape(-1, 3).max(axis=1), floor)
            return float((error / scale).max())
        scale = max(np.abs(out["force"]).max(), 1e-12)
        return np.abs(out["force"] - numeric).max() / scale
    """
)


class Workdir:
    def __init__(self, path: Path):
        self.path = path

    def write(self, name: str, text: str) -> None:
        (self.path / name).write_text(text)

    def run(self, code: str) -> subprocess.CompletedProcess:
        script = PREAMBLE + textwrap.dedent(code)
        return subprocess.run(
            [sys.executable, "-c", script],
            cwd=self.path,
            capture_output=True,
            text=True,
            timeout=120,
        )

    def ok(self, code: str) -> str:
        done = self.run(code)
        assert done.returncode == 0, done.stdout + done.stderr
        return done.stdout

    def use_pairs(self, pairs, periodic: bool) -> None:
        """Pair keywords, all three axes periodic or all open, no multipole tree."""
        flag = 1 if periodic else 0
        self.write("pelix.IN", pelix_in_text(pbc=(flag, flag, flag), multipole_flag=1))
        self.write("potfor.IN", potfor_in_text(pairs))

    def run_calls(self, species: str, configurations, box=None):
        """Energy, per-atom energies and forces (one row per atom) of each configuration, all
        in one process: (specie, positions) in `box`, or (specie, positions, box)."""
        configurations = [tuple(c) + ((box,) if len(c) == 2 else ()) for c in configurations]
        text = self.ok(
            f"""
            import json
            results = []
            for specie, pos, box in {json.dumps(configurations)}:
                result, out = call({species!r}, specie, pos, box)
                assert result[3] == 0, result
                results.append([result[0], out["pearray"].tolist(), out["force"].tolist()])
            print(json.dumps(results))
            """
        )
        return [(e, np.array(pe), np.array(f).reshape(-1, 3))
                for e, pe, f in json.loads(text.splitlines()[-1])]

    def gradient_error(self, species: str, specie, pos, box, per_atom=False) -> float:
        """fd_force_error of one configuration, after checking that the call succeeds, that
        some force acts and that the forces sum to zero."""
        pos = np.asarray(pos, dtype=float).ravel().tolist()
        text = self.ok(
            f"""
            specie, pos, box = {list(specie)!r}, np.array({pos!r}), {tuple(box)!r}
            result, out = call({species!r}, specie, pos, box)
            assert result[3] == 0, result
            f = out["force"].reshape(-1, 3)
            assert np.abs(f).max() > 1e-3, f
            assert np.abs(f.sum(axis=0)).max() < 1e-10 * np.abs(f).max(), f.sum(axis=0)
            print(fd_force_error({species!r}, specie, pos, box, per_atom={per_atom!r}))
            """
        )
        return float(text.splitlines()[-1])


LAMMPS = """
import ctypes, json, sys
sys.path.insert(0, sys.argv[1])
from lammps_compare import import_lammps
periodic, side, ntypes, types, pair, configurations = json.loads(sys.argv[2])
lmp = import_lammps().lammps(cmdargs=["-screen", "none", "-log", "none", "-nocite"])
lmp.commands_list(["units metal", "atom_style atomic", "atom_modify map array",
                   "boundary " + ("p p p" if periodic else "f f f"),
                   f"region box block 0 {side} 0 {side} 0 {side}", f"create_box {ntypes} box",
                   "mass * 1.0"])
n = len(types)
lmp.create_atoms(n, list(range(1, n + 1)), [t + 1 for t in types], configurations[0])
lmp.commands_list(pair)
results = []
for pos in configurations:
    lmp.scatter_atoms("x", 1, 3, (ctypes.c_double * (3 * n))(*pos))
    lmp.command("run 0")
    results.append([lmp.get_thermo("pe"), list(lmp.gather_atoms("f", 1, 3)[:])])
print(json.dumps(results))
"""


def lammps(types, configurations, pair_commands, side, periodic=False, ntypes=None, cwd=None):
    """Energy and forces (one row per atom) from LAMMPS for each configuration (flat positions)
    of atoms of 0-based `types` in a cubic box of `side`, the pair style set by `pair_commands`
    (`ntypes` atom types, by default as many as `types` uses)."""
    args = [ntypes or max(types) + 1, list(map(int, types)), pair_commands]
    done = subprocess.run(
        [sys.executable, "-c", LAMMPS, str(Path(__file__).resolve().parents[2] / "benchmarks"),
         json.dumps([periodic, side, *args, [list(map(float, c)) for c in configurations]])],
        capture_output=True, text=True, timeout=300, cwd=cwd)
    assert done.returncode == 0, done.stderr
    return [(e, np.reshape(f, (-1, 3))) for e, f in json.loads(done.stdout.splitlines()[-1])]


@pytest.fixture
def workdir(tmp_path):
    """A directory with a periodic run configuration, no slabs and ZERO for Fe."""
    write_inputs(tmp_path, pairs=[("Fe", "Fe", "ZERO")], pbc=(1, 1, 1))
    return Workdir(tmp_path)
