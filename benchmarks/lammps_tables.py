"""Analytic forms of the "ACKLAND" iron and "BUCKBW" Fe-Ti-Y-O potentials, written from their
formulas, and their fine tables in LAMMPS's formats (`eam/fs`, `pair_style table`), so that the
comparison benchmark gives LAMMPS the same physics as ours."""

from __future__ import annotations

from pathlib import Path

import numpy as np

BCC_IRON_LATTICE = 2.8665  # A
IRON_MASS = 55.845
IRON_Z = 26
ZBL_C = [0.02817, 0.2802, 0.5099, 0.1818]
ZBL_D = [0.2016, 0.4029, 0.9423, 3.2]
ZBL_COULOMB = 14.399652003564425  # eV A

# "ACKLAND" iron. Pair term: cubic knot sum beyond 2.0 A, exp(quintic) bridge down to 1.0 A,
# ZBL (screening length with the square root of the sum of Z^0.23) at and below 1.0 A.
PAIR_KNOTS = [2.2, 2.3, 2.4, 2.5, 2.6, 2.7, 2.8, 3.0, 3.3, 3.7, 4.2, 4.7, 5.3]
PAIR_COEFFICIENTS = [-24.028204854115, 11.300691696477, 5.3144495820462, -4.6659532856049,
                     5.9637758529194, -1.7710262006061, 0.85913830768731, -2.1845362968261,
                     2.6424377007466, -1.0358345370208, 0.33548264951582, -0.046448582149334,
                     -0.0070294963048689]
DENSITY_KNOTS = [2.4, 3.2, 4.2]
DENSITY_COEFFICIENTS = [11.68685940797, -0.01471074009883, 0.47193527075943]
BRIDGE = [6.4265260576348, 1.7900488524286, -4.5108316729807, 1.0866199373306, 0.0, 0.0]
ZBL_CUTOFF, BRIDGE_CUTIN, CUTOFF = 1.0, 2.0, 5.3

# Table resolution: the pair and density on 20 001 points up to the cut-off, the embedding on
# 20 001 points up to RHO_MAX (bcc iron sits near rho = 26).
TABLE_POINTS = 20001
RHO_MAX = 200.0


def zbl_repulsion(z1, z2, screening_sum, r):
    """Screened Coulomb repulsion V = S(r)/r and dV/dr; the screening length is
    0.88534 * 0.53 / screening_sum."""
    a = 0.88534 * 0.53 / screening_sum
    amplitude = z1 * z2 * ZBL_COULOMB
    s = sum(amplitude * c * np.exp(-d / a * r) for c, d in zip(ZBL_C, ZBL_D))
    ds = sum(-d / a * amplitude * c * np.exp(-d / a * r) for c, d in zip(ZBL_C, ZBL_D))
    return s / r, ds / r - s / r**2


def knot_sum(knots, coefficients, r):
    """Sum over knots x of c (x - r)^3 where x > r."""
    total = np.zeros_like(r)
    for x, c in zip(knots, coefficients):
        d = x - r
        total += np.where(d > 0.0, c * d**3, 0.0)
    return total


def iron_pair_energy(r):
    """V(r) of the iron pair in eV, r in A (r > 0)."""
    r = np.asarray(r, dtype=float)
    zbl, _ = zbl_repulsion(IRON_Z, IRON_Z, np.sqrt(2.0 * IRON_Z**0.23), r)
    bridge = np.exp(np.polyval(BRIDGE[::-1], r))
    own = knot_sum(PAIR_KNOTS, PAIR_COEFFICIENTS, r)
    return np.where(r <= ZBL_CUTOFF, zbl, np.where(r < BRIDGE_CUTIN, bridge, own))


def iron_density(r):
    """The density one neighbour at r gives an iron atom."""
    return knot_sum(DENSITY_KNOTS, DENSITY_COEFFICIENTS, np.asarray(r, dtype=float))


def write_eam_fs(path: Path) -> None:
    """Writes the iron potential as an `eam/fs` file: F on a rho grid, the density and r*V(r)
    on an r grid that starts at 0 (r*V stays finite there since V is screened Coulomb)."""
    dr = CUTOFF / (TABLE_POINTS - 1)
    drho = RHO_MAX / (TABLE_POINTS - 1)
    r = np.arange(TABLE_POINTS) * dr
    rho = np.arange(TABLE_POINTS) * drho
    r_safe = np.where(r > 0.0, r, dr * 1e-6)
    r_times_pair = r_safe * iron_pair_energy(r_safe)
    embedding = -np.sqrt(rho)
    density = iron_density(r)

    def block(values):
        return "\n".join(" ".join(f"{v:.17e}" for v in values[k:k + 5])
                         for k in range(0, len(values), 5))

    lines = ["iron embedded-atom potential tabulated from its analytic form",
             "pair: ZBL / exp(quintic) bridge / cubic knot sum; density: cubic knot sum",
             "embedding F(rho) = -sqrt(rho)",
             "1 Fe",
             f"{TABLE_POINTS} {drho:.17e} {TABLE_POINTS} {dr:.17e} {CUTOFF:.17e}",
             f"{IRON_Z} {IRON_MASS} {BCC_IRON_LATTICE} bcc",
             block(embedding), block(density), block(r_times_pair)]
    path.write_text("\n".join(lines) + "\n")


