"""A small worked example: force calls on a periodic bcc iron crystal.

Run with ``python3 -m pelix.example``. It writes the input files into a temporary
directory, makes a few force calls and prints the energy, the largest force and the time
per call.
"""

from __future__ import annotations

import argparse
import os
import tempfile
import time

import numpy as np

from pelix.inputs import write_inputs

BCC_IRON_LATTICE = 2.8665  # A


def bcc_positions(cells: int, a: float) -> np.ndarray:
    """Positions of a cells x cells x cells bcc crystal, flattened x, y, z per atom."""
    grid = np.arange(cells) * a
    corners = np.array(np.meshgrid(grid, grid, grid, indexing="ij")).reshape(3, -1).T
    atoms = np.concatenate([corners, corners + 0.5 * a])
    return np.ascontiguousarray(atoms.reshape(-1))


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--cells", type=int, default=6, help="unit cells per axis")
    parser.add_argument("--calls", type=int, default=5, help="number of force calls")
    args = parser.parse_args(argv)

    import PELIXInterface

    with tempfile.TemporaryDirectory(prefix="pelix-example-") as workdir:
        write_inputs(workdir, pairs=[("Fe", "Fe", "ZERO")], pbc=(1, 1, 1))
        previous = os.getcwd()
        os.chdir(workdir)
        try:
            PELIXInterface.read_pelix_in()
            box = args.cells * BCC_IRON_LATTICE
            pos = bcc_positions(args.cells, BCC_IRON_LATTICE)
            natoms = pos.size // 3
            rng = np.random.default_rng(1)
            specie = np.zeros(natoms, dtype=np.int32)
            charge = np.zeros(natoms)
            force = np.zeros_like(pos)
            kearray = np.zeros(natoms)
            pearray = np.zeros(natoms)
            empty = np.zeros(0, dtype=np.int32)
            print(f"bcc iron, {natoms} atoms in a periodic {box:.4f} A cube, pair keyword ZERO")
            for call in range(args.calls):
                shaken = pos + rng.normal(scale=0.05, size=pos.shape)
                start = time.perf_counter()
                energy, maxforce, maxatom, status = PELIXInterface.calcforce(
                    -1, "Fe", specie, shaken, charge, force, kearray, pearray,
                    box, box, box, empty, empty,
                )
                elapsed = time.perf_counter() - start
                print(
                    f"call {call + 1}: energy {energy:.6f} eV, largest force {maxforce:.6f} eV/A "
                    f"on atom {maxatom}, status {status}, {elapsed * 1e3:.2f} ms "
                    f"({elapsed / natoms * 1e6:.3f} us/atom)"
                )
        finally:
            os.chdir(previous)
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
