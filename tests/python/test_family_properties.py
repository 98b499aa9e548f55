"""Properties every family must have, checked over one table of families (families.py):
forces are minus the energy gradient and sum to zero, open and periodic; translation,
rotation by a symmetry of the cubic box and renumbering change nothing; a periodic supercell
has the energy per atom of its cell; the energy is continuous across every edge of a pair
function that the family does not define as a step."""

import numpy as np
import pytest

from families import FAMILIES, sample

CASES = [pytest.param(f, periodic, id=f"{f.keyword}-{'periodic' if periodic else 'open'}")
         for f in FAMILIES for periodic in (False, True) if f.periodic or not periodic]


def use(workdir, family, periodic):
    workdir.use_pairs(family.pairs, periodic)
    family.write_inputs(workdir.path)


@pytest.mark.parametrize("family, periodic", CASES)
def test_forces_are_minus_the_energy_gradient(workdir, family, periodic):
    use(workdir, family, periodic)
    specie, pos = sample(family, 11, periodic)
    box = (family.box,) * 3
    assert workdir.gradient_error(family.species, specie, pos, box, per_atom=True) < 1e-6


@pytest.mark.parametrize("family, periodic", CASES)
def test_moving_rotating_renumbering_and_repeating_change_nothing(workdir, family, periodic):
    use(workdir, family, periodic)
    specie, pos = sample(family, 5, periodic)
    pos, side = np.reshape(pos, (-1, 3)), family.box
    box = [side] * 3
    shift = np.array([4.3, -7.1, 5.55]) if periodic else np.array([0.2, -0.3, 0.1])
    moved = np.mod(pos + shift, side) if periodic else pos + shift
    rotated = pos[:, [1, 2, 0]]  # (x, y, z) -> (y, z, x), a rotation of the cube onto itself
    order = np.random.default_rng(2).permutation(len(specie))
    configurations = [
        (specie, pos.ravel().tolist(), box),
        (specie, moved.ravel().tolist(), box),
        (specie, rotated.ravel().tolist(), box),
        ([specie[k] for k in order], pos[order].ravel().tolist(), box),
    ]
    if periodic:
        doubled = np.vstack([pos, pos + [side, 0.0, 0.0]])
        configurations.append((specie * 2, doubled.ravel().tolist(), [2 * side, side, side]))
    results = workdir.run_calls(family.species, configurations)
    (e0, pe0, f0) = results[0]
    scale = np.abs(f0).max()
    assert scale > 1e-3 and abs(e0) > 1e-3
    expected = [(e0, pe0, f0), (e0, pe0, f0), (e0, pe0, f0[:, [1, 2, 0]]),
                (e0, pe0[order], f0[order]),
                (2 * e0, np.tile(pe0, 2), np.vstack([f0, f0]))]
    for (e, pe, f), (e_ref, pe_ref, f_ref) in zip(results[1:], expected[1:]):
        assert e == pytest.approx(e_ref, rel=1e-12)
        np.testing.assert_allclose(pe, pe_ref, rtol=1e-10, atol=1e-12)
        np.testing.assert_allclose(f, f_ref, rtol=0, atol=1e-10 * scale)


@pytest.mark.parametrize("family", [f for f in FAMILIES if any(
    continuous for edges in f.edges.values() for _, continuous in edges)], ids=lambda f: f.keyword)
def test_energy_is_continuous_across_the_edges_of_each_pair_function(workdir, family):
    """Dimers just inside and just outside every edge: across an edge that is not a defined
    step the energy changes no more than over the same distance just inside it."""
    use(workdir, family, False)
    delta = 1e-7
    dimers, where = [], []
    for (a, b), edges in family.edges.items():
        for edge, continuous in edges:
            if continuous:
                for r in (edge - 2 * delta, edge - delta, edge + delta):
                    dimers.append(([a, b], [5.0, 5.0, 5.0, 5.0 + 0.6 * r, 5.0 + 0.8 * r, 5.0],
                                   [20.0] * 3))
                where.append(((a, b), edge))
    energies = [e for e, _, _ in workdir.run_calls(family.species, dimers)]
    steps = []
    for k, (pair, edge) in enumerate(where):
        inside, just_inside, outside = energies[3 * k:3 * k + 3]
        step, change = abs(outside - just_inside), abs(just_inside - inside)
        if step > 10 * change + 1e-4:  # 1e-4 eV: the rounding of fitted join coefficients
            steps.append((pair, edge, step))
    assert not steps
