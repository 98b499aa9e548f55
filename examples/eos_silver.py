"""Equation of state of fcc silver (or gold) with the embedded-atom family "ACKLAND".

The energy of a periodic fcc crystal is computed at lattice constants around the guess,
then ASE fits a Birch-Murnaghan equation of state to energy against volume and gives the
equilibrium volume, energy and bulk modulus. The strains stay small (1 % by default): the
bulk modulus is the curvature at equilibrium, and the family's pair knots sit at neighbour
distances of the crystal, so wide strains bend the curve away from one smooth form.

    python3 examples/eos_silver.py
    python3 examples/eos_silver.py --element Au --plot eos_gold.png
"""

from __future__ import annotations

import argparse
import tempfile

import numpy as np
from ase import units
from ase.build import bulk
from ase.eos import EquationOfState

import pelix

# Lattice constants (A) the family's silver and gold terms are built on; starting guesses.
LATTICE_GUESS = {"Ag": 4.086, "Au": 4.078}


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--element", choices=sorted(LATTICE_GUESS), default="Ag")
    parser.add_argument("--cells", type=int, default=3, help="cubic unit cells per axis")
    parser.add_argument("--points", type=int, default=11, help="number of volumes")
    parser.add_argument("--strain", type=float, default=0.01,
                        help="largest relative change of the lattice constant")
    parser.add_argument("--plot", help="also write the fit as a PNG to this file")
    args = parser.parse_args(argv)
    if args.points < 5:
        parser.error("the fit needs at least 5 volumes")

    element = args.element
    reference = bulk(element, "fcc", a=LATTICE_GUESS[element], cubic=True).repeat(args.cells)
    natoms = len(reference)
    volumes, energies = [], []
    with tempfile.TemporaryDirectory(prefix="pelix-eos-") as workdir:
        calc = pelix.Calculator(workdir, pairs=[(element, element, "ACKLAND")])
        for scale in np.linspace(1.0 - args.strain, 1.0 + args.strain, args.points):
            atoms = reference.copy()
            atoms.set_cell(reference.cell * scale, scale_atoms=True)
            atoms.calc = calc
            # per atom, so that the fit (and its plot) reads in eV/atom and A^3/atom
            volumes.append(atoms.get_volume() / natoms)
            energies.append(atoms.get_potential_energy() / natoms)

    eos = EquationOfState(volumes, energies, eos="birchmurnaghan")
    v0, e0, bulk_modulus = eos.fit()
    lattice = (v0 * 4.0) ** (1.0 / 3.0)  # four atoms per cubic fcc cell
    print(f"fcc {element}, {natoms} atoms, {args.points} volumes")
    print(f"lattice constant: {lattice:.4f} A")
    print(f"bulk modulus: {bulk_modulus / units.GPa:.1f} GPa")
    print(f"energy at equilibrium: {e0:.4f} eV/atom")
    if args.plot:
        import matplotlib

        matplotlib.use("Agg")
        ax = eos.plot(show=False)
        ax.set_xlabel("volume (Å³/atom)")
        ax.set_ylabel("energy (eV/atom)")
        ax.get_figure().savefig(args.plot)
        print(f"fit plotted in {args.plot}")
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
