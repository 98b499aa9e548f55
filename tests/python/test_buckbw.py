"""Whole force calls with the Buckingham family "BUCKBW" for every pair of Fe, Ti, Y and O."""

import itertools
import math

import numpy as np
import pytest

from reference import zbl


SPECIES = "FeTiY_O_"
SYMBOLS = ("Fe", "Ti", "Y_", "O_")
Z = (26, 22, 39, 8)
PAIRS = [(a, b, "BUCKBW") for a, b in itertools.combinations_with_replacement(SYMBOLS, 2)]

# Per unordered species pair: r1, r2, cut-off R + D, and whether the repulsion is shifted.
RADII = {
    (0, 0): (0.97, 1.8, 3.9, False), (1, 1): (1.53, 2.48, 5.15, False),
    (2, 2): (1.8, 3.0, 5.65, True), (0, 2): (1.5, 2.25, 5.45, True),
    (0, 1): (1.37, 2.3, 4.55, False), (1, 2): (1.92, 2.8, 5.95, False),
    (0, 3): (0.75, 1.35, 3.9, False), (1, 3): (0.6, 1.3, 4.0, True),
    (2, 3): (0.85, 1.65, 4.0, True), (3, 3): (1.2, 1.75, 4.25, False),
}
# A, rho, C, R, D, r1, r2, de and s1..s6 of four pairs.
ROWS = {
    (0, 0): (14335.0, 0.26511, 447.55, 3.35, 0.55, 0.97, 1.8, 0.0,
             (2297.149, -4959.48, 4071.872, -1500.4187, 208.6644, 0.0)),
    (1, 3): (44227.0, 0.20378, 269.31, 3.5, 0.5, 0.6, 1.3, 25.0,
             (4606.763, -18497.43, 31076.23, -26502.91, 11303.79, -1917.132)),
    (2, 2): (7957.7, 0.42301, 4893.73, 4.85, 0.8, 1.8, 3.0, 0.75,
             (834.6322, -1419.8765, 981.5659, -342.11238, 59.79284, -4.17854)),
    (3, 3): (24.0, 0.94415, 0.0, 3.5, 0.75, 1.2, 1.75, 0.0,
             (286.7024, -553.7201, 403.8193, -128.9657, 14.98538, 0.0)),
}


def pair_energy(key, r):
    a, rho, c, big_r, d, r1, r2, de, s = ROWS[key]
    if r <= r1:
        return zbl(Z[key[0]], Z[key[1]], r)[0] + de
    if r < r2:
        return sum(sk * r ** n for n, sk in enumerate(s))
    b = a * math.exp(-r / rho) - c / r ** 6
    if r <= big_r - d:
        return b
    if abs(r - big_r) < d:
        return (0.5 - 0.5 * math.sin(0.5 * math.pi * (r - big_r) / d)) * b
    return 0.0


def disordered(seed, n, box, periodic):
    """Random atoms of all four elements with every pair type within range and at least two
    pairs in the repulsive and in the polynomial region; no pair within 1e-3 A of the ends of
    the polynomial region (where the energy may jump) and no shifted pair in the repulsive
    region (whose force carries the shift on purpose)."""
    rng = np.random.default_rng(seed)
    box = np.asarray(box)
    while True:
        specie = rng.permutation(np.arange(n) % 4).tolist()
        pos = rng.uniform(0.3, box - 0.3, size=(n, 3))
        seen, regions, ok = set(), [0, 0], True
        for i, j in itertools.combinations(range(n), 2):
            d = pos[j] - pos[i]
            if periodic:
                d -= box * np.round(d / box)
            r = float(np.linalg.norm(d))
            key = tuple(sorted((specie[i], specie[j])))
            r1, r2, cutoff, shifted = RADII[key]
            near_edge = min(abs(r - r1), abs(r - r2)) < 1e-3
            ok = ok and r > 0.85 and not near_edge and not (shifted and r < r1 + 1e-3)
            if r < cutoff:
                seen.add(key)
            if r < r2:
                regions[r > r1] += 1
        if ok and len(seen) == 10 and min(regions) >= 2:
            return specie, pos.ravel().tolist()


def test_dimer_energies_follow_the_three_regions(workdir):
    workdir.use_pairs(PAIRS, False)
    box = (20.0, 20.0, 20.0)
    distances = {(0, 0): (0.9, 1.4, 2.7, 3.35, 3.7), (1, 3): (0.55, 1.0, 2.0, 3.3),
                 (2, 2): (1.5, 2.5, 3.5, 5.0), (3, 3): (1.0, 1.5, 2.5, 3.8, 4.3)}
    configurations, expected = [], []
    for key, rs in distances.items():
        for r in rs:
            pos = [5.0, 5.0, 5.0, 5.0 + r * 0.6, 5.0 + r * 0.8, 5.0]
            dx, dy = pos[3] - pos[0], pos[4] - pos[1]
            configurations.append((list(key), pos))
            expected.append(pair_energy(key, math.sqrt(dx * dx + dy * dy)))
    results = workdir.run_calls(SPECIES, configurations, box)
    for (energy, pe, force), want, (specie, _) in zip(results, expected, configurations):
        assert energy == pytest.approx(want, rel=1e-12, abs=1e-14), specie
        np.testing.assert_allclose(pe, [0.5 * want] * 2, rtol=1e-12, atol=1e-14)
        f = force.reshape(2, 3)
        np.testing.assert_allclose(f[0], -f[1], rtol=0, atol=1e-12 * np.abs(f).max())
    # Ti-O below 0.6 is the screened repulsion lifted by 25 eV; O-O at 4.3 is out of range.
    assert results[5][0] > 25.0
    assert results[-1][0] == 0.0


@pytest.mark.parametrize("periodic", [False, True])
def test_forces_are_minus_the_energy_gradient_and_sum_to_zero(workdir, periodic):
    box = np.array([13.0, 13.5, 14.0])
    workdir.use_pairs(PAIRS, periodic)
    specie, pos = disordered(7, 24, box, periodic)
    assert workdir.gradient_error(SPECIES, specie, pos, box) < 1e-6


def test_translation_across_the_boundary_and_renumbering_change_nothing(workdir):
    box = (13.0, 13.5, 14.0)
    workdir.use_pairs(PAIRS, True)
    specie, pos = disordered(3, 28, box, True)
    workdir.check_translation_and_renumbering(SPECIES, specie, pos, box, (6.3, -9.1, 7.55))
