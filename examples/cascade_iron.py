"""A small collision cascade in bcc iron with "MENDEL", the published iron of Mendelev et al.

One atom of a periodic bcc iron crystal (the primary knock-on atom) is given a few hundred
eV along a high-index direction. Its first collisions bring atoms far closer than in the
crystal, where the family hands over from its embedded-atom pair term to an exponential
bridge (below 2.0 A) and to the screened nuclear repulsion of Ziegler, Biersack and
Littmark (at 1.0 A and below; the family joins the two with a step of 2.96 eV there, so the
total energy is conserved only while no pair comes closer than 1.0 A). The crystal starts at
the family's own lattice constant, 2.8553 A, where its energy is lowest. ASE's Velocity
Verlet integrator runs with a time step that shrinks so that no atom moves more than a set
distance per step. At the end a Wigner-Seitz
analysis against the starting lattice counts vacancies and interstitials, and a PNG shows
the displaced atoms, the defects and the path of the knock-on atom.

    python3 examples/cascade_iron.py                  # 2000 atoms, 300 eV, 300 fs
    python3 examples/cascade_iron.py --energy 400 --cells 12 --output cascade.png
"""

from __future__ import annotations

import argparse
import tempfile
import time

import numpy as np
from ase import units
from ase.build import bulk
from ase.md.verlet import VelocityVerlet
from scipy.spatial import cKDTree

import pelix

IRON_LATTICE = 2.8553  # A, the lattice constant of "MENDEL" (Mendelev et al. 2003)
ZBL_RADIUS = 1.0  # A, the family's Fe-Fe pair is the ZBL repulsion at and below this
BRIDGE_RADIUS = 2.0  # A, and the exponential bridge below this


def minimum_image(delta: np.ndarray, box: np.ndarray) -> np.ndarray:
    return delta - box * np.round(delta / box)


def closest_neighbour(positions: np.ndarray, atom: int, box: np.ndarray) -> float:
    """Distance from `atom` to its nearest neighbour in the periodic box."""
    r = np.linalg.norm(minimum_image(positions - positions[atom], box), axis=1)
    r[atom] = np.inf
    return float(r.min())


def wigner_seitz(sites: np.ndarray, positions: np.ndarray, box: np.ndarray):
    """Occupation of every lattice site: each atom belongs to the site nearest to it."""
    tree = cKDTree(np.mod(sites, box) % box, boxsize=box)
    _, owner = tree.query(np.mod(positions, box) % box)
    return np.bincount(owner, minlength=len(sites))


