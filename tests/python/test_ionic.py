# The ionic pair path through whole force calls: the built-in oxide sets and a Born-Mayer-Huggins
# file against LAMMPS `buck` and `born` where every pair lies between its join and its taper, the
# BUCKBW rows given again as a "buck.IN" file, and the lattices of rock-salt MgO and rutile TiO2
# with their formal charges (Ewald) against LAMMPS `buck/coul/long` relaxations.

import os
from dataclasses import replace

import numpy as np
import pytest

from conftest import lammps
from families import family, sample


def pairs(elements, keyword):
    return [(a, b, keyword) for k, a in enumerate(elements) for b in elements[k:]]


# Energy, per-atom energies and forces of one configuration in an open box.
def run(workdir, elements, keyword, specie, pos, side):
    workdir.use_pairs(pairs(elements, keyword), periodic=False)
    return workdir.run_calls("".join(e.ljust(2, "_") for e in elements),
                             [(list(map(int, specie)), np.ravel(pos).tolist())], (side,) * 3)[0]


# Keyword, elements, LAMMPS pair style with its cut-off (the taper start R - W), coefficients of
# each pair of elements (none: a repulsion-only pair, cut off at 2.5 A), parameter files, and the
# cation-anion spacings of 3 x 2 x 2 rock-salt fragments. Ball-Grimes MgO, Matsui-Akaogi TiO2
# (built in), an Al-O Buckingham row for the spinel set, and Born-Mayer-Huggins rows shaped like
# the Tosi-Fumi alkali halide sets with O for Cl (illustrative: both programs read the same).
NAO = {("Na", "Na"): "0.263690 0.317 2.340 1.048553 -0.499366",
       ("Na", "O"): "0.210960 0.317 2.755 6.990550 -8.675770",
       ("O", "O"): "0.158220 0.317 3.170 72.40215 -145.4284"}
MGO = {("Mg", "O"): "1279.69 0.29969 0.0", ("O", "O"): "9547.96 0.21916 32.0"}
CASES = [
    ("MGOPOTL", ["Mg", "O"], "buck 5.5", MGO, {}, (1.9, 2.0, 2.15)),
    ("TiOFCPT", ["Ti", "O"], "buck 5.5", {("Ti", "Ti"): "31120.1 0.1540 5.25",
                                          ("Ti", "O"): "16957.5 0.1940 12.59",
                                          ("O", "O"): "11782.7 0.2340 30.22"},
     {}, (1.9, 2.0, 2.15)),
    ("SPINELP", ["Mg", "Al", "O"], "buck 5.5", {**MGO, ("Al", "O"): "1725.0 0.28971 0.0"},
     {"SPINELP.IN": "buck Al O 1725.0 0.28971 0.0  6.0 0.5  0.40 0.70\n"}, (1.9, 2.0, 2.15)),
    ("BPUPOTL", ["Na", "O"], "born 7.5", NAO, {"buck.IN": "".join(  # R, W, join radii
        f"born {a} {b} {c} 8.0 0.5 {joins}\n"
        for ((a, b), c), joins in zip(NAO.items(), ("0.9 1.5", "1.0 1.8", "0.8 2.0")))},
     (2.5, 2.7, 2.9)),
]


@pytest.mark.skipif(os.environ.get("PELIX_SANITIZED") == "1", reason="third-party program")
@pytest.mark.parametrize("keyword, elements, style, coeffs, files, spacings", CASES,
                         ids=[c[0] for c in CASES])
def test_short_range_agrees_with_lammps(workdir, keyword, elements, style, coeffs, files,
                                        spacings):
    for name, text in files.items():
        workdir.write(name, text)
    # Fragments 25 A apart, shaken; the anion is the last element, the cations drawn from the rest.
    rng, grid = np.random.default_rng(5), np.indices((3, 2, 2)).reshape(3, -1).T
    pos = np.vstack([5 + 25 * k + d * grid + rng.uniform(-0.03, 0.03, grid.shape)
                     for k, d in enumerate(spacings)])
    anion = np.tile(grid.sum(axis=1) % 2 == 1, len(spacings))
    specie = np.where(anion, len(elements) - 1, rng.integers(0, len(elements) - 1, anion.size))
    upper, side = np.triu_indices(len(pos), 1), 25 * len(spacings) + 5
    distance = np.linalg.norm(pos[:, None] - pos[None], axis=-1)[upper]
    cut = float(style.split()[1])  # above every join, like ions above 2.5 A, none in a taper
    assert distance.min() > 1.8 and distance[(anion[:, None] == anion)[upper]].min() > 2.5
    assert not np.any((distance > cut) & (distance < cut + 1.0))
    energy, _, force = run(workdir, elements, keyword, specie, pos, side)
    lines = [f"pair_coeff {i + 1} {j + 1} {coeffs.get((a, b), '0.0 1.0 0.0')}"
             for i, a in enumerate(elements) for j, b in enumerate(elements) if i <= j]
    [(their_energy, their_force)] = lammps(specie, [pos.ravel()], [f"pair_style {style}"] + lines,
                                           side, ntypes=len(elements))
    assert abs(energy - their_energy) < 1e-10 * abs(their_energy), (energy, their_energy)
    assert np.abs(force - their_force).max() < 1e-10 * np.abs(their_force).max()
    assert np.abs(their_force).max() > 0.1


