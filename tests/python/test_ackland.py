"""Whole force calls with the iron, silver and gold embedded-atom family "ACKLAND"."""

import itertools
import json

import numpy as np
import pytest


SPECIES = "FeAgAu"
SYMBOLS = ("Fe", "Ag", "Au")
PAIRS = [(a, b, "ACKLAND" if a == b else "ZERO")
         for a, b in itertools.combinations_with_replacement(SYMBOLS, 2)]
# Per element: the radius up to which the screened repulsion acts; every element's bridge
# ends at 2.0.
SHORT_RANGE = (1.0, 0.9, 0.9)
LATTICE_CONSTANT = {"Ag": 4.086, "Au": 4.078}


def disordered(seed, box, periodic, per_element=6):
    """Atoms of all three elements at least 2.3 A apart, except that every element gets one
    pair planted in the screened repulsion and one in the bridge. No like pair lies within
    2e-3 A of a region boundary, where the force may jump."""
    rng = np.random.default_rng(seed)
    box = np.asarray(box)
    specie = np.repeat(np.arange(3), per_element)
    while True:
        pos = []
        while len(pos) < len(specie):
            p = rng.uniform(0.3, box - 0.3)
            if all(np.linalg.norm(p - q) > 2.3 for q in pos):
                pos.append(p)
        pos = np.array(pos)
        for element, k in itertools.product(range(3), range(2)):
            a = element * per_element + 2 * k
            u = rng.normal(size=3)
            r = rng.uniform(0.7, SHORT_RANGE[element] - 0.02) if k == 0 else rng.uniform(1.2, 1.9)
            pos[a + 1] = pos[a] + r * u / np.linalg.norm(u)
        pos = np.mod(pos, box) if periodic else pos
        d = pos[None, :, :] - pos[:, None, :]
        if periodic:
            d -= box * np.round(d / box)
        r = np.linalg.norm(d, axis=2)
        like = (specie[:, None] == specie[None, :]) & ~np.eye(len(specie), dtype=bool)
        edges = np.minimum(np.abs(r - np.array(SHORT_RANGE)[specie][:, None]), np.abs(r - 2.0))
        inside = periodic or (pos.min() > 0.1 and np.all(pos < box - 0.1))
        if inside and np.all(r[like] > 0.6) and np.all(edges[like] > 2e-3):
            return specie.tolist(), pos.ravel().tolist()


def test_silver_and_gold_crystals_are_balanced_and_lowest_at_their_lattice_constants(workdir):
    workdir.use_pairs(PAIRS, True)
    out = workdir.ok(
        f"""
        import json
        from itertools import product
        base = np.array([[0, 0, 0], [0.5, 0.5, 0], [0.5, 0, 0.5], [0, 0.5, 0.5]])
        corners = np.array(list(product(range(3), repeat=3)), dtype=float)
        unit = ((corners[:, None, :] + base[None, :, :]).reshape(-1, 3) + 0.1).ravel()
        results = {{}}
        for element, a0 in {LATTICE_CONSTANT!r}.items():
            rows = []
            for a in (a0 * 0.995, a0, a0 * 1.005):
                specie = [{SPECIES!r}.index(element) // 2] * (len(unit) // 3)
                result, out = call({SPECIES!r}, specie, unit * a, (3 * a,) * 3)
                assert result[3] == 0, result
                rows.append([result[0], out["pearray"].tolist(), out["force"].tolist()])
            results[element] = rows
        print(json.dumps(results))
        """
    )
    results = json.loads(out.splitlines()[-1])
    for element, rows in results.items():
        (below, _, _), (at, pe, force), (above, _, _) = rows
        natoms = len(pe)
        assert natoms == 108
        assert at / natoms < -2.0, element
        assert at < below and at < above, (element, below, at, above)
        np.testing.assert_allclose(pe, at / natoms, rtol=1e-12)
        assert np.abs(force).max() < 1e-12, element


@pytest.mark.parametrize("periodic", [False, True])
def test_forces_are_minus_the_energy_gradient_and_sum_to_zero(workdir, periodic):
    box = np.array([11.5, 12.0, 12.5])
    workdir.use_pairs(PAIRS, periodic)
    specie, pos = disordered(11, box, periodic)
    assert workdir.gradient_error(SPECIES, specie, pos, box) < 1e-6