def plot_damage(path, box, displaced, vacancies, interstitial_sites, track, energy):
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    fig = plt.figure(figsize=(7, 6.5))
    ax = fig.add_subplot(projection="3d")
    if len(displaced):
        ax.scatter(*displaced.T, s=12, c="0.55", label=f"displaced atoms ({len(displaced)})")
    if len(vacancies):
        ax.scatter(*vacancies.T, s=60, marker="s", c="tab:red",
                   label=f"vacancies ({len(vacancies)})")
    if len(interstitial_sites):
        ax.scatter(*interstitial_sites.T, s=60, marker="^", c="tab:blue",
                   label=f"doubly occupied sites ({len(interstitial_sites)})")
    ax.plot(*track.T, c="tab:orange", lw=1.5, label="knock-on atom")
    ax.set_xlim(0, box[0])
    ax.set_ylim(0, box[1])
    ax.set_zlim(0, box[2])
    ax.set_xlabel("x (Å)")
    ax.set_ylabel("y (Å)")
    ax.set_zlabel("z (Å)")
    ax.set_title(f"{energy:g} eV cascade in bcc iron")
    ax.legend(loc="upper left", fontsize="small")
    fig.tight_layout()
    fig.savefig(path, dpi=120)
    plt.close(fig)


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--cells", type=int, default=10, help="cubic unit cells per axis")
    parser.add_argument("--energy", type=float, default=300.0,
                        help="kinetic energy of the knock-on atom (eV)")
    parser.add_argument("--direction", type=float, nargs=3, default=(1.0, 3.0, 5.0),
                        help="direction of the knock-on atom (x y z)")
    parser.add_argument("--time", type=float, default=300.0, help="simulated time (fs)")
    parser.add_argument("--max-step", type=float, default=1.0, help="largest time step (fs)")
    parser.add_argument("--max-move", type=float, default=0.05,
                        help="largest distance an atom may move in one step (A)")
    parser.add_argument("--displacement", type=float, default=1.0,
                        help="an atom farther than this from its starting site counts as "
                        "displaced (A)")
    parser.add_argument("--output", default="cascade_iron.png", help="PNG of the damage")
    args = parser.parse_args(argv)

    atoms = bulk("Fe", "bcc", a=IRON_LATTICE, cubic=True).repeat(args.cells)
    box = np.diag(atoms.cell.array).copy()
    natoms = len(atoms)
    sites = atoms.positions.copy()
    # The knock-on atom starts a quarter of the box behind the centre along its direction.
    direction = np.asarray(args.direction, dtype=float)
    direction /= np.linalg.norm(direction)
    start = 0.5 * box - 0.25 * box * direction
    pka = int(np.argmin(np.linalg.norm(minimum_image(sites - start, box), axis=1)))
    speed = np.sqrt(2.0 * args.energy / atoms.get_masses()[pka])  # ASE velocity units
    velocities = np.zeros((natoms, 3))
    velocities[pka] = speed * direction
    atoms.set_velocities(velocities)

    with tempfile.TemporaryDirectory(prefix="pelix-cascade-") as workdir:
        atoms.calc = pelix.Calculator(workdir, pairs=[("Fe", "Fe", "MENDEL")])
        dyn = VelocityVerlet(atoms, timestep=args.max_step * units.fs)
        initial_total = atoms.get_potential_energy() + atoms.get_kinetic_energy()
        elapsed, steps, closest = 0.0, 0, np.inf
        track = [atoms.positions[pka].copy()]
        wall = time.perf_counter()
        while elapsed < args.time:
            fastest = np.linalg.norm(atoms.get_velocities(), axis=1)
            step_fs = min(args.max_step, args.time - elapsed,
                          args.max_move / max(fastest.max(), 1e-12) / units.fs)
            dyn.dt = step_fs * units.fs
            dyn.step()
            elapsed += step_fs
            steps += 1
            track.append(atoms.positions[pka].copy())
            closest = min(closest, closest_neighbour(atoms.positions, int(fastest.argmax()), box))
        wall = time.perf_counter() - wall
        final_total = atoms.get_potential_energy() + atoms.get_kinetic_energy()

    occupation = wigner_seitz(sites, atoms.positions, box)
    vacancies = sites[occupation == 0]
    interstitial_sites = sites[occupation >= 2]
    moved = np.linalg.norm(minimum_image(atoms.positions - sites, box), axis=1)
    displaced = np.mod(atoms.positions[moved > args.displacement], box)
    temperature = atoms.get_temperature()
    if closest <= ZBL_RADIUS:
        region = "screened nuclear repulsion (ZBL); the energy jump at its edge spoils the "
        region += "energy balance"
    elif closest < BRIDGE_RADIUS:
        region = "exponential bridge to the ZBL repulsion"
    else:
        region = "embedded-atom pair term"
    plot_damage(args.output, box, displaced, vacancies, interstitial_sites, np.array(track),
                args.energy)
    along = ", ".join(f"{c:.3f}" for c in direction)
    print(f"{natoms} atoms, knock-on atom {pka} with {args.energy:g} eV along ({along})")
    print(f"{elapsed:.1f} fs in {steps} steps, {wall:.1f} s")
    print(f"closest approach: {closest:.3f} A ({region})")
    print(f"Frenkel pairs: {len(vacancies)} vacancies, "
          f"{int(np.sum(occupation[occupation >= 2] - 1))} interstitials")
    print(f"displaced atoms (moved more than {args.displacement:g} A): {len(displaced)}")
    print(f"temperature at the end: {temperature:.0f} K")
    print(f"change of the total energy: {(final_total - initial_total) / natoms:.3e} eV/atom "
          f"({final_total - initial_total:.4f} eV)")
    print(f"damage plotted in {args.output}")
    return 0


if __name__ == "__main__":
    raise SystemExit(main())