# The BUCKBW rows (A B  A rho C  R W  r1 r2  shift  s1..s6), in another order than the keyword's.
BUCKBW_ROWS = """\
O O 24.0 0.94415 0.0 3.5 0.75 1.2 1.75 0.0 286.7024 -553.7201 403.8193 -128.9657 14.98538 0
Y O 34922.0 0.24493 744.81 3.5 0.5 0.85 1.65 5.0 \
3128.3293 -9527.2471 11938.943 -7575.9774 2411.3817 -306.48509
Ti O 44227.0 0.20378 269.31 3.5 0.5 0.6 1.3 25.0 \
4606.763 -18497.43 31076.23 -26502.91 11303.79 -1917.132
Fe O 29698.0 0.20246 182.87 3.5 0.4 0.75 1.35 0.0 \
3469.799 -12272.182 18121.859 -13741.085 5287.9223 -820.12171
Ti Y 7451.6 0.38063 2343.22 5.25 0.7 1.92 2.8 0.0 232.161 -299.4052 147.57 -32.9296 2.798349 0
Fe Ti 9881.6 0.31675 1035.0 3.95 0.6 1.37 2.3 0.0 743.674 -1259.367 810.7806 -234.6237 25.67417 0
Fe Y 9401.8 0.34022 1423.061 4.85 0.6 1.5 2.25 -0.5 \
936.8254 -1582.699 1021.0264 -296.5362 32.5686 0.0
Y Y 7957.7 0.42301 4893.73 4.85 0.8 1.8 3.0 0.75 \
834.6322 -1419.8765 981.5659 -342.11238 59.79284 -4.17854
Ti Ti 9546.5 0.35981 2236.28 4.5 0.65 1.53 2.48 0.0 \
466.9173 -745.6197 456.5066 -126.2589 13.2291 0.0
Fe Fe 14335.0 0.26511 447.55 3.35 0.55 0.97 1.8 0.0 2297.149 -4959.48 4071.872 -1500.4187 208.6644 0
"""


def test_buckbw_is_its_rows_read_from_a_file(workdir):
    # A pair of every type in every region of its pair function, the shifted cores included.
    specie, pos = sample(replace(family("BUCKBW"), not_gradient_below={}), 3, periodic=False)
    workdir.write("buck.IN", "".join(f"buck {line}\n" for line in BUCKBW_ROWS.splitlines()))
    elements = ["Fe", "Ti", "Y", "O"]
    energy, pe, force = run(workdir, elements, "BUCKBW", specie, pos, 16.0)
    file_energy, file_pe, file_force = run(workdir, elements, "BPUPOTL", specie, pos, 16.0)
    assert np.abs(force).max() > 1.0
    assert energy == file_energy and (pe == file_pe).all() and (force == file_force).all()


# Whole force calls with formal charges, Ewald summed, on a crystal of `cells` unit cells (the
# basis in fractions of the cell lengths). The per-cell energy is printed.
CRYSTAL = """
def energy(species, specie, charges, basis, cells, lengths):
    grid = np.indices(cells).reshape(3, -1).T
    specie = np.tile(specie, len(grid))
    pos = ((grid[:, None] + np.array(basis)) * lengths).ravel()
    result, _ = call(species, specie, pos, np.multiply(cells, lengths),
                     charge=np.array(charges)[specie])
    assert result[3] == 0, result
    return result[0] / len(grid)
"""


# The real-space cut-off of the Ewald sum is fixed at 9 A, so the energy steps where a shell of
# ions crosses it: in rock salt at a = 18 / sqrt(N), 4.129 (N = 19) and 4.243 A (N = 18). The scan
# of 3 x 3 x 3 conventional cells stays strictly between the two.
def test_rock_salt_mgo_has_its_lattice_constant(workdir):
    workdir.use_pairs(pairs(["Mg", "O"], "MGOPOTL"), periodic=True)
    scan = np.linspace(4.14, 4.23, 10)
    energies = workdir.ok(CRYSTAL + f"""
basis = np.indices((2, 2, 2)).reshape(3, -1).T  # Mg where the sum is even, O where odd
for a in {scan.tolist()}:
    print(energy("MgO_", basis.sum(axis=1) % 2, (2.0, -2.0), basis / 2, (3, 3, 3), (a, a, a)))
""").split()
    curvature, slope, _ = np.polyfit(scan, np.array(energies[-len(scan):], float), 2)
    # LAMMPS buck/coul/long with the same set: 4.209 A
    assert curvature > 0 and abs(-slope / (2 * curvature) / 4.209 - 1) < 0.01, (curvature, slope)


# Rutile relaxed from the measured structure (a, c, u) = (4.594, 2.959, 0.305) by the simplex
# method on 3 x 3 x 4 cells (every side longer than the 9 A cut-off); the steps of the real-space
# sum are far smaller than the energy changes that the simplex follows.
def test_rutile_tio2_has_its_lattice(workdir):
    workdir.use_pairs(pairs(["Ti", "O"], "TiOFCPT"), periodic=True)
    relaxed = workdir.ok(CRYSTAL + """
from scipy.optimize import minimize
def rutile(x):
    a, c, u = x
    basis = [(0, 0, 0), (.5, .5, .5), (u, u, 0), (1 - u, 1 - u, 0), (.5 + u, .5 - u, .5),
             (.5 - u, .5 + u, .5)]
    return energy("TiO_", [0, 0, 1, 1, 1, 1], (2.196, -1.098), basis, (3, 3, 4), (a, a, c))
print(*minimize(rutile, (4.594, 2.959, 0.305), method="Nelder-Mead",
                options=dict(xatol=1e-5, fatol=1e-8)).x)
""")
    a, c, u = map(float, relaxed.split()[-3:])
    # LAMMPS buck/coul/long with the same set and a 12 A cut-off: a = 4.493, c = 3.009 A,
    # u = 0.3033
    assert abs(a / 4.493 - 1) < 0.02 and abs(c / 3.009 - 1) < 0.02 and abs(u / 0.3033 - 1) < 0.02
