"""Whole force calls with the tabulated phosphorus-iron pair family "MORLIST" for P-P and P-Fe
and "ZERO" for Fe-Fe. The tables are sampled from Morse pairs, so the expected energies and
forces come from the Morse formula, not from the spline."""

import itertools
import math

import numpy as np
import pytest

from reference import pair_sums

SPECIES = "P_Fe"
PAIRS = [("P_", "P_", "MORLIST"), ("P_", "Fe", "MORLIST"), ("Fe", "Fe", "ZERO")]
# Per unordered species pair: Morse depth, rate, r0, and the first and last table distance.
MORSE = {(0, 0): (0.2, 1.4, 3.3, 1.5, 5.0), (0, 1): (0.8, 1.7, 2.3, 1.2, 4.0)}
FILES = {(0, 0): "POTFOR-SPLINES/PP_pw_for_potfor_morlist.IN",
         (0, 1): "POTFOR-SPLINES/PFe_pw_for_potfor_morlist.IN"}
BOX = np.array([11.0, 11.5, 12.0])


def morse(pair, r):
    """V(r) and F = -dV/dr."""
    depth, rate, r0, _, _ = MORSE[pair]
    e = math.exp(-rate * (r - r0))
    return depth * (e * e - 2 * e), 2 * depth * rate * (e * e - e)


def use_tables(workdir, periodic, n=2000):
    workdir.use_pairs(PAIRS, periodic)
    for pair, (_, _, _, first, last) in MORSE.items():
        workdir.write_table(FILES[pair], first, last, n, lambda r: morse(pair, r))


def disordered(seed, periodic, n=18):
    """P and Fe atoms at least 1.7 A apart, with P-P and P-Fe pairs inside their tables."""
    rng = np.random.default_rng(seed)
    specie = [k % 2 for k in range(n)]
    while True:
        pos = rng.uniform(0.0 if periodic else 0.5, BOX - (0.0 if periodic else 0.5), (n, 3))
        d = pos[None, :, :] - pos[:, None, :]
        if periodic:
            d -= BOX * np.round(d / BOX)
        r = np.linalg.norm(d, axis=2)[np.triu_indices(n, 1)]
        kinds = {tuple(sorted((specie[i], specie[j])))
                 for (i, j), rij in zip(itertools.combinations(range(n), 2), r) if rij < 3.5}
        if r.min() > 1.7 and {(0, 0), (0, 1)} <= kinds:
            return specie, pos.ravel().tolist()


@pytest.mark.parametrize("periodic", [False, True])
def test_force_calls_follow_the_tabulated_pairs(workdir, periodic):
    use_tables(workdir, periodic)
    specie, pos = disordered(5 + periodic, periodic)
    [(energy, pe, force)] = workdir.run_calls(SPECIES, [(specie, pos)], BOX)
    fd_error = workdir.gradient_error(SPECIES, specie, pos, BOX)

    def term(si, sj, r):
        pair = tuple(sorted((si, sj)))
        return morse(pair, r) if pair in MORSE and r < MORSE[pair][4] else None

    total, pe_ref, force_ref = pair_sums(specie, pos, BOX, periodic, term)
    assert energy == pytest.approx(total, rel=1e-10)
    np.testing.assert_allclose(pe, pe_ref, rtol=0, atol=1e-10)
    np.testing.assert_allclose(force, force_ref, rtol=1e-8, atol=1e-8)
    assert np.abs(np.reshape(force, (-1, 3)).sum(axis=0)).max() < 1e-11
    assert fd_error < 1e-6


def test_a_pair_closer_than_its_table_stops_the_process(workdir):
    use_tables(workdir, False, n=100)
    done = workdir.run(
        """
        call("P_Fe", [0, 1], [3.0, 3.0, 3.0, 4.25, 3.0, 3.0], (10.0, 10.0, 10.0))
        print("first call done", flush=True)
        call("P_Fe", [0, 1], [3.0, 3.0, 3.0, 4.15, 3.0, 3.0], (10.0, 10.0, 10.0))
        """
    )
    assert done.returncode == 1
    assert [line.strip() for line in done.stdout.splitlines()] == [
        "first call done", "nrerror: ACKL_INTERACT: RLIJ < 0.2", "program terminated by nerror"]
