"""Helium in bcc iron: formation energies at the substitutional, tetrahedral and octahedral
sites, relaxed with ASE.

Iron with "AMtest" (Ackland, Mendelev et al. 2004), iron-helium with "FEIGAO" (the Fe-He set
of Gao et al. 2011), helium-helium with "AzizHe2". One helium atom replaces an iron atom or
sits in an interstitial site of a periodic crystal at the iron lattice constant; ASE's LBFGS
relaxes the atoms at fixed box. With E_coh the energy per atom of the perfect crystal and an
isolated helium atom at zero energy,

    E_f(interstitial) = E(N Fe + He) - N E_coh,   E_f(substitutional) = E(N-1 Fe + He) - (N-1) E_coh.

    python3 examples/helium_in_iron.py
    python3 examples/helium_in_iron.py --cells 6 --fmax 0.001
"""

from __future__ import annotations

import argparse
import tempfile

import numpy as np
from ase import Atom
from ase.build import bulk
from ase.optimize import LBFGS

import pelix

IRON_LATTICE = 2.8553  # A, where the iron of "AMtest" has its lowest energy
PAIRS = [("Fe", "Fe", "AMtest"), ("Fe", "He", "FEIGAO"), ("He", "He", "AzizHe2")]
# Sites in units of the lattice constant, next to the iron atom at the origin.
SITES = {"substitutional": None, "tetrahedral": (0.5, 0.25, 0.0),
         "octahedral": (0.5, 0.5, 0.0)}
# Density-functional values (eV) as quoted in the literature on this potential: Fu and
# Willaime, Phys. Rev. B 72 (2005) 064117.
DFT = {"substitutional": 4.08, "tetrahedral": 4.37, "octahedral": 4.60}


def formation_energies(cells: int, fmax: float, max_steps: int = 1000) -> dict:
    """Relaxed and unrelaxed formation energy of each site (eV)."""
    results = {}
    with tempfile.TemporaryDirectory(prefix="pelix-helium-") as workdir:
        calc = pelix.Calculator(workdir, pairs=PAIRS)
        crystal = bulk("Fe", "bcc", a=IRON_LATTICE, cubic=True).repeat(cells)
        crystal.calc = calc
        cohesive = crystal.get_potential_energy() / len(crystal)
        for site, position in SITES.items():
            atoms = crystal.copy()
            if position is None:
                atoms[0].symbol = "He"
            else:
                atoms.append(Atom("He", np.asarray(position) * IRON_LATTICE))
            atoms.calc = calc
            irons = sum(1 for s in atoms.get_chemical_symbols() if s == "Fe")
            unrelaxed = atoms.get_potential_energy() - irons * cohesive
            if not LBFGS(atoms, logfile=None).run(fmax=fmax, steps=max_steps):
                raise RuntimeError(f"{site}: no convergence to {fmax} eV/A")
            results[site] = (atoms.get_potential_energy() - irons * cohesive, unrelaxed)
    return results


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--cells", type=int, default=6, help="cubic unit cells per axis")
    parser.add_argument("--fmax", type=float, default=0.001,
                        help="largest force at convergence (eV/A)")
    args = parser.parse_args(argv)
    results = formation_energies(args.cells, args.fmax)
    print(f"one He in {2 * args.cells ** 3} bcc Fe sites, a = {IRON_LATTICE} A, relaxed to "
          f"{args.fmax} eV/A")
    print(f"{'site':16s} {'relaxed':>9s} {'unrelaxed':>10s} {'DFT':>6s}")
    for site, (relaxed, unrelaxed) in results.items():
        print(f"{site:16s} {relaxed:9.4f} {unrelaxed:10.4f} {DFT[site]:6.2f}")
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