# "BUCKBW": per pair of elements A (eV), rho (A), C (eV A^6), taper centre R and half-width D
# (A), ends r1 of the screened repulsion and r2 of the quintic (A), repulsion shift de (eV), and
# the quintic s1..s6.
BUCKBW_ELEMENTS = [("Fe", 26, 55.845), ("Ti", 22, 47.867), ("Y_", 39, 88.906), ("O_", 8, 15.999)]
BUCKBW_ROWS = {
    ("Fe", "Fe"): (14335.0, 0.26511, 447.55, 3.35, 0.55, 0.97, 1.8, 0.0,
                   (2297.149, -4959.48, 4071.872, -1500.4187, 208.6644, 0.0)),
    ("Ti", "Ti"): (9546.5, 0.35981, 2236.28, 4.5, 0.65, 1.53, 2.48, 0.0,
                   (466.9173, -745.6197, 456.5066, -126.2589, 13.2291, 0.0)),
    ("Y_", "Y_"): (7957.7, 0.42301, 4893.73, 4.85, 0.8, 1.8, 3.0, 0.75,
                   (834.6322, -1419.8765, 981.5659, -342.11238, 59.79284, -4.17854)),
    ("Fe", "Y_"): (9401.8, 0.34022, 1423.061, 4.85, 0.6, 1.5, 2.25, -0.5,
                   (936.8254, -1582.699, 1021.0264, -296.5362, 32.5686, 0.0)),
    ("Fe", "Ti"): (9881.6, 0.31675, 1035.0, 3.95, 0.6, 1.37, 2.3, 0.0,
                   (743.674, -1259.367, 810.7806, -234.6237, 25.67417, 0.0)),
    ("Ti", "Y_"): (7451.6, 0.38063, 2343.22, 5.25, 0.7, 1.92, 2.8, 0.0,
                   (232.161, -299.4052, 147.57, -32.9296, 2.798349, 0.0)),
    ("Fe", "O_"): (29698.0, 0.20246, 182.87, 3.5, 0.4, 0.75, 1.35, 0.0,
                   (3469.799, -12272.182, 18121.859, -13741.085, 5287.9223, -820.12171)),
    ("Ti", "O_"): (44227.0, 0.20378, 269.31, 3.5, 0.5, 0.6, 1.3, 25.0,
                   (4606.763, -18497.43, 31076.23, -26502.91, 11303.79, -1917.132)),
    ("Y_", "O_"): (34922.0, 0.24493, 744.81, 3.5, 0.5, 0.85, 1.65, 5.0,
                   (3128.3293, -9527.2471, 11938.943, -7575.9774, 2411.3817, -306.48509)),
    ("O_", "O_"): (24.0, 0.94415, 0.0, 3.5, 0.75, 1.2, 1.75, 0.0,
                   (286.7024, -553.7201, 403.8193, -128.9657, 14.98538, 0.0)),
}
# Tables of the pair terms start here (A); closer pairs do not occur in the benchmark.
PAIR_TABLE_START = 0.5


def buckbw_pair(row, z1, z2, r):
    """Energy V and force F of one pair type at r: the shifted screened repulsion up to r1
    (whose force also carries -de/r), the quintic up to r2, then the Buckingham form with the
    sine taper over R - D .. R + D."""
    a, rho, c, centre, half, r1, r2, de, s = row
    r = np.asarray(r, dtype=float)
    bare, bare_slope = zbl_repulsion(z1, z2, z1**0.23 + z2**0.23, r)
    zbl_v = bare + de
    zbl_g = bare_slope - de / r
    poly_v = np.polyval(s[::-1], r)
    poly_g = np.polyval([5 * s[5], 4 * s[4], 3 * s[3], 2 * s[2], s[1]], r)
    b = a * np.exp(-r / rho) - c / r**6
    db = -(a / rho) * np.exp(-r / rho) + 6.0 * c / r**7
    theta = np.pi / 2.0 * (r - centre) / half
    taper = np.where(r <= centre - half, 1.0, np.where(np.abs(r - centre) < half,
                                                        0.5 - 0.5 * np.sin(theta), 0.0))
    taper_slope = np.where((r > centre - half) & (np.abs(r - centre) < half),
                           -0.5 * np.cos(theta) * np.pi / (2.0 * half), 0.0)
    buck_v = taper * b
    buck_g = taper * db + b * taper_slope
    v = np.where(r <= r1, zbl_v, np.where(r < r2, poly_v, buck_v))
    g = np.where(r <= r1, zbl_g, np.where(r < r2, poly_g, buck_g))
    return v, -g


def write_buckbw_tables(path: Path) -> list[str]:
    """Writes one `pair_style table` file with a section per pair of elements and returns the
    LAMMPS commands that use it (types 1..4 in the order of BUCKBW_ELEMENTS)."""
    symbols = [e[0] for e in BUCKBW_ELEMENTS]
    commands = [f"pair_style table spline {TABLE_POINTS}"]
    sections = ["# Fe-Ti-Y-O Buckingham pairs tabulated from their analytic form"]
    for (x, y), row in BUCKBW_ROWS.items():
        i, j = sorted((symbols.index(x), symbols.index(y)))
        cutoff = row[3] + row[4]
        r = np.linspace(PAIR_TABLE_START, cutoff, TABLE_POINTS)
        v, f = buckbw_pair(row, BUCKBW_ELEMENTS[i][1], BUCKBW_ELEMENTS[j][1], r)
        name = f"{x}_{y}".replace("__", "_")
        body = "\n".join(f"{k + 1} {r[k]:.17e} {v[k]:.17e} {f[k]:.17e}"
                         for k in range(TABLE_POINTS))
        sections.append(f"\n{name}\nN {TABLE_POINTS} R {PAIR_TABLE_START!r} {cutoff!r}\n\n{body}")
        commands.append(f"pair_coeff {i + 1} {j + 1} {path} {name} {cutoff!r}")
    path.write_text("\n".join(sections) + "\n")
    return commands
