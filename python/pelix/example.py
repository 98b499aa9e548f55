"""A small worked example: force calls on a periodic crystal with a real potential.

Run with ``python3 -m pelix.example`` (``--case`` picks the configuration, ``--list`` shows
them). It writes the input files into a temporary directory, makes a few force calls on
slightly shaken positions and prints the energy, the largest force and the time per call.
"""

from __future__ import annotations

import argparse
import os
import tempfile
import time
from dataclasses import dataclass

import numpy as np

from pelix.inputs import write_inputs

BCC_IRON_LATTICE = 2.8665  # A


@dataclass(frozen=True)
class Case:
    """A bcc iron host, possibly with some sites taken by solutes, and the pair keywords."""

    description: str
    species: tuple[str, ...]  # two-character symbols; the host is the first
    solute_fraction: float  # share of sites given to the solutes, spread evenly over them
    pairs: tuple[tuple[str, str, str], ...]


CASES = {
    "fe": Case(
        "bcc iron, embedded-atom potential with ZBL at short range (ACKLAND)",
        ("Fe",),
        0.0,
        (("Fe", "Fe", "ACKLAND"),),
    ),
    "fetiyo": Case(
        "bcc iron with titanium, yttrium and oxygen solutes, Buckingham pairs (BUCKBW)",
        ("Fe", "Ti", "Y_", "O_"),
        0.06,
        tuple(
            (a, b, "BUCKBW")
            for i, a in enumerate(("Fe", "Ti", "Y_", "O_"))
            for b in ("Fe", "Ti", "Y_", "O_")[i:]
        ),
    ),
    "pfe": Case(
        "bcc iron with phosphorus solutes, Morse P-P and P-Fe pairs (MORSEPT), no Fe-Fe term",
        ("Fe", "P_"),
        0.05,
        (("Fe", "Fe", "ZERO"), ("P_", "P_", "MORSEPT"), ("P_", "Fe", "MORSEPT")),
    ),
    "fec": Case(
        "bcc iron with carbon solutes, screened nuclear repulsion Fe-C (ZBLPOTL)",
        ("Fe", "C_"),
        0.05,
        (("Fe", "Fe", "ZERO"), ("C_", "C_", "ZERO"), ("Fe", "C_", "ZBLPOTL")),
    ),
}


def bcc_positions(cells: int, a: float) -> np.ndarray:
    """Positions of a cells x cells x cells bcc crystal, flattened x, y, z per atom."""
    grid = np.arange(cells) * a
    corners = np.array(np.meshgrid(grid, grid, grid, indexing="ij")).reshape(3, -1).T
    atoms = np.concatenate([corners, corners + 0.5 * a])
    return np.ascontiguousarray(atoms.reshape(-1))


def solute_species(natoms: int, case: Case, rng: np.random.Generator) -> np.ndarray:
    """Species numbers: host everywhere, solutes on randomly chosen sites."""
    specie = np.zeros(natoms, dtype=np.int32)
    solutes = len(case.species) - 1
    if solutes == 0:
        return specie
    per_solute = max(1, round(case.solute_fraction * natoms / solutes))
    sites = rng.permutation(natoms)[: per_solute * solutes]
    for s in range(solutes):
        specie[sites[s * per_solute : (s + 1) * per_solute]] = s + 1
    return specie


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--case", choices=sorted(CASES), default="fe")
    parser.add_argument("--list", action="store_true", help="describe the cases and stop")
    parser.add_argument("--cells", type=int, default=6, help="unit cells per axis")
    parser.add_argument("--calls", type=int, default=5, help="number of force calls")
    args = parser.parse_args(argv)
    if args.list:
        for name in sorted(CASES):
            print(f"{name}: {CASES[name].description}")
        return 0

    import PELIXInterface

    case = CASES[args.case]
    with tempfile.TemporaryDirectory(prefix="pelix-example-") as workdir:
        write_inputs(workdir, pairs=case.pairs, pbc=(1, 1, 1))
        previous = os.getcwd()
        os.chdir(workdir)
        try:
            PELIXInterface.read_pelix_in()
            box = args.cells * BCC_IRON_LATTICE
            pos = bcc_positions(args.cells, BCC_IRON_LATTICE)
            natoms = pos.size // 3
            rng = np.random.default_rng(1)
            specie = solute_species(natoms, case, rng)
            charge = np.zeros(natoms)
            force = np.zeros_like(pos)
            kearray = np.zeros(natoms)
            pearray = np.zeros(natoms)
            empty = np.zeros(0, dtype=np.int32)
            counts = ", ".join(
                f"{np.count_nonzero(specie == s)} {symbol.rstrip('_')}"
                for s, symbol in enumerate(case.species)
            )
            print(f"{case.description}")
            print(f"{natoms} atoms ({counts}) in a periodic {box:.4f} A cube")
            for call in range(args.calls):
                shaken = pos + rng.normal(scale=0.05, size=pos.shape)
                start = time.perf_counter()
                energy, maxforce, maxatom, status = PELIXInterface.calcforce(
                    -1, "".join(case.species), specie, shaken, charge, force, kearray,
                    pearray, box, box, box, empty, empty,
                )
                elapsed = time.perf_counter() - start
                print(
                    f"call {call + 1}: energy {energy:.6f} eV "
                    f"({energy / natoms:.6f} eV/atom), largest force {maxforce:.6f} eV/A "
                    f"on atom {maxatom}, status {status}, {elapsed * 1e3:.2f} ms "
                    f"({elapsed / natoms * 1e6:.3f} us/atom)"
                )
        finally:
            os.chdir(previous)
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
