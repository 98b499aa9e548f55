"""Whole force calls with the tabulated iron-nickel-chromium embedded-atom family "TERNARY".
The twelve tables are sampled from analytic functions (Morse pairs, exponential densities,
square-root embeddings), so the expected energies and forces come from those functions, not
from the spline."""

import itertools
import math

import numpy as np
import pytest

SPECIES = "FeNiCr"
SYMBOLS = ("Fe", "Ni", "Cr")
PAIRS = [(a, b, "TERNARY") for a, b in itertools.combinations_with_replacement(SYMBOLS, 2)]
CUTOFF = 5.18
BOX = np.array([11.0, 11.5, 12.0])
# Morse depth, rate and r0 per unordered pair of element indices; density a exp(-b r) and
# embedding -s sqrt(1 + rho^2) per element.
MORSE = {(0, 0): (0.4, 1.5, 2.5), (1, 1): (0.5, 1.6, 2.4), (2, 2): (0.3, 1.4, 2.6),
         (0, 1): (0.45, 1.55, 2.45), (0, 2): (0.35, 1.45, 2.55), (1, 2): (0.42, 1.5, 2.5)}
RHO = ((1.0, 1.1), (1.5, 1.3), (0.8, 0.9))
EMBED = (1.0, 1.2, 0.9)


def pair(t, r):
    depth, rate, r0 = MORSE[t]
    e = math.exp(-rate * (r - r0))
    return depth * (e * e - 2 * e), -2 * depth * rate * (e * e - e)


def rho(e, r):
    a, b = RHO[e]
    return a * math.exp(-b * r), -b * a * math.exp(-b * r)


def embed(e, p):
    return -EMBED[e] * math.sqrt(1 + p * p), -EMBED[e] * p / math.sqrt(1 + p * p)


def use_tables(workdir, periodic, n=2000):
    workdir.use_pairs(PAIRS, periodic)

    for t in MORSE:
        workdir.write_table(f"p{SYMBOLS[t[0]]}{SYMBOLS[t[1]]}.IN", 1.0, 5.5, n,
                            lambda r: pair(t, r)[:1])
    for e, symbol in enumerate(SYMBOLS):
        workdir.write_table(f"rho{symbol}.IN", 1.0, 5.5, n, lambda r: rho(e, r)[:1])
        workdir.write_table(f"F_{symbol}.IN", 0.0, 20.0, n, lambda p: embed(e, p)[:1])


def bonds(pos, periodic):
    """(i, j, separation from i to j, r) of every pair within the cut-off."""
    pos = np.reshape(pos, (-1, 3))
    for i, j in itertools.combinations(range(len(pos)), 2):
        d = pos[j] - pos[i]
        if periodic:
            d -= BOX * np.round(d / BOX)
        r = float(np.linalg.norm(d))
        if r < CUTOFF:
            yield i, j, d, r


def expected(specie, pos, periodic):
    """Per-atom energies and forces of the analytic embedded-atom model."""
    found = list(bonds(pos, periodic))
    density = np.zeros(len(specie))
    for i, j, _, r in found:
        density[i] += rho(specie[j], r)[0]
        density[j] += rho(specie[i], r)[0]
    pe, slope = np.transpose([embed(e, p) for e, p in zip(specie, density)])
    force = np.zeros((len(specie), 3))
    for i, j, d, r in found:
        v, dv = pair(tuple(sorted((specie[i], specie[j]))), r)
        pe[[i, j]] += 0.5 * v
        dedr = dv + slope[i] * rho(specie[j], r)[1] + slope[j] * rho(specie[i], r)[1]
        force[i] += dedr * d / r
        force[j] -= dedr * d / r
    return pe, force.ravel()


def disordered(seed, periodic, n=18):
    """All three elements at least 1.9 A apart, every pair type within the cut-off and no
    pair within 1e-3 A of it, where the energy steps."""
    rng = np.random.default_rng(seed)
    specie = [k % 3 for k in range(n)]
    while True:
        pos = rng.uniform(0.0 if periodic else 0.5, BOX - (0.0 if periodic else 0.5), (n, 3))
        found = list(bonds(pos, periodic))
        d = pos[None, :, :] - pos[:, None, :]
        if periodic:
            d -= BOX * np.round(d / BOX)
        closest = np.linalg.norm(d, axis=2)[np.triu_indices(n, 1)].min()
        types = {tuple(sorted((specie[i], specie[j]))) for i, j, _, _ in found}
        if closest > 1.9 and len(types) == 6 and all(abs(r - CUTOFF) > 1e-3 for *_, r in found):
            return specie, pos.ravel().tolist()


@pytest.mark.parametrize("periodic", [False, True])
def test_force_calls_follow_the_tabulated_functions(workdir, periodic):
    use_tables(workdir, periodic)
    specie, pos = disordered(4 + 5 * periodic, periodic)
    [(energy, pe, force)] = workdir.run_calls(SPECIES, [(specie, pos)], BOX)
    fd_error = workdir.gradient_error(SPECIES, specie, pos, BOX)
    pe_ref, force_ref = expected(specie, pos, periodic)
    assert energy == pytest.approx(pe_ref.sum(), rel=1e-9)
    np.testing.assert_allclose(pe, pe_ref, rtol=0, atol=1e-8)
    np.testing.assert_allclose(force, force_ref, rtol=0, atol=1e-7)
    assert np.abs(np.reshape(force, (-1, 3)).sum(axis=0)).max() < 1e-11
    assert fd_error < 1e-6


def test_a_missing_table_is_an_input_error_naming_the_file(workdir):
    use_tables(workdir, False, n=20)
    (workdir.path / "rhoCr.IN").unlink()
    done = workdir.run('call("FeNi", [0, 1], [1.0, 1.0, 1.0, 3.0, 1.0, 1.0], (10.0,) * 3)')
    assert done.returncode == 2, done.stdout + done.stderr
    assert "rhoCr.IN" in done.stdout.splitlines()[-1]
