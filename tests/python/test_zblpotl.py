"""Whole force calls with the carbon-metal screened repulsion "ZBLPOTL" between iron, carbon
and oxygen (Fe-C, O-C, Fe-O), "ZERO" for the like pairs."""

import math

import numpy as np
import pytest

from reference import pair_sums, zbl

SPECIES = "FeC_O_"
Z = (26, 6, 8)
# Inner and outer radius of the taper per unordered species pair.
RADII = {(0, 1): (3.3795, 3.59), (1, 2): (3.0, 4.0), (0, 2): (3.0, 4.0)}
PAIRS = [("Fe", "C_", "ZBLPOTL"), ("O_", "C_", "ZBLPOTL"), ("Fe", "O_", "ZBLPOTL"),
         ("Fe", "Fe", "ZERO"), ("C_", "C_", "ZERO"), ("O_", "O_", "ZERO")]


def pair_energy_and_force(z1, z2, conrl, conrh, r):
    """Tapered screened repulsion E(r) and F = -dE/dr."""
    v0, f0 = zbl(z1, z2, r)
    dv0 = -f0
    fc, dfc = 1.0, 0.0
    if r >= conrl:
        w = conrh - conrl
        theta = math.pi * (r - conrl) / w
        fc, dfc = 0.5 * (math.cos(theta) + 1.0), -0.5 * math.pi / w * math.sin(theta)
    return v0 * fc, -(dv0 * fc + v0 * dfc)


def expected(specie, pos, box, periodic):
    """Total energy, per-atom energies and forces summed pair by pair (nearest image)."""

    def term(si, sj, r):
        key = tuple(sorted((si, sj)))
        if key not in RADII or r >= RADII[key][1]:
            return None
        return pair_energy_and_force(Z[si], Z[sj], *RADII[key], r)

    return pair_sums(specie, pos, box, periodic, term)


def random_cluster(seed, n, box, min_distance=1.1, periodic=True):
    rng = np.random.default_rng(seed)
    pos = []
    while len(pos) < n:
        p = rng.uniform(0.0, box)
        ok = True
        for q in pos:
            d = p - q
            if periodic:
                d -= box * np.round(d / box)
            ok = ok and np.linalg.norm(d) > min_distance
        if ok:
            pos.append(p)
    specie = rng.integers(0, 3, n).tolist()
    return specie, np.array(pos).ravel().tolist()


# Fe near a corner; in the periodic box C 2 A away across the x faces (full repulsion), O 3.5 A
# away across the y faces (taper), O 2.35 A away across the z faces; in both boxes C 3.45 A
# away along z (Fe-C taper), O-C at 3.2 A (taper), and a C-C pair at 1 A left to "ZERO".
HAND_PLACED = (
    [0, 1, 2, 1, 1, 2],
    [0.5, 0.5, 0.5,
     7.5, 0.5, 0.5,
     0.5, 6.0, 0.5,
     0.5, 0.5, 3.95,
     7.5, 1.5, 0.5,
     0.5, 0.5, 7.15],
)


@pytest.mark.parametrize("periodic", [False, True])
def test_energies_and_forces_follow_the_pair_formula(workdir, periodic):
    box = (9.0, 9.0, 9.0)
    workdir.use_pairs(PAIRS, periodic)
    specie, pos = HAND_PLACED
    [(energy, pe, force)] = workdir.run_calls(SPECIES, [HAND_PLACED], box)
    total, pe_ref, force_ref = expected(specie, pos, box, periodic)
    assert total > 0.0
    assert energy == pytest.approx(total, rel=1e-12)
    np.testing.assert_allclose(pe, pe_ref, rtol=1e-12, atol=1e-14)
    np.testing.assert_allclose(force, force_ref, rtol=1e-10, atol=1e-12 * np.abs(force_ref).max())


@pytest.mark.parametrize("periodic", [False, True])
def test_forces_are_minus_the_energy_gradient_and_sum_to_zero(workdir, periodic):
    box = np.array([9.0, 9.5, 10.0])
    workdir.use_pairs(PAIRS, periodic)
    specie, pos = random_cluster(11, 14, box, periodic=periodic)
    assert workdir.gradient_error(SPECIES, specie, pos, box) < 1e-6


def test_translation_across_the_boundary_and_renumbering_change_nothing(workdir):
    box = (9.0, 9.5, 10.0)
    workdir.use_pairs(PAIRS, True)
    specie, pos = random_cluster(5, 16, np.array(box))
    workdir.check_translation_and_renumbering(SPECIES, specie, pos, box, (4.3, -7.1, 5.55))
