"""Whole force calls with the phosphorus-iron Morse family "MORSEPT" for P-P and P-Fe and
"ZERO" for Fe-Fe."""

import math

import numpy as np
import pytest

from reference import pair_sums, zbl

SPECIES = "P_Fe"
Z = (15, 26)
PAIRS = [("P_", "P_", "MORSEPT"), ("P_", "Fe", "MORSEPT"), ("Fe", "Fe", "ZERO")]
# Per unordered species pair: e0, r0, bridge coefficients b0..b5, cutin, sr_cutoff.
CONSTANTS = {
    (0, 0): (0.194, 3.35, (18.463375, -46.290417, 67.58019, -52.524806, 19.907106, -2.9289798),
             1.85, 0.9),
    (0, 1): (0.848, 2.22, (3017.2963, -8433.2466, 9663.4483, -5587.2792, 1614.07, -185.37477),
             2.1, 1.0),
}


def region(pair, r):
    e0, r0, b, cutin, sr_cutoff = CONSTANTS[pair]
    if r <= sr_cutoff:
        return "zbl"
    if r < cutin:
        return "bridge"
    if r < r0:
        return "morse"
    if r < 1.4 * r0:
        return "smoothed morse"
    return None


def pair_energy_and_force(pair, r):
    """V(r) and F = -dV/dr of a P-P (0, 0) or P-Fe (0, 1) pair."""
    e0, r0, b, cutin, sr_cutoff = CONSTANTS[pair]
    kind = region(pair, r)
    if kind == "zbl":
        return zbl(Z[pair[0]], Z[pair[1]], r)
    if kind == "bridge":
        p = sum(bk * r ** k for k, bk in enumerate(b))
        dp = sum(k * bk * r ** (k - 1) for k, bk in enumerate(b) if k > 0)
        if pair == (0, 0):
            return math.exp(p), -dp * math.exp(p)
        return p, -dp
    alpha = 3.76 / r0
    v0 = e0 * (math.exp(-2 * alpha * (r - r0)) - 2 * math.exp(-alpha * (r - r0)))
    dv0 = -2 * alpha * e0 * (math.exp(-2 * alpha * (r - r0)) - math.exp(-alpha * (r - r0)))
    fc, dfc = 1.0, 0.0
    if kind == "smoothed morse":
        rl, rh = r0, 1.4 * r0
        x = (r - rh) / (rl - rh)
        fc = 3 * x ** 4 - 8 * x ** 3 + 6 * x ** 2
        dfc = (12 * x ** 3 - 24 * x ** 2 + 12 * x) / (rl - rh)
    return v0 * fc, -(dv0 * fc + v0 * dfc)


def pairs_in_range(specie, pos, box, periodic):
    """(i, j, pair, separation vector, r) of every pair the family acts on."""
    pos = np.asarray(pos, dtype=float).reshape(-1, 3)
    for i in range(len(pos)):
        for j in range(i + 1, len(pos)):
            pair = tuple(sorted((specie[i], specie[j])))
            if pair not in CONSTANTS:
                continue
            d = pos[j] - pos[i]
            if periodic:
                d -= np.asarray(box) * np.round(d / np.asarray(box))
            r = float(np.linalg.norm(d))
            if region(pair, r) is not None:
                yield i, j, pair, d, r


def expected(specie, pos, box, periodic):
    def term(si, sj, r):
        pair = tuple(sorted((si, sj)))
        if pair not in CONSTANTS or region(pair, r) is None:
            return None
        return pair_energy_and_force(pair, r)

    return pair_sums(specie, pos, box, periodic, term)


BOX = (12.0, 12.0, 12.0)
# An inner cluster holding every region of both pair types, an Fe-Fe pair at 2.3 A left to
# "ZERO", and four pairs that meet only across the periodic faces (P-Fe bridge across x and
# z, P-P bridge across y, P-Fe bridge across x, P-P Morse across y).
SPECIE = [0, 0, 0, 0, 1, 1, 0, 1, 0, 1, 0, 1, 0, 0, 0, 1, 0, 0]
POSITIONS = [6.0, 6.0, 6.0, 6.8, 6.0, 6.0, 6.0, 7.5, 6.0, 5.6, 5.2, 9.0, 7.7, 7.7, 6.2,
             4.1, 6.1, 5.9, 3.1, 3.0, 3.0, 3.1, 3.0, 3.85, 3.1, 5.15, 3.0, 5.26, 3.0, 3.0,
             0.4, 0.5, 11.8, 11.5, 0.3, 0.6, 0.3, 11.6, 6.0, 0.2, 0.6, 6.1,
             11.2, 6.3, 9.0, 0.6, 6.3, 9.0, 6.0, 11.0, 0.2, 6.1, 0.5, 3.0]
ALL_REGIONS = {(pair, kind) for pair in CONSTANTS
               for kind in ("zbl", "bridge", "morse", "smoothed morse")}


@pytest.mark.parametrize("periodic", [False, True])
def test_energies_and_forces_follow_the_pair_formula_in_every_region(workdir, periodic):
    pairs = list(pairs_in_range(SPECIE, POSITIONS, BOX, periodic))
    assert {(pair, region(pair, r)) for _, _, pair, _, r in pairs} == ALL_REGIONS
    assert len(pairs) == (24 if periodic else 20)
    workdir.use_pairs(PAIRS, periodic)
    [(energy, pe, force)] = workdir.run_calls(SPECIES, [(SPECIE, POSITIONS)], BOX)
    total, pe_ref, force_ref = expected(SPECIE, POSITIONS, BOX, periodic)
    assert energy == pytest.approx(total, rel=1e-12)
    np.testing.assert_allclose(pe, pe_ref, rtol=1e-11, atol=1e-13)
    np.testing.assert_allclose(force, force_ref, rtol=1e-10, atol=1e-12 * np.abs(force_ref).max())


@pytest.mark.parametrize("periodic", [False, True])
def test_forces_are_minus_the_energy_gradient_and_sum_to_zero(workdir, periodic):
    # Moved a little off the hand-placed sites so that no pair lies on a line or axis; every
    # pair stays well clear of the region radii, where the energy steps.
    pos = np.array(POSITIONS) + np.random.default_rng(3).uniform(-0.01, 0.01, len(POSITIONS))
    for _, _, pair, _, r in pairs_in_range(SPECIE, pos, BOX, periodic):
        e0, r0, b, cutin, sr_cutoff = CONSTANTS[pair]
        assert min(abs(r - edge) for edge in (sr_cutoff, cutin, r0, 1.4 * r0)) > 1e-3
    workdir.use_pairs(PAIRS, periodic)
    assert workdir.gradient_error(SPECIES, SPECIE, pos, BOX, per_atom=True) < 1e-6


def test_translation_across_the_boundary_and_renumbering_change_nothing(workdir):
    workdir.use_pairs(PAIRS, True)
    workdir.check_translation_and_renumbering(SPECIES, SPECIE, POSITIONS, BOX, (5.3, -7.1, 4.55))
