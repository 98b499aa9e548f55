"""Molecular dynamics of bcc iron with the embedded-atom family "MENDEL" (the published iron
potential of Mendelev et al. 2003, "Fe #2").

A periodic bcc iron crystal starts from Maxwell-Boltzmann velocities and runs with ASE's
Velocity Verlet integrator at a 1 fs step, without a thermostat, so the total energy must
stay constant. The kinetic, potential and total energy are plotted against time.

    python3 examples/md_iron.py                       # 432 atoms, 1000 steps
    python3 examples/md_iron.py --cells 4 --steps 500 --output md.png
"""

from __future__ import annotations

import argparse
import tempfile
import time

import numpy as np
from ase import units
from ase.build import bulk
from ase.md.velocitydistribution import Stationary
from ase.md.verlet import VelocityVerlet
from tqdm import tqdm

import pelix

IRON_LATTICE = 2.8553  # A, the bcc lattice constant of the potential (Mendelev et al. 2003)


def thermalize(atoms, temperature_k: float, rng: np.random.Generator) -> None:
    """Maxwell-Boltzmann momenta at `temperature_k` with no net momentum."""
    try:
        from ase.md.velocitydistribution import thermalize_momenta
    except ImportError:  # ASE before 3.29
        from ase.md.velocitydistribution import MaxwellBoltzmannDistribution

        MaxwellBoltzmannDistribution(atoms, temperature_K=temperature_k, rng=rng)
    else:
        thermalize_momenta(atoms, temperature_k, rng=rng)
    Stationary(atoms)


def plot_energies(path: str, time_fs, kinetic, potential, natoms: int) -> None:
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    total = kinetic + potential
    reference = potential[0]
    fig, (top, bottom) = plt.subplots(2, 1, sharex=True, figsize=(7, 6))
    top.plot(time_fs, kinetic / natoms, label="kinetic")
    top.plot(time_fs, (potential - reference) / natoms, label="potential - initial potential")
    top.plot(time_fs, (total - reference) / natoms, label="total - initial potential")
    top.set_ylabel("energy (eV/atom)")
    top.legend()
    bottom.plot(time_fs, 1e3 * (total - total[0]) / natoms, color="k")
    bottom.set_ylabel("total - initial total (meV/atom)")
    bottom.set_xlabel("time (fs)")
    fig.suptitle(f"bcc iron, {natoms} atoms, Velocity Verlet without thermostat")
    fig.tight_layout()
    fig.savefig(path, dpi=120)
    plt.close(fig)


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--cells", type=int, default=6, help="cubic unit cells per axis")
    parser.add_argument("--steps", type=int, default=1000, help="time steps")
    parser.add_argument("--timestep", type=float, default=1.0, help="time step (fs)")
    parser.add_argument("--temperature", type=float, default=600.0,
                        help="temperature of the initial velocities (K); about half of it "
                        "goes into potential energy")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--output", default="md_iron.png", help="PNG of the energies")
    args = parser.parse_args(argv)

    atoms = bulk("Fe", "bcc", a=IRON_LATTICE, cubic=True).repeat(args.cells)
    natoms = len(atoms)
    thermalize(atoms, args.temperature, np.random.default_rng(args.seed))
    with tempfile.TemporaryDirectory(prefix="pelix-md-") as workdir:
        atoms.calc = pelix.Calculator(workdir, pairs=[("Fe", "Fe", "MENDEL")])
        dyn = VelocityVerlet(atoms, timestep=args.timestep * units.fs)
        kinetic, potential = [], []
        start = time.perf_counter()
        # irun yields the starting state, then once per step: the bar counts the steps.
        with tqdm(total=args.steps, unit="step", desc="MD") as bar:
            for k, _ in enumerate(dyn.irun(steps=args.steps)):
                kinetic.append(atoms.get_kinetic_energy())
                potential.append(atoms.get_potential_energy())
                bar.update(1 if k else 0)
        elapsed = time.perf_counter() - start

    kinetic, potential = np.array(kinetic), np.array(potential)
    total = kinetic + potential
    time_fs = args.timestep * np.arange(len(total))
    temperature = 2.0 * kinetic / (3.0 * natoms * units.kB)
    plot_energies(args.output, time_fs, kinetic, potential, natoms)
    print(f"{natoms} atoms, {args.steps} steps of {args.timestep} fs in {elapsed:.1f} s")
    print(f"temperature: {temperature[0]:.1f} K at the start, {temperature[-1]:.1f} K at the end")
    print(f"total energy: {total[0] / natoms:.6f} eV/atom at the start")
    print(f"largest deviation of the total energy: "
          f"{np.abs(total - total[0]).max() / natoms:.3e} eV/atom")
    print(f"energies plotted in {args.output}")
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
