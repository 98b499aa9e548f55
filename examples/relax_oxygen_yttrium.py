"""Geometry optimisation: an oxygen interstitial next to a yttrium solute in bcc iron.

Yttrium and oxygen in iron are the seeds of the oxide particles of dispersion-strengthened
steels. With the Buckingham family "BUCKBW" for all pairs of Fe, Y and O, one yttrium atom
replaces an iron atom of a periodic crystal and one oxygen atom sits in an interstitial site
next to it or far from it. ASE's LBFGS optimiser relaxes every configuration at fixed box;
the difference of the relaxed energies is the binding energy of oxygen to yttrium.

    python3 examples/relax_oxygen_yttrium.py
    python3 examples/relax_oxygen_yttrium.py --cells 5 --fmax 0.005
"""

from __future__ import annotations

import argparse
import itertools
import tempfile

import numpy as np
from ase import Atom, Atoms
from ase.build import bulk
from ase.optimize import LBFGS

import pelix

# A: where bcc iron of "BUCKBW" (its Fe-Fe pair alone) has its lowest energy, -4.3790 eV/atom
# (a parabola through 13 lattice constants from 2.74 to 2.80 A, 128 atoms)
IRON_LATTICE = 2.767
ELEMENTS = ("Fe", "Ti", "Y", "O")  # the family's elements; every pair needs a record

# Oxygen sites in units of the lattice constant, with the yttrium atom at the origin.
SITES = {
    "octahedral, next to Y": (0.5, 0.0, 0.0),
    "tetrahedral, next to Y": (0.5, 0.25, 0.0),
}


def configuration(cells: int, oxygen_site) -> Atoms:
    atoms = bulk("Fe", "bcc", a=IRON_LATTICE, cubic=True).repeat(cells)
    atoms[0].symbol = "Y"
    atoms.append(Atom("O", np.asarray(oxygen_site) * IRON_LATTICE))
    return atoms


def relax(atoms, fmax: float, max_steps: int):
    """Relaxed energy, number of optimiser steps and the Y-O distance after relaxation."""
    unrelaxed = atoms.get_potential_energy()
    optimiser = LBFGS(atoms, logfile=None)
    converged = optimiser.run(fmax=fmax, steps=max_steps)
    if not converged:
        raise RuntimeError(f"no convergence to {fmax} eV/A within {max_steps} steps")
    distance = atoms.get_distance(0, len(atoms) - 1, mic=True)
    return unrelaxed, atoms.get_potential_energy(), optimiser.nsteps, distance


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--cells", type=int, default=4, help="cubic unit cells per axis")
    parser.add_argument("--fmax", type=float, default=0.01,
                        help="largest force at convergence (eV/A)")
    parser.add_argument("--max-steps", type=int, default=500)
    args = parser.parse_args(argv)
    if args.cells < 4:
        parser.error("the far site needs at least 4 cells per axis")

    # The far site is an octahedral site half the box away from the yttrium atom.
    half = args.cells // 2
    sites = dict(SITES)
    sites["octahedral, far from Y"] = (half + 0.5, half, half)
    pairs = [(a, b, "BUCKBW") for a, b in itertools.combinations_with_replacement(ELEMENTS, 2)]
    results = {}
    with tempfile.TemporaryDirectory(prefix="pelix-relax-") as workdir:
        calc = pelix.Calculator(workdir, pairs=pairs)
        for name, site in sites.items():
            atoms = configuration(args.cells, site)
            atoms.calc = calc
            results[name] = relax(atoms, args.fmax, args.max_steps)

    natoms = len(atoms)
    far = results["octahedral, far from Y"][1]
    print(f"bcc iron with one Y and one O, {natoms} atoms, relaxed to {args.fmax} eV/A")
    print(f"{'oxygen site':26s} {'unrelaxed':>12s} {'relaxed':>12s} {'steps':>6s} "
          f"{'Y-O (A)':>8s} {'binding (eV)':>13s}")
    for name, (unrelaxed, relaxed, steps, distance) in results.items():
        print(f"{name:26s} {unrelaxed:12.4f} {relaxed:12.4f} {steps:6d} {distance:8.3f} "
              f"{far - relaxed:13.4f}")
    print("binding: relaxed energy with O far from Y minus relaxed energy of the site "
          "(positive: O is bound to Y)")
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
